#include "unicode/UTextReceiver.h"

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/support/VirtualSlot.h"
#include "tests/unicode/Units.h"

namespace {

static_assert(!std::is_abstract_v<UTextReceiver<UTF8>>);
static_assert(std::has_virtual_destructor_v<UTextReceiver<UTF8>>);
static_assert(sizeof(UTextReceiver<UTF8>) == sizeof(void*), "no data");

TEST(UTextReceiverTest, BaseClassIgnoresEverything) {
    ForEachEncoding([]<class E>(E) {
        Units<E> const units{'a', static_cast<typename E::Unit>(0xFFFFFFFF)};
        UTextReceiver<E> receiver;
        EXPECT_EQ(0u, AllocationsOf([&] {
                      receiver.Receive(ArrayOfUnits(units));
                      receiver.Start(E());
                      receiver.Receive(ArrayOfUnits(units));
                      receiver.Receive(ConstArrayOf<typename E::Unit>());
                      receiver.ReceiveEnd();
                      receiver.ReceiveEnd();
                  }));
    });
}

// The destructor takes the first two slots.
TEST(UTextReceiverTest, VirtualSlotsHaveFixedOrder) {
    ForEachEncoding([]<class E>(E) {
        EXPECT_EQ(2u, SlotOf(&UTextReceiver<E>::Start));
        EXPECT_EQ(3u, SlotOf(&UTextReceiver<E>::Receive));
        EXPECT_EQ(4u, SlotOf(&UTextReceiver<E>::ReceiveEnd));
    });
}

} // namespace

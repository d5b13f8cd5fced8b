#include "unicode/UTextReceiver.h"

#include <cstddef>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/support/FailingAllocation.h"
#include "tests/support/VirtualSlot.h"

namespace {

template <class E>
using Receiver = UTextReceiver<E>;

static_assert(!std::is_abstract_v<Receiver<UTF8>>);
static_assert(std::has_virtual_destructor_v<Receiver<UTF8>>);
static_assert(sizeof(Receiver<UTF8>) == sizeof(void*), "no data");

template <class E>
void CheckPushing() {
    using Unit = typename E::Unit;
    Unit const units[] = {'a', static_cast<Unit>(0xFFFFFFFF)};
    Receiver<E> receiver;
    EXPECT_EQ(0u, AllocationsOf([&] {
                  receiver.Receive(ConstArrayOf<Unit>(units, 2));
                  receiver.Start(E());
                  receiver.Receive(ConstArrayOf<Unit>(units, 2));
                  receiver.Receive(ConstArrayOf<Unit>());
                  receiver.ReceiveEnd();
                  receiver.ReceiveEnd();
              }));
}

TEST(UTextReceiverTest, BaseClassIgnoresEverything) {
    CheckPushing<UTF8>();
    CheckPushing<UTF16>();
    CheckPushing<UTF32>();
    CheckPushing<Local8Bit>();
}

template <class E>
void CheckSlots() {
    // The destructor takes the first two slots.
    EXPECT_EQ(2u, SlotOf(&Receiver<E>::Start));
    EXPECT_EQ(3u, SlotOf(&Receiver<E>::Receive));
    EXPECT_EQ(4u, SlotOf(&Receiver<E>::ReceiveEnd));
}

TEST(UTextReceiverTest, VirtualSlotsHaveFixedOrder) {
    CheckSlots<UTF8>();
    CheckSlots<UTF16>();
    CheckSlots<UTF32>();
    CheckSlots<Local8Bit>();
}

} // namespace

#include "data/IgnoreDataReceiver.h"

#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "data/StartReceiveAndEnd.h"
#include "tests/support/FailingAllocation.h"

namespace {

static_assert(std::is_convertible_v<IgnoreDataReceiver*, DataReceiver*>);
static_assert(sizeof(IgnoreDataReceiver) == sizeof(DataReceiver));

TEST(IgnoreDataReceiverTest, TakesAnyStreamAndDoesNothing) {
    std::string const text(100000, 'x');
    EXPECT_EQ(0u, AllocationsOf([&] {
                  IgnoreDataReceiver receiver;
                  StartReceiveAndEnd(receiver, text);
                  receiver.Receive(text);
              }));
}

} // namespace

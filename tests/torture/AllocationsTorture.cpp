// Every allocation fails, once and from then on, in each operation that asks for memory.
#include <gtest/gtest.h>

#include <cstddef>

#include "tests/support/PrivateMachine.h"
#include "tests/torture/AllocationsOfFolders.h"
#include "tests/torture/Cells.h"
#include "tests/torture/SharedCount.h"

namespace {

void OnEmptyMachine(std::size_t (*fail)()) {
    Torture::SharedCount failed;
    PrivateMachine::Run({.emptyPlaces = {"/tmp"}}, [&] {
        PrivateMachine::CreateAgentDirectories();
        failed.Add(fail());
    });
    Torture::CountCells(failed.Value());
}

TEST(QuickAllocations, OfData) { Torture::CountCells(Torture::FailAllocationsOfData()); }

TEST(QuickAllocations, OfStrings) { Torture::CountCells(Torture::FailAllocationsOfStrings()); }

TEST(QuickAllocations, OfUnicode) { Torture::CountCells(Torture::FailAllocationsOfUnicode()); }

TEST(QuickAllocations, OfXml) { Torture::CountCells(Torture::FailAllocationsOfXml()); }

TEST(QuickAllocations, OfFiles) { OnEmptyMachine(Torture::FailAllocationsOfFiles); }

TEST(QuickAllocations, OfCompliance) { OnEmptyMachine(Torture::FailAllocationsOfCompliance); }

TEST(QuickAllocations, OfAnExchange) { OnEmptyMachine(Torture::FailAllocationsOfAnExchange); }

} // namespace

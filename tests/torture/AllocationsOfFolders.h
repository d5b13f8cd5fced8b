// The operations that allocate, folder by folder, each with all of its allocations failing. Yield
// how many failed. The last three are for a private machine with the agent's directories and an
// empty "/tmp".
#pragma once

#include <cstddef>

namespace Torture {

std::size_t FailAllocationsOfData();
std::size_t FailAllocationsOfStrings();
std::size_t FailAllocationsOfUnicode();
std::size_t FailAllocationsOfXml();
std::size_t FailAllocationsOfFiles();
std::size_t FailAllocationsOfCompliance();
std::size_t FailAllocationsOfAnExchange();

} // namespace Torture

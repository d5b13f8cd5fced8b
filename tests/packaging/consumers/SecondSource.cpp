#include "OwnNames.h"

void CreateFile(std::string const& name) {
    FileName().push_back(static_cast<int>(name.size()));
    throw DataOverflow("our file " + name);
}

NullOr<Buffer> FileLocation(int number) {
    return {std::make_shared<Buffer>(StringPL(number), 0.5)};
}

std::size_t GrowResponseItems(std::size_t count) {
    std::vector<ClientComplianceResponseItem> items;
    for (std::size_t i = 0; i < count; ++i) {
        items.push_back({});
        items.back().numbers[49] = static_cast<int>(i);
    }
    return static_cast<std::size_t>(items.back().numbers[49]) + items.size();
}

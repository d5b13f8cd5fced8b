#include "companions/FileContent.h"

#include <cerrno>

#include <unistd.h>

std::optional<std::string> ReadContent(int descriptor, std::size_t max) {
    std::string content(max, '\0');
    std::size_t length = 0;
    while (length < content.size()) {
        ssize_t const count = read(descriptor, content.data() + length, content.size() - length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return {};
        if (count == 0)
            break;
        length += static_cast<std::size_t>(count);
    }
    content.resize(length);
    return content;
}

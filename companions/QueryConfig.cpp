#include "companions/QueryConfig.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <map>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "companions/FileContent.h"
#include "companions/QueryValues.h"
#include "companions/Utf8.h"
#include "companions/VisibleText.h"

namespace {

constexpr std::size_t maxFileSize = 64 * 1024;
constexpr std::size_t maxNameLength = 100;
constexpr std::size_t maxValueLength = 4096;
// Longer texts are truncated in messages.
constexpr std::size_t maxShownLength = 100;
constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
constexpr long long maxKeptResults = 10'000;

// A mistake in one line. what() does not contain the path and the line number.
class ConfigError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

long long ParseKeptResults(std::string const& text) {
    std::optional<long long> const number = ParseNumber(text);
    if (!number || *number < 1 || *number > maxKeptResults)
        throw ValueError(text);
    return *number;
}

struct Setting {
    char const* key;
    char const* accepted;
    void (*store)(QueryConfig& config, std::string const& value);
};

constexpr std::array settings = {
    Setting{"URL", "the site gather URL",
            [](QueryConfig& config, std::string const& value) {
                config.url = value;
            }},
    Setting{"DOCUMENT", "the name of the compliance document",
            [](QueryConfig& config, std::string const& value) {
                config.document = value;
            }},
    Setting{"FLAGS", acceptedFlags,
            [](QueryConfig& config, std::string const& value) {
                config.flags = ParseFlags(value);
            }},
    Setting{"GOOD_RESULTS", acceptedResults,
            [](QueryConfig& config, std::string const& value) {
                config.goodResults = ParseList(value);
            }},
    Setting{"KEEP_RESULTS", "a number from 1 to 10000",
            [](QueryConfig& config, std::string const& value) {
                config.keptResults = ParseKeptResults(value);
            }},
};

std::string ListKeys() {
    std::string keys;
    for (Setting const& setting : settings)
        keys += (keys.empty() ? "" : ", ") + std::string(setting.key);
    return keys;
}

// Returns the value without a pair of quotes around it.
std::string Unquote(std::string const& text) {
    bool const isQuoted =
        text.size() > 1 && (text[0] == '"' || text[0] == '\'') && text.back() == text[0];
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }

// Returns the start of the text in quotes, as visible text, because it can be arbitrary bytes.
std::string Quote(std::string const& text) {
    std::string const end = text.size() > maxShownLength ? "...'" : "'";
    return "'" + MakeVisible(text.substr(0, maxShownLength)) + end;
}

// Returns why the value is not accepted, or null if it is.
char const* ProblemOf(std::string const& value) {
    if (value.empty())
        return " is empty";
    if (value.size() > maxValueLength)
        return " has more than 4096 bytes";
    if (value.find_first_of("\"'\\") != std::string::npos)
        return " has a quote or a backslash";
    if (std::ranges::any_of(value, IsControl))
        return " has a control character";
    return IsUtf8(value) ? nullptr : " is not UTF-8";
}

void CheckCharacters(Setting const& setting, std::string const& value) {
    if (char const* const problem = ProblemOf(value))
        throw ConfigError(std::string(setting.key) + ": " + Quote(value) + problem +
                          "; accepted: " + setting.accepted);
}

class Reader {
public:
    explicit Reader(std::string const& thePath) : path(thePath) {}

    QueryConfig Read(std::string_view content) {
        if (content.starts_with(byteOrderMark)) {
            AddMistake(line, "begins with a byte order mark; accepted: UTF-8 without one");
            content.remove_prefix(byteOrderMark.size());
        }
        for (; !content.empty(); ++line) {
            std::size_t const end = std::min(content.find('\n'), content.size());
            ReadLine(TrimSpaces(content.substr(0, end)));
            content.remove_prefix(std::min(end + 1, content.size()));
        }
        RequireBoth("URL", "DOCUMENT");
        RequireBoth("DOCUMENT", "URL");
        return config;
    }

private:
    void ReadLine(std::string const& text) {
        if (text.empty())
            return;
        try {
            if (text[0] == '#' || text[0] == ';')
                CheckComment(text);
            else
                ReadSetting(text);
        } catch (ConfigError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
            AddMistake(line, error.what());
        }
    }

    static void CheckComment(std::string_view text) {
        // The end of a line can be a carriage return and a line feed.
        if (text.ends_with('\r'))
            text.remove_suffix(1);
        if (text.find_first_of(std::string_view("\r\0", 2)) != std::string_view::npos)
            throw ConfigError("the comment has a carriage return, at which systemd ends it, or a "
                              "NUL byte; accepted: a comment without them");
        if (text.ends_with('\\'))
            throw ConfigError("the comment ends with a backslash, after which some versions of "
                              "systemd skip the next line; accepted: a comment that does not");
    }

    void ReadSetting(std::string const& text) {
        std::size_t const equals = text.find('=');
        if (equals == std::string::npos)
            throw ConfigError(Quote(text) + " has no '='; accepted: KEY=VALUE, or # and a comment");
        std::string const key = TrimSpaces(text.substr(0, equals));
        auto const setting = std::ranges::find(settings, std::string_view(key), &Setting::key);
        if (setting == settings.end())
            throw ConfigError(Quote(key) + " is not a key; accepted: " + ListKeys());
        if (auto const [former, isNew] = lines.emplace(key, line); !isNew)
            throw ConfigError(key + ": accepted once; it is also in line " +
                              std::to_string(former->second));
        std::string const value = Unquote(TrimSpaces(text.substr(equals + 1)));
        CheckCharacters(*setting, value);
        Store(*setting, value);
    }

    void Store(Setting const& setting, std::string const& value) {
        try {
            setting.store(config, value);
        } catch (ValueError const& error) { // GCOVR_EXCL_BR_LINE: others are bad_alloc
            throw ConfigError(std::string(setting.key) + ": " + error.what() +
                              "; accepted: " + setting.accepted);
        }
    }

    void RequireBoth(char const* key, char const* other) {
        if (lines.contains(key) && !lines.contains(other))
            AddMistake(lines.find(key)->second, std::string(key) + ": requires " + other);
    }

    void AddMistake(int where, std::string const& text) {
        config.mistakes.push_back(path + ":" + std::to_string(where) + ": " + text);
    }

    std::string const path;
    int line = 1;
    // The line number of each key.
    std::map<std::string, int, std::less<>> lines;
    QueryConfig config;
};

QueryConfig ReadFile(std::string const& path, int descriptor) {
    struct stat facts {};
    if (fstat(descriptor, &facts) == 0 && !S_ISREG(facts.st_mode))
        return {.mistakes = {path + ": not a regular file"}};
    std::optional<std::string> const content = ReadContent(descriptor, maxFileSize + 1);
    if (!content)
        return {.mistakes = {path + ": cannot be read: " + std::strerror(errno)}};
    if (content->size() > maxFileSize)
        return {.mistakes = {path + ": too large; accepted: at most 65536 bytes"}};
    return Reader(path).Read(*content);
}

} // namespace

std::string QueryConfigPath(std::string const& name) {
    return "/etc/clientcompliance/" + name + ".conf";
}

std::string ParseConfigName(std::string const& name) {
    bool const isFileName = !name.empty() && name.size() <= maxNameLength && name[0] != '.' &&
                            name.find('/') == std::string::npos;
    if (!isFileName)
        throw ValueError(name);
    return name;
}

QueryConfig ReadQueryConfig(std::string const& path) {
    // O_NONBLOCK: open(2) of a FIFO would wait for a writer.
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return {.mistakes = {path + ": cannot be read: " + std::strerror(errno)}};
    QueryConfig config = ReadFile(path, descriptor);
    close(descriptor);
    return config;
}

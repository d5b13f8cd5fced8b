// Compares the reader of stored results with a JSON library that parses the whole document, and
// checks that chunk boundaries do not matter.
//
// Input: a byte that determines the position of the first chunk boundary, and the document.
#include <tuple>

#include <sys/mman.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "companions/StoredResult.h"
#include "fuzz/Fuzz.h"

namespace {

using Json = nlohmann::json;
using Rows = std::vector<StoredRow>;

constexpr std::size_t chunkSize = std::size_t{64} << 10;

// A file in memory.
class TextFile {
public:
    explicit TextFile(std::string_view text) : descriptor(memfd_create("result", MFD_CLOEXEC)) {
        Require(write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()),
                "a file in memory can be written");
    }
    ~TextFile() { close(descriptor); }
    TextFile(TextFile const&) = delete;
    TextFile& operator=(TextFile const&) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor); }

private:
    int const descriptor;
};

struct Reading {
    StoredResult result = {};
    Rows rows = {};

    auto Members() const {
        return std::tie(result.finished, result.exitStatus, result.failure, result.message,
                        result.rowCount, result.provenance, rows);
    }
    bool operator==(Reading const& other) const { return Members() == other.Members(); }
};

// Returns nullopt if the text is not a result.
std::optional<Reading> Read(std::string_view text) {
    TextFile const file(text);
    Reading reading;
    try {
        reading.result =
            ReadStoredResult(file.Path(), StoredKind::regularFile, [&reading](StoredRow&& row) {
                reading.rows.push_back(std::move(row));
            });
    } catch (StoredResultError const&) {
        return {};
    }
    return reading;
}

// A field equals its JSON member, unless the exact bytes are in a second member.
void RequireField(Json const& row, std::string const& name, std::string const& field) {
    Require(row.contains(name) && row[name].is_string(), "each field is a string");
    if (!row.contains(name + "Base64"))
        Require(row[name] == field, "a field equals its JSON string");
}

void RequireRows(Json const& array, Rows const& rows) {
    Require(array.is_array() && array.size() == rows.size(), "each element is a row");
    for (std::size_t index = 0; index < rows.size(); ++index)
        for (std::size_t field = 0; field < rowFieldNames.size(); ++field)
            RequireField(array[index], rowFieldNames[field], rows[index][field]);
}

void RequireSame(std::string_view text, Reading const& reading) {
    Require(reading.rows.size() == reading.result.rowCount, "each row is counted");
    Json const document = Json::parse(text, nullptr, false);
    if (!document.is_object())
        return; // JSON lines.
    Require(document["schemaVersion"] == 1, "the version is 1");
    Require((document["outcome"] == "finished") == reading.result.finished,
            "the outcome agrees with the document");
    if (document.contains("rows"))
        RequireRows(document["rows"], reading.rows);
}

} // namespace

int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Fuzz::Input input(data, size);
    std::size_t const before = input.Byte();
    std::string_view const text = input.Rest();
    std::optional<Reading> const reading = Read(text);
    if (reading)
        RequireSame(text, *reading);
    if (!text.starts_with("\xEF\xBB\xBF"))
        Require(reading == Read(std::string(chunkSize - before, ' ').append(text)),
                "the result does not depend on chunk boundaries");
    return 0;
}

#include "companions/StoredResult.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "companions/JsonText.h"
#include "companions/Timestamp.h"

namespace {

using ParsedJson = nlohmann::json;

constexpr std::string_view base64Suffix = "Base64";
// The identifier of json.exception.out_of_range.406.
constexpr int numberOutOfRange = 406;

FileState MakeState(struct stat const& facts) {
    return {facts.st_dev, facts.st_ino, facts.st_size, facts.st_mtim};
}

// The bytes of a file, read in chunks, and the position of the next byte.
class Source {
public:
    Source(std::string const& thePath, StoredKind kind) : path(thePath) {
        // O_NONBLOCK: open(2) of a FIFO, which is refused below, would wait for a writer.
        int const flags = kind == StoredKind::regularFile ? O_NONBLOCK : 0;
        descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | flags);
        if (descriptor < 0)
            Fail(std::string("could not be opened: ") + std::strerror(errno));
        struct stat facts {};
        fstat(descriptor, &facts);
        state = MakeState(facts);
        if (kind == StoredKind::regularFile && !S_ISREG(facts.st_mode)) {
            close(descriptor);
            Fail("expected a regular file");
        }
    }
    ~Source() { close(descriptor); }
    Source(Source const&) = delete;
    Source& operator=(Source const&) = delete;

    bool IsAtEnd() {
        if (next == size)
            Fill();
        return size == 0;
    }
    FileState const& State() const { return state; }
    // Restarts the count of bytes that maxStoredTextBytes limits.
    void StartValue() { valueStart = total - (size - next); }

    // REQUIRES: !IsAtEnd().
    char Peek() const { return buffer[next]; }
    void Skip() {
        ++column;
        if (buffer[next++] == '\n') {
            ++line;
            column = 1;
        }
    }

    [[noreturn]] void Refuse(std::string const& expectation) const {
        throw StoredResultError(path + ":" + std::to_string(line) + ":" + std::to_string(column) +
                                ": " + expectation);
    }
    [[noreturn]] void Fail(std::string const& reason) const {
        throw StoredResultError(path + ": " + reason);
    }

private:
    void Fill() {
        if (total - valueStart > maxStoredTextBytes)
            Refuse("expected a text, number or whitespace of at most " +
                   std::to_string(maxStoredTextBytes) + " bytes");
        ssize_t count = 0;
        do
            count = read(descriptor, buffer.data(), buffer.size());
        while (count < 0 && errno == EINTR);
        if (count < 0)
            Fail(std::string("could not be read: ") + std::strerror(errno));
        next = 0;
        size = static_cast<std::size_t>(count);
        total += size;
        if (total > maxStoredBytes)
            Fail("expected at most " + std::to_string(maxStoredBytes) + " bytes");
    }

    std::string const& path;
    int descriptor;
    std::size_t next = 0;
    std::size_t size = 0;
    std::size_t total = 0;
    std::size_t valueStart = 0;
    FileState state;
    std::size_t line = 1;
    std::size_t column = 1;
    std::array<char, 64 * 1024> buffer;
};

// An input iterator over the bytes of a source, for the parser. The end iterator has a null source.
class SourceIterator {
public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char;

    explicit SourceIterator(Source* theSource) : source(theSource) {}
    char operator*() const { return source->Peek(); }
    SourceIterator& operator++() {
        source->Skip();
        return *this;
    }
    // REQUIRES: the argument is the end iterator.
    bool operator!=(SourceIterator const&) const { return !source->IsAtEnd(); }

private:
    Source* source;
};

// Stores the known members of a document by their path ("provenance/host"), and passes the rows to
// `useRow`. Refuses values of the wrong type.
class DocumentHandler : public nlohmann::json_sax<ParsedJson> {
public:
    DocumentHandler(Source& theSource, std::function<void(StoredRow&&)> const& theUseRow)
        : source(theSource), useRow(theUseRow) {}

    // Makes the handler parse each further document as a row.
    void ExpectRows() { state = State::betweenRows; }

    bool null() override { return TakeFact(nullptr); }
    bool boolean(bool value) override { return TakeFact(value); }
    bool number_integer(number_integer_t value) override { return TakeFact(value); }
    bool number_unsigned(number_unsigned_t value) override { return TakeFact(value); }
    bool number_float(number_float_t value, string_t const&) override { return TakeFact(value); }
    bool binary(binary_t&) override { return false; } // GCOVR_EXCL_LINE: JSON text has none

    bool string(string_t& value) override {
        source.StartValue();
        if (!IsInRow())
            return TakeFact(std::move(value));
        if (field < row.size())
            SetField(field, std::move(value));
        else if (field < 2 * row.size())
            SetBytes(field - row.size(), value);
        return true;
    }

    bool start_object(std::size_t) override {
        RefuseAsRows();
        Enter();
        if (state == State::betweenRows)
            state = State::inRow;
        return true;
    }

    bool end_object() override {
        if (IsInRow())
            FinishRow();
        return Leave();
    }

    bool key(string_t& name) override {
        source.StartValue();
        if (IsInRow())
            field = FieldOf(name);
        else
            StartMember(std::move(name));
        return true;
    }

    bool start_array(std::size_t) override {
        if (state == State::head && depth == 0)
            source.Refuse("expected an object");
        if (state == State::betweenRows)
            source.Refuse("expected a row");
        bool const hasRows = Path() == "rows";
        Enter();
        if (hasRows) {
            state = State::betweenRows;
            rowDepth = depth + 1;
        }
        return true;
    }

    bool end_array() override {
        if (state == State::betweenRows)
            state = State::head;
        return Leave();
    }

    bool parse_error(std::size_t, std::string const&,
                     nlohmann::detail::exception const& error) override {
        // cppcheck-suppress missingReturn ; Refuse does not return
        source.Refuse("expected JSON: " + ReasonOf(error));
    }

    ParsedJson const* Find(std::string const& path) const {
        auto const found = facts.find(path);
        return found == facts.end() || found->second.is_null() ? nullptr : &found->second;
    }

    bool HasRowArray() const { return rowDepth > 1; }
    std::size_t RowCount() const { return rowCount; }
    std::size_t RowDigest() const { return rowDigest; }

private:
    enum class State { head, betweenRows, inRow };

    // Stores an empty name for a name that contains a slash, which could look like a known path.
    void StartMember(std::string&& name) {
        keys.back() = name.find('/') == std::string::npos ? std::move(name) : "";
        if (state != State::head)
            return;
        std::string const path = Path();
        if (IsRead(path) && !seenPaths.insert(path).second)
            source.Refuse("expected the member \"" + path + "\" once");
    }

    // True for the path of a known member, of an object that contains one, and of the rows.
    static bool IsRead(std::string const& path);

    void RefuseAsRows() const {
        if (state == State::head && Path() == "rows")
            source.Refuse("expected an array as \"rows\"");
    }

    bool IsInRow() const { return state == State::inRow && depth == rowDepth; }

    void Enter() {
        source.StartValue();
        if (IsInRow() && field < 2 * row.size())
            source.Refuse("expected a string as \"" + NameOf(field) + "\"");
        if (++depth > maxStoredDepth)
            source.Refuse("expected at most " + std::to_string(maxStoredDepth) + " levels");
        keys.emplace_back();
    }

    bool Leave() {
        source.StartValue();
        --depth;
        keys.pop_back();
        return true;
    }

    // Returns the path of the current member, such as "provenance/host"; empty outside of objects.
    std::string Path() const {
        std::string path = keys.empty() ? "" : keys.front();
        for (std::size_t index = 1; index < keys.size(); ++index)
            path += "/" + keys[index];
        return path;
    }

    bool TakeFact(ParsedJson value) {
        source.StartValue();
        RefuseAsRows();
        if (state == State::head && depth == 0)
            source.Refuse("expected an object");
        if (state == State::betweenRows)
            source.Refuse("expected a row");
        if (IsInRow() && field < 2 * row.size())
            source.Refuse("expected a string as \"" + NameOf(field) + "\"");
        if (state == State::head)
            AddFact(Path(), std::move(value));
        return true;
    }

    // Stores a known member. Skips all others, which may be numerous.
    void AddFact(std::string const& path, ParsedJson value);

    static std::string NameOf(std::size_t field) {
        return field < rowFieldNames.size()
                   ? rowFieldNames[field]
                   : rowFieldNames[field - rowFieldNames.size()] + std::string(base64Suffix);
    }

    // Returns the index of a field, or for its base64 member the index plus the number of fields.
    // Returns twice the number of fields for other names.
    static std::size_t FieldOf(std::string_view name) {
        bool const isBase64 = name.ends_with(base64Suffix);
        if (isBase64)
            name.remove_suffix(base64Suffix.size());
        auto const found = std::ranges::find(rowFieldNames, name);
        if (found == rowFieldNames.end())
            return 2 * rowFieldNames.size();
        return static_cast<std::size_t>(found - rowFieldNames.begin()) +
               (isBase64 ? rowFieldNames.size() : 0);
    }

    // Sets the bit of a field. Refuses a repeated member.
    void NoteField(unsigned int& fields, std::size_t index, std::size_t name) {
        if ((fields >> index & 1) != 0)
            source.Refuse("expected the member \"" + NameOf(name) + "\" once in the row");
        fields |= 1U << index;
    }

    void SetField(std::size_t index, std::string&& value) {
        NoteField(seen, index, index);
        if ((exact >> index & 1) == 0)
            row[index] = std::move(value);
    }

    void SetBytes(std::size_t index, std::string const& base64) {
        std::optional<std::string> bytes = DecodeBase64(base64);
        if (!bytes)
            source.Refuse("expected base64 as \"" + NameOf(index + row.size()) + "\"");
        NoteField(exact, index, index + row.size());
        row[index] = std::move(*bytes);
    }

    void FinishRow() {
        for (std::size_t index = 0; index < row.size(); ++index)
            if ((seen >> index & 1) == 0)
                source.Refuse(std::string("expected the member \"") + rowFieldNames[index] +
                              "\" in the row");
        for (std::string const& text : row)
            rowDigest = MixHash(rowDigest, text);
        useRow(std::move(row));
        row = {};
        seen = exact = 0;
        ++rowCount;
        state = State::betweenRows;
    }

    // Removes the exception's ID and the text that was read last, which may be long, from the
    // message of the parser.
    static std::string ReasonOf(nlohmann::detail::exception const& error) {
        if (error.id == numberOutOfRange)
            return "a number is out of range";
        std::string reason = error.what();
        std::size_t const start = reason.find(" - ");
        // nlohmann_json 3.11 and later describe empty input differently.
        // GCOVR_EXCL_START: depends on the version of nlohmann_json
        if (start == std::string::npos)
            return "unexpected end of input; expected '[', '{', or a literal";
        // GCOVR_EXCL_STOP
        reason.erase(0, start + 3);
        return reason.substr(0, reason.find("; last read"));
    }

    Source& source;
    std::function<void(StoredRow&&)> const& useRow;
    State state = State::head;
    std::size_t depth = 0;
    // The depth inside a row: 1 for JSON lines, more in the array of rows.
    std::size_t rowDepth = 1;
    std::vector<std::string> keys;
    std::map<std::string, ParsedJson> facts;
    // The paths of the known members so far.
    std::set<std::string> seenPaths;
    StoredRow row;
    // The current field, and bit sets of the fields so far: as text and in base64.
    std::size_t field = 0;
    unsigned int seen = 0;
    unsigned int exact = 0;
    std::size_t rowCount = 0;
    std::size_t rowDigest = 0;
};

enum class FactType { text, version, count, status, boolean, time };

struct Fact {
    std::string_view path;
    // cppcheck-suppress unusedStructMember ; read through an iterator
    FactType type;
    bool mayBeNull = false;
};

constexpr std::array knownFacts = {
    Fact{"schemaVersion", FactType::version},
    Fact{"outcome", FactType::text},
    Fact{"rowCount", FactType::count},
    Fact{"exitStatus", FactType::status},
    Fact{"failure", FactType::text},
    Fact{"message", FactType::text},
    Fact{"provenance/url", FactType::text, true},
    Fact{"provenance/urlBase64", FactType::text},
    Fact{"provenance/document", FactType::text, true},
    Fact{"provenance/documentBase64", FactType::text},
    Fact{"provenance/host", FactType::text},
    Fact{"provenance/hostBase64", FactType::text},
    Fact{"provenance/start", FactType::time},
    Fact{"provenance/end", FactType::time},
    Fact{"provenance/response/fresh", FactType::boolean},
    Fact{"provenance/agent/modified", FactType::time, true},
};

bool IsUpTo(ParsedJson const& value, std::uint64_t limit) {
    return value.is_number_unsigned() && value.get<std::uint64_t>() <= limit;
}

bool HasType(ParsedJson const& value, FactType type) {
    constexpr std::uint64_t maxStatus = 255;
    switch (type) {
    case FactType::text:
        return value.is_string() &&
               value.get_ref<std::string const&>().size() <= maxStoredFactBytes;
    case FactType::version:
        return value.is_number_integer();
    case FactType::count:
        return IsUpTo(value, maxStoredBytes);
    case FactType::status:
        return IsUpTo(value, maxStatus);
    case FactType::boolean:
        return value.is_boolean();
    default:
        return HasType(value, FactType::text) &&
               ParseTimestamp(value.get_ref<std::string const&>());
    }
}

std::string DescribeType(FactType type) {
    constexpr std::array words = {
        "a string of at most 4096 bytes", "an integer",    "a number of rows",
        "an integer from 0 to 255",       "true or false", "a time (RFC 3339)"};
    static_assert(maxStoredFactBytes == 4096);
    return words[static_cast<std::size_t>(type)];
}

bool DocumentHandler::IsRead(std::string const& path) {
    return path == "rows" || std::ranges::any_of(knownFacts, [&path](Fact const& fact) {
               return fact.path.starts_with(path) &&
                      (fact.path.size() == path.size() || fact.path[path.size()] == '/');
           });
}

void DocumentHandler::AddFact(std::string const& path, ParsedJson value) {
    auto const known = std::ranges::find(knownFacts, path, &Fact::path);
    if (known == knownFacts.end())
        return;
    if (!(value.is_null() && known->mayBeNull) && !HasType(value, known->type))
        source.Refuse("expected " + DescribeType(known->type) + " as \"" + path + "\"");
    facts[path] = std::move(value);
}

// The members of a document after parsing, checked and converted.
class StoredDocument {
public:
    StoredDocument(DocumentHandler const& theHandler, Source const& theSource)
        : handler(theHandler), source(theSource) {}

    bool IsFinished() const { return RequiredText("outcome") == "finished"; }

    // Refuses documents that are not results. REQUIRES: called before the other members.
    void Check() const {
        if (Require("schemaVersion") != 1)
            source.Refuse("expected \"schemaVersion\": 1");
        std::string const outcome = RequiredText("outcome");
        if (outcome != "finished" && outcome != "failed")
            source.Refuse("expected \"finished\" or \"failed\" as \"outcome\"");
    }

    StoredResult Make() const {
        StoredResult result;
        result.finished = IsFinished();
        result.rowCount = handler.RowCount();
        result.rowDigest = handler.RowDigest();
        result.state = source.State();
        if (result.finished) {
            auto const expected = Require("rowCount").get<std::size_t>();
            if (expected != result.rowCount)
                source.Refuse("expected " + FormatRowCount(expected) + ", not " +
                              std::to_string(result.rowCount));
        } else {
            result.exitStatus = Require("exitStatus").get<int>();
            result.failure = Text("failure").value_or("");
            result.message = RequiredText("message");
        }
        if (handler.Find("provenance/host") != nullptr)
            result.provenance = MakeProvenance();
        return result;
    }

private:
    StoredProvenance MakeProvenance() const {
        StoredProvenance provenance;
        provenance.url = Text("provenance/url");
        provenance.document = Text("provenance/document");
        provenance.host = RequiredText("provenance/host");
        provenance.start = RequiredTime("provenance/start");
        provenance.end = RequiredTime("provenance/end");
        ParsedJson const* const fresh = handler.Find("provenance/response/fresh");
        provenance.stale = fresh == nullptr ? IsFinished() : !fresh->get<bool>();
        if (handler.Find("provenance/agent/modified") != nullptr)
            provenance.agentModified = RequiredTime("provenance/agent/modified");
        return provenance;
    }

    ParsedJson const& Require(std::string const& path) const {
        ParsedJson const* const found = handler.Find(path);
        if (found == nullptr)
            source.Refuse("expected the member \"" + path + "\" of a result of compliance-query");
        return *found;
    }

    // Returns the exact bytes of a text.
    std::optional<std::string> Text(std::string const& path) const {
        if (ParsedJson const* const base64 = handler.Find(path + std::string(base64Suffix))) {
            std::optional<std::string> bytes = DecodeBase64(base64->get_ref<std::string const&>());
            if (!bytes)
                source.Refuse("expected base64 as \"" + path + std::string(base64Suffix) + "\"");
            return bytes;
        }
        ParsedJson const* const text = handler.Find(path);
        return text == nullptr ? std::nullopt : std::optional(text->get<std::string>());
    }

    std::string RequiredText(std::string const& path) const {
        Require(path);
        return *Text(path);
    }

    StoredTime RequiredTime(std::string const& path) const {
        std::string const text = RequiredText(path);
        return {text, *ParseTimestamp(text)};
    }

    DocumentHandler const& handler;
    Source const& source;
};

// Skips whitespace. Returns false at the end.
bool HasMore(Source& source) {
    while (!source.IsAtEnd() &&
           std::string_view(" \t\r\n").find(source.Peek()) != std::string_view::npos)
        source.Skip();
    return !source.IsAtEnd();
}

void Parse(Source& source, DocumentHandler& handler) {
    // Leave bytes after the document in the source.
    constexpr bool strict = false;
    ParsedJson::sax_parse(SourceIterator(&source), SourceIterator(nullptr), &handler,
                          nlohmann::detail::input_format_t::json, strict);
}

} // namespace

std::string FoldHostName(std::string name) {
    std::ranges::transform(name, name.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return name;
}

bool FileState::operator==(FileState const& other) const {
    return std::tie(device, inode, size, modified.tv_sec, modified.tv_nsec) ==
           std::tie(other.device, other.inode, other.size, other.modified.tv_sec,
                    other.modified.tv_nsec);
}

FileState StateOfFile(std::string const& path) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0)
        throw StoredResultError(path + ": could not be opened: " + std::strerror(errno));
    return MakeState(facts);
}

std::size_t MixHash(std::size_t hash, std::string_view text) {
    constexpr std::size_t oddFactor = 0x9E3779B97F4A7C15;
    return (hash ^ std::hash<std::string_view>()(text)) * oddFactor + 1;
}

StoredResult ReadStoredResult(std::string const& path, StoredKind kind,
                              std::function<void(StoredRow&&)> const& useRow) {
    Source source(path, kind);
    DocumentHandler handler(source, useRow);
    StoredDocument const document(handler, source);
    Parse(source, handler);
    document.Check();
    if (document.IsFinished() && !handler.HasRowArray()) {
        handler.ExpectRows();
        while (HasMore(source))
            Parse(source, handler);
    }
    if (HasMore(source))
        source.Refuse("expected the end of the file");
    return document.Make();
}

#include "files/FileErrors.h"

#include <cstring>
#include <typeinfo>

#include "data/MakeAsciiNumeral.h"
#include "files/FileLocation.h"

// The contents of an error, on the heap to keep the exception object small.
struct FileIOErrorDetails {
    FileIOErrorDetails(int theCode, ConstData first, ConstData second)
        : code(theCode), firstName(MakeString(first)), secondName(MakeString(second)) {}

    int code;
    std::string firstName;
    std::string secondName;
    // Empty until the first what().
    std::string message;
};

static_assert(sizeof(FileIOError) == sizeof(DebuggableException) + sizeof(void*),
              "one pointer besides the virtual table");
static_assert(sizeof(FileNotFoundError) == sizeof(FileIOError),
              "the classes add nothing but their type");

namespace {

void AppendQuoted(std::string& text, char const* introduction, ConstData quoted) {
    text += introduction;
    text += '"';
    text += quoted.View();
    text += '"';
}

} // namespace

FileIOError::FileIOError(int code) : FileIOError(ConstData(), code) {}

FileIOError::FileIOError(ConstData name, int code) : FileIOError(name, ConstData(), code) {}

FileIOError::FileIOError(ConstData first, ConstData second, int code)
    : details(new FileIOErrorDetails(code, first, second)) {} // GCOVR_EXCL_BR_LINE: may throw

FileIOError::FileIOError(FileLocation const& where, int code) : FileIOError(where.Bytes(), code) {}

FileIOError::FileIOError(FileLocation const& first, FileLocation const& second, int code)
    : FileIOError(first.Bytes(), second.Bytes(), code) {}

FileIOError::FileIOError(FileIOError const& other)
    : FileIOError(other.details->firstName, other.details->secondName, other.details->code) {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): memberwise, so it is safe
FileIOError& FileIOError::operator=(FileIOError const& other) {
    details->code = other.details->code;
    details->firstName = other.details->firstName;
    details->secondName = other.details->secondName;
    return *this;
}

FileIOError::~FileIOError() {
    delete details; // GCOVR_EXCL_BR_LINE: never null
    details = nullptr;
}

int FileIOError::GetCode() const { return details->code; }

std::string FileIOError::MakeErrorMessage() const {
    std::string message;
    AppendQuoted(message, "File error ", typeid(*this).name());
    if (!details->firstName.empty())
        AppendQuoted(message, " on ", details->firstName);
    if (!details->secondName.empty())
        AppendQuoted(message, " and ", details->secondName);
    if (details->code != 0)
        message += ": " + MakeErrorString(static_cast<unsigned int>(details->code));
    return message;
}

char const* FileIOError::what() const noexcept {
    try {
        details->message = MakeErrorMessage();
        return details->message.c_str();
    } catch (...) {
        return typeid(*this).name();
    }
}

std::string MakeErrorString(unsigned int errorNumber) {
    std::string const numeral = MakeString(MakeAsciiDecimalNumeral(errorNumber, 1));
    char buffer[256];
    // The GNU variant returns the text, and usually does not use the buffer.
    char const* const words = strerror_r(static_cast<int>(errorNumber), buffer, sizeof(buffer));
    if (words == nullptr)
        return "Unknown error: " + numeral;
    return "Error: " + numeral + ": " + words;
}

#include "data/ExceptionPL.h"

#include <cstring>
#include <memory>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/data/DataTest.h"

class TextError : public ExceptionPL {
public:
    using ExceptionPL::Construct;
    using ExceptionPL::ExceptionPL;
};

namespace {

static_assert(!std::is_default_constructible_v<ExceptionPL>, "the message is required");

TEST(ExceptionPLTest, KeepsACopyOfTheText) {
    std::string text = "the text";
    ExceptionPL first(text.c_str());
    ExceptionPL const ofRange{ConstData(text)};
    ExceptionPL const copy(first);
    text.assign("overwritten");
    EXPECT_EQ(&first, &(first = ExceptionPL("a longer text than before")));
    EXPECT_STREQ("a longer text than before", first.what());
    EXPECT_STREQ("the text", ofRange.what());
    EXPECT_STREQ("the text", copy.what());
}

TEST(ExceptionPLTest, EmptyTextIsNotNull) {
    EXPECT_STREQ("", ExceptionPL("").what());
    EXPECT_STREQ("", ExceptionPL(ConstData()).what());
    EXPECT_STREQ("", ExceptionPL(ExceptionPL("")).what());
}

TEST(ExceptionPLTest, StoresTheBytesAfterANul) {
    ExceptionPL const error("ab\0cd"_bytes);
    EXPECT_STREQ("ab", error.what());
    EXPECT_EQ("ab\0cd"_bytes, ConstData(error.what(), 5));
}

// Deliberate: a copy ends at the first NUL.
TEST(ExceptionPLTest, CopiesEndAtTheFirstNul) {
    ExceptionPL const error(ConstData(std::string("ab\0", 3) + std::string(60, 'x')));
    AllocationCounter const counter;
    ExceptionPL const copy(error);
    EXPECT_EQ(3u, counter.Bytes()) << "two bytes and a NUL";
    ExceptionPL assigned("other");
    assigned = error;
    EXPECT_STREQ("ab", copy.what());
    EXPECT_STREQ("ab", assigned.what());
}

TEST(ExceptionPLTest, AllocatesTheTextAndItsNul) {
    AllocationCounter const counter;
    ExceptionPL const error("the text");
    ExceptionPL const ofRange("a\0b"_bytes);
    EXPECT_EQ(2u, counter.Count());
    EXPECT_EQ(9u + 4u, counter.Bytes());
}

// A string longer than 4 GiB: one small file, mapped many times.
class HugeText {
public:
    explicit HugeText(std::string const& tail)
        : text(Map(nullptr, length + pageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1)) {
        Map(text + length, pageSize, PROT_READ | PROT_WRITE,
            MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1);
        int const file = memfd_create("text", 0);
        std::string const filling(stretch, 'x');
        EXPECT_EQ(static_cast<ssize_t>(stretch), write(file, filling.data(), stretch));
        for (std::uint64_t offset = 0; offset < length; offset += stretch)
            Map(text + offset, stretch, PROT_READ, MAP_SHARED | MAP_FIXED | MAP_POPULATE, file);
        close(file);
        std::memcpy(text + length, tail.c_str(), tail.size() + 1);
    }
    ~HugeText() { munmap(text, length + pageSize); }
    HugeText(HugeText const&) = delete;
    HugeText& operator=(HugeText const&) = delete;

    char const* Text() const { return text; }

private:
    static constexpr std::uint64_t length = std::uint64_t{1} << 32;
    static constexpr std::uint64_t stretch = std::uint64_t{1} << 24;
    static constexpr std::uint64_t pageSize = 4096;

    static char* Map(char* where, std::uint64_t size, int protection, int flags, int file) {
        void* const result = mmap(where, size, protection, flags, file, 0);
        if (result == MAP_FAILED)
            throw std::bad_alloc();
        return static_cast<char*>(result);
    }

    char* text;
};

// Deliberate: the length has 32 bits.
TEST(ExceptionPLTest, LengthIsTruncatedTo32Bits) {
    HugeText const huge("ab");
    EXPECT_STREQ("xx", ExceptionPL(huge.Text()).what());
}

TEST(ExceptionPLTest, ConstructDoesNotFreeTheFormerText) {
    TextError error("before");
    std::unique_ptr<char const[]> const before(error.what());
    error.Construct("after");
    EXPECT_STREQ("before", before.get());
    EXPECT_STREQ("after", error.what());
}

TEST(ExceptionPLTest, SelfAssignmentKeepsTheText) {
    TextError error("text");
    DebuggableException const& base = error;
    char const* const before = error.what();
    ExceptionPL const& same = error;
    static_cast<ExceptionPL&>(error) = same;
    EXPECT_EQ(before, base.what());
    EXPECT_STREQ("text", before);
}

TEST(ExceptionPLTest, FailedAllocationInTheCopyConstructorThrows) {
    ExceptionPL const source("text");
    FailingAllocation const failing(1);
    EXPECT_THROW(ExceptionPL copy(source), std::bad_alloc);
}

// Deliberate: the old text is released first, so the text is empty after a failure. No text is
// freed twice.
TEST(ExceptionPLTest, FailedAssignmentLeavesNoText) {
    ExceptionPL const source("new");
    ExceptionPL error("old");
    auto const failToAssign = [&] {
        FailingAllocation const failing(1);
        EXPECT_THROW(error = source, std::bad_alloc);
    };
    failToAssign();
    EXPECT_EQ(nullptr, error.what());
    EXPECT_STREQ("", ExceptionPL(error).what());
    error = source;
    EXPECT_STREQ("new", error.what());
    // The destructor also accepts an object without text.
    failToAssign();
    EXPECT_EQ(nullptr, error.what());
}

} // namespace

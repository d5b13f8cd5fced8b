#include "companions/FileContent.h"

#include "tests/companions/StoredResults.h"

namespace {

class FileContentTest : public testing::Test {
protected:
    std::optional<std::string> ReadFirst(std::size_t max) const {
        int const descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
        std::optional<std::string> content = ReadContent(descriptor, max);
        close(descriptor);
        return content;
    }

    TemporaryDirectory const directory;
    std::string const file = WriteFile(directory / "file", std::string("a\0b", 3));
};

TEST_F(FileContentTest, ReturnsAtMostTheLimit) {
    EXPECT_EQ(std::string("a\0b", 3), ReadFirst(100));
    EXPECT_EQ(std::string("a\0b", 3), ReadFirst(3));
    EXPECT_EQ(std::string("a\0", 2), ReadFirst(2));
    EXPECT_EQ("", ReadFirst(0));
}

TEST_F(FileContentTest, ReadsAPipeUntilItsEnd) {
    Pipe line;
    std::thread writer([&] {
        for (char const byte : {'x', 'y', 'z'}) {
            EXPECT_EQ(1, write(line.writer(), &byte, 1));
            usleep(1000);
        }
        line.CloseWriter();
    });
    EXPECT_EQ("xyz", ReadContent(line.reader(), 100));
    writer.join();
}

TEST_F(FileContentTest, SignalsDoNotEndTheRead) {
    static volatile std::sig_atomic_t received;
    received = 0;
    struct sigaction former {};
    struct sigaction action {};
    action.sa_handler = [](int) {
        received = 1;
    };
    sigaction(SIGUSR1, &action, &former);
    Pipe line;
    std::thread writer([&line, reader = pthread_self()] {
        for (int count = 0; count < 20; ++count) {
            usleep(5000);
            pthread_kill(reader, SIGUSR1);
        }
        EXPECT_EQ(1, write(line.writer(), "x", 1));
        line.CloseWriter();
    });
    EXPECT_EQ("x", ReadContent(line.reader(), 100));
    writer.join();
    sigaction(SIGUSR1, &former, nullptr);
    EXPECT_EQ(1, received);
}

TEST_F(FileContentTest, FailureSetsErrno) {
    int const descriptor = open(directory.path().c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(std::nullopt, ReadContent(descriptor, 100));
    EXPECT_EQ(EISDIR, errno);
    close(descriptor);
}

} // namespace

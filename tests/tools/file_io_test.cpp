#include "file_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <random>
#include <string>
#include <vector>

#include "errors.h"
#include "support/test_host.h"
#include "tools/temporary_directory.h"

namespace {

using dxrsh::Input;
using dxrsh::Line;
using dxrsh::LineReader;
using dxrsh::Output;
using dxrtest::TemporaryDirectory;

struct ReadLine {
    std::string text;
    bool complete;
    bool operator==(const ReadLine &) const = default;
};

std::vector<ReadLine> ReadLines(const std::string &bytes) {
    const TemporaryDirectory directory;
    Input input(directory.Write("lines", bytes));
    EXPECT_EQ(input.Size(), bytes.size());
    LineReader reader(input);
    std::vector<ReadLine> lines;
    Line line{};
    while (reader.Next(line)) {
        EXPECT_EQ(line.text.data()[line.text.size()], '\0');
        lines.push_back({std::string(line.text), line.complete});
    }
    EXPECT_FALSE(reader.Next(line)) << "the end is final";
    EXPECT_EQ(reader.BytesRead(), bytes.size());
    return lines;
}

TEST(LineReader, AnEmptyFileHasNoLines) {
    EXPECT_EQ(ReadLines(""), std::vector<ReadLine>());
}

TEST(LineReader, ALineBreakAloneIsAnEmptyLine) {
    EXPECT_EQ(ReadLines("\n\n"), (std::vector<ReadLine>{{"", true}, {"", true}}));
}

TEST(LineReader, TheLastLineMayBeIncomplete) {
    EXPECT_EQ(ReadLines("a\nbc"), (std::vector<ReadLine>{{"a", true}, {"bc", false}}));
    EXPECT_EQ(ReadLines("a\nbc\n"), (std::vector<ReadLine>{{"a", true}, {"bc", true}}));
}

TEST(LineReader, AnyBytesAreKept) {
    const std::string odd("\0\r\xff\x80", 4);
    EXPECT_EQ(ReadLines(odd + "\n" + odd), (std::vector<ReadLine>{{odd, true}, {odd, false}}));
}

TEST(LineReader, LinesLongerThanOneBlockAreWhole) {
    const std::string longLine(3'000'001, 'x');
    EXPECT_EQ(
        ReadLines("a\n" + longLine + "\nb\n" + longLine),
        (std::vector<ReadLine>{{"a", true}, {longLine, true}, {"b", true}, {longLine, false}}));
}

TEST(LineReader, RandomLinesComeBackWhole) {
    std::mt19937_64 random(dxrtest::Seed());
    std::uniform_int_distribution<size_t> anyLength(0, 2000);
    std::uniform_int_distribution<int> anyByte(0, 255);
    std::vector<ReadLine> expected;
    std::string bytes;
    while (bytes.size() < 5'000'000) {
        std::string text(anyLength(random), static_cast<char>(anyByte(random)));
        if (!text.empty() && text[0] == '\n') {
            continue;
        }
        bytes += text + "\n";
        expected.push_back({std::move(text), true});
    }
    EXPECT_TRUE(ReadLines(bytes) == expected);
}

TEST(LineReader, AheadShowsWhatIsInMemory) {
    const TemporaryDirectory directory;
    Input input(directory.Write("lines", "a\nb\n"));
    LineReader reader(input);
    EXPECT_EQ(reader.Ahead(), "");
    reader.Prime();
    EXPECT_EQ(reader.Ahead(), "a\nb\n");
    reader.Prime();
    EXPECT_EQ(reader.BytesRead(), 4U) << "the second call reads nothing";
    Line line{};
    ASSERT_TRUE(reader.Next(line));
    EXPECT_EQ(line.text, "a");
    EXPECT_EQ(reader.Ahead(), "b\n");
}

TEST(LineReader, TheCallbackComesBeforeEachRead) {
    const TemporaryDirectory directory;
    Input input(directory.Write("lines", "a\nb\n"));
    LineReader reader(input);
    std::vector<uint64_t> bytesAtRead;
    reader.OnRead([&] { bytesAtRead.push_back(reader.BytesRead()); });
    Line line{};
    while (reader.Next(line)) {
    }
    EXPECT_EQ(bytesAtRead, (std::vector<uint64_t>{0, 4}));
}

TEST(Input, AMissingFileIsOneClearLine) {
    try {
        const Input input("/nonexistent/log");
        FAIL() << "opened";
    } catch (const dxrsh::RunError &error) {
        EXPECT_STREQ(error.what(), "cannot open /nonexistent/log: No such file or directory");
    }
}

TEST(Input, ADirectoryCannotBeRead) {
    const TemporaryDirectory directory;
    Input input(directory.Path());
    char byte = 0;
    EXPECT_THROW((void)input.Read(&byte, 1), dxrsh::RunError);
}

TEST(ReadWhole, GivesAllBytes) {
    const TemporaryDirectory directory;
    std::string bytes(2'500'000, 'a');
    bytes += '\0';
    Input input(directory.Write("file", bytes));
    EXPECT_TRUE(dxrsh::ReadWhole(input, bytes.size()) == bytes);
}

TEST(ReadWhole, RefusesWhatIsTooLong) {
    const TemporaryDirectory directory;
    Input input(directory.Write("file", "abcd"));
    EXPECT_THROW((void)dxrsh::ReadWhole(input, 3), dxrsh::RunError);
}

TEST(Output, WritesAtTheFlush) {
    const TemporaryDirectory directory;
    const int fd = open(directory.Path("out").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(fd, 0);
    Output output(fd);
    output.Write("one ");
    output.Write("two");
    EXPECT_EQ(directory.Read("out"), "");
    output.Flush();
    EXPECT_EQ(directory.Read("out"), "one two");
    const std::string large(1'000'000, 'x');
    output.Write(large);
    EXPECT_TRUE(directory.Read("out") == "one two" + large) << "a full buffer goes out by itself";
    close(fd);
}

TEST(Output, AReaderThatLeftIsNoFailure) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    Output output(ends[1]);
    output.Write("x");
    EXPECT_THROW(output.Flush(), dxrsh::BrokenPipe);
    EXPECT_NO_THROW(output.Flush()) << "nothing is left to write";
    (void)std::signal(SIGPIPE, before);
    close(ends[1]);
}

TEST(Output, AFullDeviceIsAFailure) {
    const int fd = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    Output output(fd);
    output.Write("x");
    try {
        output.Flush();
        ADD_FAILURE() << "written";
    } catch (const dxrsh::RunError &error) {
        EXPECT_STREQ(error.what(), "cannot write the output: No space left on device");
    }
    close(fd);
}

}  // namespace

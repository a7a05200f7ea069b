// dxrsh bin and dxrsh latest as a user runs them.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tools/expect_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::ExpectFails;
using dxrtest::ExpectPrints;
using dxrtest::TemporaryDirectory;

// --- bin

TEST(DxrshBin, LoadsAFile) {
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.Path("bin"));
    directory.Write("bin/data", "123456789");
    ExpectPrints({"bin", "bin", "data", "--work", directory.Path()},
                 directory.Path() + "/bin/data: 9 bytes, CRC-8 0xa2\n");
}

TEST(DxrshBin, LoadsTheLongestFileAndNoLonger) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("data", "");
    std::filesystem::resize_file(path, 10485759);
    ExpectPrints({"bin", ".", "data", "--work", directory.Path()},
                 directory.Path() + "/./data: 10485759 bytes, CRC-8 0x00\n");
    std::filesystem::resize_file(path, 10485760);
    ExpectFails({"bin", ".", "data", "--work", directory.Path()}, 1,
                "cannot load " + directory.Path() +
                    "/./data: has 10485760 bytes, 1 to 10485759 can be loaded");
}

TEST(DxrshBin, AnEmptyFileIsRefused) {
    const TemporaryDirectory directory;
    directory.Write("data", "");
    ExpectFails(
        {"bin", ".", "data", "--work", directory.Path()}, 1,
        "cannot load " + directory.Path() + "/./data: has 0 bytes, 1 to 10485759 can be loaded");
}

TEST(DxrshBin, AMissingFileIsAFailure) {
    ExpectFails({"bin", "no", "file", "--work", "/nonexistent"}, 1,
                "cannot load /nonexistent/no/file: No such file or directory");
}

TEST(DxrshBin, AWorkPathThatIsTooLongIsAFailure) {
    const std::string work = "/" + std::string(255, 'w');
    ExpectFails({"bin", "no", "file", "--work", work}, 1,
                "the path is longer than 255 bytes: " + work + "/no/file");
}

TEST(DxrshBin, BothNamesAreRequired) {
    ExpectFails({"bin", "folder"}, 2, "NAME is required");
}

TEST(DxrshBin, ALineBreakInANameLeavesTheComplaintOnOneLine) {
    ExpectFails({"bin", "no", "a\nb\x1b", "--work", "/nonexistent"}, 1,
                "cannot load /nonexistent/no/a\\x0ab\\x1b: No such file or directory");
}

TEST(DxrshBin, APathThatWouldBeCutIsRefused) {
    const TemporaryDirectory directory;
    directory.Write("data", "123456789");
    const std::string work = directory.Path();
    const std::string folder(255 - work.size() - std::string("//data").size(), '/');
    const std::string path = work + "/" + folder + "/data";
    ASSERT_EQ(path.size(), 255U);
    ExpectPrints({"bin", folder, "data", "--work", work}, path + ": 9 bytes, CRC-8 0xa2\n");
    ExpectFails({"bin", folder, "data1", "--work", work}, 1,
                "the path is longer than 255 bytes: " + path + "1");
}

TEST(DxrshBin, AnEmptyWorkDirectoryIsRefused) {
    ExpectFails({"bin", "tmp", "f", "--work", ""}, 2, "--work: must not be empty");
}

// --- latest

TEST(DxrshLatest, TheGreatestNameWins) {
    const TemporaryDirectory directory;
    directory.Write("a_20240101.bin", "");
    directory.Write("a_20240315.bin", "");
    directory.Write("b_20250101.bin", "");
    ExpectPrints({"latest", directory.Path(), "a_"}, "a_20240315.bin\n");
    ExpectPrints({"latest", directory.Path(), ""}, "b_20250101.bin\n");
}

TEST(DxrshLatest, NoMatchIsAFailure) {
    const TemporaryDirectory directory;
    ExpectFails({"latest", directory.Path(), "zz"}, 1,
                "no name in " + directory.Path() + " contains 'zz'");
}

TEST(DxrshLatest, ALineBreakInThePatternLeavesTheComplaintOnOneLine) {
    const TemporaryDirectory directory;
    ExpectFails({"latest", directory.Path(), "a\nb"}, 1,
                "no name in " + directory.Path() + " contains 'a\\x0ab'");
}

TEST(DxrshLatest, APathThatIsTooLongIsAFailure) {
    const TemporaryDirectory directory;
    directory.Write("a", "");
    const std::string path = directory.Path() + std::string(255 - directory.Path().size(), '/');
    ExpectPrints({"latest", path, "a"}, "a\n");
    ExpectFails({"latest", path + "/", "a"}, 1, "the path is longer than 255 bytes: " + path + "/");
}

TEST(DxrshLatest, AnEmptyDirectoryNameIsRefused) {
    ExpectFails({"latest", "", "a"}, 2, "DIR: must not be empty");
}

TEST(DxrshLatest, AMissingDirectoryIsAFailure) {
    ExpectFails({"latest", "/nonexistent", "a"}, 1,
                "cannot search /nonexistent: No such file or directory");
}

}  // namespace

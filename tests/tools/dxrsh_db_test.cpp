// dxrsh db as a user runs it.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "dxr_devhost.h"
#include "tools/expect_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::ExpectFails;
using dxrtest::ExpectPrints;
using dxrtest::TemporaryDirectory;

TEST(DxrshDb, InitMakesAChassisThatTheHostReads) {
    const TemporaryDirectory directory;
    const std::string path = directory.Path("chassis.db");
    ExpectPrints({"db", "init", path}, "");
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.database = path.c_str();
    DxrHost *const host = DxrHostCreate(&options);
    ASSERT_EQ(DxrHostRegister(host), 0U);
    EXPECT_EQ(DXR_GetLpuDevId(4), 260U);
    EXPECT_EQ(DxrHostGetReportCount(host), 0U);
    EXPECT_EQ(DxrHostDestroy(host, nullptr), 0U);
}

TEST(DxrshDb, InitOverwritesNothing) {
    const TemporaryDirectory directory;
    const std::string path = directory.Write("text", "mine");
    ExpectFails({"db", "init", path}, 1, "db: " + path + ": exists already");
    EXPECT_EQ(directory.Read("text"), "mine");
    ExpectFails({"db", "init", directory.Path()}, 1,
                "db: " + directory.Path() + ": exists already");
}

TEST(DxrshDb, InitSaysWhyItCannotWrite) {
    const TemporaryDirectory directory;
    const std::string path = directory.Path("no/such");
    ExpectFails({"db", "init", path}, 1,
                "db: " + path +
                    ": cannot be written: "
                    "No such file or directory");
    ExpectFails({"db", "init", ""}, 2, "FILE: must not be empty");
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

TEST(DxrshDb, NeedsToBeToldWhat) {
    ExpectFails({"db"}, 2, "name a command; 'dxrsh db --help' lists them");
    ExpectFails({"db", "init"}, 2, "FILE is required");
    ExpectFails({"db", "drop"}, 2, "there is no command 'drop'; 'dxrsh db --help' lists them");
}

}  // namespace

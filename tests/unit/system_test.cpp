#include "dxr/system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

struct AccessCall {
    const char *name;
    int mode;
};

std::vector<AccessCall> g_accessCalls;
bool g_accessIsScripted = false;
int g_accessResult = 0;
int g_accessError = 0;

}  // namespace

// Stands before the C library's function, for the shared library as well.
extern "C" int access(const char *name, int mode) noexcept {
    g_accessCalls.push_back({name, mode});
    if (g_accessIsScripted) {
        errno = g_accessError;
        return g_accessResult;
    }
    return faccessat(AT_FDCWD, name, mode, 0);
}

namespace {

class System : public testing::Test {
  protected:
    System() {
        g_accessCalls.clear();
        g_accessIsScripted = false;
    }
    ~System() override { g_accessIsScripted = false; }
    dxrtest::TestHost host_;
};

TEST_F(System, BinFolderWithoutAHookIsTheWorkingDirectory) {
    const char *name = DXR_GetBinFolderName();
    ASSERT_NE(nullptr, name);
    EXPECT_STREQ(".", name);
    EXPECT_EQ(name, DXR_GetBinFolderName());
}

TEST_F(System, BinFolderIsTheHostsEvenNull) {
    static const char *answer = "bin";
    g_dxrHooks.system.getBinFolderName = [] { return answer; };
    EXPECT_EQ(answer, DXR_GetBinFolderName());
    answer = nullptr;
    EXPECT_EQ(nullptr, DXR_GetBinFolderName());
}

TEST_F(System, FilesAndDirectoriesExist) {
    const std::string directory = testing::TempDir();
    const std::string file = directory + "dxr_system_test_" + std::to_string(getpid());
    EXPECT_EQ(1U, DXR_IsFileExist("."));
    EXPECT_EQ(1U, DXR_IsFileExist(directory.c_str()));
    EXPECT_EQ(0U, DXR_IsFileExist(file.c_str()));
    std::ofstream(file).put('x');
    EXPECT_EQ(1U, DXR_IsFileExist(file.c_str()));
    ASSERT_EQ(0, unlink(file.c_str()));
    EXPECT_EQ(0U, DXR_IsFileExist(file.c_str()));
}

TEST_F(System, NoNameIsNoFile) {
    EXPECT_EQ(0U, DXR_IsFileExist(""));
    g_accessCalls.clear();
    EXPECT_EQ(0U, DXR_IsFileExist(nullptr));
    EXPECT_TRUE(g_accessCalls.empty());
}

TEST_F(System, ExistenceIsAskedOfTheSystemOnce) {
    const char name[] = "some/name";
    g_accessIsScripted = true;
    g_accessResult = 0;
    EXPECT_EQ(1U, DXR_IsFileExist(name));
    ASSERT_EQ(1U, g_accessCalls.size());
    EXPECT_EQ(name, g_accessCalls[0].name);
    EXPECT_EQ(F_OK, g_accessCalls[0].mode);
}

TEST_F(System, EveryFailureMeansMissing) {
    g_accessIsScripted = true;
    g_accessResult = -1;
    for (const int error : {ENOENT, EACCES, ENOTDIR, ELOOP, EIO, EINTR}) {
        g_accessError = error;
        g_accessCalls.clear();
        EXPECT_EQ(0U, DXR_IsFileExist("name"));
        EXPECT_EQ(1U, g_accessCalls.size());
    }
}

}  // namespace

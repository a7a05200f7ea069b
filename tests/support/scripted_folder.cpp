#include "support/scripted_folder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

namespace dxrtest {
namespace {

ScriptedFolder *g_folder = nullptr;
// Folders opened by other means, such as fdopendir, are not counted.
std::set<DIR *> g_openRealFolders;

template <typename Function>
Function *CLibrary(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

ScriptedFolder::ScriptedFolder(std::vector<std::string> names) : names_(std::move(names)) {
    g_folder = this;
}

ScriptedFolder::~ScriptedFolder() {
    EXPECT_FALSE(isOpen_) << "the folder was left open";
    g_folder = nullptr;
}

DIR *ScriptedFolder::Open(const char *path) {
    opened.emplace_back(path);
    if (openError_ != 0) {
        errno = openError_;
        return nullptr;
    }
    EXPECT_FALSE(isOpen_) << "the folder was opened twice";
    isOpen_ = true;
    next_ = 0;
    return Handle();
}

dirent *ScriptedFolder::Read() {
    EXPECT_TRUE(isOpen_) << "a closed folder was read";
    ++reads;
    // What an earlier entry left is no longer there for the reader.
    std::memset(entry_.d_name, 0x7F, sizeof(entry_.d_name) - 1);
    if (next_ == names_.size()) {
        if (observer_) {
            observer_(nullptr);
        }
        return nullptr;
    }
    const std::string &name = names_[next_++];
    EXPECT_LT(name.size(), sizeof(entry_.d_name));
    std::memcpy(entry_.d_name, name.c_str(), name.size() + 1);
    if (observer_) {
        observer_(entry_.d_name);
    }
    return &entry_;
}

int ScriptedFolder::Close() {
    EXPECT_TRUE(isOpen_) << "the folder was closed twice";
    isOpen_ = false;
    ++closes;
    std::memset(entry_.d_name, 0x7F, sizeof(entry_.d_name) - 1);
    return 0;
}

size_t OpenRealFolders() {
    return g_openRealFolders.size();
}

}  // namespace dxrtest

extern "C" {

DIR *opendir(const char *path) {
    if (dxrtest::g_folder != nullptr) {
        return dxrtest::g_folder->Open(path);
    }
    DIR *folder = dxrtest::CLibrary(opendir, "opendir")(path);
    if (folder != nullptr) {
        dxrtest::g_openRealFolders.insert(folder);
    }
    return folder;
}

dirent *readdir(DIR *folder) {
    if (dxrtest::g_folder != nullptr && folder == dxrtest::g_folder->Handle()) {
        return dxrtest::g_folder->Read();
    }
    return dxrtest::CLibrary(readdir, "readdir")(folder);
}

int closedir(DIR *folder) {
    if (dxrtest::g_folder != nullptr && folder == dxrtest::g_folder->Handle()) {
        return dxrtest::g_folder->Close();
    }
    dxrtest::g_openRealFolders.erase(folder);
    return dxrtest::CLibrary(closedir, "closedir")(folder);
}

}  // extern "C"

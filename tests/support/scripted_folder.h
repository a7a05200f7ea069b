// Folder reading under the test's control: opendir, readdir and closedir of the test executable
// stand before the C library's, so the library under test reads what the test wrote down, in that
// order.
#ifndef DXR_TESTS_SUPPORT_SCRIPTED_FOLDER_H
#define DXR_TESTS_SUPPORT_SCRIPTED_FOLDER_H

#include <dirent.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace dxrtest {

// One at a time. While it lives every folder that is opened is this one; folders opened before keep
// working.
class ScriptedFolder {
  public:
    explicit ScriptedFolder(std::vector<std::string> names);
    ~ScriptedFolder();
    ScriptedFolder(const ScriptedFolder &) = delete;
    ScriptedFolder &operator=(const ScriptedFolder &) = delete;

    // Opening fails with this error number.
    void FailOpening(int error) { openError_ = error; }
    // Called with the name of an entry each time one is handed out, and with null at the end.
    void OnRead(std::function<void(const char *)> observer) { observer_ = std::move(observer); }

    std::vector<std::string> opened;
    size_t reads = 0;  // the one after the last entry included
    size_t closes = 0;

    // For the stand-ins alone.
    DIR *Open(const char *path);
    dirent *Read();
    int Close();
    [[nodiscard]] DIR *Handle() { return reinterpret_cast<DIR *>(this); }

  private:
    std::vector<std::string> names_;
    int openError_ = 0;
    size_t next_ = 0;
    bool isOpen_ = false;
    dirent entry_ = {};
    std::function<void(const char *)> observer_;
};

// How many folders of the real file system were opened and not closed.
size_t OpenRealFolders();

}  // namespace dxrtest

#endif  // DXR_TESTS_SUPPORT_SCRIPTED_FOLDER_H

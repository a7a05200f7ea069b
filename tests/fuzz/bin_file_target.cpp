// Binary data files and the latest file of a folder beside the steps written down on texts. What
// the host's file hooks answer comes from the input.
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>

#include "dxr/hooks.h"
#include "dxr/memory.h"
#include "dxr/system_bin_file.h"
#include "fuzz/host.h"
#include "fuzz/memory_files.h"
#include "fuzz/model_text.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kPathSize = 256;
constexpr uint32_t kMostLength = 10'485'759;

MemoryFiles g_files;

// What the host answers.
struct Answers {
    std::string workPath;
    uint32_t workAnswer = 0;
    std::string path;  // of the one file
    std::string content;
    bool opens = true;
    uint32_t length = 0;
    uint32_t read = 0;
    int open = 0;
    uint32_t liveAtClose = 0;
} g_host;

uint32_t WorkPathHook(char *buffer, uint32_t size) {
    DXR_FUZZ_SAME(size == kPathSize);
    for (uint32_t i = 0; i < size; ++i) {
        DXR_FUZZ_SAME(buffer[i] == '\0');
    }
    // It may fill the buffer to its last byte.
    std::memcpy(buffer, g_host.workPath.data(), std::min<size_t>(g_host.workPath.size(), size));
    return g_host.workAnswer;
}

uint32_t LengthHook(const char *path) {
    DXR_FUZZ_SAME(g_host.path == path);
    return g_host.length;
}

void *OpenHook(const char *path, const char *mode) {
    DXR_FUZZ_SAME(g_host.path == path && std::strcmp(mode, "rb") == 0);
    if (!g_host.opens) {
        return nullptr;
    }
    ++g_host.open;
    return &g_host;
}

uint32_t ReadHook(void *buffer, uint32_t size, uint32_t count, void *file) {
    DXR_FUZZ_SAME(file == &g_host && count == 1 && size == g_host.length);
    for (uint32_t i = 0; i < size; ++i) {
        DXR_FUZZ_SAME(static_cast<const char *>(buffer)[i] == '\0');
    }
    std::memcpy(buffer, g_host.content.data(), std::min<size_t>(g_host.content.size(), size));
    return g_host.read;
}

uint32_t CloseHook(void *file) {
    DXR_FUZZ_SAME(file == &g_host);
    --g_host.open;
    g_host.liveAtClose = static_cast<uint32_t>(Host::live);
    return 0;
}

class Run {
  public:
    explicit Run(Input &input) : input_(input) {
        Host::Install();
        g_dxrHooks.system.getSysWorkPath = WorkPathHook;
        g_dxrHooks.system.fileLength = LengthHook;
        g_dxrHooks.system.fOpen = OpenHook;
        g_dxrHooks.system.fRead = ReadHook;
        g_dxrHooks.system.fClose = CloseHook;
        g_files.failIn = {};
        for (MemoryFile &file : g_files.files) {
            file.exists = false;
        }
        g_host.workAnswer = 0;
        g_host.workPath = "/w";
        g_host.open = 0;
    }

    void Step() {
        lines_ = Host::lines;
        wantedLines_ = 0;
        withPrint_ = !input_.Rarely();
        g_dxrHooks.print.print = withPrint_ ? Host::Print : nullptr;
        switch (input_.Below(8)) {
            case 0:
                WorkPath();
                break;
            case 1:
                Path();
                break;
            case 2:
            case 3:
                Load();
                break;
            case 4:
                WorkDir();
                break;
            default:
                Latest();
                break;
        }
        DXR_FUZZ_SAME(Host::lines - lines_ == (withPrint_ ? wantedLines_ : 0));
        if (Host::lines != lines_) {
            DXR_FUZZ_SAME(Host::level == level_);
            DXR_FUZZ_SAME(text_.View() == Host::line);
        }
        DXR_FUZZ_SAME(Host::live == 0 && g_host.open == 0 && g_files.openFolders == 0);
    }

  private:
    ModelText &Line(uint32_t level) {
        ++wantedLines_;
        level_ = level;
        text_.Clear();
        return text_;
    }

    std::string Name(size_t longest) {
        std::string name(input_.Text(longest));
        name.resize(strnlen(name.c_str(), name.size()));
        if (input_.Rarely()) {
            name.append(input_.Byte(), 'n');
        }
        return name;
    }

    void WorkPath() {
        g_host.workPath = Name(20);
        if (input_.Rarely()) {
            g_host.workPath.resize(kPathSize, 'w');
        }
        g_host.workAnswer = input_.Rarely() ? input_.Number() : 0;
    }

    // The work path as the library may take it: it ends at its 255th character.
    static std::string Work() { return g_host.workPath.substr(0, kPathSize - 1); }

    // The path, or the lines that tell why there is none; false then.
    bool ModelPath(const std::string &rest, bool given, size_t room, std::string *path) {
        if (g_host.workAnswer != 0) {
            Line(1).Add("[LINKM_BIN] get sys work path ret[0x").Hex(g_host.workAnswer).Add("]");
            return false;
        }
        *path = Work() + "/" + rest;
        if (!given || room <= 1) {
            const uint32_t result = !given || room == 0 ? UINT32_MAX : 0;
            Line(1).Add("[LINKM_BIN] format file path ret[0x").Hex(result).Add("]");
            return false;
        }
        path->resize(std::min(path->size(), room - 1));
        return true;
    }

    void Path() {
        const std::string folder = Name(20);
        const std::string file = Name(20);
        const bool given = !input_.Rarely();
        const ExactBuffer buffer(input_.Byte());
        std::string path;
        const bool fits = ModelPath(folder + "/" + file, given, buffer.Size(), &path);
        const uint32_t answer = DXR_GetBinFilePath(given ? folder.c_str() : nullptr, file.c_str(),
                                                   buffer.Data(), buffer.Size());
        DXR_FUZZ_SAME(answer == (fits ? 0 : 1));
        DXR_FUZZ_SAME(!fits || path == buffer.Data());
    }

    void WorkDir() {
        const std::string sub = Name(20);
        const bool given = !input_.Rarely();
        const ExactBuffer buffer(input_.Byte());
        std::string path;
        const bool fits = ModelPath(sub, given, buffer.Size(), &path);
        const uint32_t answer =
            DXR_GetWorkDir(given ? sub.c_str() : nullptr, buffer.Data(), buffer.Size());
        DXR_FUZZ_SAME(answer == (fits ? 0 : g_host.workAnswer != 0 ? 8 : 9));
        DXR_FUZZ_SAME(!fits || path == buffer.Data());
    }

    void Load() {
        const bool byName = input_.Flag();
        const std::string folder = Name(12);
        const std::string file = Name(12);
        const std::string_view content = input_.Text(60);
        g_host.content.clear();
        for (uint32_t i = input_.Below(5); i > 0; --i) {
            g_host.content.append(content);
        }
        const auto size = static_cast<uint32_t>(g_host.content.size());
        const uint32_t lengths[] = {
            size, size, size, size + 1, kMostLength, kMostLength + 1, input_.Number(), 0};
        g_host.length = lengths[input_.Byte() % 8];
        g_host.opens = !input_.Rarely();
        g_host.read = input_.Rarely() ? input_.Number() : g_host.length;
        const bool exists = !input_.Rarely();
        Host::failIn = input_.Rarely() ? 1 : 0;
        const bool hasMemory = Host::failIn == 0 && g_host.length <= Host::kLargest;

        std::string path = folder + "/" + file;
        const bool fits = !byName || ModelPath(path, true, kPathSize, &path);
        g_host.path = path;
        g_files.files[0].path = path;
        g_files.files[0].exists = exists;

        uint8_t *data = nullptr;
        uint32_t length = 0xFEED;
        const uint32_t answer = [&] {
            const StandIn standIn(&g_files);
            return byName ? DXR_GetBinFileData(folder.c_str(), file.c_str(), &data, &length)
                          : DXR_GetBinFileDataByFilePath(path.c_str(), &data, &length);
        }();
        Host::failIn = 0;
        const bool loads = fits && ModelLoad(exists, hasMemory);
        DXR_FUZZ_SAME(answer == (loads ? 0 : 1));
        if (!loads) {
            DXR_FUZZ_SAME(data == nullptr && length == 0xFEED);
            return;
        }
        DXR_FUZZ_SAME(length == g_host.length && Host::live == 1);
        for (uint32_t i = 0; i < length; ++i) {
            DXR_FUZZ_SAME(data[i] == (i < size ? static_cast<uint8_t>(g_host.content[i]) : 0));
        }
        DXR_Free(data, "", 0);
    }

    bool ModelLoad(bool exists, bool hasMemory) {
        if (!exists) {
            Line(6).Add("[TOLV BIN] access file-").Add(g_host.path).Add(" ");
            return false;
        }
        if (g_host.length == 0 || g_host.length > kMostLength) {
            const bool negative = g_host.length > INT32_MAX;
            Line(6).Add("[TOLV BIN] file length[").Add(negative ? "-" : "");
            text_.Number(negative ? 0U - g_host.length : g_host.length);
            text_.Add("] is out of range, filePath: ").Add(g_host.path);
            return false;
        }
        if (!hasMemory) {
            return false;
        }
        if (!g_host.opens) {
            Line(2).Add("[TOLV BIN] open file unsuccessfully");
            return false;
        }
        if (g_host.read != g_host.length) {
            Line(1).Add("[TOLV BIN] read file error ret[0x").Hex(g_host.read).Add("]");
            DXR_FUZZ_SAME(g_host.liveAtClose == 0);  // freed first, closed then
            return false;
        }
        return true;
    }

    static bool Contains(std::string_view name, std::string_view pattern) {
        for (size_t i = 0; i + pattern.size() <= name.size(); ++i) {
            if (name.substr(i, pattern.size()) == pattern) {
                return true;
            }
        }
        return false;
    }

    void Latest() {
        const std::string sub = Name(8);
        const std::string pattern = Name(3);
        const bool given = !input_.Rarely();
        const bool hasBuffer = !input_.Rarely();
        const ExactBuffer buffer(input_.Flag() ? input_.Byte() : input_.Below(20));
        g_files.folderNames.clear();
        for (uint32_t i = input_.Below(8); i > 0; --i) {
            std::string name = Name(18);
            name.resize(std::min(name.size(), size_t{255}));
            if (!name.empty()) {
                g_files.folderNames.append(name).push_back('\0');
            }
        }
        const bool opens = !input_.Rarely();
        g_files.failIn[static_cast<size_t>(Call::kOpendir)] = opens ? 0 : 1;
        g_files.folderPath = (Work() + "/" + sub).substr(0, kPathSize - 1);
        const uint32_t answer = [&] {
            const StandIn standIn(&g_files);
            return DXR_GetLatestFile(given ? pattern.c_str() : nullptr, sub.c_str(),
                                     hasBuffer ? buffer.Data() : nullptr, buffer.Size());
        }();
        std::string best;
        const uint32_t wanted =
            !hasBuffer ? NoBuffer() : Greatest(sub, pattern, given, opens, buffer.Size(), &best);
        DXR_FUZZ_SAME(answer == wanted);
        if (!hasBuffer) {
            DXR_FUZZ_SAME(buffer.IsUntouched());
            return;
        }
        for (size_t i = 0; i < buffer.Size(); ++i) {
            DXR_FUZZ_SAME(buffer.Data()[i] == (i < best.size() ? best[i] : '\0'));
        }
    }

    uint32_t NoBuffer() {
        Line(1).Add("[LINKM_BIN] file name is nullptr");
        return 8;
    }

    uint32_t Greatest(const std::string &sub, const std::string &pattern, bool given, bool opens,
                      size_t room, std::string *best) {
        if (room == 0) {
            return 12;
        }
        std::string directory;
        if (!ModelPath(sub, true, kPathSize, &directory)) {
            return 9;
        }
        if (!opens) {
            Line(1).Add("[LINKM_BIN] open dir ").Add(directory).Add(" failed, errno: ");
            text_.Number(ENOTDIR).Add(".");
            return 10;
        }
        for (size_t at = 0; at < g_files.folderNames.size();) {
            const std::string name = g_files.folderNames.c_str() + at;
            at += name.size() + 1;
            // As unsigned bytes, of which `room` count.
            if (!given || !Contains(name, pattern) ||
                name.substr(0, room) <= best->substr(0, room)) {
                continue;
            }
            if (name.size() >= room) {
                best->clear();
                Line(1).Add("[LINKM_BIN] can not get latest file, fileName: ").Add(name);
                text_.Add(", ret 0.");
                return 11;
            }
            *best = name;
        }
        return best->empty() ? 12 : 0;
    }

    static inline ModelText text_;

    Input &input_;
    bool withPrint_ = true;
    uint32_t lines_ = 0;
    uint32_t wantedLines_ = 0;
    uint32_t level_ = 0;
};

}  // namespace

void BinFile(Input &input) {
    Run run(input);
    for (int i = 0; i < 16 && !input.Empty(); ++i) {
        run.Step();
    }
}

}  // namespace dxrfuzz

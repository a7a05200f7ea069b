// Private logs beside the steps written down on texts, on files in memory whose every call may
// fail.
#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "dxr/print_private_log.h"
#include "fuzz/host.h"
#include "fuzz/memory_files.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr std::string_view kDirectory = "/opt/lomk2/var/log/";
constexpr const char *kNames[] = {"a.log", "dxr_log.tmp", "b", "c.log"};
constexpr size_t kMostContent = 6000;

MemoryFiles g_real;
MemoryFiles g_model;

// The host's side of a write, the same for both: appends at most 1000 characters.
bool g_hookCreates = true;
uint32_t g_hookAnswer = 0;

uint32_t Append(MemoryFiles *files, const char *name, const char *text) {
    for (MemoryFile &file : files->files) {
        if (file.path.size() == kDirectory.size() + std::strlen(name) &&
            file.path.compare(kDirectory.size(), std::string::npos, name) == 0 &&
            (file.exists || g_hookCreates)) {
            if (!file.exists) {
                file.exists = true;
                file.content.clear();
            }
            file.content.append(text, std::min(std::strlen(text), size_t{1000}));
        }
    }
    return g_hookAnswer;
}

[[gnu::format(printf, 2, 3)]] uint32_t WriteHook(const char *name, const char *format, ...) {
    DXR_FUZZ_SAME(std::strcmp(format, "%s") == 0);
    std::va_list args;
    va_start(args, format);
    const char *const text = va_arg(args, const char *);
    va_end(args);
    return Append(&g_real, name, text);
}

// What the file's length is said to be.
uint32_t g_lie = 0;  // 0: the truth

uint32_t LengthOf(MemoryFiles *files, const char *path) {
    const MemoryFile *const file = files->Find(path);
    return file == nullptr ? 0xFFFFFFFF
           : g_lie != 0    ? g_lie
                           : static_cast<uint32_t>(file->content.size());
}

uint32_t LengthHook(const char *path) {
    return LengthOf(&g_real, path);
}

// --- the model. Every call that can fail is asked where the steps make it.

std::string WholePath(const char *name) {
    return std::string(kDirectory) + name;
}

MemoryFile *Resolve(std::string_view path) {
    return g_model.Fails(Call::kRealpath) ? nullptr : g_model.Find(path);
}

MemoryFile *Open(MemoryFile *file, bool empties) {
    if (file == nullptr || g_model.Fails(Call::kFopen)) {
        return nullptr;
    }
    if (empties) {
        file->content.clear();
    }
    return file;
}

uint32_t ModelRead(const char *name, size_t room, std::string *text, bool *touched) {
    // Resolved once, and opened by that name.
    const MemoryFile *const file = Open(Resolve(WholePath(name)), false);
    if (file == nullptr) {
        return 1;
    }
    size_t at = 0;
    while (!g_model.Fails(Call::kFgets) && at < file->content.size()) {
        const size_t lineEnd = file->content.find('\n', at);
        const size_t whole = lineEnd == std::string::npos ? file->content.size() : lineEnd + 1;
        const size_t end = std::min(whole, at + 511);
        if (room == 0) {
            return 1;
        }
        *touched = true;
        text->append(file->content.c_str() + at, strnlen(file->content.c_str() + at, end - at));
        at = end;
    }
    return 0;
}

uint32_t ModelLength(const char *name, bool hasMemory) {
    if (!hasMemory) {
        return 0xFFFFFFFF;
    }
    const MemoryFile *const file = Resolve(WholePath(name));
    return file == nullptr ? 0xFFFFFFFF : LengthOf(&g_model, file->path.c_str());
}

uint32_t ModelCopy(const std::string &source, const std::string &destination, uint32_t offset,
                   uint32_t length) {
    MemoryFile *const from = Open(Resolve(source), false);
    if (from == nullptr || g_model.Fails(Call::kFseek)) {
        return 1;
    }
    MemoryFile *const to = Open(Resolve(destination), true);
    if (to == nullptr) {
        return 1;
    }
    size_t at = offset;
    bool ended = false;
    for (uint64_t copied = 0; copied < length && !ended; copied += 512) {
        size_t wanted = std::min<uint64_t>(length - copied, 512);
        const bool readFails = g_model.Fails(Call::kFread);
        wanted = readFails ? wanted / 2 : wanted;
        const size_t size = from->content.size();
        const size_t got = at < size ? std::min(wanted, size - at) : 0;
        const std::string block = got != 0 ? from->content.substr(at, got) : "";
        at += got;
        ended = readFails || got < wanted;
        const bool writeFails = g_model.Fails(Call::kFwrite);
        to->content.append(block, 0, writeFails ? got / 2 : got);
    }
    return 0;
}

uint32_t ModelCut(const char *name, uint32_t most, bool hasMemory, bool hasHook) {
    const uint32_t length = ModelLength(name, hasMemory);
    if (length >= 0x80000000U) {
        return 1;
    }
    if (length <= most) {
        return 0;
    }
    MemoryFile *const log = Resolve(WholePath(name));
    if (log == nullptr) {
        return 1;
    }
    if (hasHook) {
        Append(&g_model, kNames[1], "");
    }
    MemoryFile *const temporary = Resolve(WholePath(kNames[1]));
    if (temporary == nullptr || ModelCopy(log->path, temporary->path, length - most, most) != 0 ||
        g_model.Fails(Call::kRemove)) {
        return 1;
    }
    log->exists = false;
    if (g_model.Fails(Call::kRename) || !temporary->exists) {
        return 1;
    }
    temporary->exists = false;
    log->exists = true;
    log->content = temporary->content;
    return 0;
}

// --- a run

class Run {
  public:
    explicit Run(Input &input) : input_(input) {
        Host::Install();
        hasHook_ = true;
        g_hookCreates = true;
        g_hookAnswer = 0;
        g_lie = 0;
        for (MemoryFiles *files : {&g_real, &g_model}) {
            for (size_t i = 0; i < MemoryFiles::kFiles; ++i) {
                files->files[i].path.assign(kDirectory).append(kNames[i]);
                files->files[i].content.clear();
                files->files[i].exists = false;
            }
            files->failIn = {};
        }
        g_dxrHooks.print.writePrivateLog = WriteHook;
        g_dxrHooks.system.fileLength = LengthHook;
    }

    void Step() {
        const uint8_t choice = input_.Byte();
        if (choice < 40) {
            SetContent();
        } else if (choice < 80) {
            WriteText();
        } else if (choice < 120) {
            Read();
        } else if (choice < 170) {
            Cut();
        } else if (choice < 200) {
            Copy();
        } else if (choice < 215) {
            const char *const name = Name();
            DXR_FUZZ_SAME(Real([&] { return DXR_GetPrivateLogLen(name); }) ==
                          ModelLength(name, true));
        } else if (choice < 225) {
            Path();
        } else if (choice < 245) {
            const size_t call = input_.Below(static_cast<uint32_t>(Call::kOpendir));
            const uint32_t in = 1 + input_.Below(4);
            g_real.failIn[call] = in;
            g_model.failIn[call] = in;
        } else if (choice < 250) {
            hasHook_ = !hasHook_;
            g_dxrHooks.print.writePrivateLog = hasHook_ ? WriteHook : nullptr;
        } else if (choice < 253) {
            g_lie = input_.Flag() ? input_.Number() : 0;
        } else {
            g_hookCreates = input_.Flag();
            g_hookAnswer = input_.Byte();
        }
        Compare();
    }

  private:
    template <typename Action>
    static uint32_t Real(Action action) {
        const StandIn standIn(&g_real);
        return action();
    }

    const char *Name() {
        const uint8_t byte = input_.Byte();
        if (byte < 0xF0) {
            return kNames[byte % MemoryFiles::kFiles];
        }
        if (byte < 0xF8) {
            return byte % 2 == 0 ? "" : "nothing/there";
        }
        // Too long for the path: it is cut, and resolves to nothing.
        static const std::string longName(4090, 'n');
        return longName.c_str();
    }

    std::string Content() {
        const std::string_view piece = input_.Text(40);
        const size_t times = input_.Rarely() ? input_.Byte() * 2 : input_.Below(4);
        std::string content;
        for (size_t i = 0; i < times && content.size() < kMostContent; ++i) {
            content.append(piece);
        }
        return content;
    }

    void SetContent() {
        const size_t which = input_.Below(MemoryFiles::kFiles);
        const bool exists = !input_.Rarely();
        const std::string content = Content();
        for (MemoryFiles *files : {&g_real, &g_model}) {
            files->files[which].exists = exists;
            files->files[which].content = content;
        }
    }

    void WriteText() {
        const char *const name = Name();
        const std::string content = Content();
        const auto length = static_cast<uint32_t>(content.size());
        const uint32_t answer = DXR_WritePrivateLog(name, length, content.c_str());
        DXR_FUZZ_SAME(answer == (hasHook_ && length == 0 ? g_hookAnswer : 0));
        if (!hasHook_) {
            return;
        }
        uint32_t offset = 0;
        do {
            Append(&g_model, name, length == 0 ? "" : content.c_str() + offset);
            offset += 1000;
        } while (offset < length);
    }

    void Read() {
        const char *const name = Name();
        const ExactBuffer buffer(input_.Rarely() ? input_.Half() & 0x1FFF : input_.Byte());
        std::string text;
        bool touched = false;
        const uint32_t wanted = ModelRead(name, buffer.Size(), &text, &touched);
        DXR_FUZZ_SAME(Real([&] { return DXR_GetPrivateLog(name, buffer.Data(), buffer.Size()); }) ==
                      wanted);
        DXR_FUZZ_SAME(touched ? buffer.HoldsCut(text) : buffer.IsUntouched());
    }

    void Cut() {
        const char *const name = Name();
        const uint32_t most = input_.Flag() ? input_.Number() : input_.Half() & 0xFFF;
        const bool hasMemory = !input_.Rarely();
        Host::failIn = hasMemory ? 0 : 1;
        const uint32_t wanted = ModelCut(name, most, hasMemory, hasHook_);
        DXR_FUZZ_SAME(Real([&] { return DXR_FixPrivateLogLen(name, most); }) == wanted);
        Host::failIn = 0;
    }

    void Copy() {
        const std::string source = WholePath(Name());
        const std::string destination = WholePath(Name());
        if (source == destination) {
            return;  // emptied while it is read: nothing to compare
        }
        const uint32_t offset = input_.Number();
        const uint32_t length = input_.Flag() ? input_.Number() & 0xFFFF : input_.Half() & 0xFFF;
        const uint32_t wanted = ModelCopy(source, destination, offset, length);
        DXR_FUZZ_SAME(Real([&] {
                          return DXR_CopyFile(source.c_str(), destination.c_str(), offset, length);
                      }) == wanted);
    }

    void Path() {
        const char *const name = Name();
        const uint32_t size = input_.Flag() ? 4096 : 4094 + input_.Below(4);
        const ExactBuffer buffer(size);
        const MemoryFile *const file = size == 4096 ? Resolve(WholePath(name)) : nullptr;
        DXR_FUZZ_SAME(Real([&] { return DXR_GetPrivateLogPath(name, buffer.Data(), size); }) ==
                      (file != nullptr ? 0 : 1));
        DXR_FUZZ_SAME(file != nullptr ? buffer.HoldsCut(file->path) : buffer.IsUntouched());
    }

    static void Compare() {
        for (size_t i = 0; i < MemoryFiles::kFiles; ++i) {
            DXR_FUZZ_SAME(g_real.files[i].exists == g_model.files[i].exists);
            DXR_FUZZ_SAME(!g_real.files[i].exists ||
                          g_real.files[i].content == g_model.files[i].content);
        }
        DXR_FUZZ_SAME(g_real.failIn == g_model.failIn);
        DXR_FUZZ_SAME(g_real.openHandles == 0);
        DXR_FUZZ_SAME(Host::live == 0);
    }

    Input &input_;
    bool hasHook_ = true;
};

}  // namespace

void PrivateLog(Input &input) {
    Run run(input);
    for (int i = 0; i < 24 && !input.Empty(); ++i) {
        run.Step();
    }
}

}  // namespace dxrfuzz

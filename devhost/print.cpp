#include "dxr_devhost/print.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <string>

#include "host.h"
#include "print.h"

namespace devhost {
namespace {

constexpr const char *kService = "print";
constexpr uint32_t kLevelFailure = 1;
constexpr size_t kTextRoom = 4096;

// Where messages go: to a function or to a file.
struct PrintTarget {
    DxrHostPrintSink sink = nullptr;
    void *user = nullptr;
    std::FILE *file = stderr;
    std::string prefix = "dxr ";
};

struct DiagTarget {
    DxrHostLineSink sink = nullptr;
    void *user = nullptr;
    std::FILE *file = stdout;
};

class PrintService : public Service {
  public:
    explicit PrintService(Host &host)
        : Service(host),
          maxLevel(host.options.printLevel),
          logDirectory(host.options.logDirectory),
          writeFails(host.chance.Point("file.write")) {}

    void Deliver(uint32_t level, const char *text) {
        PrintTarget target;
        {
            const std::lock_guard lock(mutex);
            if (level > maxLevel) {
                return;
            }
            target = print;
        }
        if (target.sink != nullptr) {
            target.sink(level, text, target.user);
        } else if (target.file != nullptr) {
            (void)std::fprintf(target.file, "%s[%u] %s\n", target.prefix.c_str(), level, text);
        }
    }

    void DeliverLine(const char *text) {
        DiagTarget target;
        {
            const std::lock_guard lock(mutex);
            target = diag;
        }
        if (target.sink != nullptr) {
            target.sink(text, target.user);
        } else if (target.file != nullptr) {
            (void)std::fprintf(target.file, "%s\n", text);
        }
    }

    bool AppendToLog(const std::string &path, const char *text, size_t length) {
        if (writeFails.Fails()) {
            return false;
        }
        std::FILE *const file = std::fopen(path.c_str(), "ae");
        if (file == nullptr) {
            return false;
        }
        const bool written = std::fwrite(text, 1, length, file) == length;
        return std::fclose(file) == 0 && written;
    }

    std::string PathOfLog(const char *name) {
        const std::lock_guard lock(mutex);
        return logDirectory + name;
    }

    std::mutex mutex;  // guards what follows
    uint32_t maxLevel;
    PrintTarget print;
    DiagTarget diag;
    std::string logDirectory;
    FaultPoint &writeFails;
};

PrintService &StateOf(Host &host) {
    return host.Get<PrintService>(ServiceId::kPrint);
}

// The library writes with "%s" and hands over the whole rest of a long text each time: only what is
// stored of it is looked at.
size_t FormatPiece(std::array<char, DXR_PRIVATE_LOG_WRITE_MAX + 1> &piece, const char *format,
                   std::va_list args) {
    if (std::strcmp(format, "%s") == 0) {
        const char *const text = va_arg(args, const char *);
        const size_t length = strnlen(text, DXR_PRIVATE_LOG_WRITE_MAX);
        std::memcpy(piece.data(), text, length);
        return length;
    }
    if (std::vsnprintf(piece.data(), piece.size(), format, args) < 0) {
        return 0;
    }
    return std::strlen(piece.data());
}

// --- Slots

[[gnu::format(printf, 2, 3)]] void Print(uint32_t level, const char *format, ...) {
    const Call call("the print slot");
    if (!call) {
        return;
    }
    if (format == nullptr) {
        call.Misuse(kService, "a null format");
        return;
    }
    PrintService &state = StateOf(*call);
    {
        const std::lock_guard lock(state.mutex);
        if (level > state.maxLevel) {
            return;
        }
    }
    std::array<char, kTextRoom> text;
    std::va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(text.data(), text.size(), format, args);
    va_end(args);
    if (length >= 0) {
        state.Deliver(level, text.data());
    }
}

uint32_t DiagLogFilter(const char *text) {
    const Call call("DXR_DiagLogFilter");
    if (!call || text == nullptr) {
        return 1;
    }
    StateOf(*call).DeliverLine(text);
    return 0;
}

uint32_t GetDbgLevel() {
    const Call call("DXR_GetDbgLevel");
    if (!call) {
        return 0;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    return state.maxLevel;
}

uint32_t SetDbgLevel(uint32_t level) {
    const Call call("DXR_SetDbgLevel");
    if (!call) {
        return 1;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    state.maxLevel = level;
    return 0;
}

[[gnu::format(printf, 2, 3)]] uint32_t WritePrivateLog(const char *name, const char *format, ...) {
    const Call call("DXR_WritePrivateLog");
    if (!call) {
        return 1;
    }
    if (name == nullptr || format == nullptr) {
        call.Misuse(kService, "a null name or format");
        return 1;
    }
    PrintService &state = StateOf(*call);
    std::array<char, DXR_PRIVATE_LOG_WRITE_MAX + 1> piece;
    std::va_list args;
    va_start(args, format);
    const size_t length = FormatPiece(piece, format, args);
    va_end(args);
    const std::string path = state.PathOfLog(name);
    if (!state.AppendToLog(path, piece.data(), length)) {
        state.Deliver(kLevelFailure, ("private log " + path + " cannot be written").c_str());
        return 1;
    }
    return 0;
}

}  // namespace

void Say(Host &host, uint32_t level, const char *text) {
    StateOf(host).Deliver(level, text);
}

std::unique_ptr<Service> MakePrint(Host &host) {
    return std::make_unique<PrintService>(host);
}

void FillPrint(DxrHooks &hooks) {
    hooks.print.print = Print;
    hooks.print.diagLogFilter = DiagLogFilter;
    hooks.print.getDbgLevel = GetDbgLevel;
    hooks.print.setDbgLevel = SetDbgLevel;
    hooks.print.writePrivateLog = WritePrivateLog;
}

}  // namespace devhost

using devhost::ApiCall;
using devhost::PrintService;
using devhost::StateOf;

void DxrHostSetPrintFile(DxrHost *host, FILE *out, uint32_t maxLevel, const char *prefix) {
    const ApiCall call(host);
    if (!call) {
        return;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    state.maxLevel = maxLevel;
    state.print = {nullptr, nullptr, out, prefix != nullptr ? prefix : ""};
}

void DxrHostSetPrintSink(DxrHost *host, DxrHostPrintSink sink, void *user, uint32_t maxLevel) {
    const ApiCall call(host);
    if (!call) {
        return;
    }
    PrintService &state = StateOf(*call);
    const std::lock_guard lock(state.mutex);
    state.maxLevel = maxLevel;
    state.print = {sink, user, nullptr, {}};
}

void DxrHostSetDiagFile(DxrHost *host, FILE *out) {
    const ApiCall call(host);
    if (call) {
        PrintService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.diag = {nullptr, nullptr, out};
    }
}

void DxrHostSetDiagSink(DxrHost *host, DxrHostLineSink sink, void *user) {
    const ApiCall call(host);
    if (call) {
        PrintService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.diag = {sink, user, nullptr};
    }
}

void DxrHostSetLogDirectory(DxrHost *host, const char *directory) {
    const ApiCall call(host);
    if (call && directory != nullptr) {
        PrintService &state = StateOf(*call);
        const std::lock_guard lock(state.mutex);
        state.logDirectory = directory;
    }
}

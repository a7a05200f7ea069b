#include "place.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "dxr_api.h"

namespace devhost {
namespace {

struct Search {
    uintptr_t address;
    CodeRange found;
};

int LookAt(dl_phdr_info *object, size_t /*size*/, void *user) {
    auto *const search = static_cast<Search *>(user);
    CodeRange code{UINTPTR_MAX, 0};
    bool isHere = false;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const ElfW(Phdr) &part = object->dlpi_phdr[i];
        if (part.p_type != PT_LOAD) {
            continue;
        }
        const uintptr_t begin = object->dlpi_addr + part.p_vaddr;
        const uintptr_t end = begin + part.p_memsz;
        isHere = isHere || (begin <= search->address && search->address < end);
        if ((part.p_flags & PF_X) != 0) {
            code = {std::min(code.begin, begin), std::max(code.end, end)};
        }
    }
    search->found = isHere ? code : search->found;
    return isHere ? 1 : 0;
}

const CodeRange &LibraryCode() {
    static const CodeRange range = CodeOf(reinterpret_cast<const void *>(&DXR_RegisterHooks));
    return range;
}

const CodeRange &HostCode() {
    static const CodeRange range = CodeOf(reinterpret_cast<const void *>(&ModuleCaller));
    return range;
}

// The tracing of hook calls may stand between the library and the host. It calls nothing by itself.
const CodeRange &TraceCode() {
    static const CodeRange range = [] {
        const void *const trace = dlsym(RTLD_DEFAULT, "DxrTraceStart");
        return trace != nullptr ? CodeOf(trace) : CodeRange{};
    }();
    return range;
}

// Calls `visit` with the frames of this thread's stack that called the host or the library, the
// latest first, until it gives false. What a sanitizer puts before the host's own frames is none.
template <typename Visit>
void ForEachCaller(Visit visit) {
    std::array<void *, 32> frames{};
    const int count = backtrace(frames.data(), static_cast<int>(frames.size()));
    bool hasBegun = false;
    for (int i = 0; i < count; ++i) {
        const void *const frame = frames[static_cast<size_t>(i)];
        const bool isOurs =
            LibraryCode().Holds(frame) || HostCode().Holds(frame) || TraceCode().Holds(frame);
        hasBegun = hasBegun || isOurs;
        if (hasBegun && !isOurs && frame != nullptr && !visit(frame)) {
            return;
        }
    }
}

}  // namespace

CodeRange CodeOf(const void *address) {
    Search search{reinterpret_cast<uintptr_t>(address), {}};
    (void)dl_iterate_phdr(LookAt, &search);
    return search.found;
}

const void *ModuleCaller(const void *address) {
    if (LibraryCode().Holds(address) || TraceCode().Holds(address)) {
        ForEachCaller([&address](const void *frame) {
            address = frame;
            return false;
        });
    }
    return address;
}

std::string Describe(const void *address) {
    Dl_info info{};
    const ElfW(Sym) *symbol = nullptr;
    void *extra = nullptr;
    // A return address may be the first byte of the next function: the byte before it is looked up.
    const auto at = reinterpret_cast<uintptr_t>(address) - 1;
    if (address == nullptr ||
        // NOLINTNEXTLINE(performance-no-int-to-ptr): looked up, not read
        dladdr1(reinterpret_cast<const void *>(at), &info, &extra, RTLD_DL_SYMENT) == 0) {
        return "an unknown place";
    }
    symbol = static_cast<const ElfW(Sym) *>(extra);
    const char *const path = info.dli_fname != nullptr ? info.dli_fname : "?";
    const char *const slash = std::strrchr(path, '/');
    std::array<char, 256> text{};
    const auto offset =
        reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(info.dli_fbase);
    const char *const module = slash != nullptr ? slash + 1 : path;
    const bool isWithin = symbol != nullptr && info.dli_sname != nullptr &&
                          at - reinterpret_cast<uintptr_t>(info.dli_saddr) < symbol->st_size;
    (void)std::snprintf(text.data(), text.size(), "%s%s%s+0x%llx", isWithin ? info.dli_sname : "",
                        isWithin ? " in " : "", module, static_cast<unsigned long long>(offset));
    return text.data();
}

std::string BackTrace() {
    std::string text;
    ForEachCaller([&text](const void *frame) {
        text += "; called by " + Describe(frame);
        return true;
    });
    return text;
}

std::string Describe(const Place &place) {
    return std::string(place.slot) + " by " + Describe(place.address);
}

}  // namespace devhost

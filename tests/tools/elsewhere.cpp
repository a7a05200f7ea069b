// Puts the directory named by DXR_TEST_OPT in the place of /opt, for the program that this is
// linked into and the libraries that it loads.
#include <dlfcn.h>
#include <sys/stat.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

std::string Elsewhere(const char *path) {
    constexpr std::string_view kOpt = "/opt/";
    const std::string_view whole = path;
    const char *const opt = std::getenv("DXR_TEST_OPT");
    if (opt == nullptr || whole.substr(0, kOpt.size()) != kOpt) {
        return path;
    }
    return std::string(opt).append("/").append(whole.substr(kOpt.size()));
}

template <typename Function>
Function *TheOther(Function * /*like*/, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

FILE *fopen(const char *path, const char *mode) {
    return TheOther(fopen, "fopen")(Elsewhere(path).c_str(), mode);
}

int stat(const char *path, struct stat *status) noexcept {
    return TheOther(stat, "stat")(Elsewhere(path).c_str(), status);
}

char *realpath(const char *path, char *resolved) noexcept {
    return TheOther(realpath, "realpath")(Elsewhere(path).c_str(), resolved);
}

// The name a fortified library calls.
char *__realpath_chk(const char *path, char *resolved, size_t size) noexcept;
char *__realpath_chk(const char *path, char *resolved, size_t size) noexcept {
    if (resolved != nullptr && size < PATH_MAX) {
        std::abort();
    }
    return realpath(path, resolved);
}

int remove(const char *path) noexcept {
    return TheOther<int(const char *)>(nullptr, "remove")(Elsewhere(path).c_str());
}

int rename(const char *from, const char *to) noexcept {
    return TheOther(rename, "rename")(Elsewhere(from).c_str(), Elsewhere(to).c_str());
}
}

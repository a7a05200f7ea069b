#include <dlfcn.h>

#include "package_figures.h"

namespace bench {
namespace {

Run LoadAndUnload(const char *path) {
    return [path](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
            Require(library != nullptr, path);
            dlclose(library);
        }
    };
}

}  // namespace

Figure Load() {
    // Copies under other names: this program has the library itself loaded already.
    return {"load and unload the library", "one-function C++ library", 0,
            LoadAndUnload(DXR_BENCH_LIBRARY_COPY), LoadAndUnload(DXR_BENCH_PEER_LIBRARY)};
}

}  // namespace bench

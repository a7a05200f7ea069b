#include <dlfcn.h>

#include "harness.h"

namespace bench {
namespace {

Run Load(const char *path) {
    return [path](std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
            Require(library != nullptr, path);
            dlclose(library);
        }
    };
}

}  // namespace

void AddLoad(Suite &suite) {
    // Copies under other names: this program has the library itself loaded already.
    suite.Add({"dlopen", "load and unload the library", "one-function C++ library", 1.6, 1.2, 0,
               Load(DXR_BENCH_LIBRARY_COPY), Load(DXR_BENCH_PEER_LIBRARY)});
}

}  // namespace bench

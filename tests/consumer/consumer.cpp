// A module written in C++: it sees the public header and links the library, nothing else.
#include <dxr_api.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

int g_failures = 0;

void Expect(bool holds, const char *what) {
    if (!holds) {
        std::cerr << "does not hold: " << what << '\n';
        ++g_failures;
    }
}

std::uint32_t GetSysWorkPath(char *buffer, std::uint32_t size) {
    const std::string path = "/opt/work";
    return path.copy(buffer, size) == path.size() ? 0 : 1;
}

}  // namespace

int main() {
    DxrHooks hooks = {};
    hooks.system.getSysWorkPath = GetSysWorkPath;
    Expect(DXR_RegisterHooks(&hooks) == 0, "the table registers");
    std::string path(64, '\0');
    Expect(DXR_GetWorkDir("boot", path.data(), 64) == 0, "the path is formed");
    Expect(std::string(path.c_str()) == "/opt/work/boot", "the path is the host's");

    return g_failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

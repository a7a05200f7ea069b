// Gives every input of a corpus to its target, without libFuzzer:
//     fuzz_replay CORPUS [TARGET...]
// CORPUS holds a file TARGET.seeds for each target: the inputs one after the other, each after its
// length in two bytes, the low one first.
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/targets.h"

namespace {

struct Target {
    const char *name;
    void (*run)(dxrfuzz::Input &);
};

#define DXR_FUZZ_ROW(name, function) {#name, dxrfuzz::function},
constexpr Target kTargets[] = {DXR_FUZZ_TARGETS(DXR_FUZZ_ROW)
#ifdef DXR_FUZZ_TOOLS
                                   DXR_FUZZ_TOOL_TARGETS(DXR_FUZZ_ROW)
#endif
#ifdef DXR_FUZZ_TRACE
                                       DXR_FUZZ_TRACE_TARGETS(DXR_FUZZ_ROW)
#endif
};

// The number of inputs; -1 when the file is not there or is torn.
int Replay(const Target &target, const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> seeds((std::istreambuf_iterator<char>(file)), {});
    int count = 0;
    size_t at = 0;
    while (at + 2 <= seeds.size()) {
        const size_t size = static_cast<uint8_t>(seeds[at]) +
                            (static_cast<size_t>(static_cast<uint8_t>(seeds[at + 1])) << 8);
        at += 2;
        if (size > seeds.size() - at) {
            return -1;
        }
        // A block of its own, so that reading beyond it is seen.
        const std::vector<uint8_t> bytes(seeds.begin() + static_cast<std::ptrdiff_t>(at),
                                         seeds.begin() + static_cast<std::ptrdiff_t>(at + size));
        dxrfuzz::Input input(bytes.data(), bytes.size());
        target.run(input);
        at += size;
        ++count;
    }
    return file.bad() || seeds.empty() || at != seeds.size() ? -1 : count;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        std::fprintf(stderr, "usage: fuzz_replay CORPUS [TARGET...]\n");
        return 2;
    }
    int failures = 0;
    for (const Target &target : kTargets) {
        bool wanted = argc == 2;
        for (int i = 2; i < argc; ++i) {
            wanted = wanted || std::strcmp(argv[i], target.name) == 0;
        }
        if (!wanted) {
            continue;
        }
        const int count = Replay(target, std::string(argv[1]) + "/" + target.name + ".seeds");
        if (count < 0) {
            std::fprintf(stderr, "%s: the corpus cannot be read\n", target.name);
            ++failures;
        } else {
            std::printf("%s: %d inputs\n", target.name, count);
        }
    }
    return failures == 0 ? 0 : 1;
}

#include "chassis_descriptors.h"

#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>

namespace dxrsh {
namespace {

// Libraries, files, those who ask; and what a module opens.
constexpr uint64_t kUsual = 64;

// The connection to a board, the one from it, and what wakes the socket's user.
constexpr uint64_t kOfPeer = 3;

constinit uint64_t g_ofPrograms = 0;

}  // namespace

uint64_t DescriptorsOfSupervisor(size_t boards) {
    return boards + kUsual;
}

uint64_t DescriptorsOfBoard(size_t boards) {
    return kOfPeer * (boards - 1) + kUsual;
}

DescriptorLimit AllowDescriptors(uint64_t needed) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return {needed, needed};
    }
    DescriptorLimit result{limit.rlim_cur, limit.rlim_cur};
    if (limit.rlim_cur < needed) {
        limit.rlim_cur = static_cast<rlim_t>(std::min<uint64_t>(needed, limit.rlim_max));
        result.now = setrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : result.now;
    }
    return result;
}

void LimitDescriptors(uint64_t most) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != most) {
        limit.rlim_cur = static_cast<rlim_t>(std::min<uint64_t>(most, limit.rlim_max));
        (void)setrlimit(RLIMIT_NOFILE, &limit);
    }
}

void AllowOwnDescriptors(uint64_t needed) {
    const DescriptorLimit limit = AllowDescriptors(needed);
    g_ofPrograms = limit.before;
    if (limit.now != limit.before) {
        (void)pthread_atfork(nullptr, nullptr, [] { LimitDescriptors(g_ofPrograms); });
    }
}

}  // namespace dxrsh

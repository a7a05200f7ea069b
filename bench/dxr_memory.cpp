// Counts the bytes that the library's components hold, at rest and at their largest, beside what
// people would use instead. Counted are the blocks of the heap, the host's included, and the pages
// of a library's own data that were written: zeroed pages that nobody has touched cost nothing.
//
// Prints a line a component, its fields separated by tabs: component; bytes at rest and at its
// largest; what its largest is; peer; the peer's bytes.

#include <dlfcn.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/dup_filter_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/dynamic_bitset.hpp>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bare_host.h"
#include "counted_heap.h"
#include "dxr_api.h"
#include "filter_tree.h"
#include "harness.h"
#include "log_lines.h"
#include "sliding_window.h"
#include "text_map.h"

namespace {

using bench::Require;

// Bytes of the pages written in the data of libraries and programs: what is mapped from them, and
// the nameless memory that continues it, where zeroed objects lie.
int64_t WrittenDataBytes() {
    std::FILE *const maps = std::fopen("/proc/self/smaps", "r");
    Require(maps != nullptr, "/proc/self/smaps");
    static char line[4096];
    int64_t bytes = 0;
    unsigned long endOfImage = 0;
    bool isImage = false;
    while (std::fgets(line, sizeof(line), maps) != nullptr) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char path[1024] = "";
        long anonymous = 0;
        if (std::sscanf(line, "%lx-%lx %*4s %*x %*s %*u %1023s", &begin, &end, path) >= 2) {
            isImage = path[0] == '/' || (path[0] == '\0' && begin == endOfImage);
            endOfImage = path[0] == '/' ? end : 0;
        } else if (isImage && std::sscanf(line, "Anonymous: %ld kB", &anonymous) == 1) {
            bytes += anonymous * 1024;
        }
    }
    std::fclose(maps);
    return bytes;
}

struct Held {
    int64_t atRest;
    int64_t atLargest;
};

// What is held at one time after the other, less what was held before.
class Watch {
  public:
    void Begin() { held_[0] = Now(); }
    void AtRest() { held_[1] = Now(); }
    void AtLargest() { held_[2] = Now(); }
    [[nodiscard]] Held Result() const { return {held_[1] - held_[0], held_[2] - held_[0]}; }

  private:
    static int64_t Now() {
        const int64_t heap = bench::LiveHeapBytes();
        return heap + WrittenDataBytes();
    }
    std::array<int64_t, 3> held_ = {};
};

using Life = void (*)(Watch &watch);

// In a process of its own, where nothing was touched before.
Held MeasureAlone(Life life) {
    int ends[2];
    Require(pipe(ends) == 0, "pipe");
    const pid_t child = fork();
    if (child == 0) {
        Watch watch;
        watch.Begin();  // opens once what it opens
        try {
            life(watch);
        } catch (const std::exception &error) {
            std::fprintf(stderr, "dxr_memory: %s\n", error.what());
            _exit(1);
        }
        const Held held = watch.Result();
        _exit(write(ends[1], &held, sizeof(held)) == sizeof(held) ? 0 : 1);
    }
    close(ends[1]);
    Held held = {};
    const ssize_t got = read(ends[0], &held, sizeof(held));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Require(got == sizeof(held) && status == 0, "measuring memory");
    return held;
}

// ---- Loading

void LoadOf(Watch &watch, const char *path) {
    watch.Begin();
    Require(dlopen(path, RTLD_NOW | RTLD_LOCAL) != nullptr, path);
    watch.AtRest();
    watch.AtLargest();
}

void LoadOurs(Watch &watch) {
    LoadOf(watch, DXR_BENCH_LIBRARY_COPY);
}

void LoadPeer(Watch &watch) {
    LoadOf(watch, DXR_BENCH_PEER_LIBRARY);
}

// ---- Log filter

constexpr uint32_t kWholeRing = 2047;

void FillRings(uint32_t rings) {
    for (uint32_t ring = 0; ring < rings; ++ring) {
        bench::FillLogType<bench::PlainLine>(ring, kWholeRing);
    }
}

template <uint32_t Rings>
void FilterLogs(Watch &watch) {
    watch.Begin();
    const bench::BareHost host;
    watch.AtRest();
    FillRings(Rings);
    watch.AtLargest();
}

std::shared_ptr<spdlog::logger> DuplicateFilter() {
    auto filter = std::make_shared<spdlog::sinks::dup_filter_sink_mt>(std::chrono::hours(1));
    filter->add_sink(std::make_shared<spdlog::sinks::null_sink_mt>());
    return std::make_shared<spdlog::logger>("peer", filter);
}

template <uint32_t Loggers>
void LogByPeer(Watch &watch) {
    watch.Begin();
    std::vector<std::shared_ptr<spdlog::logger>> loggers(Loggers);
    for (auto &logger : loggers) {
        logger = DuplicateFilter();
    }
    watch.AtRest();
    for (const auto &logger : loggers) {
        for (uint32_t n = 0; n < kWholeRing; ++n) {
            std::apply(
                [&](auto... arguments) { logger->info(bench::PlainLine::kFmt, arguments...); },
                bench::PlainLine::Arguments(n));
        }
    }
    watch.AtLargest();
}

// ---- Recorder

template <typename Record>
void RecordAll(Watch &watch, Record record) {
    watch.AtRest();
    for (uint32_t n = 0; n < DXR_RECORD_COUNT; ++n) {
        record(n);
    }
    watch.AtLargest();
}

void RecordOurs(Watch &watch) {
    const bench::BareHost host;
    watch.Begin();
    RecordAll(watch, [](uint32_t n) {
        std::apply(
            [](auto... arguments) { DXR_RecordInfo(bench::PlainLine::kPrintf, arguments...); },
            bench::PlainLine::Arguments(n));
    });
    Require(DXR_GetRecordEntity()->records[DXR_RECORD_COUNT - 1] != nullptr, "full store");
}

void RecordPeer(Watch &watch) {
    const bench::BareHost host;
    watch.Begin();
    bench::TextMap<bench::PlainLine> map;
    RecordAll(watch, [&map](uint32_t n) { map.Record(n); });
    Require(map.Size() == DXR_RECORD_COUNT, "full map");
}

// ---- Message filter

void FilterMessages(Watch &watch) {
    const bench::BareHost host;
    watch.Begin();
    watch.AtRest();
    const auto filter = bench::MakeFilter();
    for (uint32_t n = 0; n < 1000; ++n) {
        const uint32_t child = n % bench::kFanOut;
        Require(DXR_IsMessageFiltered(filter.get(), bench::kDepth, bench::TypeOf(1, child),
                                      bench::TypeOf(2, child), bench::TypeOf(3, child),
                                      bench::TypeOf(4, child)) != 0,
                "a message is filtered");
    }
    watch.AtLargest();
}

void FilterMessagesByPeer(Watch &watch) {
    watch.Begin();
    watch.AtRest();
    bench::MapNode root;
    bench::FillNode(root, 1);
    watch.AtLargest();
}

// ---- Fault rules

constexpr uint32_t kEvents = 4096;

uint32_t Second() {
    return 1;
}

void CountFaults(Watch &watch) {
    const bench::BareHost host;
    g_dxrHooks.time.getStartupTimeSec = Second;
    watch.Begin();
    const auto counter = std::make_unique<DxrCounter>();
    const std::shared_ptr<DxrFaultSpec> spec = DxrFaultSpecFactory().CreateSpec(10, kEvents);
    watch.AtRest();
    for (uint32_t n = 0; n < kEvents; ++n) {
        counter->IncreaseCount();
    }
    Require(spec->IsSatisfied(counter.get()), "burst rule");
    watch.AtLargest();
}

void CountFaultsByPeer(Watch &watch) {
    watch.Begin();
    const auto window = std::make_unique<bench::SlidingWindow>(10, kEvents, Second);
    watch.AtRest();
    for (uint32_t n = 0; n < kEvents; ++n) {
        window->Increase();
    }
    Require(window->IsSatisfied(), "burst rule of the peer");
    watch.AtLargest();
}

// ---- Bitmaps

constexpr uint32_t kWords = 1024;

void KeepBits(Watch &watch) {
    watch.Begin();
    watch.AtRest();
    const auto words = std::make_unique<uint32_t[]>(kWords);
    DXR_OrBmp(words.get(), words.get(), kWords);
    Require(DXR_CountValidBitOfArray(words.get(), kWords) == 0, "count of no bits");
    watch.AtLargest();
}

void KeepBitsByPeer(Watch &watch) {
    watch.Begin();
    watch.AtRest();
    const auto bits = std::make_unique<boost::dynamic_bitset<>>(kWords * 32);
    Require(bits->none(), "count of no bits");
    watch.AtLargest();
}

struct Row {
    const char *component;
    Life ours;
    const char *largest;
    const char *peerName;
    Life peer;
};

constexpr Row kRows[] = {
    {"library, loaded", LoadOurs, "unused", "one-function C++ library", LoadPeer},
    {"log filter, one type in use", FilterLogs<1>, "2047 lines remembered",
     "spdlog logger with duplicate filter, one line remembered", LogByPeer<1>},
    {"log filter, all types in use", FilterLogs<29>, "29 times 2047 lines remembered",
     "29 of these loggers", LogByPeer<29>},
    {"recorder", RecordOurs, "1024 texts of 80 characters", "unordered_map of texts", RecordPeer},
    {"message filter", FilterMessages, "a tree of depth 4, fan-out 8", "nested unordered_map",
     FilterMessagesByPeer},
    {"fault rule with its counter", CountFaults, "4096 events in the window",
     "sliding window in a deque", CountFaultsByPeer},
    {"bitmap, the caller's", KeepBits, "1024 words", "boost::dynamic_bitset", KeepBitsByPeer},
};

long long Bytes(int64_t bytes) {
    return static_cast<long long>(bytes);
}

}  // namespace

int main() {
    try {
        for (const Row &row : kRows) {
            std::fflush(stdout);
            const Held ours = MeasureAlone(row.ours);
            const Held peer = MeasureAlone(row.peer);
            std::printf("%s\t%lld\t%lld\t%s\t%s\t%lld\t%lld\n", row.component, Bytes(ours.atRest),
                        Bytes(ours.atLargest), row.largest, row.peerName, Bytes(peer.atRest),
                        Bytes(peer.atLargest));
        }
        return 0;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "dxr_memory: %s\n", error.what());
        return 1;
    }
}

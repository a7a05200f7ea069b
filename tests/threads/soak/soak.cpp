// soak [SECONDS] [--threads N] [--seed N]: exit status 1 when something was found to be wrong.
#include "threads/soak/soak.h"

#include <unistd.h>

#include <array>
#include <chrono>
#include <cinttypes>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <string_view>
#include <thread>
#include <vector>

#include "support/sanitizers.h"
#include "threads/soak/filter_jobs.h"
#include "threads/soak/other_jobs.h"
#include "tools/temporary_directory.h"

namespace soak {

std::atomic<uint64_t> g_findings = 0;
uint32_t g_now = 1800000000;
uint32_t g_startupSec = 1000;
uint32_t g_latest = g_now;
thread_local uint64_t t_diagLines = 0;
thread_local uint64_t t_messages = 0;
std::mutex g_cutting;
std::mutex g_recording;

std::array<std::atomic<uint32_t>, kHourlyLines> g_lastPassed = {};
std::atomic<uint64_t> g_sharedAsked = 0;
std::atomic<uint64_t> g_sharedPassed = 0;
std::atomic<uint64_t> g_sharedSuppressed = 0;
std::atomic<uint64_t> g_hourlySuppressed = 0;

RecorderModel g_recorder;
std::array<DxrSimulateMsg, kMostThreads + 1> g_messages;
const DxrFaultSpecFactory g_factory;
const DxrFaultAccumulatedSpec g_burst(60, 100);
const DxrFaultAccumulatedSpec g_silence(30, 0);

void Find(const char *format, ...) {
    constexpr uint64_t kMostPrinted = 20;
    if (++g_findings > kMostPrinted) {
        return;
    }
    std::array<char, 500> text;
    std::va_list args;
    va_start(args, format);
    static_cast<void>(std::vsnprintf(text.data(), text.size(), format, args));
    va_end(args);
    static_cast<void>(std::fprintf(stderr, "soak: found: %s\n", text.data()));
}

void CheckSharedRings() {
    uint64_t hourlyRepeats = 0;
    for (uint32_t type = kOwnTypes; type < kLogTypes; ++type) {
        const DxrLogFilterInfo &record = *DXR_GetLogFilter(type);
        SOAK_CHECK(record.curSize <= record.capacity);
        SOAK_CHECK(record.capacity == 0 || record.curIndex < record.capacity);
        std::set<uint32_t> hashes;
        uint32_t lines = 0;
        for (uint32_t i = 0; i < record.curSize; ++i) {
            const DxrLogFilterEntry &entry =
                record.entries[(record.curIndex + i) % record.capacity];
            if (entry.logHashCode != 0) {
                ++lines;
                hashes.insert(entry.logHashCode);
            }
        }
        // A line that is remembered is not added again. (Entries of zeros stand in rings that were
        // resized.)
        SOAK_CHECK(hashes.size() == lines);
    }
    const DxrLogFilterInfo &hourly = *DXR_GetLogFilter(kHourlyType);
    for (uint32_t i = 0; i < hourly.curSize; ++i) {
        hourlyRepeats += hourly.entries[(hourly.curIndex + i) % hourly.capacity].logCnt;
    }
    SOAK_CHECK(hourlyRepeats <= g_hourlySuppressed);
    SOAK_CHECK(g_sharedAsked == g_sharedPassed + g_sharedSuppressed);
    SOAK_CHECK(g_messages[kMostThreads].lostCnt <= SimulateJob::kMostLost);
}

uint32_t RecordedTexts() {
    return static_cast<uint32_t>(g_recorder.records.size());
}

void CheckRecorder() {
    const DxrRecordStore &store = *DXR_GetRecordEntity();
    SOAK_CHECK(store.nextIndex == g_recorder.next);
    for (uint32_t slot = 0; slot < DXR_RECORD_COUNT; ++slot) {
        const DxrRecord *const record = store.records[slot];
        SOAK_CHECK((record != nullptr) == (slot < g_recorder.records.size()));
        if (record != nullptr) {
            SOAK_CHECK(g_recorder.records[slot].text == record->text);
            SOAK_CHECK(g_recorder.records[slot].count == record->count);
        }
    }
}

namespace {

constexpr bool kRssIsTheProgramsOwn = !DXRTEST_MEMORY_IS_SHADOWED;
constexpr uint64_t kRssRoom = 4 << 20;

struct Options {
    uint32_t seconds = 60;
    uint32_t threads = 4;
    uint64_t seed = 1;
};

[[noreturn]] void Refuse() {
    static_cast<void>(std::fprintf(stderr, "usage: soak [SECONDS] [--threads N] [--seed N]\n"));
    std::exit(2);
}

uint64_t Number(const char *text, uint64_t least, uint64_t most) {
    char *end = nullptr;
    const uint64_t number = text != nullptr ? std::strtoull(text, &end, 10) : 0;
    if (text == nullptr || *text == '\0' || *end != '\0' || number < least || number > most) {
        Refuse();
    }
    return number;
}

Options Parse(char **argument) {
    Options options;
    while (*++argument != nullptr) {
        const std::string_view name = *argument;
        if (name == "--threads") {
            options.threads = static_cast<uint32_t>(Number(*++argument, 1, kMostThreads));
        } else if (name == "--seed") {
            options.seed = Number(*++argument, 0, UINT64_MAX);
        } else {
            options.seconds = static_cast<uint32_t>(Number(*argument, 1, 10000000));
        }
    }
    return options;
}

uint64_t ResidentBytes() {
    std::ifstream file("/proc/self/statm");
    uint64_t size = 0;
    uint64_t resident = 0;
    file >> size >> resident;
    return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

uint64_t Descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<uint64_t>(std::distance(begin(all), end(all)));
}

struct JobCount {
    const char *name;
    std::atomic<uint64_t> calls = 0;
};

std::array<JobCount, 9> g_jobs = {{{"own log types"},
                                   {"shared log types"},
                                   {"recorder"},
                                   {"simulated messages"},
                                   {"filter trees"},
                                   {"fault rules"},
                                   {"utilities"},
                                   {"services"},
                                   {"files"}}};

uint64_t AllCalls() {
    uint64_t calls = 0;
    for (const JobCount &job : g_jobs) {
        calls += job.calls;
    }
    return calls;
}

// One thread's work until the run is over.
void Work(uint32_t thread, uint64_t seed, Gate &gate, const std::atomic<bool> &over) {
    std::vector<std::unique_ptr<Job>> jobs;
    if (thread < kOwnTypes) {
        jobs.push_back(std::make_unique<OwnLogTypeJob>(thread));
    } else {
        jobs.push_back(std::make_unique<SharedLogTypesJob>());
    }
    jobs.push_back(std::make_unique<SharedLogTypesJob>());
    jobs.push_back(std::make_unique<RecorderJob>());
    jobs.push_back(std::make_unique<SimulateJob>(thread));
    jobs.push_back(std::make_unique<FilterTreeJob>());
    jobs.push_back(std::make_unique<FaultJob>());
    jobs.push_back(std::make_unique<UtilsJob>());
    jobs.push_back(std::make_unique<ServicesJob>(thread));
    jobs.push_back(std::make_unique<FilesJob>(thread));
    Random random(seed * kMostThreads + thread);
    while (!over) {
        gate.Enter();
        const uint32_t which = random.Below(static_cast<uint32_t>(jobs.size()));
        g_jobs[which].calls += jobs[which]->Run(random);
        gate.Leave();
    }
}

// While all threads rest: nothing but rings and records may be allocated, no file may be open.
class Rest {
  public:
    explicit Rest(uint64_t descriptors) : descriptors_(descriptors) {}

    void Check(bool isWarm) {
        CheckSharedRings();
        CheckRecorder();
        uint64_t ringBytes = kLogTypes * sizeof(DxrLogFilterInfo);
        for (uint32_t type = 0; type < kLogTypes; ++type) {
            ringBytes += DXR_GetLogFilter(type)->capacity * sizeof(DxrLogFilterEntry);
        }
        const uint64_t recordBytes = RecordedTexts() * sizeof(DxrRecord);
        std::array<DxrHostMemoryAccount, kMostThreads + 8> accounts;
        const uint32_t count = DxrHostGetMemoryAccounts(nullptr, accounts.data(), accounts.size());
        blocks = 0;
        bytes = 0;
        for (uint32_t i = 0; i < count; ++i) {
            const DxrHostMemoryAccount &account = accounts[i];
            const uint64_t expected = account.mid == 9   ? ringBytes
                                      : account.mid == 0 ? recordBytes
                                                         : 0;
            if (account.bytesLive != expected) {
                Find("module %u holds %" PRIu64 " bytes, not %" PRIu64, account.mid,
                     account.bytesLive, expected);
            }
            blocks += account.blocksLive;
            bytes += account.bytesLive;
        }
        SOAK_CHECK(DxrHostGetReportCount(nullptr) == 0);
        const uint64_t descriptors = Descriptors();
        if (descriptors != descriptors_) {
            Find("%" PRIu64 " descriptors are open, not %" PRIu64, descriptors, descriptors_);
        }
        rss = ResidentBytes();
        if (isWarm && warmRss == 0) {
            warmRss = rss;
        }
        if (kRssIsTheProgramsOwn && isWarm && rss > warmRss + warmRss / 8 + kRssRoom) {
            Find("%" PRIu64 " bytes are resident, %" PRIu64 " after the warm-up", rss, warmRss);
            warmRss = rss;
        }
        peakRss = std::max(peakRss, rss);
    }

    uint64_t rss = 0;
    uint64_t warmRss = 0;
    uint64_t peakRss = 0;
    uint64_t blocks = 0;
    uint64_t bytes = 0;

  private:
    uint64_t descriptors_;
};

void RegisterMessages() {
    for (uint32_t i = 0; i < kMostThreads; ++i) {
        g_messages[i] = {i, 1000 + i, 0, "of a thread"};
    }
    g_messages[kMostThreads] = {kMostThreads, SimulateJob::kSharedType, 0, "of all"};
    DXR_RegisterSimulateMsgMap(g_messages.data(), kMostThreads + 1);
}

// The time goes on by some seconds at a time; now and then by more than an hour, or back.
void TurnClock(Random &random) {
    const uint32_t what = random.Below(100);
    const uint32_t step = what == 0 ? 3700 : what == 1 ? 0U - 300 : random.Below(20);
    g_now += step;
    g_latest = std::max(g_latest, g_now);
    g_startupSec += what == 1 ? 0 : step;
    SOAK_CHECK(DxrHostSetClock(nullptr, g_now, g_startupSec));
}

int Run(const Options &options) {
    using std::chrono::steady_clock;
    const dxrtest::TemporaryDirectory directory;
    std::filesystem::create_directories(directory.Path("lomk2/var/log"));
    std::filesystem::create_directories(directory.Path("work/bin"));
    static_cast<void>(directory.Write("work/bin/soak_1.bin", "older"));
    static_cast<void>(directory.Write("work/bin/soak_2.bin",
                                      std::string(FilesJob::kDataSize, FilesJob::kDataByte)));
    setenv("DXR_TEST_OPT", directory.Path().c_str(), 1);

    const std::string workPath = directory.Path("work");
    DxrHostOptions hostOptions;
    DxrHostInitOptions(&hostOptions);
    hostOptions.clock = DXR_HOST_CLOCK_STEPPED;
    hostOptions.workPath = workPath.c_str();
    DxrHost *const host = DxrHostCreate(&hostOptions);
    SOAK_CHECK(DxrHostRegister(host) == 0);
    DxrHostSetPrintSink(
        host, [](uint32_t, const char *, void *) { ++t_messages; }, nullptr, 6);
    DxrHostSetDiagSink(
        host, [](const char *, void *) { ++t_diagLines; }, nullptr);
    SOAK_CHECK(DxrHostSetClock(host, g_now, g_startupSec));
    SOAK_CHECK(DXR_InitLogFilter(9) == 0);
    // So that all its lines find room.
    DXR_ResizeLogFilterInfo(DXR_GetLogFilter(kHourlyType), 2047);
    RegisterMessages();

    std::printf("soak: %u s, %u threads, seed %" PRIu64 "\n", options.seconds, options.threads,
                options.seed);
    std::printf("%8s %14s %10s %8s %12s %12s %9s\n", "second", "calls", "rss KiB", "blocks",
                "host bytes", "descriptors", "findings");
    Gate gate;
    std::atomic<bool> over = false;
    Rest rest(Descriptors());
    Random random(options.seed);
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < options.threads; ++thread) {
        threads.emplace_back([&, thread] { Work(thread, options.seed, gate, over); });
    }
    const auto start = steady_clock::now();
    const auto elapsed = [&] {
        return std::chrono::duration<double>(steady_clock::now() - start).count();
    };
    const double every = std::max(1.0, options.seconds / 20.0);
    const double warm = options.seconds / 4.0;
    double due = every;
    while (elapsed() < options.seconds && g_findings == 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        gate.Close();
        TurnClock(random);
        if (elapsed() >= due) {
            rest.Check(elapsed() >= warm);
            std::printf("%8.0f %14" PRIu64 " %10" PRIu64 " %8" PRIu64 " %12" PRIu64 " %12" PRIu64
                        " %9" PRIu64 "\n",
                        elapsed(), AllCalls(), rest.rss / 1024, rest.blocks, rest.bytes,
                        Descriptors(), g_findings.load());
            static_cast<void>(std::fflush(stdout));
            due = elapsed() + every;
        }
        gate.Open();
    }
    over = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    rest.Check(true);

    DXR_DestroyLogFilter();
    DXR_DestroyRecordInfo();
    DXR_RegisterSimulateMsgMap(nullptr, 0);
    if (const uint32_t leftovers = DxrHostDestroy(host, stderr)) {
        Find("%u things are left at the end", leftovers);
    }
    std::printf("\n");
    for (const JobCount &job : g_jobs) {
        std::printf("%-20s %14" PRIu64 " calls\n", job.name, job.calls.load());
        if (job.calls == 0) {
            Find("nothing was done with %s", job.name);
        }
    }
    std::printf("memory resident: %" PRIu64 " KiB after the warm-up, %" PRIu64
                " KiB at most, %" PRIu64 " KiB at the end\n",
                rest.warmRss / 1024, rest.peakRss / 1024, rest.rss / 1024);
    std::printf("soak: %.0f s, %" PRIu64 " calls, %" PRIu64 " findings\n", elapsed(), AllCalls(),
                g_findings.load());
    return g_findings == 0 ? 0 : 1;
}

}  // namespace
}  // namespace soak

int main(int /*argc*/, char **argv) {
    return soak::Run(soak::Parse(argv));
}

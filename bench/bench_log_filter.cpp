#include <pthread.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/dup_filter_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <thread>

#include "dxr_api.h"
#include "harness.h"

namespace bench {
namespace {

// A line of 80 characters, as modules write them.
#define LINE_FORMAT \
    "fic %04u link %06u: serdes lost lock on lane %02u, bit errors %08x, training restarted"
constexpr const char *kFmtFormat =
    "fic {:04} link {:06}: serdes lost lock on lane {:02}, bit errors {:08x}, training restarted";

std::uint32_t g_lines = 0;  // lines that the filter let through

std::uint32_t InitMutex(void **mutex, void *) {
    auto *made = new pthread_mutex_t;
    pthread_mutex_init(made, nullptr);
    *mutex = made;
    return 0;
}

std::uint32_t DestroyMutex(void *mutex) {
    auto *made = static_cast<pthread_mutex_t *>(mutex);
    pthread_mutex_destroy(made);
    delete made;
    return 0;
}

std::uint32_t LockMutex(void *mutex) {
    return static_cast<std::uint32_t>(pthread_mutex_lock(static_cast<pthread_mutex_t *>(mutex)));
}

std::uint32_t UnlockMutex(void *mutex) {
    return static_cast<std::uint32_t>(pthread_mutex_unlock(static_cast<pthread_mutex_t *>(mutex)));
}

void InstallHost() {
    DXR_SetMemoryHooks([](std::uint32_t, std::uint32_t size, const char *,
                          std::uint32_t) { return std::malloc(size); },
                       [](void *block, const char *, std::uint32_t) { std::free(block); });
    g_dxrHooks.task.initMutex = InitMutex;
    g_dxrHooks.task.destroyMutex = DestroyMutex;
    g_dxrHooks.task.lockMutex = LockMutex;
    g_dxrHooks.task.unlockMutex = UnlockMutex;
    g_dxrHooks.time.getCurrSec = [] { return static_cast<std::uint32_t>(time(nullptr)); };
    g_dxrHooks.time.getCurrTime = [](char *text, std::uint32_t, std::uint32_t *sec) {
        *sec = static_cast<std::uint32_t>(time(nullptr));
        std::strcpy(text, "2024-03-15 10:00:00");
    };
    g_dxrHooks.print.diagLogFilter = [](const char *) {
        __atomic_fetch_add(&g_lines, 1, __ATOMIC_RELAXED);
        return 0U;
    };
    Require(DXR_InitLogFilter(9) == 0, "init of the log filter");
}

DxrLogFilterCfg CfgOf(std::uint32_t logType) {
    return {logType, 1, 2, 3, 4, 0};
}

void Log(const DxrLogFilterCfg &cfg, std::uint32_t n) {
    DXR_SameLogFilter(&cfg, LINE_FORMAT, 7U, n, n & 15U, n * 2654435761U);
}

std::unique_ptr<spdlog::logger> DuplicateFilter() {
    auto filter = std::make_shared<spdlog::sinks::dup_filter_sink_mt>(std::chrono::hours(1));
    filter->add_sink(std::make_shared<spdlog::sinks::null_sink_mt>());
    return std::make_unique<spdlog::logger>("peer", filter);
}

void Log(spdlog::logger &logger, std::uint32_t n) {
    logger.info(kFmtFormat, 7U, n, n & 15U, n * 2654435761U);
}

// Fills the ring of a type with `live` lines, numbered from 0.
void Fill(std::uint32_t logType, std::uint32_t live) {
    DXR_ClearLogFilterInfo(logType);
    const DxrLogFilterCfg cfg = CfgOf(logType);
    for (std::uint32_t n = 0; n < live; ++n) {
        Log(cfg, n);
    }
    Require(DXR_GetLogFilter(logType)->curSize == live, "live entries");
    const std::uint32_t before = g_lines;
    Log(cfg, 0);
    Log(cfg, live - 1);
    Require(g_lines == before, "repeats are suppressed");
}

Run SpdlogRepeat() {
    return [logger = std::shared_ptr<spdlog::logger>(DuplicateFilter())](std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            Log(*logger, 5);
        }
    };
}

// Formats these lines in turn, each into a zeroed buffer of its own.
Run FormatAlone(std::vector<std::uint32_t> lines) {
    return [lines = std::move(lines)](std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            char line[1024] = {};
            const std::uint32_t n = lines[i % lines.size()];
            Keep(std::snprintf(line, sizeof(line), LINE_FORMAT, 7U, n, n & 15U, n * 2654435761U));
            Keep(line[0]);
        }
    };
}

constexpr std::array<std::uint32_t, 4> kLive = {1, 100, 1000, 2047};

// Logs lines that the ring holds, in turn.
Run Repeat(std::uint32_t logType, std::vector<std::uint32_t> lines) {
    return [cfg = CfgOf(logType), lines = std::move(lines)](std::uint64_t count) {
        for (std::uint64_t i = 0; i < count; ++i) {
            Log(cfg, lines[i % lines.size()]);
        }
    };
}

std::vector<std::uint32_t> RandomLines(std::uint32_t live) {
    std::mt19937 random(1);
    std::vector<std::uint32_t> lines(4096);
    for (std::uint32_t &line : lines) {
        line = static_cast<std::uint32_t>(random()) % live;
    }
    return lines;
}

void AddRepeats(Suite &suite) {
    for (std::uint32_t logType = 0; logType < kLive.size(); ++logType) {
        const std::uint32_t live = kLive[logType];
        Fill(logType, live);
        const std::string of = " of " + std::to_string(live);
        const std::pair<const char *, std::vector<std::uint32_t>> which[] = {
            {"oldest", {0}},
            {"newest", {live - 1}},
            {"random", RandomLines(live)},
        };
        for (const auto &[name, lines] : which) {
            const std::string figure = "same-text repeat, " + std::string(name) + of;
            suite.Add({"DXR_SameLogFilter repeat", figure, "spdlog duplicate filter", 1.25, 1.0,
                       static_cast<double>(live), Repeat(logType, lines), SpdlogRepeat()});
            suite.Add({"DXR_SameLogFilter repeat, formatting", figure, "vsnprintf alone", 1.3, 1.0,
                       static_cast<double>(live), Repeat(logType, lines), FormatAlone(lines)});
        }
    }
    suite.Add({"DXR_SameLogFilter, newest of 2047 / newest of 1", "newest of 2047", "newest of 1",
               1.3, 1.1, 0, Repeat(3, {kLive[3] - 1}), Repeat(0, {0})});
}

void AddNewLines(Suite &suite) {
    constexpr std::uint32_t kLogType = 4;
    Fill(kLogType, 2047);
    auto next = std::make_shared<std::uint32_t>(1000000U);
    const std::uint32_t before = g_lines;
    Log(CfgOf(kLogType), (*next)++);
    Require(g_lines == before + 1 && DXR_GetLogFilter(kLogType)->curSize == 2047, "a new line");
    suite.Add({"DXR_SameLogFilter, all lines new", "all lines new, ring of 2047 full",
               "spdlog duplicate filter", 1.5, 1.1, 0,
               [next](std::uint64_t count) {
                   const DxrLogFilterCfg cfg = CfgOf(kLogType);
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Log(cfg, (*next)++);
                   }
               },
               [logger = std::shared_ptr<spdlog::logger>(DuplicateFilter()),
                n = std::make_shared<std::uint32_t>(1000000U)](std::uint64_t count) {
                   for (std::uint64_t i = 0; i < count; ++i) {
                       Log(*logger, (*n)++);
                   }
               }});
}

void AddKeys(Suite &suite) {
    for (std::uint32_t i = 0; i < kLive.size(); ++i) {
        const std::uint32_t logType = 10 + i;
        const std::uint32_t live = kLive[i];
        DxrLogFilterCfg cfg = {logType, 0, 10, 200, 3000, 0};
        for (std::uint32_t n = 0; n < live; ++n) {
            cfg.key1 = n;
            DXR_DiffLogFilter(&cfg, "line");
        }
        const std::uint32_t before = g_lines;
        DXR_DiffLogFilter(&cfg, "line");
        Require(g_lines == before, "repeated keys are suppressed");
        suite.Add({"DXR_DiffLogFilter repeat", "key repeat, " + std::to_string(live) + " live",
                   "snprintf of the key", 0.6, 0.4, static_cast<double>(live),
                   [cfg](std::uint64_t count) {
                       for (std::uint64_t k = 0; k < count; ++k) {
                           DXR_DiffLogFilter(&cfg, LINE_FORMAT, 7U, 1U, 2U, 3U);
                       }
                   },
                   [cfg](std::uint64_t count) {
                       for (std::uint64_t k = 0; k < count; ++k) {
                           char key[128] = {};
                           Keep(std::snprintf(key, sizeof(key), "%u%u%u%u%u", cfg.logType, cfg.key1,
                                              cfg.key2, cfg.key3, cfg.key4));
                           Keep(key[0]);
                       }
                   }});
    }
}

template <typename Work>
void InThreads(std::uint64_t count, Work work) {
    constexpr std::uint32_t kThreads = 8;
    std::vector<std::thread> threads;
    for (std::uint32_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([=] { work(t, count / kThreads + 1); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

void AddThreads(Suite &suite) {
    constexpr std::uint32_t kFirstType = 16;
    for (std::uint32_t t = 0; t < 8; ++t) {
        Fill(kFirstType + t, 100);
    }
    auto loggers = std::make_shared<std::vector<std::unique_ptr<spdlog::logger>>>();
    for (int t = 0; t < 8; ++t) {
        loggers->push_back(DuplicateFilter());
    }
    suite.Add({"8 threads, one log type each", "8 threads, one log type each",
               "spdlog duplicate filter", 1.35, 0.9, 0,
               [](std::uint64_t count) {
                   InThreads(count, [](std::uint32_t t, std::uint64_t n) {
                       const DxrLogFilterCfg cfg = CfgOf(kFirstType + t);
                       for (std::uint64_t i = 0; i < n; ++i) {
                           Log(cfg, 5);
                       }
                   });
               },
               [loggers](std::uint64_t count) {
                   InThreads(count, [loggers](std::uint32_t t, std::uint64_t n) {
                       for (std::uint64_t i = 0; i < n; ++i) {
                           Log(*(*loggers)[t], 5);
                       }
                   });
               },
               Clock::kProcess});
}

}  // namespace

void AddLogFilter(Suite &suite) {
    InstallHost();
    AddRepeats(suite);
    AddNewLines(suite);
    AddKeys(suite);
    AddThreads(suite);
}

}  // namespace bench

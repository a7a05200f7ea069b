#include <spdlog/logger.h>
#include <spdlog/sinks/dup_filter_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <memory>
#include <thread>
#include <vector>

#include "figures.h"
#include "log_lines.h"
#include "package_figures.h"

namespace bench {
namespace {

constexpr const char *kPeerName = "spdlog duplicate filter";

constexpr const char *kFmtFormat =
    "fic {:04} link {:06}: serdes lost lock on lane {:02}, bit errors {:08x}, training restarted";

using Logger = std::shared_ptr<spdlog::logger>;

Logger DuplicateFilter() {
    auto filter = std::make_shared<spdlog::sinks::dup_filter_sink_mt>(std::chrono::hours(1));
    filter->add_sink(std::make_shared<spdlog::sinks::null_sink_mt>());
    return std::make_shared<spdlog::logger>("peer", filter);
}

void Log(spdlog::logger &logger, uint32_t n) {
    logger.info(kFmtFormat, DXR_BENCH_LINE_ARGUMENTS(n));
}

constexpr uint32_t kThreads = 8;

template <typename Work>
void InThreads(uint64_t count, Work work) {
    std::vector<std::thread> threads;
    for (uint32_t t = 0; t < kThreads; ++t) {
        threads.emplace_back([=] { work(t, count / kThreads + 1); });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

}  // namespace

Figure SameTextBesideSpdlog(uint32_t live, Place place) {
    return Beside(SameText(live, place), kPeerName, [logger = DuplicateFilter()](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            Log(*logger, 5);
        }
    });
}

Figure NewTextBesideSpdlog(uint32_t live) {
    return Beside(NewText(live), kPeerName,
                  [logger = DuplicateFilter(), next = 1000000U](uint64_t count) mutable {
                      for (uint64_t i = 0; i < count; ++i) {
                          Log(*logger, next++);
                      }
                  });
}

Figure SameTextInEightThreads() {
    std::vector<DxrLogFilterCfg> sites;
    std::vector<Logger> loggers;
    for (uint32_t t = 0; t < kThreads; ++t) {
        sites.push_back(SiteOf(NewFilledLogType(100)));
        loggers.push_back(DuplicateFilter());
    }
    return {"DXR_SameLogFilter repeat, 8 threads, one log type each",
            kPeerName,
            0,
            [sites](uint64_t count) {
                InThreads(count, [&sites](uint32_t t, uint64_t n) {
                    for (uint64_t i = 0; i < n; ++i) {
                        Log(sites[t], 5);
                    }
                });
            },
            [loggers](uint64_t count) {
                InThreads(count, [&loggers](uint32_t t, uint64_t n) {
                    for (uint64_t i = 0; i < n; ++i) {
                        Log(*loggers[t], 5);
                    }
                });
            },
            Clock::kProcess};
}

}  // namespace bench

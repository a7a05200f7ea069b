#include <spdlog/logger.h>
#include <spdlog/sinks/dup_filter_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "figures.h"
#include "log_lines.h"
#include "package_figures.h"

namespace bench {
namespace {

constexpr const char *kPeerName = "spdlog duplicate filter";

using Logger = std::shared_ptr<spdlog::logger>;

Logger DuplicateFilter() {
    auto filter = std::make_shared<spdlog::sinks::dup_filter_sink_mt>(std::chrono::hours(1));
    filter->add_sink(std::make_shared<spdlog::sinks::null_sink_mt>());
    return std::make_shared<spdlog::logger>("peer", filter);
}

template <typename Line>
void LogToPeer(spdlog::logger &logger, uint32_t n) {
    std::apply([&logger](auto... arguments) { logger.info(Line::kFmt, arguments...); },
               Line::Arguments(n));
}

// What the peer is asked for is what the library prints.
template <typename Line>
void RequireSameLine() {
    constexpr uint32_t kNumber = 123'456;
    const std::string ours = std::apply(
        [](auto... arguments) {
            char text[2 * kLineLength];
            std::snprintf(text, sizeof(text), Line::kPrintf, arguments...);
            return std::string(text);
        },
        Line::Arguments(kNumber));
    const std::string peer = std::apply(
        [](auto... arguments) { return spdlog::fmt_lib::format(Line::kFmt, arguments...); },
        Line::Arguments(kNumber));
    Require(ours == peer && peer.size() == kLineLength, "line of the peer");
}

template <typename Line>
Run RepeatOneLine() {
    RequireSameLine<Line>();
    return [logger = DuplicateFilter()](uint64_t count) {
        for (uint64_t i = 0; i < count; ++i) {
            LogToPeer<Line>(*logger, 5);
        }
    };
}

template <typename Line>
Run NewLines() {
    RequireSameLine<Line>();
    return [logger = DuplicateFilter(), n = 100'000U](uint64_t count) mutable {
        for (uint64_t i = 0; i < count; ++i) {
            n = NewLineAfter(n);
            LogToPeer<Line>(*logger, n);
        }
    };
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

// Eight log types, each with lines of both kinds.
const std::vector<DxrLogFilterCfg> &ThreadSites() {
    static const std::vector<DxrLogFilterCfg> all = [] {
        std::vector<DxrLogFilterCfg> sites;
        for (uint32_t t = 0; t < kThreads; ++t) {
            const uint32_t logType = NewFilledLogType<PlainLine>(100);
            FillLogType<PaddedLine>(logType, 100);
            sites.push_back(SiteOf(logType));
        }
        return sites;
    }();
    return all;
}

template <typename Line>
Figure RepeatsInEightThreads(Sharing sharing) {
    std::vector<DxrLogFilterCfg> sites = ThreadSites();
    std::vector<Logger> loggers;
    for (uint32_t t = 0; t < kThreads; ++t) {
        loggers.push_back(DuplicateFilter());
    }
    const bool isOne = sharing == Sharing::kOne;
    if (isOne) {
        std::fill(sites.begin(), sites.end(), sites.front());
        std::fill(loggers.begin(), loggers.end(), loggers.front());
    }
    return {std::string("DXR_SameLogFilter ") + Line::kName + " repeat, 8 threads, " +
                (isOne ? "one log type" : "a log type each"),
            kPeerName + std::string(isOne ? ", one logger" : ", a logger each"),
            0,
            [sites](uint64_t count) {
                InThreads(count, [&sites](uint32_t t, uint64_t n) {
                    for (uint64_t i = 0; i < n; ++i) {
                        Log<Line>(sites[t], 5);
                    }
                });
            },
            [loggers](uint64_t count) {
                InThreads(count, [&loggers](uint32_t t, uint64_t n) {
                    for (uint64_t i = 0; i < n; ++i) {
                        LogToPeer<Line>(*loggers[t], 5);
                    }
                });
            },
            Clock::kProcess};
}

}  // namespace

Figure SameTextBesideSpdlog(LineKind kind, uint32_t live, Place place) {
    return Beside(
        SameText(kind, live, place), kPeerName,
        kind == LineKind::kPlain ? RepeatOneLine<PlainLine>() : RepeatOneLine<PaddedLine>());
}

Figure NewTextBesideSpdlog(LineKind kind, uint32_t live) {
    return Beside(NewText(kind, live), kPeerName,
                  kind == LineKind::kPlain ? NewLines<PlainLine>() : NewLines<PaddedLine>());
}

Figure SameTextInEightThreads(LineKind kind, Sharing sharing) {
    return kind == LineKind::kPlain ? RepeatsInEightThreads<PlainLine>(sharing)
                                    : RepeatsInEightThreads<PaddedLine>(sharing);
}

}  // namespace bench

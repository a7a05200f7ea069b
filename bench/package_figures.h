// Figures whose peers need packages or libraries of their own, in addition to figures.h.
#ifndef DXR_BENCH_PACKAGE_FIGURES_H
#define DXR_BENCH_PACKAGE_FIGURES_H

#include <cstddef>
#include <cstdint>

#include "figures.h"

namespace bench {

[[nodiscard]] Figure SameTextBesideSpdlog(LineKind kind, uint32_t live, Place place);
[[nodiscard]] Figure NewTextBesideSpdlog(LineKind kind, uint32_t live);
// A log type and a logger for each of eight threads, or one for all.
enum class Sharing : uint8_t { kEach, kOne };
[[nodiscard]] Figure SameTextInEightThreads(LineKind kind, Sharing sharing);

[[nodiscard]] Figure Crc8BesideBoost(size_t bytes);
[[nodiscard]] Figure CombinationBesideBoost(Operation operation, size_t words);
// The peer in the loop of its caller.
[[nodiscard]] Figure CombinationBesideInlineBoost(Operation operation, size_t words);
[[nodiscard]] Figure ZeroTestBesideBoost(size_t words);
[[nodiscard]] Figure SetBitsBesideBoost(size_t words);

// Floors: a call into a library that does nothing with the same arguments; the clearing that the
// host is promised; vsnprintf of the line and the decision on its text.
[[nodiscard]] Figure AboveCallWithBytes(Figure figure, size_t bytes);
[[nodiscard]] Figure AboveCallWithWords(Figure figure, size_t words);
[[nodiscard]] Figure AboveCallWithText(Figure figure);
[[nodiscard]] Figure AboveClearing(Figure figure);
[[nodiscard]] Figure AbovePrinting(Figure figure, LineKind kind);

[[nodiscard]] Figure Load();

// Processor time of `dxrsh filter`, beside other programs that drop repeated lines of a file.
enum class Program : uint8_t { kUniq, kAwk };
[[nodiscard]] Figure FilterOfFile(const char *dxrsh, Program peer);

}  // namespace bench

#endif  // DXR_BENCH_PACKAGE_FIGURES_H

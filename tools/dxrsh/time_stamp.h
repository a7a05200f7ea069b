// The time stamp at the head of a log line.
#ifndef DXRSH_TIME_STAMP_H
#define DXRSH_TIME_STAMP_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace dxrsh {

struct TimeStamp {
    uint32_t sec;   // since 1970-01-01 00:00:00 UTC; a stamp without a zone counts as UTC
    size_t length;  // characters it takes at the head of the line, the blanks after it included
    bool hasYear = true;
};

// Gives stamps without a year the year that is meant. The log's first one takes the latest year
// that does not put it more than a day after `latestSec`, or the year given; each later one takes
// the year that brings it nearest to the stamp before it.
class YearFinder {
  public:
    [[nodiscard]] static YearFinder Before(uint32_t latestSec) { return {latestSec, 0}; }
    [[nodiscard]] static YearFinder FromYear(int year) { return {0, year}; }

    // Seconds since 1970. The 29th of February of a year that has none is the 1st of March.
    [[nodiscard]] int64_t SecOf(int month, int day, int secOfDay) const;
    // The same of a stamp without any date: the day, likewise. The first day is 2000-01-01, or the
    // first of the year given.
    [[nodiscard]] int64_t SecOfTime(int secOfDay) const;

    // A stamp of the log was read.
    void Note(int64_t sec) { lastSec_ = sec; }

  private:
    YearFinder(int64_t latestSec, int year) : latestSec_(latestSec), year_(year) {}

    int64_t latestSec_;
    int year_;  // 0: to be found from latestSec_
    std::optional<int64_t> lastSec_;
};

// Reads the stamps of one log, line after line. Known forms:
//     2026-11-21T03:37:00.250+01:00   date and time apart by T or one blank; fraction and zone
//                                     optional
//     Nov 21 03:37:00                 as syslog writes it, the day with one or two characters
// A stamp stands at the very start and ends the line or is followed by a character that is no
// letter or digit.
class StampReader {
  public:
    explicit StampReader(const YearFinder &years) : years_(years) {}
    // A syslog stamp has no year: YearFinder::Before.
    [[nodiscard]] static StampReader Before(uint32_t latestSec);
    // As above, with the year of the first such stamp given.
    [[nodiscard]] static StampReader FromYear(int year);

    // Nothing when the line has no stamp, or one that is no time between the years 1970 and 2105.
    [[nodiscard]] std::optional<TimeStamp> Read(std::string_view line);

  private:
    // Date and time of day, from the head of a stamp: what most stamps have in common with the one
    // before them.
    struct Head {
        int64_t sec;  // as if in UTC
        size_t length;
        bool mayHaveZone;
    };
    static constexpr size_t kLongestHead = std::string_view("2026-11-21T03:37:00").size();

    [[nodiscard]] std::optional<Head> ReadHead(std::string_view line) const;
    [[nodiscard]] bool HasLastHead(std::string_view line) const;
    void Remember(const Head &head, std::string_view line);

    YearFinder years_;
    // The head of the last stamp, so that an equal one need not be read again: one without a year
    // means the same the second time, since it is nearest to itself.
    std::optional<Head> lastHead_;
    std::array<char, kLongestHead> lastHeadText_{};
};

constexpr int kFirstYear = 1970;
constexpr int kLastYear = 2105;  // the last whole year that 32 bits of seconds reach

// "2026-11-21 03:37:00"
[[nodiscard]] std::string FormatTime(uint32_t sec);

}  // namespace dxrsh

#endif  // DXRSH_TIME_STAMP_H

// The time stamps of a log whose form and place nobody has told: both are learnt from its first
// lines.
#ifndef DXRSH_LOG_STAMPS_H
#define DXRSH_LOG_STAMPS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "stamp_format.h"
#include "time_stamp.h"

namespace dxrsh {

struct StampOptions {
    std::optional<int> year;            // of stamps that have none
    std::optional<std::string> format;  // instead of what is known; "none": no stamps at all
};

// Where a stamp stands within its line.
struct FoundStamp {
    uint32_t sec;
    // What is left out of the line, with brackets or quotes around the stamp and blanks after it.
    size_t begin;
    size_t end;
};

class LogStamps {
  public:
    // Throws UsageError for a bad format.
    explicit LogStamps(const StampOptions &options);

    // Another log begins: what was learnt is forgotten, but not which year it is.
    void StartLog();

    // Learns from a line, unless enough are known. Lines at the head of which an ISO 8601 or a
    // syslog stamp stands decide for these two as soon as they are one in ten. Else a form is taken
    // that at least half of the lines have in one place; one that was told, where most have it.
    void Learn(std::string_view line);
    [[nodiscard]] bool Learning() const { return sampled_ < kSample; }

    [[nodiscard]] std::optional<FoundStamp> Read(std::string_view line) {
        return IsClassic() ? ReadClassic(line) : ReadActive(line);
    }

    // ISO 8601 and syslog stamps at the heads of lines, which every log may have.
    [[nodiscard]] bool IsClassic() const { return !active_ && !formatOnly_; }
    // The form and the place, for people; empty when no stamp was read.
    [[nodiscard]] std::string Recognised() const;
    [[nodiscard]] uint64_t Count() const { return whole_ + yearless_ + others_; }
    void ForgetCount() {
        whole_ = yearless_ = others_ = 0;
        noted_.clear();
        isNoted_ = false;
    }

  private:
    static constexpr size_t kSample = 200;

    struct Place {
        bool afterPriority;  // "<34>" stands before the first column
        size_t column;       // columns to pass over
        size_t skip;         // characters of the column before the stamp
        // NOLINTNEXTLINE(modernize-use-nullptr,readability-implicit-bool-conversion)
        friend auto operator<=>(const Place &, const Place &) = default;
    };
    struct Candidate {
        size_t form;
        Place place;
        // NOLINTNEXTLINE(modernize-use-nullptr,readability-implicit-bool-conversion)
        friend auto operator<=>(const Candidate &, const Candidate &) = default;
    };
    struct Evidence {
        size_t lines = 0;
        size_t backwards = 0;
        uint32_t last = 0;
    };
    struct Form {
        const char *name;
        FormatReader reader;
    };
    struct Active {
        Candidate candidate;
        FormatReader reader;
    };

    [[nodiscard]] std::optional<FoundStamp> ReadClassic(std::string_view line) {
        const auto stamp = classic_.Read(line);
        if (!stamp) {
            return std::nullopt;
        }
        ++(stamp->hasYear ? whole_ : yearless_);
        return FoundStamp{stamp->sec, 0, stamp->length};
    }
    [[nodiscard]] std::optional<FoundStamp> ReadActive(std::string_view line);
    void NoteActive();
    [[nodiscard]] static std::optional<size_t> StartOf(std::string_view line, const Place &place);
    void LearnColumns(std::string_view line, size_t from, bool afterPriority);
    void LearnAt(std::string_view line, size_t at, const Place &place);
    void Decide();
    [[nodiscard]] bool Suffices(const Candidate &candidate, const Evidence &evidence) const;

    YearFinder years_;
    StampReader classic_;
    StampReader probe_;  // reads the sample, so that `classic_` starts afresh
    bool formatOnly_ = false;
    std::vector<Form> forms_;
    std::map<Candidate, Evidence> evidence_;
    size_t sampled_ = 0;
    size_t classicSampled_ = 0;
    std::optional<Active> active_;
    bool isNoted_ = false;            // among `noted_`
    std::vector<std::string> noted_;  // forms of the logs so far, for Recognised()
    uint64_t whole_ = 0;              // ISO 8601
    uint64_t yearless_ = 0;           // syslog
    uint64_t others_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_LOG_STAMPS_H

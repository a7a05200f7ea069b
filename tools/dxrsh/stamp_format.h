// Time stamps of a form that is written down as for strptime().
#ifndef DXRSH_STAMP_FORMAT_H
#define DXRSH_STAMP_FORMAT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "stamp_scanner.h"
#include "time_stamp.h"

namespace dxrsh {

// How strictly texts are read.
enum class StampWidth {
    kFree,   // numbers with one digit or two, as strptime() takes them
    kExact,  // numbers with all their digits, as machines write them
};

class StampFormat {
  public:
    // Directives: %Y %y %m %d %e %j, %b %B %h (a month's name), %a %A (a day's, which is passed
    // over), %H %k %I %l %M %S %p, %z (Z, +01, +0100, +01:00), %Z (letters, passed over), %s
    // (seconds since 1970), %Q (milliseconds), %f (digits of a fraction, passed over), %n %t %%,
    // and %T %R %D %F for what they stand for. A blank stands for blanks, with kFree also for none;
    // all else for itself. A fraction may follow %S and %s. The stamp does not end within a word.
    //
    // Throws UsageError for another directive, and when no time of day or only a part of a date is
    // told.
    StampFormat(const std::string &format, StampWidth width);

    // With a zone after its end, should one be there: what most forms with a year may have.
    void AllowZone() { mayHaveZone_ = true; }

    // A time, as far as the stamp tells it.
    struct Moment {
        enum class Kind { kWhole, kYearless, kDateless };
        Kind kind;
        int64_t sec;  // kWhole: since 1970, UTC
        int month;
        int day;
        int secOfDay;
    };
    struct Parts {
        int year = 0;
        int month = 0;
        int day = 0;
        int dayOfYear = 0;
        int hour = 0;
        int minute = 0;
        int second = 0;
        int half = -1;  // 0 am, 1 pm
        int zone = 0;   // seconds east of UTC
        int64_t sinceEpoch = -1;
    };
    // A stamp is read in two steps, since the head, as far as the stamp tells the second, is often
    // that of the line before. False when the text does not fit; the scanner then stands anywhere.
    [[nodiscard]] bool ReadHead(Scanner &scanner, Parts &parts) const;
    [[nodiscard]] bool ReadTail(Scanner &scanner, Parts &parts) const;
    // Nothing when there is no such time.
    [[nodiscard]] std::optional<Moment> MomentOf(const Parts &parts) const;
    // Whether a head that was read before also ends where the same text goes on like this.
    [[nodiscard]] bool HeadEndsBefore(char next) const;

    [[nodiscard]] const std::string &Text() const { return text_; }
    // A bare number, which a line may hold for many reasons.
    [[nodiscard]] bool IsNumber() const { return tells_.epoch; }

  private:
    struct Step {
        char what;     // the directive; 'l': a character, ' ': blanks
        char literal;  // of 'l'
    };
    struct Told {
        bool year = false;
        bool month = false;
        bool day = false;
        bool dayOfYear = false;
        bool hour = false;
        bool minute = false;
        bool epoch = false;
    };

    void Compile(std::string_view format);
    void AddStep(char directive);
    void RequireSense() const;
    [[nodiscard]] static bool MayHaveFraction(const Step &step, const Step &next);
    [[nodiscard]] bool Run(const std::vector<Step> &steps, Scanner &scanner, Parts &parts) const;
    [[nodiscard]] bool Take(const Step &step, Scanner &scanner, Parts &parts) const;
    [[nodiscard]] bool TakeNumber(Scanner &scanner, int digits, int low, int high,
                                  int &value) const;
    [[nodiscard]] bool TakeEpoch(Scanner &scanner, int64_t perSecond, Parts &parts) const;

    std::string text_;
    bool exact_;
    bool mayHaveZone_ = false;
    bool fractionAtEnd_ = false;
    Told tells_;
    std::vector<Step> head_;
    std::vector<Step> tail_;  // what no longer tells the second: fractions, zones, marks
};

// A reader of stamps of one form, line after line.
class FormatReader {
  public:
    FormatReader(StampFormat format, const YearFinder &years)
        : format_(std::move(format)), years_(years) {}

    // The stamp at the beginning of the text; `length` is that of the stamp alone, without blanks
    // after it. Nothing when the text has none, or one that is no time between 1970 and 2105.
    [[nodiscard]] std::optional<TimeStamp> Read(std::string_view text);

    [[nodiscard]] const StampFormat &Format() const { return format_; }

  private:
    [[nodiscard]] std::optional<int64_t> SecOf(const StampFormat::Parts &parts) const;

    StampFormat format_;
    YearFinder years_;
    // The head of the last stamp and what it means: one without a year means the same again, since
    // it is nearest to itself.
    std::string lastHead_;
    int64_t lastHeadSec_ = 0;
};

}  // namespace dxrsh

#endif  // DXRSH_STAMP_FORMAT_H

// dxrsh fault: fault rules, judged at the events of a log.

#include <fmt/format.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands.h"
#include "dxr_api.h"
#include "errors.h"
#include "file_io.h"
#include "help.h"
#include "host.h"
#include "json_text.h"
#include "line_clock.h"
#include "number_option.h"
#include "numbers.h"
#include "progress.h"
#include "stamp_report.h"
#include "stamped_log.h"
#include "time_stamp.h"

namespace dxrsh {
namespace {

struct FaultOptions {
    std::vector<std::string> rules;
    std::optional<uint32_t> timeout;
    LogOptions log;
    uint32_t uptime = 0;
    std::string endTime;
    bool quiet = false;
    bool json = false;
};

using Rule = std::pair<uint32_t, uint32_t>;  // seconds, events

std::vector<Rule> ParseRules(const std::vector<std::string> &texts) {
    std::vector<Rule> rules;
    for (const std::string &text : texts) {
        const std::vector<std::string_view> sides = Split(text, ',');
        if (sides.size() != 2) {
            throw UsageError(fmt::format("--rule: '{}' is not of the form SECONDS,EVENTS", text));
        }
        rules.emplace_back(RequireNumber(sides[0], "--rule"), RequireNumber(sides[1], "--rule"));
    }
    return rules;
}

// The rules asked for, of which any one suffices.
class RuleSet {
  public:
    explicit RuleSet(const FaultOptions &options) {
        std::vector<Rule> rules = ParseRules(options.rules);
        const DxrFaultSpecFactory factory;
        if (rules.size() == 1) {
            specs_.push_back(factory.CreateSpec(rules[0].first, rules[0].second));
        } else if (!rules.empty()) {
            specs_.push_back(factory.CreateSpec(rules));
        }
        if (options.timeout) {
            specs_.push_back(std::make_unique<DxrFaultTimeoutSpec>(*options.timeout));
        }
        if (specs_.empty()) {
            throw UsageError("fault: give a --rule or a --timeout");
        }
    }

    [[nodiscard]] std::string_view Judge(const DxrCounter &counter) const {
        bool fault = false;
        for (const auto &spec : specs_) {
            fault = spec->IsSatisfied(&counter) || fault;
        }
        return fault ? "fault" : "ok";
    }

  private:
    std::vector<std::unique_ptr<DxrFaultSpec>> specs_;
};

std::optional<uint32_t> ParseEnd(const std::string &text) {
    if (text.empty()) {
        return std::nullopt;
    }
    const auto stamp = StampReader::FromYear(kFirstYear).Read(text);
    const bool hasYear = text.front() >= '0' && text.front() <= '9';
    if (!stamp || !hasYear || stamp->length != text.size()) {
        throw UsageError(fmt::format("--end: '{}' is no time such as 2026-11-21T03:37:00", text));
    }
    return stamp->sec;
}

void RunFault(const FaultOptions &options) {
    constexpr std::string_view kRow = "{:<19}  {:>6}  {:<7}  {}\n";
    const RuleSet ruleSet(options);
    const auto end = ParseEnd(options.endTime);
    const Host host;
    StampedLog log(options.log);
    LineClock &clock = log.Clock();
    clock.SetUptime(options.uptime);
    Output output(STDOUT_FILENO);
    Progress progress(log.Size());
    log.OnRead([&] {
        output.Flush();
        progress.Update(log.BytesRead());
    });
    const auto write = [&](uint32_t sec, uint32_t events, std::string_view before,
                           std::string_view after) {
        if (options.json) {
            JsonText json;
            json.BeginObject()
                .Text("time", FormatTime(sec))
                .Number("events", events)
                .Text("before", before);
            if (!after.empty()) {
                json.Text("with_it", after);
            }
            output.Write(json.EndObject().Line());
        } else {
            output.Write(after.empty()
                             ? fmt::format("{:<19}  {:>6}  {}\n", FormatTime(sec), events, before)
                             : fmt::format(kRow, FormatTime(sec), events, before, after));
        }
    };
    if (!options.json) {
        output.Write(fmt::format(kRow, "time", "events", "before", "with it"));
    }
    const auto counter = std::make_unique<DxrCounter>();
    StampedLine line{};
    while (log.Next(line)) {
        if (line.whole.text.empty()) {
            continue;
        }
        const std::string_view before = ruleSet.Judge(*counter);
        counter->IncreaseCount();
        write(clock.Now(), counter->GetCount(), before, ruleSet.Judge(*counter));
    }
    if (end) {
        clock.Set(*end);
        write(*end, counter->GetCount(), ruleSet.Judge(*counter), {});
    }
    progress.Clear();
    output.Flush();
    if (!options.quiet) {
        SayStamps(log, !options.json);
    }
}

}  // namespace

void AddFaultCommand(CLI::App &program) {
    const auto options = std::make_shared<FaultOptions>();
    CLI::App *const command =
        program.add_subcommand("fault", "Fault rules, judged at the events of a log");
    Describe(*command,
             std::string(
                 "Each line that is not empty is an event. It is judged twice: just before it is "
                 "counted, and with it. A rule SECONDS,EVENTS holds when the latest EVENTS events "
                 "lie within the last SECONDS seconds; with EVENTS 0 when the latest event is more "
                 "than SECONDS seconds old. Of several rules any one suffices.\n\n") +
                 kStampHelp,
             {"dxrsh fault --rule 10,3 examples/dxrsh/events.log",
              "dxrsh fault --rule 120,0 --end 2026-11-21T03:50:00 examples/dxrsh/events.log"});
    command->add_option("--rule", options->rules, "A rule; may be given again")
        ->type_name("SECONDS,EVENTS")
        ->allow_extra_args(false);
    command
        ->add_option("--timeout", options->timeout,
                     "A fault: an event, and the system up for longer")
        ->transform(AsWholeNumber())
        ->type_name("SECONDS");
    command
        ->add_option("--uptime", options->uptime,
                     "How long it was up at the first event (default 0)")
        ->transform(AsWholeNumber())
        ->type_name("SECONDS");
    command->add_option("--end", options->endTime, "Judge once more at this time")
        ->type_name("TIME");
    AddLogOptions(*command, options->log);
    command->add_flag("--quiet", options->quiet, "Do not say which stamps were recognised");
    AddJsonFlag(*command, options->json);
    command->callback([options] { RunFault(*options); });
}

}  // namespace dxrsh

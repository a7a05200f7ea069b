#include "refusals.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "errors.h"
#include "help_text.h"
#include "nearest.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kShownWidth = 60;

// A command, and how it is called.
struct Asked {
    const CLI::App *command;
    std::string path;
};

// The program, and the commands that were asked for, each one of the one before.
std::vector<Asked> AskedOf(const CLI::App &program) {
    std::vector<Asked> asked = {{&program, program.get_name()}};
    for (;;) {
        const auto parsed = asked.back().command->get_subcommands();
        const auto named = std::find_if(parsed.begin(), parsed.end(), [](const CLI::App *one) {
            return !one->get_name().empty();
        });
        if (named == parsed.end()) {
            return asked;
        }
        asked.push_back({*named, asked.back().path + " " + (*named)->get_name()});
    }
}

std::vector<std::string> NamesOf(const Asked &asked) {
    std::vector<std::string> names;
    for (const CLI::Option *option : OptionsOf(*asked.command)) {
        if (!option->get_positional()) {
            names.push_back("--" + option->get_lnames().front());
        }
    }
    return names;
}

bool Has(const std::vector<std::string> &names, const std::string &name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string NoSuchOption(const std::string &name, const std::string &advice) {
    return fmt::format("there is no option '{}'; {}", Printable(name, kShownWidth), advice);
}

std::string OptionRefused(const Asked &asked, const std::string &word) {
    const std::string name = word.substr(0, word.find('='));
    if (Has(NamesOf(asked), name)) {
        return fmt::format("the option '{}' belongs right after '{}'", name, asked.path);
    }
    return NoSuchOption(
        name, Advice(name, NamesOf(asked), fmt::format("'{} --help' lists them", asked.path)));
}

// One that stands after the first of them, before the others.
std::string OptionBeforeRefused(const std::vector<Asked> &asked, const std::string &word) {
    const std::string name = word.substr(0, word.find('='));
    const std::vector<std::string> own = NamesOf(asked.front());
    std::vector<std::string> known = own;
    for (auto each = asked.begin() + 1; each != asked.end(); ++each) {
        const std::vector<std::string> names = NamesOf(*each);
        if (Has(names, name)) {
            return fmt::format("the option '{}' belongs after '{}'", name, each->path);
        }
        known.insert(known.end(), names.begin(), names.end());
    }
    const std::string nearest = Nearest(name, known);
    for (const Asked &each : asked) {
        if (!nearest.empty() && !Has(own, nearest) && Has(NamesOf(each), nearest)) {
            return NoSuchOption(name,
                                fmt::format("did you mean '{}', after '{}'?", nearest, each.path));
        }
    }
    return OptionRefused(Has(own, nearest) ? asked.front() : asked.back(), word);
}

// The first word that the parser has left, from the command on that has left it.
std::string WordRefused(std::vector<Asked> asked, const std::string &word) {
    const bool isOption = word.size() > 1 && word[0] == '-';
    const auto at = std::find_if(asked.begin(), asked.end(), [](const Asked &each) {
        return !each.command->remaining().empty();
    });
    if (isOption && at != asked.end() && at + 1 != asked.end()) {
        asked.erase(asked.begin(), at);
        return OptionBeforeRefused(asked, word);
    }
    if (isOption) {
        return OptionRefused(asked.back(), word);
    }
    return fmt::format("'{}' is one word too many; '{} --help' tells what it takes",
                       Printable(word, kShownWidth), asked.back().path);
}

// The option that a text of the parser names at its head; null when there is none.
const CLI::Option *NamedAtHead(const Asked &asked, const std::string &text) {
    for (const CLI::Option *option : OptionsOf(*asked.command)) {
        const std::string name = option->get_name();
        if (text.starts_with(name + ":") || text.starts_with(name + " ")) {
            return option;
        }
    }
    return nullptr;
}

}  // namespace

void RefuseEmptyValues(CLI::App &program) {
    const auto mayBeEmpty = [](const CLI::Option &option) {
        return option.check_lname("title") || option.check_lname("mask") ||
               option.get_name() == "PATTERN";
    };
    for (CLI::Option *option : program.get_options()) {
        if (mayBeEmpty(*option)) {
            continue;
        }
        if (option->get_items_expected_max() == 0) {
            (void)option->disable_flag_override();
        } else {
            (void)option->check([](const std::string &value) {
                return value.empty() ? std::string("must not be empty") : std::string();
            });
        }
    }
    for (CLI::App *command : program.get_subcommands([](CLI::App *) { return true; })) {
        RefuseEmptyValues(*command);
    }
}

std::vector<std::string> RequireWords(const CLI::App &command, size_t least,
                                      const std::string &what) {
    std::vector<std::string> words = command.remaining();
    const Asked asked{&command, "dxrsh " + command.get_name()};
    // An option of the command among them was not taken as one.
    for (size_t i = 0; i < std::min(least, words.size()); ++i) {
        if (words[i].size() > 1 && words[i][0] == '-') {
            throw UsageError(OptionRefused(asked, words[i]));
        }
        if (words[i].empty()) {
            throw UsageError(what + ": must not be empty");
        }
    }
    if (words.size() < least) {
        throw UsageError(what + " is required");
    }
    return words;
}

std::string RefusalOf(const CLI::App &program, const CLI::ParseError &error) {
    const std::vector<Asked> all = AskedOf(program);
    const Asked &asked = all.back();
    std::string text = error.what();
    const std::vector<std::string> left = program.remaining(true);
    if (dynamic_cast<const CLI::ExtrasError *>(&error) != nullptr && !left.empty()) {
        return WordRefused(all, left.front());
    }
    const bool isCommandMissing = dynamic_cast<const CLI::RequiredError *>(&error) != nullptr &&
                                  text.find("ubcommand") != std::string::npos;
    if (isCommandMissing) {
        return fmt::format("name a command; '{} --help' lists them", asked.path);
    }
    // It names the flag without its dashes.
    constexpr std::string_view kFlagWithValue = " was given a disallowed flag override";
    if (text.ends_with(kFlagWithValue)) {
        return fmt::format("--{}: takes no value",
                           text.substr(0, text.size() - kFlagWithValue.size()));
    }
    const CLI::Option *const option = NamedAtHead(asked, text);
    const bool isMismatch = dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr ||
                            dynamic_cast<const CLI::ConversionError *>(&error) != nullptr;
    if (option == nullptr || !isMismatch) {
        return text;
    }
    if (text.find("At Most") != std::string::npos) {
        return fmt::format("{}: is given more than once", option->get_name());
    }
    return fmt::format("{}: {} is missing", option->get_name(), ValueOf(*option));
}

}  // namespace dxrsh

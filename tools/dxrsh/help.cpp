#include "help.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "errors.h"
#include "help_text.h"
#include "nearest.h"
#include "say.h"

namespace dxrsh {
namespace {

constexpr size_t kColumns = 80;
constexpr size_t kLabelWidth = 20;

std::map<const CLI::App *, Description> &Descriptions() {
    static std::map<const CLI::App *, Description> descriptions;
    return descriptions;
}

std::map<const CLI::Option *, std::vector<std::string>> &Choices() {
    static std::map<const CLI::Option *, std::vector<std::string>> choices;
    return choices;
}

// A label, and the text after it in lines of their own column.
std::string Row(const std::string &label, const std::string &text) {
    std::string row = fmt::format("  {:<{}}", label, kLabelWidth - 2);
    if (label.size() + 2 >= kLabelWidth) {
        row += "  ";
    }
    size_t column = row.size();
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find(' ', at), text.size());
        if (column + 1 + (end - at) > kColumns && column > kLabelWidth) {
            row += "\n" + std::string(kLabelWidth, ' ');
            column = kLabelWidth;
        } else if (at != 0) {
            row += ' ';
            ++column;
        }
        row += text.substr(at, end - at);
        column += end - at;
        at = end + 1;
    }
    return row + "\n";
}

class HelpFormatter : public CLI::Formatter {
  public:
    [[nodiscard]] std::string make_help(const CLI::App *app, std::string name,
                                        CLI::AppFormatMode /*mode*/) const override {
        std::string help = fmt::format("Usage: {} {}\n", name, SynopsisOf(*app));
        help += app->get_description() + "\n";
        for (const CLI::App *command : CommandsOf(*app)) {
            help += Row(command->get_name(), command->get_description());
        }
        if (app->get_parent() == nullptr) {
            help += Row("--help, --version", "Print this help; which version this is");
        } else {
            for (const CLI::Option *option : OptionsOf(*app)) {
                help += Row(LabelOf(*option), option->get_description());
            }
        }
        const Description &description = DescriptionOf(*app);
        if (!description.examples.empty()) {
            help += "Examples:\n";
        } else if (!app->get_footer().empty()) {
            help += "\n" + app->get_footer() + "\n";
        }
        for (const std::string &example : description.examples) {
            help += "  " + example + "\n";
        }
        return help;
    }
};

std::vector<std::string> NamesOf(const CLI::App &app) {
    std::vector<std::string> names;
    for (const CLI::App *command : CommandsOf(app)) {
        names.push_back(command->get_name());
    }
    return names;
}

[[noreturn]] void RefuseCommand(const CLI::App &app, const std::string &path,
                                const std::string &name) {
    constexpr size_t kShownWidth = 60;
    throw UsageError(
        fmt::format("there is no command '{}'; {}", Printable(name, kShownWidth),
                    Advice(name, NamesOf(app), fmt::format("'{} --help' lists them", path))));
}

bool IsOption(const std::string &word) {
    return word.starts_with('-');
}

// Tells whether help is asked for by name, wherever options stand; leaves the words that say about
// what. "help --help" is about help itself.
bool TakeHelp(std::vector<std::string> &words) {
    const auto first = std::find_if_not(words.begin(), words.end(), IsOption);
    if (first == words.end() || *first != "help" ||
        (first + 1 != words.end() && std::all_of(first + 1, words.end(), IsOption))) {
        return false;
    }
    words.erase(words.begin(), first + 1);
    words.erase(std::remove_if(words.begin(), words.end(), IsOption), words.end());
    return true;
}

}  // namespace

const Description &DescriptionOf(const CLI::App &command) {
    static const Description none;
    const auto found = Descriptions().find(&command);
    return found == Descriptions().end() ? none : found->second;
}

const std::vector<std::string> &ChoicesOf(const CLI::Option &option) {
    static const std::vector<std::string> none;
    const auto found = Choices().find(&option);
    return found == Choices().end() ? none : found->second;
}

std::string ValueOf(const CLI::Option &option) {
    const std::string type = option.get_type_name();
    // Of a flag only what it may take, as in "--mask[=REGEX]".
    const bool isShown = option.get_items_expected_max() != 0 || type.starts_with('[');
    return isShown ? type.substr(0, type.find(':')) : std::string();
}

std::string LabelOf(const CLI::Option &option) {
    if (option.get_positional()) {
        return option.get_name(true) + (option.get_items_expected_max() > 1 ? "..." : "");
    }
    std::string label = "--" + option.get_lnames().front();
    const std::string value = ValueOf(option);
    return label + (value.empty() || value[0] == '[' ? "" : " ") + value;
}

std::vector<const CLI::App *> CommandsOf(const CLI::App &command) {
    std::vector<const CLI::App *> commands;
    for (const CLI::App *one : command.get_subcommands([](const CLI::App *) { return true; })) {
        if (!one->get_name().empty() && !one->get_group().empty()) {
            commands.push_back(one);
        }
    }
    return commands;
}

std::vector<const CLI::Option *> OptionsOf(const CLI::App &command) {
    std::vector<const CLI::Option *> options;
    for (const bool positional : {true, false}) {
        for (const CLI::App *part :
             command.get_subcommands([](const CLI::App *) { return true; })) {
            if (part->get_name().empty() && !positional) {  // a group of options
                for (const CLI::Option *option : part->get_options()) {
                    options.push_back(option);
                }
            }
        }
        for (const CLI::Option *option : command.get_options()) {
            if (option->get_positional() == positional) {
                options.push_back(option);
            }
        }
    }
    return options;
}

std::string SynopsisOf(const CLI::App &command) {
    std::string synopsis = "[OPTIONS]";
    for (const CLI::Option *option : OptionsOf(command)) {
        if (option->get_positional()) {
            const std::string label = LabelOf(*option);
            synopsis += option->get_required() ? " " + label : " [" + label + "]";
        }
    }
    if (command.get_prefix_command()) {
        // What it leaves to the module has no options; its footer names it.
        synopsis += " " + command.get_footer();
    }
    if (CommandsOf(command).empty()) {
        return synopsis;
    }
    return synopsis == "[OPTIONS]" ? "COMMAND ..." : synopsis + " | COMMAND ...";
}

void Describe(CLI::App &command, std::string details, std::vector<std::string> examples) {
    Descriptions()[&command] = {std::move(details), std::move(examples)};
}

void Offer(const CLI::Option &option, std::vector<std::string> choices) {
    Choices()[&option] = std::move(choices);
}

void AddJsonFlag(CLI::App &command, bool &json) {
    command.add_flag("--json", json, "Print JSON, an object a line");
}

void UseHelp(CLI::App &program) {
    program.formatter(std::make_shared<HelpFormatter>());
    program.set_help_flag("--help,-h", "Print this help");
}

std::vector<std::string> ReadyArguments(const CLI::App &program, int argc, char **argv) {
    std::vector<std::string> words(argv + std::min(1, argc), argv + argc);
    const bool isHelp = TakeHelp(words);
    const CLI::App *app = &program;
    std::string path = program.get_name();
    size_t commands = 0;
    for (const std::string &word : words) {
        if (CommandsOf(*app).empty() || word.empty() || word[0] == '-') {
            break;
        }
        const auto isNamed = [&word](const CLI::App *one) { return one->get_name() == word; };
        const auto all = app->get_subcommands([](const CLI::App *) { return true; });
        const auto found = std::find_if(all.begin(), all.end(), isNamed);
        if (found == all.end()) {
            const auto options = OptionsOf(*app);
            const bool takesWords = !options.empty() && options.front()->get_positional();
            // A file is not looked for where a command was meant.
            const bool isMeant = word.find_first_of("./") == std::string::npos &&
                                 access(word.c_str(), F_OK) != 0 &&
                                 !Nearest(word, NamesOf(*app)).empty();
            if (takesWords && !isMeant) {
                break;
            }
            RefuseCommand(*app, path, word);
        }
        app = *found;
        path += " " + word;
        ++commands;
    }
    if (isHelp) {
        words.resize(commands);
        words.emplace_back("--help");
    }
    return words;
}

}  // namespace dxrsh

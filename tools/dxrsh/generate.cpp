// The manual page and the completions of shells, made from what the commands say of themselves.

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "file_io.h"
#include "help.h"
#include "help_text.h"
#include "number_option.h"

namespace dxrsh {
namespace {

// --- roff

std::string Roff(std::string_view text) {
    std::string roff;
    for (const char c : text) {
        switch (c) {
            case '\\':
                roff += "\\e";
                break;
            case '-':
                roff += "\\-";
                break;
            case '\'':
                roff += "\\(aq";
                break;
            case '^':
                roff += "\\(ha";
                break;
            case '~':
                roff += "\\(ti";
                break;
            case '`':
                roff += "\\(ga";
                break;
            default:
                roff += c;
                break;
        }
    }
    return roff.starts_with('.') ? "\\&" + roff : roff;
}

// A line of the source for each of the text, a paragraph for each empty one.
std::string Paragraphs(std::string_view text) {
    std::string roff;
    size_t at = 0;
    while (at < text.size()) {
        const size_t end = std::min(text.find('\n', at), text.size());
        roff += end == at ? ".PP\n" : Roff(text.substr(at, end - at)) + "\n";
        at = end + 1;
    }
    return roff;
}

std::string ManOf(const CLI::App &command, const std::string &name) {
    std::string roff = fmt::format(".SS {} {}\n", Roff(name), Roff(SynopsisOf(command)));
    roff += Roff(command.get_description()) + ".\n";
    const Description &description = DescriptionOf(command);
    const std::string details =
        description.details.empty() ? command.get_footer() : description.details;
    if (!details.empty()) {
        roff += ".PP\n" + Paragraphs(details);
    }
    for (const CLI::Option *option : OptionsOf(command)) {
        roff += fmt::format(".TP\n\\fB{}\\fR\n{}.\n", Roff(LabelOf(*option)),
                            Roff(option->get_description()));
    }
    if (!description.examples.empty()) {
        roff += ".PP\nExamples:\n.PP\n.EX\n";
        for (const std::string &example : description.examples) {
            roff += "  " + Roff(example) + "\n";
        }
        roff += ".EE\n";
    }
    for (const CLI::App *one : CommandsOf(command)) {
        roff += ManOf(*one, name + " " + one->get_name());
    }
    return roff;
}

std::string Man(const CLI::App &program, const std::string &version, const std::string &date) {
    std::string roff = fmt::format(
        ".\\\" Made by dxrsh generate man\n.TH DXRSH 1 \"{}\" \"dxrsh {}\" \"User Commands\"\n"
        ".SH NAME\ndxrsh \\- run the logic of libdxr_api on real input\n"
        ".SH SYNOPSIS\n.B dxrsh\n.I COMMAND\n[\\fIOPTIONS\\fR] [\\fIARGUMENTS\\fR]\n"
        ".br\n.B dxrsh help\n[\\fICOMMAND\\fR]\n.SH DESCRIPTION\n",
        date, version);
    roff += Paragraphs(
        "dxrsh runs the library's logic on real input, within a development host.\n"
        "Results go to standard output, everything said about them to standard error.\n"
        "Numbers are decimal, or hexadecimal after 0x. A file named - is standard input.");
    roff += ".SH COMMANDS\n";
    for (const CLI::App *command : CommandsOf(program)) {
        roff += ManOf(*command, command->get_name());
    }
    roff +=
        ".SH EXIT STATUS\n.TP\n\\fB0\\fR\nDone.\n.TP\n\\fB1\\fR\nCould not be done: a file is "
        "missing, say.\n.TP\n\\fB2\\fR\nAsked for wrongly: an argument or an input file does not "
        "say what it should.\n.TP\n\\fB130\\fR\nBroken off by Ctrl\\-C.\n"
        ".SH ENVIRONMENT\n.TP\n\\fBNO_COLOR\\fR\nWhen it is set, there are no colours unless "
        "\\fB\\-\\-color\\fR asks for them.\n";
    return roff;
}

// --- Shells

// "filter", "privatelog write" and so on, with the commands themselves.
using Visit = std::function<void(const std::string &, const CLI::App &)>;
void ForEachCommand(const CLI::App &app, const std::string &path, const Visit &visit) {
    for (const CLI::App *command : CommandsOf(app)) {
        const std::string name =
            path.empty() ? command->get_name() : path + " " + command->get_name();
        visit(name, *command);
        ForEachCommand(*command, name, visit);
    }
}

std::string NamesOf(const CLI::App &command) {
    std::string names;
    for (const CLI::App *one : CommandsOf(command)) {
        names += one->get_name() + " ";
    }
    return names;
}

std::string WordsOf(const CLI::App &command) {
    std::string words = NamesOf(command);
    for (const CLI::Option *option : OptionsOf(command)) {
        if (!option->get_positional()) {
            words += "--" + option->get_lnames().front() + " ";
        }
    }
    return words;
}

bool IsHelp(const CLI::App &command) {
    return command.get_name() == "help" && command.get_parent()->get_parent() == nullptr;
}

std::string Bash(const CLI::App &program) {
    std::string rows = fmt::format("        '') words='{}' ;;\n", WordsOf(program));
    std::string paths;
    std::string values;
    const auto addRow = [&](const std::string &name, const std::string &words) {
        rows += fmt::format("        '{}') words='{}' ;;\n", name, words);
        paths += fmt::format(" | '{}'", name);
    };
    ForEachCommand(program, "", [&](const std::string &name, const CLI::App &command) {
        if (IsHelp(command)) {
            addRow(name, NamesOf(program) + WordsOf(command));
        } else {
            addRow(name, WordsOf(command));
            addRow("help " + name, NamesOf(command));
        }
        for (const CLI::Option *option : OptionsOf(command)) {
            if (!option->get_positional() && !ChoicesOf(*option).empty()) {
                values +=
                    fmt::format("        '{} --{}') words='{}' value=1 ;;\n", name,
                                option->get_lnames().front(), fmt::join(ChoicesOf(*option), " "));
            }
        }
    });
    return "# Completion of dxrsh for bash; made by: dxrsh generate bash\n"
           "_dxrsh() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} command= words= value= i next\n"
           "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
           "        next=\"${command:+$command }${COMP_WORDS[i]}\"\n"
           "        case $next in\n"
           "            " +
           paths.substr(3) +
           ") command=$next ;;\n"
           "        esac\n"
           "    done\n"
           "    case $command in\n" +
           rows +
           "    esac\n"
           "    # A value may stand after a blank or after =, which is a word of its own.\n"
           "    i=$((COMP_CWORD - 1))\n"
           "    if [[ $current == = ]]; then\n"
           "        current=\n"
           "    elif [[ ${COMP_WORDS[i]} == = ]]; then\n"
           "        i=$((i - 1))\n"
           "    fi\n"
           "    case \"$command ${COMP_WORDS[i]}\" in\n" +
           values +
           "    esac\n"
           "    COMPREPLY=()\n"
           "    if [[ $current == -* || $words != -* || $value ]]; then\n"
           "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "    fi\n"
           "}\n"
           "complete -o default -F _dxrsh dxrsh\n";
}

std::string InQuotes(const std::string &text) {
    std::string quoted;
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return "'" + quoted + "'";
}

// Within what _arguments takes apart itself.
std::string ForArguments(const std::string &text) {
    std::string escaped;
    for (const char c : text) {
        if (std::string_view("[]:\\").find(c) != std::string_view::npos) {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

std::string ZshArguments(const CLI::App &command) {
    std::string arguments;
    for (const CLI::Option *option : OptionsOf(command)) {
        if (option->get_positional()) {
            continue;
        }
        const std::string value = ValueOf(*option);
        const bool takes = option->get_items_expected_max() != 0;
        const std::vector<std::string> &choices = ChoicesOf(*option);
        const std::string offered =
            choices.empty() ? "_files" : fmt::format("({})", fmt::join(choices, " "));
        arguments +=
            " " + InQuotes(fmt::format("*--{}{}[{}]{}", option->get_lnames().front(),
                                       takes ? "=" : "", ForArguments(option->get_description()),
                                       takes ? ":" + ForArguments(value) + ":" + offered : ""));
    }
    return arguments;
}

// The commands of `app`, when the word at `place` is asked for; else what `next` says of the one
// that stands there.
std::string ZshCommands(const CLI::App &app, size_t place, size_t depth,
                        const std::function<std::string(const CLI::App &)> &next) {
    const std::string pad(4 * depth, ' ');
    std::string names;
    std::string rows;
    for (const CLI::App *command : CommandsOf(app)) {
        std::string about = command->get_description();
        names += fmt::format(" {}:{}", command->get_name(), InQuotes(ForArguments(about)));
        rows +=
            fmt::format("{}    {})\n{}{}    ;;\n", pad, command->get_name(), next(*command), pad);
    }
    return fmt::format(
        "{0}if (( CURRENT == {1} )); then\n{0}    local -a commands\n"
        "{0}    commands=({2})\n{0}    _describe command commands\n"
        "{0}    return\n{0}fi\n{0}case $words[{1}] in\n{3}{0}esac\n",
        pad, place, names, rows);
}

// What follows `help`, from the word at `place` on.
std::string ZshHelp(const CLI::App &app, size_t place, size_t depth) {
    return CommandsOf(app).empty()
               ? ""
               : ZshCommands(app, place, depth, [place, depth](const CLI::App &command) {
                     return ZshHelp(command, place + 1, depth + 2);
                 });
}

std::string ZshCase(const CLI::App &app, size_t depth) {
    const CLI::App *const parent = app.get_parent();
    if (parent != nullptr && IsHelp(app)) {
        return ZshHelp(*parent, 3, depth);
    }
    if (CommandsOf(app).empty()) {
        return std::string(4 * depth, ' ') + "_arguments" + ZshArguments(app) +
               " '*:file:_files'\n";
    }
    return ZshCommands(app, parent == nullptr ? 2 : 3, depth,
                       [depth](const CLI::App &command) { return ZshCase(command, depth + 2); });
}

std::string Zsh(const CLI::App &program) {
    return "#compdef dxrsh\n# Made by: dxrsh generate zsh\n_dxrsh() {\n" + ZshCase(program, 1) +
           "}\n_dxrsh \"$@\"\n";
}

std::string Fish(const CLI::App &program) {
    std::string lines = "# Completion of dxrsh for fish; made by: dxrsh generate fish\n";
    for (const CLI::App *command : CommandsOf(program)) {
        lines += fmt::format("complete -c dxrsh -f -n __fish_use_subcommand -a {} -d {}\n",
                             command->get_name(), InQuotes(command->get_description()));
        lines += fmt::format(
            "complete -c dxrsh -f -n '__fish_seen_subcommand_from help; and test (count "
            "(commandline -opc)) -eq 2' -a {} -d {}\n",
            command->get_name(), InQuotes(command->get_description()));
    }
    ForEachCommand(program, "", [&](const std::string &name, const CLI::App &command) {
        std::string seen = "__fish_seen_subcommand_from " + name.substr(0, name.find(' '));
        if (name.find(' ') != std::string::npos) {
            seen += "; and __fish_seen_subcommand_from " + name.substr(name.find(' ') + 1);
        }
        for (const CLI::App *one : CommandsOf(command)) {
            lines += fmt::format("complete -c dxrsh -f -n {} -a {} -d {}\n", InQuotes(seen),
                                 one->get_name(), InQuotes(one->get_description()));
        }
        for (const CLI::Option *option : OptionsOf(command)) {
            if (!option->get_positional()) {
                const std::string words = fmt::format("{}", fmt::join(ChoicesOf(*option), " "));
                lines += fmt::format("complete -c dxrsh -n {} -l {}{} -d {}{}\n", InQuotes(seen),
                                     option->get_lnames().front(),
                                     option->get_items_expected_max() != 0 ? " -r" : "",
                                     InQuotes(option->get_description()),
                                     words.empty() ? "" : " -f -a " + InQuotes(words));
            }
        }
    });
    return lines;
}

}  // namespace

void AddGenerateCommand(CLI::App &program, const std::string &version, const std::string &date) {
    CLI::App *const command =
        program.add_subcommand("generate", "The manual page, or the completion of a shell");
    command->group("");  // for the build
    const auto what = std::make_shared<std::string>();
    command->add_option("WHAT", *what, "man, bash, zsh or fish")
        ->required()
        ->check(OneOf({"man", "bash", "zsh", "fish"}));
    command->callback([&program, what, version, date] {
        WriteOut(*what == "man"    ? Man(program, version, date)
                 : *what == "bash" ? Bash(program)
                 : *what == "zsh"  ? Zsh(program)
                                   : Fish(program));
    });
}

}  // namespace dxrsh

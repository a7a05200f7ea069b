// dxrsh db: databases for the development host.

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "dxr_devhost.h"
#include "errors.h"
#include "help.h"

namespace dxrsh {
namespace {

void RunInit(const std::string &path) {
    std::array<char, 4096> error{};
    if (!DxrHostInitDatabase(nullptr, path.c_str(), error.data(), error.size())) {
        throw RunError(std::string("db: ") + error.data());
    }
}

}  // namespace

void AddDbCommand(CLI::App &program) {
    CLI::App *const command = program.add_subcommand("db", "Databases for the development host");
    command->require_subcommand(1);

    const auto path = std::make_shared<std::string>();
    CLI::App *const init = command->add_subcommand("init", "Makes a sample chassis");
    const std::vector<std::string> examples = {
        "rm -f /tmp/chassis.db; dxrsh db init /tmp/chassis.db",
        "rm -f /tmp/other.db; dxrsh db init /tmp/other.db && rm /tmp/other.db"};
    Describe(*command, "Any SQLite tool changes such a file.", examples);
    Describe(*init,
             "Makes an SQLite file with four line processing units, their fabric interface chips, "
             "traffic managers, ports and queues. Nothing that exists is overwritten.",
             examples);
    init->add_option("FILE", *path, "The file")->required();
    init->callback([path] { RunInit(*path); });
}

}  // namespace dxrsh

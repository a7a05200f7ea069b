// A module: a shared object with the functions of dxr_module.h.
#ifndef DXRSH_MODULE_H
#define DXRSH_MODULE_H

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace dxrsh {

// Loaded for the rest of the program, so that addresses in it keep their names.
class Module {
  public:
    // Throws UsageError when it cannot be loaded or defines no DxrModuleMain.
    explicit Module(const std::string &path);

    // Runs it with arguments; its result. Should the module end the program, in here or in End, the
    // program says so and its exit status is a failure: what is left of the run is not known. A
    // process that it has forked ends when it comes back from there. Throws RunError for an
    // exception that leaves the module.
    int Main(const std::vector<std::string> &arguments);
    // Its way out, if it has one.
    void End() const;

    // The last part of its path.
    [[nodiscard]] std::string Name() const;

  private:
    [[noreturn]] void Left(const std::exception &error) const;

    std::string path_;
    int (*main_)(int argc, char **argv);
    void (*end_)();
    std::vector<std::string> arguments_;
    std::vector<char *> argv_;
};

// As _Exit, also while the module is called: it is not its doing.
[[noreturn]] void EndProgram(int status);

// Where a command that runs a module prints. For JSON that is standard output as it was; what the
// module prints there by itself goes to standard error from then on. Stays open.
[[nodiscard]] std::FILE *OutputBesideModule(bool json);

}  // namespace dxrsh

#endif  // DXRSH_MODULE_H

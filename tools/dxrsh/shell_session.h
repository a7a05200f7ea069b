// What lines of the shell do on a host, and what they have kept.
#ifndef DXRSH_SHELL_SESSION_H
#define DXRSH_SHELL_SESSION_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "dxr_devhost.h"
#include "message_losses.h"
#include "module.h"
#include "run_trace.h"
#include "shell_memory.h"

namespace dxrsh {

// A host that lines work on. What it names outlives the session.
struct PokedHost {
    DxrHost *host = nullptr;
    bool isVirtual = false;
    RunTrace *trace = nullptr;
    MessageLosses *losses = nullptr;
    const std::atomic<uint64_t> *linesLetThrough = nullptr;
};

// One thread at a time. What goes wrong is thrown, a line's mistakes as UsageError or RunError.
class Session {
  public:
    using Words = std::vector<std::string>;
    // Gets what a line prints.
    using Printer = std::function<void(const std::string &text)>;

    // Addresses of what it has kept are given to the host: it stays until the host has ended.
    Session(const PokedHost &poked, Printer printer);

    // Each does what `words` after its name ask for.
    void Call(const Words &words);
    void CallHook(const Words &words);
    void Buffer(const Words &words);
    void Keep(const Words &words);
    void Expect(const Words &words);
    void ShowValues(const Words &words);
    void Get(const Words &words);
    void Set(const Words &words);
    void Registers(const Words &words);
    void Tables(const Words &words);
    void Entry(const Words &words);
    void Drop(const Words &words);
    void Fail(const Words &words);
    void Send(const Words &words);
    void OpenMailbox(const Words &words);
    void Receive(const Words &words);
    void Mailboxes(const Words &words);
    void Memory(const Words &words);
    void Wait(const Words &words);
    void Load(const Words &words);
    void Unload(const Words &words);
    void Trace(const Words &words);
    void Report(const Words &words);

    // The way out of the modules at work, the last one first.
    void EndModules();

    [[nodiscard]] const Values &Kept() const { return values_; }

  private:
    void Print(const std::string &text) const { printer_(text); }
    void CallAs(const Words &words, bool byHook);
    void RequireRoom() const;
    void KeepBlocks(const std::vector<std::shared_ptr<Block>> &blocks);
    [[nodiscard]] std::vector<DxrHostTable> AllTables() const;
    void ListTables() const;
    void ListTable(uint32_t table) const;

    PokedHost poked_;
    Printer printer_;
    DxrHooks bare_{};  // the host's own functions: what the shell itself asks is not traced
    Values values_;
    std::vector<std::shared_ptr<Block>> kept_;  // that the host may have addresses of
    size_t keptBytes_ = 0;
    std::vector<std::unique_ptr<Module>> modules_;  // at work
    std::set<std::string> begun_;                   // their names, and those of earlier ones
};

}  // namespace dxrsh

#endif  // DXRSH_SHELL_SESSION_H

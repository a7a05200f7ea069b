// What lines of the shell work on: a development host, what has been kept, and modules at work.
#ifndef DXRSH_SHELL_SESSION_H
#define DXRSH_SHELL_SESSION_H

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "dxr_devhost.h"
#include "dxr_trace.h"
#include "module.h"
#include "run_host.h"
#include "shell_memory.h"
#include "unfilled.h"

namespace dxrsh {

// One at a time. What goes wrong is thrown, a line's mistakes as UsageError or RunError.
class Session {
  public:
    using Words = std::vector<std::string>;

    explicit Session(const RunHostOptions &options);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    Session(Session &&) = delete;
    Session &operator=(Session &&) = delete;

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

    [[nodiscard]] const Values &Kept() const { return values_; }

  private:
    static void TakeLine(const char *line, void *session);
    void CallAs(const Words &words, bool byHook);
    [[nodiscard]] std::vector<DxrHostTable> AllTables() const;
    void ListTables() const;
    void ListTable(uint32_t table) const;
    void DropSimulated(uint32_t kind, uint32_t count);
    void DropFiltered(const DxrHostUnit &unit, uint32_t kind, uint32_t count);
    void StartTrace(const std::string &file);
    void StopTrace();

    bool isVirtual_;
    HostOwner host_;
    DxrHooks bare_{};  // the host's own functions: what the shell itself asks is not traced
    Values values_;
    std::vector<std::shared_ptr<Block>> kept_;      // that the host may have addresses of
    std::vector<std::unique_ptr<Module>> modules_;  // at work
    std::set<std::string> begun_;                   // their names, and those of earlier ones
    std::vector<DxrSimulateMsg> simulated_;
    std::map<uint32_t, std::string> simulatedNames_;
    DxrMessageFilter *filter_ = nullptr;
    std::string traceFile_;
    std::array<DxrTraceCount, kTableSlots> counts_{};  // of traces that have ended
    std::atomic<uint64_t> linesLetThrough_{0};
};

// Writes what a line prints. Throws BrokenPipe when nobody reads it any more.
void Put(const std::string &text);

}  // namespace dxrsh

#endif  // DXRSH_SHELL_SESSION_H

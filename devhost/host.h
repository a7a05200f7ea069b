// A host: what all services stand on, and the services. Slots reach it through Call.
#ifndef DXR_DEVHOST_HOST_INTERNAL_H
#define DXR_DEVHOST_HOST_INTERNAL_H

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "chance.h"
#include "dxr_devhost/host.h"
#include "guarded.h"
#include "handles.h"
#include "live_hosts.h"
#include "options.h"
#include "place.h"
#include "report.h"
#include "scheduler.h"
#include "services.h"
#include "thread_record.h"

namespace devhost {

// The state of one service. It is made with the host and ends with it.
class Service {
  public:
    explicit Service(Host &host) : host_(host) {}
    virtual ~Service() = default;
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;
    Service(Service &&) = delete;
    Service &operator=(Service &&) = delete;

    // Reports with Host::ReportLeftover what modules did not give back. No call of a slot is in
    // progress and none comes any more.
    virtual void ReportLeftovers() {}

    // What this service still needs that code for, say "a timer"; empty when it needs it no more.
    virtual std::string UseOf(const CodeRange & /*code*/) { return {}; }

  protected:
    [[nodiscard]] Host &TheHost() const { return host_; }

  private:
    Host &host_;
};

class Host {
  public:
    explicit Host(const Options &given);
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;
    Host(Host &&) = delete;
    Host &operator=(Host &&) = delete;

    // The state of a service, of the class that its file knows.
    template <typename State>
    [[nodiscard]] State &Get(ServiceId id) {
        return static_cast<State &>(*services_[static_cast<size_t>(id)]);
    }

    // A message of the host itself; goes where the library's messages go.
    void Say(uint32_t level, const char *text);

    // Something that modules did not give back, and where it was made.
    void ReportLeftover(const char *service, const Place &made, const std::string &what);

    // What still needs that code, of whatever service; empty when nothing does.
    std::string UseOf(const CodeRange &code);

    // Ends what goes on, then reports what is left over. Returns the number of leftovers.
    uint32_t Finish();

    // A call that does not come back has been waited for in vain: the host must stay in memory.
    [[nodiscard]] bool IsInUse() const { return isInUse_; }

  private:
    static std::atomic<uint32_t> lastNumber_;

  public:
    // One number a host in this process, from 1.
    const uint32_t number = ++lastNumber_;
    live::Entry live;
    std::atomic<bool> isEnding{false};  // modules' calls find no host any more
    const Options options;
    Reports reports{*this};
    Chance chance;
    Handles handles;
    Scheduler scheduler;

  private:
    uint32_t leftovers_ = 0;
    bool isInUse_ = false;
    std::array<std::unique_ptr<Service>, kServiceCount> services_;
};

// One call of a slot: for its time the host that is registered stays. Declared first in each
// function of the table. The caller is the one that Guarded saw, or else the function's own.
class Call {
  public:
    explicit Call(const char *slot, const void *caller = __builtin_return_address(0))
        : slot_(slot),
          caller_(t_caller != nullptr ? std::exchange(t_caller, nullptr) : caller),
          thread_(ThisThread()),
          host_(Enter(thread_)) {
        if (host_ == nullptr || host_->scheduler.SwitchesAtCalls()) [[unlikely]] {
            BeginUnusual();
        }
    }
    ~Call() { Leave(thread_); }
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;
    Call(Call &&) = delete;
    Call &operator=(Call &&) = delete;

    // False without a host: the function gives its failure value.
    explicit operator bool() const { return host_ != nullptr; }
    Host *operator->() const { return host_; }
    Host &operator*() const { return *host_; }

    [[nodiscard]] Place At() const {
        return {slot_, t_callerBehind != nullptr ? t_callerBehind : caller_};
    }
    [[nodiscard]] ThreadRecord &Thread() const { return thread_; }

    // Reports that the caller broke the contract. `what` is a literal that names the finding, and
    // the text unless there is a longer one.
    void Misuse(const char *service, const char *what, const std::string &text = {}) const;

    // The object of a handle. Reports what is wrong with the handle and gives null when it is none.
    template <typename Object>
    [[nodiscard]] Object *Find(const char *service, const void *handle, HandleType type) const {
        void *const object = host_->handles.Find(handle, type);
        if (object == nullptr) [[unlikely]] {
            ReportHandle(service, handle, type);
        }
        return static_cast<Object *>(object);
    }

    // Ends a handle and gives its object; as Find.
    template <typename Object>
    [[nodiscard]] Object *End(const char *service, const void *handle, HandleType type) const {
        void *const object = host_->handles.End(handle, type, At());
        if (object == nullptr) [[unlikely]] {
            ReportHandle(service, handle, type);
        }
        return static_cast<Object *>(object);
    }

  private:
    void BeginUnusual();
    void ReportHandle(const char *service, const void *handle, HandleType type) const;

    const char *slot_;
    const void *caller_;
    ThreadRecord &thread_;
    Host *const host_;
};

// A call of a function of the host's own interface: its host, or the registered one for null. For
// the time of the call the host stays. It is none when that has ended, when there is no such host,
// and without the memory to know the thread.
class ApiCall {
  public:
    explicit ApiCall(DxrHost *host);
    ~ApiCall();
    ApiCall(const ApiCall &) = delete;
    ApiCall &operator=(const ApiCall &) = delete;
    ApiCall(ApiCall &&) = delete;
    ApiCall &operator=(ApiCall &&) = delete;

    explicit operator bool() const { return host_ != nullptr; }
    Host *operator->() const { return host_; }
    Host &operator*() const { return *host_; }

  private:
    ThreadRecord *thread_ = nullptr;  // null for a call that is in no host
    Host *host_ = nullptr;
    bool isNamed_ = false;
};

}  // namespace devhost

#endif  // DXR_DEVHOST_HOST_INTERNAL_H

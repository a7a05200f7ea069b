// A module written in C++: it sees the public header and links the library, nothing else. Classes
// of the library are made, derived from, judged by type and deleted on this side.
#include <dxr_api.h>

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <list>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace {

int g_failures = 0;

void Expect(bool holds, const char *what) {
    if (!holds) {
        std::cerr << "does not hold: " << what << '\n';
        ++g_failures;
    }
}

std::uint32_t g_nowSec = 0;

std::uint32_t GetSysWorkPath(char *buffer, std::uint32_t size) {
    const std::string path = "/opt/work";
    return path.copy(buffer, size) == path.size() ? 0 : 1;
}

std::uint32_t GetStartupTimeSec() {
    return g_nowSec;
}

void CheckFunctions() {
    std::string path(64, '\0');
    Expect(DXR_GetWorkDir("boot", path.data(), 64) == 0, "the path is formed");
    Expect(std::string(path.c_str()) == "/opt/work/boot", "the path is the host's");
}

// A rule of the module's own.
class AnyEvent : public DxrFaultSpec {
  public:
    bool IsSatisfied(const DxrCounter *counter) const override { return counter->GetCount() != 0; }
};

void CheckFaultRules() {
    static DxrCounter counter;
    counter.ResetCount();
    g_nowSec = 1000;
    counter.IncreaseCount();
    counter.IncreaseCount();
    Expect(counter.GetCount() == 2, "two events are counted");
    Expect(counter.BacktraceTimestamp(1) == 1000, "the first event has its time");

    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs = {{10, 3}, {10, 2}};
    std::vector<std::unique_ptr<DxrFaultSpec>> rules;
    rules.push_back(DxrFaultSpecFactory().CreateSpec(10, 2));
    rules.push_back(DxrFaultSpecFactory().CreateSpec(pairs));
    rules.push_back(std::make_unique<DxrFaultAccumulatedSpec>(10, 2));
    rules.push_back(std::make_unique<DxrFaultMultiAccumulatedSpec>(pairs));
    rules.push_back(std::make_unique<DxrFaultTimeoutSpec>(500));
    rules.push_back(std::make_unique<AnyEvent>());
    for (const std::unique_ptr<DxrFaultSpec> &each : rules) {
        DxrFaultSpec &rule = *each;
        Expect(rule.IsSatisfied(&counter), typeid(rule).name());
    }
    const DxrFaultSpec &first = *rules[0];
    Expect(typeid(first) == typeid(DxrFaultAccumulatedSpec),
           "the factory makes a rule of that type");
    Expect(dynamic_cast<DxrFaultMultiAccumulatedSpec *>(rules[1].get()) != nullptr,
           "the factory makes a rule of several pairs");
    Expect(dynamic_cast<DxrFaultTimeoutSpec *>(rules[1].get()) == nullptr, "which is no time-out");
}

// A node of the module's own: it matches any type.
class AnyMessage : public Dxr::MessageFilterComponent {
  public:
    explicit AnyMessage(std::uint32_t lostCnt) : MessageFilterComponent("any", 0, lostCnt, 1) {}
    MessageFilterComponent *Find(std::list<std::uint32_t> &path) override {
        return path.empty() ? nullptr : this;
    }
};

void CheckFilterTree() {
    Dxr::MessageFilterComposite root("root", 0, 0, 0);
    root.Add(new Dxr::MessageFilterLeaf("leaf", 7, 1, 1));
    root.Add(new AnyMessage(1));

    std::list<std::uint32_t> leaf = {0, 7};
    Expect(root.IsFiltered(leaf), "the leaf filters once");
    leaf = {0, 7};
    Expect(!root.IsFiltered(leaf), "and no more");
    std::list<std::uint32_t> other = {0, 8};
    Expect(root.IsFiltered(other), "a node of the module's own is part of the tree");
    Expect(root.IsFilterRoot() && root.GetLayer() == 0 && root.IsSameMsgType(0),
           "the root is known");

    const DxrMessageFilterInfo info = {5, 1, "five", nullptr, 0};
    DxrMessageFilter *filter = DXR_CreateMessageFilter(&info, 1);
    Expect(dynamic_cast<Dxr::MessageFilterComposite *>(filter) != nullptr, "the tree has a root");
    DXR_DestroyMessageFilter(&filter);
    Expect(filter == nullptr, "the tree is gone");
}

}  // namespace

int main() {
    DxrHooks hooks = {};
    hooks.system.getSysWorkPath = GetSysWorkPath;
    hooks.time.getStartupTimeSec = GetStartupTimeSec;
    Expect(DXR_RegisterHooks(&hooks) == 0, "the table registers");
    CheckFunctions();
    CheckFaultRules();
    CheckFilterTree();
    return g_failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

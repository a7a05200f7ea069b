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

uint32_t g_nowSec = 0;

uint32_t GetSysWorkPath(char *buffer, uint32_t size) {
    const std::string path = "/opt/work";
    return path.copy(buffer, size) == path.size() ? 0 : 1;
}

uint32_t GetStartupTimeSec() {
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

    std::vector<std::pair<uint32_t, uint32_t>> pairs = {{10, 3}, {10, 2}};
    std::vector<std::unique_ptr<DxrFaultSpec>> rules;
    rules.push_back(DxrFaultSpecFactory().CreateSpec(10, 2));
    rules.push_back(DxrFaultSpecFactory().CreateSpec(pairs));
    rules.push_back(std::make_unique<DxrFaultAccumulatedSpec>(10, 2));
    rules.push_back(std::make_unique<DxrFaultMultiAccumulatedSpec>(pairs));
    rules.push_back(std::make_unique<DxrFaultTimeoutSpec>(500));
    rules.push_back(std::make_unique<AnyEvent>());
    for (const std::unique_ptr<DxrFaultSpec> &owned : rules) {
        const DxrFaultSpec &rule = *owned;
        Expect(rule.IsSatisfied(&counter), typeid(rule).name());
    }
    const DxrFaultSpec &first = *rules[0];
    Expect(typeid(first) == typeid(DxrFaultAccumulatedSpec),
           "the factory makes a rule of that type");
    Expect(dynamic_cast<DxrFaultMultiAccumulatedSpec *>(rules[1].get()) != nullptr,
           "the factory makes a rule of several pairs");
    Expect(dynamic_cast<DxrFaultTimeoutSpec *>(rules[1].get()) == nullptr, "which is no time-out");

    std::vector<DxrFaultMultiAccumulatedSpec> values(3, DxrFaultMultiAccumulatedSpec(pairs));
    values[0] = DxrFaultMultiAccumulatedSpec({});
    values.insert(values.begin(), values[1]);
    const DxrFaultSpec &copied = values[0];
    Expect(copied.IsSatisfied(&counter) && typeid(copied) == typeid(DxrFaultMultiAccumulatedSpec),
           "rules are values");
    Expect(!values[1].IsSatisfied(&counter), "and change on their own");
}

// A node of the module's own: it matches any type, and tells what the library keeps of it.
class AnyMessage : public Dxr::MessageFilterComponent {
  public:
    explicit AnyMessage(uint32_t count) : MessageFilterComponent("any", 3, count, 1) {}
    MessageFilterComponent *Find(std::list<uint32_t> &path) override {
        return path.empty() ? nullptr : this;
    }
    bool Has(const std::string &nodeName, uint32_t type, uint32_t count) const {
        return name == nodeName && msgType == type && lostCnt == count;
    }
};

void CheckFilterTree() {
    Dxr::MessageFilterComposite root("root", 0, 0, 0);
    root.Add(new Dxr::MessageFilterLeaf("leaf", 7, 1, 1));
    auto *const any = new AnyMessage(1);
    root.Add(any);
    Expect(any->Has("any", 3, 1), "a node of the module's own reads its fields");

    std::list<uint32_t> leaf = {0, 7};
    Expect(root.IsFiltered(leaf), "the leaf filters once");
    leaf = {0, 7};
    Expect(!root.IsFiltered(leaf), "and no more");
    std::list<uint32_t> other = {0, 8};
    Expect(root.IsFiltered(other), "a node of the module's own is part of the tree");
    Expect(any->Has("any", 3, 0), "and sees its count go down");
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

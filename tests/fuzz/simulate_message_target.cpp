// Simulated message loss beside a plain table.
#include <array>
#include <cstdint>

#include "dxr/simulate_message.h"
#include "fuzz/host.h"
#include "fuzz/model_text.h"
#include "fuzz/targets.h"

namespace dxrfuzz {
namespace {

constexpr uint32_t kMostEntries = 12;
constexpr size_t kNameSize = 40;

ModelText g_text;

class Run {
  public:
    explicit Run(Input &input) : input_(input) {
        for (uint32_t i = 0; i < kMostEntries; ++i) {
            real_[i].name = names_[i];
        }
    }
    ~Run() { DXR_RegisterSimulateMsgMap(nullptr, 0); }

    void Operation() {
        switch (input_.Below(8)) {
            case 0:
                Register();
                break;
            case 1:
            case 2:
                Set();
                break;
            case 3:
            case 4:
                Lose();
                break;
            case 5:
                Display();
                break;
            case 6:
                LookUp();
                break;
            default:
                Shrink();
                break;
        }
        DXR_FUZZ_SAME(DXR_GetSimulateMsgMapSize() == size_);
        DXR_FUZZ_SAME(DXR_GetSimulateMsgMap() == (there_ ? real_.data() : nullptr));
        for (uint32_t i = 0; i < kMostEntries; ++i) {
            DXR_FUZZ_SAME(real_[i].lostCnt == model_[i].lost && real_[i].name == names_[i]);
            DXR_FUZZ_SAME(real_[i].simulateId == model_[i].id &&
                          real_[i].msgType == model_[i].type);
        }
    }

  private:
    struct Entry {
        uint32_t id;
        uint32_t type;
        uint32_t lost;
    };

    uint32_t Key() { return input_.Rarely() ? input_.Number() : input_.Below(6); }

    void Register() {
        size_ = input_.Below(kMostEntries + 1);
        there_ = !input_.Rarely();
        for (uint32_t i = 0; i < size_; ++i) {
            model_[i] = {Key(), Key(), input_.Rarely() ? input_.Number() : input_.Below(4)};
            const std::string_view name = input_.Text(kNameSize - 1);
            std::memcpy(names_[i], name.data(), name.size());
            names_[i][name.size()] = '\0';
            real_[i] = {model_[i].id, model_[i].type, model_[i].lost, names_[i]};
        }
        for (uint32_t i = size_; i < kMostEntries; ++i) {
            model_[i] = {0, 0, 1};
            real_[i] = {0, 0, 1, names_[i]};
        }
        DXR_RegisterSimulateMsgMap(there_ ? real_.data() : nullptr, size_);
    }

    void Shrink() {
        size_ = input_.Below(size_ + 1);
        DXR_RegisterSimulateMsgMap(there_ ? real_.data() : nullptr, size_);
    }

    // The first entry for which the test holds; kMostEntries: none.
    template <typename Test>
    uint32_t First(Test test) const {
        uint32_t found = kMostEntries;
        for (uint32_t i = there_ ? size_ : 0; i > 0; --i) {
            found = test(model_[i - 1]) ? i - 1 : found;
        }
        return found;
    }

    uint32_t Size() { return input_.Flag() ? input_.Below(90) : input_.Half() & 0x7FF; }

    void Set() {
        const uint32_t id = Key();
        const uint32_t lost = input_.Number();
        const ExactBuffer buffer(Size());
        const bool withBuffer = !input_.Rarely();
        DXR_SetSimulateMsgLost(id, lost, withBuffer ? buffer.Data() : nullptr, buffer.Size());
        const uint32_t found = First([id](const Entry &entry) { return entry.id == id; });
        g_text.Clear();
        if (found == kMostEntries) {
            g_text.Add("set simulate msg lost[").Number(lost).Add("] failed, id[");
        } else {
            model_[found].lost = lost;
            g_text.Add("simulate msg[").Number(model_[found].type).Add("][").Add(names_[found]);
            g_text.Add("] lost[").Number(lost).Add("] success, id[");
        }
        g_text.Number(id).Add("]");
        DXR_FUZZ_SAME(withBuffer ? buffer.HoldsCut(g_text.View()) : buffer.IsUntouched());
    }

    void Lose() {
        const uint32_t type = Key();
        const uint32_t lines = Host::lines;
        const bool withPrint = !input_.Rarely();
        g_dxrHooks.print.print = withPrint ? Host::Print : nullptr;
        const uint8_t lost = DXR_IsSimulateMsgLost(type);
        g_dxrHooks.print.print = Host::Print;
        const uint32_t found = First([type](const Entry &entry) { return entry.type == type; });
        const bool expected = found != kMostEntries && model_[found].lost != 0;
        DXR_FUZZ_SAME(lost == (expected ? 1 : 0));
        DXR_FUZZ_SAME(Host::lines == lines + (expected && withPrint ? 1 : 0));
        if (!expected) {
            return;
        }
        --model_[found].lost;
        if (withPrint) {
            g_text.Clear();
            g_text.Add("simulate msg[").Number(type).Add("][").Add(names_[found]);
            g_text.Add("]lost, remain [").Number(model_[found].lost).Add("] times");
            DXR_FUZZ_SAME(Host::level == 6 && g_text.View() == Host::line);
        }
    }

    void Display() {
        const ExactBuffer buffer(Size());
        DXR_DisplaySimulateMsgLost(buffer.Data(), buffer.Size());
        g_text.Clear();
        if (!there_) {
            g_text.Add("dump simulate msg failed, simulate msg map is unregistered");
        } else {
            g_text.Add(
                "\r\n   Simulate ID                Message Name[Type]           "
                "Remain Lost Count\r\n");
            for (uint32_t i = 0; i < size_; ++i) {
                const size_t length = std::strlen(names_[i]);
                g_text.Blanks(5).Number(model_[i].id, 3).Blanks(14);
                g_text.Blanks(length < 20 ? 20 - length : 0).Add(names_[i]);
                g_text.Add("[").Number(model_[i].type, 3).Add("]").Blanks(18);
                g_text.Number(model_[i].lost, 3).Add("\r\n");
            }
        }
        DXR_FUZZ_SAME(buffer.HoldsCut(g_text.View()));
    }

    void LookUp() {
        const uint32_t key = Key();
        const uint32_t byId = First([key](const Entry &entry) { return entry.id == key; });
        const uint32_t byType = First([key](const Entry &entry) { return entry.type == key; });
        DXR_FUZZ_SAME(DXR_GetSimulateMsgBySimluateId(key) == At(byId));
        DXR_FUZZ_SAME(DXR_GetSimulateMsgByMsgType(key) == At(byType));
        DXR_FUZZ_SAME(DXR_IsSameSimulateId(&real_[0], key) == (model_[0].id == key ? 1 : 0));
        DXR_FUZZ_SAME(DXR_IsSameMsgType(&real_[0], key) == (model_[0].type == key ? 1 : 0));
    }

    [[nodiscard]] const DxrSimulateMsg *At(uint32_t index) const {
        return index == kMostEntries ? nullptr : &real_[index];
    }

    Input &input_;
    bool there_ = false;
    uint32_t size_ = 0;
    std::array<DxrSimulateMsg, kMostEntries> real_ = {};
    std::array<Entry, kMostEntries> model_ = {};
    char names_[kMostEntries][kNameSize] = {};
};

}  // namespace

void SimulateMessage(Input &input) {
    Host::Install();
    Run run(input);
    for (int i = 0; i < 32 && !input.Empty(); ++i) {
        run.Operation();
    }
}

}  // namespace dxrfuzz

// Random registrations, settings and messages against a model that keeps plain vectors and scans
// them.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iomanip>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dxr/simulate_message.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;
using dxrtest::TestHost;

constexpr uint32_t kTables = 3;
constexpr uint32_t kOperations = 20000;

struct Row {
    uint32_t id;
    uint32_t type;
    uint32_t lost;
    std::string name;
};

struct Model {
    std::array<std::vector<Row>, kTables> tables;
    std::optional<size_t> registered;
    uint32_t size = 0;

    // Position of the first row of the registered table for which `matches` is true.
    template <typename Predicate>
    std::optional<size_t> First(Predicate matches) const {
        if (!registered) {
            return std::nullopt;
        }
        const auto begin = tables[*registered].begin();
        const auto found = std::find_if(begin, begin + size, matches);
        if (found == begin + size) {
            return std::nullopt;
        }
        return found - begin;
    }

    std::string Display() const {
        if (!registered) {
            return "dump simulate msg failed, simulate msg map is unregistered";
        }
        std::ostringstream text;
        text << "\r\n   Simulate ID                Message Name[Type]           Remain Lost "
                "Count\r\n";
        for (uint32_t i = 0; i < size; ++i) {
            const Row &row = tables[*registered][i];
            text << std::string(5, ' ') << std::setw(3) << row.id << std::string(14, ' ')
                 << std::setw(20) << row.name << '[' << std::setw(3) << row.type << ']'
                 << std::string(18, ' ') << std::setw(3) << row.lost << "\r\n";
        }
        return text.str();
    }
};

class Driver {
  public:
    Driver() : rng_(dxrtest::Seed()) {
        host_.WithPrint();
        for (size_t t = 0; t < kTables; ++t) {
            for (uint32_t i = 0, rows = Below(12) + 1; i < rows; ++i) {
                model_.tables[t].push_back(
                    {Below(8), Below(6), Below(4), std::string(Below(30), 'n')});
            }
            for (const Row &row : model_.tables[t]) {
                tables_[t].push_back({row.id, row.type, row.lost, row.name.c_str()});
            }
        }
        DXR_RegisterSimulateMsgMap(nullptr, 0);
    }
    ~Driver() { DXR_RegisterSimulateMsgMap(nullptr, 0); }
    Driver(const Driver &) = delete;
    Driver &operator=(const Driver &) = delete;

    void Step() {
        switch (Below(12)) {
            case 0:
                return Register();
            case 1:
            case 2:
            case 3:
                return Set();
            case 4:
                return Display();
            case 5:
                return Lookup();
            default:
                return Lose();
        }
    }

    void CheckTables() const {
        for (size_t t = 0; t < kTables; ++t) {
            for (size_t i = 0; i < tables_[t].size(); ++i) {
                const DxrSimulateMsg entry = tables_[t][i];
                const Row &row = model_.tables[t][i];
                ASSERT_EQ(entry.simulateId, row.id);
                ASSERT_EQ(entry.msgType, row.type);
                ASSERT_EQ(entry.lostCnt, row.lost);
                const char *const name = entry.name;
                ASSERT_EQ(name, row.name.c_str());
            }
        }
    }

  private:
    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(rng_);
    }

    DxrSimulateMsg *Address(const std::optional<size_t> &row) {
        return row ? &tables_[*model_.registered][*row] : nullptr;
    }

    void Register() {
        if (Below(5) == 0) {
            model_.registered.reset();
            model_.size = Below(4);
            DXR_RegisterSimulateMsgMap(nullptr, model_.size);
        } else {
            model_.registered = Below(kTables);
            auto &table = tables_[*model_.registered];
            model_.size = Below(static_cast<uint32_t>(table.size()) + 1);
            DXR_RegisterSimulateMsgMap(table.data(), model_.size);
        }
        ASSERT_EQ(DXR_GetSimulateMsgMapSize(), model_.size);
        ASSERT_EQ(DXR_GetSimulateMsgMap(),
                  model_.registered ? tables_[*model_.registered].data() : nullptr);
    }

    void Lookup() {
        const uint32_t key = Below(9);
        ASSERT_EQ(DXR_GetSimulateMsgBySimluateId(key),
                  Address(model_.First([key](const Row &row) { return row.id == key; })));
        ASSERT_EQ(DXR_GetSimulateMsgByMsgType(key),
                  Address(model_.First([key](const Row &row) { return row.type == key; })));
    }

    void Set() {
        const uint32_t id = Below(9);
        const uint32_t count = Below(8) == 0 ? static_cast<uint32_t>(rng_()) : Below(4);
        std::ostringstream expected;
        if (const auto at = model_.First([id](const Row &row) { return row.id == id; })) {
            Row &row = model_.tables[*model_.registered][*at];
            row.lost = count;
            expected << "simulate msg[" << row.type << "][" << row.name << "] lost[" << count
                     << "] success, id[" << id << "]";
        } else {
            expected << "set simulate msg lost[" << count << "] failed, id[" << id << "]";
        }
        GuardedBuffer buffer(Below(120));
        DXR_SetSimulateMsgLost(id, count, buffer.Data(), static_cast<uint32_t>(buffer.Size()));
        CheckText(buffer, expected.str());
    }

    void Lose() {
        const uint32_t type = Below(7);
        const auto at = model_.First([type](const Row &row) { return row.type == type; });
        const bool lost = at && model_.tables[*model_.registered][*at].lost > 0;
        host_.printed.clear();
        ASSERT_EQ(DXR_IsSimulateMsgLost(type), lost ? 1 : 0);
        ASSERT_EQ(host_.printed.size(), lost ? 1u : 0u);
        if (lost) {
            Row &row = model_.tables[*model_.registered][*at];
            --row.lost;
            std::ostringstream expected;
            expected << "simulate msg[" << row.type << "][" << row.name << "]lost, remain ["
                     << row.lost << "] times";
            ASSERT_EQ(host_.printed[0].text, expected.str());
            ASSERT_EQ(host_.printed[0].level, 6u);
        }
    }

    void Display() {
        GuardedBuffer buffer(Below(1200));
        DXR_DisplaySimulateMsgLost(buffer.Data(), static_cast<uint32_t>(buffer.Size()));
        CheckText(buffer, model_.Display());
    }

    static void CheckText(const GuardedBuffer &buffer, const std::string &whole) {
        ASSERT_TRUE(buffer.Intact());
        if (buffer.Size() > 0) {
            ASSERT_TRUE(buffer.Terminated());
            ASSERT_EQ(buffer.Text(), whole.substr(0, buffer.Size() - 1));
        }
    }

    TestHost host_;
    std::mt19937_64 rng_;
    Model model_;
    std::array<std::vector<DxrSimulateMsg>, kTables> tables_;
};

TEST(SimulateMessageModel, RandomOperationsAgree) {
    Driver driver;
    for (uint32_t i = 0; i < kOperations && !testing::Test::HasFatalFailure(); ++i) {
        driver.Step();
        driver.CheckTables();
    }
}

}  // namespace

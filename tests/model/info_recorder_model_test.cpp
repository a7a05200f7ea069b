// The recorder against a naive model: random operations, the store compared byte by byte after
// each.
#include "dxr/info_recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "dxr/hooks.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;

constexpr uint32_t kSlots = 1024;
constexpr int kOperations = 24000;
constexpr uint32_t kWholeSize = 400000;

// What the host would say at this moment.
struct World {
    std::optional<DxrSysTime> now;  // none: there is no time hook
    bool memory = true;
};

class Model {
  public:
    std::vector<std::optional<DxrRecord>> slots = std::vector<std::optional<DxrRecord>>(kSlots);
    uint32_t next = 0;

    // Returns how many records matched.
    int Update(const std::string &text, const World &world) {
        int matches = 0;
        for (auto &slot : slots) {
            if (!slot) {
                break;
            }
            if (text == slot->text) {
                slot->lastTime = world.now.value_or(slot->lastTime);
                slot->count += 1;
                ++matches;
            }
        }
        return matches;
    }

    void Add(const std::string &text, const World &world) {
        auto &slot = slots[next];
        if (!slot) {
            if (!world.memory) {
                return;
            }
            slot = DxrRecord{};
        }
        slot->firstTime = world.now.value_or(slot->firstTime);
        slot->lastTime = world.now.value_or(slot->lastTime);
        slot->count = 1;
        const std::string kept = text.substr(0, 255);
        std::memcpy(slot->text, kept.c_str(), kept.size() + 1);
        next = (next + 1) % kSlots;
    }

    int Record(const std::string &text, const World &world) {
        const std::string marked = text.size() >= 255 ? text.substr(0, 252) + "..." : text;
        const int matches = Update(marked, world);
        if (matches == 0) {
            Add(marked, world);
        }
        return matches;
    }

    void Destroy() { *this = Model(); }

    [[nodiscard]] std::string List(uint64_t start, uint64_t end) const {
        std::ostringstream out;
        for (uint64_t i = start; i < end && i < kSlots && slots[i]; ++i) {
            const DxrRecord &record = *slots[i];
            if (record.firstTime.year == 0) {
                continue;
            }
            out << "\r\n" << std::setfill(' ') << std::setw(4) << i << ":   First time:";
            Put(out, record.firstTime);
            out << ", last time:";
            Put(out, record.lastTime);
            out << ", count[" << std::setw(3) << record.count << "], " << record.text;
        }
        return out.str();
    }

  private:
    static void Put(std::ostringstream &out, const DxrSysTime &time) {
        out << std::setfill('0') << std::setw(4) << time.year << '/' << std::setw(2) << +time.month
            << '/' << std::setw(2) << +time.day << ' ' << std::setw(2) << +time.hour << ':'
            << std::setw(2) << +time.minute << ':' << std::setw(2) << +time.second;
    }
};

class RecorderModel : public testing::Test {
  protected:
    RecorderModel() : random_(dxrtest::Seed()) {
        host_.WithMemory().WithPrint().WithClock();
        sysTimeHook_ = g_dxrHooks.time.getSysTime;
        NextTime();
    }
    ~RecorderModel() override { DXR_DestroyRecordInfo(); }

    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(random_);
    }
    bool Chance(uint32_t percent) { return Below(100) < percent; }

    void NextTime() {
        DxrSysTime &time = host_.sysTime;
        // Now and then the host reports year 0: a time that was read and is still unknown.
        time.year = static_cast<uint16_t>(Chance(5) ? 0 : Below(12000));
        for (uint8_t *const field :
             {&time.month, &time.day, &time.hour, &time.minute, &time.second, &time.reserved[0],
              &time.reserved[1], &time.reserved[2], &time.reserved[3], &time.reserved[4]}) {
            *field = static_cast<uint8_t>(Below(256));
        }
        if (world_.now) {
            world_.now = time;
        }
    }

    void SetClock(bool present) {
        g_dxrHooks.time.getSysTime = present ? sysTimeHook_ : nullptr;
        world_.now = present ? std::optional(host_.sysTime) : std::nullopt;
    }

    void SetMemory(bool present) {
        world_.memory = present;
        if (present) {
            host_.StopFailingAllocations();
        } else {
            host_.FailAllocationsFrom(1);
        }
    }

    // The text of a number is always the same; every sixth is as long as the cut or longer.
    static std::string TextOf(uint32_t number) {
        std::string text = "event " + std::to_string(number) + " of chip %u";
        const uint32_t kind = number % 24;
        if (kind < 4) {
            text.resize(252 + number % 7, static_cast<char>('a' + number % 26));
        } else if (kind < 12) {
            text += std::string(number % 230, '-');
        }
        return text;
    }

    std::string PickText() {
        if (distinct_ == 0 || Chance(40)) {
            return TextOf(distinct_++);
        }
        const uint32_t window = Chance(50) ? 20 : 1500;
        return TextOf(distinct_ - 1 - Below(std::min(window, distinct_)));
    }

    void CompareStore() const {
        ASSERT_EQ(g_dxrRecord.nextIndex, model_.next);
        for (uint32_t i = 0; i < kSlots; ++i) {
            const DxrRecord *const record = g_dxrRecord.records[i];
            ASSERT_EQ(record != nullptr, model_.slots[i].has_value()) << "slot " << i;
            if (record != nullptr) {
                ASSERT_EQ(std::memcmp(record, &*model_.slots[i], sizeof(DxrRecord)), 0)
                    << "slot " << i << ": " << record->text << " / " << model_.slots[i]->text;
            }
        }
    }

    static void CompareListing(const std::string &expected, const GuardedBuffer &buffer,
                               uint32_t written) {
        ASSERT_TRUE(buffer.Intact());
        if (expected.empty() || buffer.Size() == 0) {
            ASSERT_TRUE(buffer.Untouched());
            ASSERT_EQ(written, 0U);
            return;
        }
        ASSERT_TRUE(buffer.Terminated());
        ASSERT_EQ(buffer.Text(), expected.substr(0, buffer.Size() - 1));
        ASSERT_EQ(written, buffer.Text().size());
    }

    void ListAll(uint32_t size) {
        GuardedBuffer buffer(size);
        const uint32_t written = DXR_GetAllRecordStr(buffer.Data(), size);
        CompareListing(model_.List(0, model_.next) + model_.List(model_.next, kSlots), buffer,
                       written);
    }

    void ListRange(uint32_t start, uint32_t end, uint32_t size) {
        GuardedBuffer buffer(size);
        const uint32_t written =
            DXR_GetRecordStr(DXR_GetRecordEntity(), start, end, buffer.Data(), size);
        CompareListing(model_.List(start, end), buffer, written);
    }

    void Step() {
        const uint32_t kind = Below(1000);
        if (kind < 700) {
            const std::string text = PickText();
            DXR_RecordInfo("%s", text.c_str());
            refreshed_ += model_.Record(text, world_) > 1 ? 1 : 0;
        } else if (kind < 760) {
            const std::string text = PickText();
            const int matches = model_.Update(text, world_);
            ASSERT_EQ(DXR_UpdateExistingRecord(text.c_str(), DXR_GetRecordEntity()),
                      matches > 0 ? 1 : 0);
        } else if (kind < 820) {
            const std::string text = PickText();
            DXR_AddNewRecord(text.c_str(), DXR_GetRecordEntity());
            model_.Add(text, world_);
        } else if (kind < 880) {
            NextTime();
        } else if (kind < 900) {
            SetClock(Chance(70));
        } else if (kind < 920) {
            SetMemory(Chance(60));
        } else if (kind < 925) {
            const wchar_t invalid[] = {static_cast<wchar_t>(0x7FFFFFFF), 0};
            DXR_RecordInfo("%s%ls", PickText().c_str(), invalid);
            ++failedFormats_;
        } else if (kind < 960) {
            ListRange(Below(1030), Chance(10) ? 0xFFFFFFFF - Below(3) : Below(1100), Below(3000));
        } else if (kind < 999) {
            ListAll(Below(2000));
        } else if (Chance(25)) {
            DXR_DestroyRecordInfo();
            model_.Destroy();
            ++destructions_;
        }
    }

    dxrtest::TestHost host_;
    void (*sysTimeHook_)(DxrSysTime *) = nullptr;
    std::mt19937_64 random_;
    World world_{DxrSysTime{}, true};
    Model model_;
    uint32_t distinct_ = 0;
    int refreshed_ = 0;  // records of one text that were refreshed together
    int destructions_ = 0;
    size_t failedFormats_ = 0;
};

TEST_F(RecorderModel, RandomOperationsLeaveTheStoreOfTheModel) {
    uint32_t wraps = 0;
    size_t failed = 0;
    for (int operation = 0; operation < kOperations; ++operation) {
        SCOPED_TRACE("operation " + std::to_string(operation));
        const uint32_t before = model_.next;
        Step();
        wraps += model_.next < before && model_.slots[kSlots - 1] ? 1 : 0;
        if (!HasFatalFailure()) {
            CompareStore();
        }
        if (!HasFatalFailure() && operation % 200 == 0) {
            ListAll(kWholeSize);
        }
        if (HasFatalFailure()) {
            return;
        }
        host_.calls.clear();
    }
    for (const auto &allocation : host_.allocations) {
        failed += allocation.block == nullptr ? 1 : 0;
        EXPECT_EQ(allocation.mid, 0U);
        EXPECT_EQ(allocation.size, sizeof(DxrRecord));
    }
    EXPECT_EQ(host_.printed.size(), failedFormats_);
    // The run went where it was meant to go.
    EXPECT_GT(distinct_, 3000U);
    EXPECT_GT(wraps, 2U);
    EXPECT_GT(refreshed_, 10);
    EXPECT_GT(failed, 10U);
    EXPECT_GT(destructions_, 0);
    EXPECT_GT(failedFormats_, 0U);
}

}  // namespace

// Everything beside the log filter.
#ifndef DXR_TESTS_THREADS_SOAK_OTHER_JOBS_H
#define DXR_TESTS_THREADS_SOAK_OTHER_JOBS_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <deque>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "support/message_filter_records.h"
#include "threads/soak/soak.h"

namespace soak {

// --- the recorder, which all threads use in turn; its model likewise

struct RecorderModel {
    struct Record {
        std::string text;
        uint32_t count;
        uint32_t firstSec;
        uint32_t lastSec;
    };
    std::vector<Record> records;  // by slot
    std::unordered_map<std::string, uint32_t> slots;
    uint32_t next = 0;

    void Put(const std::string &text) {
        const auto found = slots.find(text);
        if (found != slots.end()) {
            Record &record = records[found->second];
            ++record.count;
            record.lastSec = g_now;
            return;
        }
        if (next == records.size()) {
            records.emplace_back();
        } else {
            slots.erase(records[next].text);
        }
        records[next] = {text, 1, g_now, g_now};
        slots[text] = next;
        next = (next + 1) % DXR_RECORD_COUNT;
    }
    static std::string Time(uint32_t sec) {
        const std::time_t time = sec;
        std::tm parts = {};
        gmtime_r(&time, &parts);
        std::array<char, 30> text;
        static_cast<void>(std::strftime(text.data(), text.size(), "%Y/%m/%d %H:%M:%S", &parts));
        return text.data();
    }
    [[nodiscard]] std::string Row(uint32_t slot) const {
        const Record &record = records[slot];
        std::array<char, 500> text;
        static_cast<void>(std::snprintf(
            text.data(), text.size(), "\r\n%4u:   First time:%s, last time:%s, count[%03u], %s",
            slot, Time(record.firstSec).c_str(), Time(record.lastSec).c_str(), record.count,
            record.text.c_str()));
        return text.data();
    }
};

extern RecorderModel g_recorder;

class RecorderJob : public Job {
  public:
    uint64_t Run(Random &random) override {
        constexpr uint32_t kCalls = 60;
        const std::lock_guard turn(g_recording);
        for (uint32_t i = 0; i < kCalls; ++i) {
            std::string text = "record " + std::to_string(random.Below(1500));
            if (random.OneIn(20)) {
                text += std::string(250, '.');
            }
            DXR_RecordInfo("%s", text.c_str());
            if (text.size() >= 255) {
                text.replace(252, std::string::npos, "...");
            }
            g_recorder.Put(text);
        }
        const auto slot = random.Below(static_cast<uint32_t>(g_recorder.records.size()));
        std::array<char, 600> row;
        const uint32_t length =
            DXR_GetRecordStr(DXR_GetRecordEntity(), slot, slot + 1, row.data(), row.size());
        SOAK_CHECK(g_recorder.Row(slot) == row.data());
        SOAK_CHECK(std::strlen(row.data()) == length);
        if (random.OneIn(1000)) {
            DXR_DestroyRecordInfo();
            g_recorder = {};
        }
        return kCalls + 1;
    }
};

// --- simulated messages: an entry of the thread's own, and one of all

extern std::array<DxrSimulateMsg, kMostThreads + 1> g_messages;

class SimulateJob : public Job {
  public:
    static constexpr uint32_t kSharedType = 9999;
    static constexpr uint32_t kMostLost = 4;

    explicit SimulateJob(uint32_t thread) : thread_(thread) {}

    uint64_t Run(Random &random) override {
        constexpr uint32_t kCalls = 20;
        std::array<char, 200> text;
        if (random.OneIn(3)) {
            left_ = random.Below(30);
            DXR_SetSimulateMsgLost(thread_, left_, text.data(), text.size());
        }
        for (uint32_t i = 0; i < kCalls; ++i) {
            const uint64_t before = t_messages;
            const bool lost = DXR_IsSimulateMsgLost(1000 + thread_) == 1;
            SOAK_CHECK(lost == (left_ != 0));
            SOAK_CHECK(t_messages - before == (lost ? 1 : 0));
            left_ -= lost ? 1 : 0;
            static_cast<void>(DXR_IsSimulateMsgLost(kSharedType));
        }
        if (random.OneIn(5)) {
            DXR_SetSimulateMsgLost(kMostThreads, random.Below(kMostLost + 1), text.data(),
                                   text.size());
        }
        SOAK_CHECK(DXR_GetSimulateMsgByMsgType(1000 + thread_)->lostCnt == left_);
        return kCalls * 2 + 2;
    }

  private:
    uint32_t thread_;
    uint32_t left_ = 0;
};

// --- a filter tree of the thread's own, made anew at times

class FilterTreeJob : public Job {
  public:
    FilterTreeJob() = default;
    ~FilterTreeJob() override { DXR_DestroyMessageFilter(&tree_); }
    FilterTreeJob(const FilterTreeJob &) = delete;
    FilterTreeJob &operator=(const FilterTreeJob &) = delete;

    uint64_t Run(Random &random) override {
        constexpr uint32_t kCalls = 60;
        if (tree_ == nullptr || random.OneIn(20)) {
            DXR_DestroyMessageFilter(&tree_);
            Build(random);
        }
        for (uint32_t i = 0; i < kCalls; ++i) {
            const uint32_t first = random.Below(kWidth + 1);
            const uint32_t second = random.Below(kWidth + 1);
            const bool known = first < kWidth && second < kWidth;
            if (random.OneIn(8)) {
                const uint32_t count = random.Below(6);
                DXR_SetMessageFilterCount(tree_, count, 2, first, second);
                if (known) {
                    left_[first][second] = count;
                }
            }
            const bool filtered = DXR_IsMessageFiltered(tree_, 3, first, second, 77U) == 1;
            SOAK_CHECK(filtered == (known && left_[first][second] != 0));
            if (filtered) {
                --left_[first][second];
            }
        }
        std::vector<char> listing(kWidth * kWidth * 80);
        DXR_GetMessageFilterStr(tree_, listing.data(), static_cast<uint32_t>(listing.size()));
        const uint32_t first = random.Below(kWidth);
        const uint32_t second = random.Below(kWidth);
        std::array<char, 100> row;
        static_cast<void>(std::snprintf(row.data(), row.size(),
                                        "msgType[%u], lostCnt[%u], name[leaf %u]\r\n", second,
                                        left_[first][second], first * kWidth + second));
        SOAK_CHECK(std::strstr(listing.data(), row.data()) != nullptr);
        return kCalls + 1;
    }

  private:
    static constexpr uint32_t kWidth = 9;

    void Build(Random &random) {
        std::vector<dxrtest::FilterNode> forest;
        for (uint32_t first = 0; first < kWidth; ++first) {
            dxrtest::FilterNode branch{"branch", first, 0};
            for (uint32_t second = 0; second < kWidth; ++second) {
                left_[first][second] = random.Below(4);
                branch.children.push_back({"leaf " + std::to_string(first * kWidth + second),
                                           second, left_[first][second]});
            }
            forest.push_back(std::move(branch));
        }
        const dxrtest::FilterRecords records(forest);
        tree_ = DXR_CreateMessageFilter(records.Data(), records.Size());
    }

    DxrMessageFilter *tree_ = nullptr;
    std::array<std::array<uint32_t, kWidth>, kWidth> left_ = {};
};

// --- a counter of the thread's own; rules and factory are shared

extern const DxrFaultSpecFactory g_factory;
extern const DxrFaultAccumulatedSpec g_burst;
extern const DxrFaultAccumulatedSpec g_silence;

class FaultJob : public Job {
  public:
    FaultJob() { counter_->ResetCount(); }

    uint64_t Run(Random &random) override {
        constexpr uint32_t kEvents = 50;
        if (random.OneIn(200)) {
            counter_->ResetCount();
            times_.clear();
        }
        for (uint32_t i = 0; i < kEvents; ++i) {
            counter_->IncreaseCount();
            times_.push_back(g_startupSec);
            if (times_.size() > 4096) {
                times_.pop_front();
            }
        }
        SOAK_CHECK(counter_->GetCount() == times_.size());
        const bool burst = Burst(60, 100);
        const bool silence = !times_.empty() && g_startupSec - times_.back() > 30;
        SOAK_CHECK(g_burst.IsSatisfied(counter_.get()) == burst);
        SOAK_CHECK(g_silence.IsSatisfied(counter_.get()) == silence);
        std::vector<std::pair<uint32_t, uint32_t>> pairs = {{random.Below(50), random.Below(4000)},
                                                            {60, 100}};
        const bool either =
            burst || (pairs[0].second == 0
                          ? pairs[0].first != 0 && g_startupSec - times_.back() > pairs[0].first
                          : Burst(pairs[0].first, pairs[0].second));
        SOAK_CHECK(g_factory.CreateSpec(pairs)->IsSatisfied(counter_.get()) == either);
        return kEvents + 4;
    }

  private:
    [[nodiscard]] bool Burst(uint32_t interval, uint32_t threshold) const {
        return interval != 0 && threshold <= times_.size() &&
               g_startupSec - times_[times_.size() - threshold] <= interval;
    }

    std::unique_ptr<DxrCounter> counter_ = std::make_unique<DxrCounter>();
    std::deque<uint32_t> times_;
};

// --- bitmaps, links, CRC, numbers: no state at all

class UtilsJob : public Job {
  public:
    uint64_t Run(Random &random) override {
        const uint32_t words = 1 + random.Below(300);
        std::vector<uint32_t> a(words);
        std::vector<uint32_t> b(words);
        std::generate(a.begin(), a.end(), [&] { return random.Word(); });
        std::generate(b.begin(), b.end(), [&] { return random.OneIn(3) ? 0 : random.Word(); });
        Bitmaps(random, a, b);
        Links(random);
        const auto *const bytes = reinterpret_cast<const uint8_t *>(a.data());
        const uint32_t length = random.Below(words * 4 + 1);
        uint32_t crc = 0;
        for (uint32_t i = 0; i < length; ++i) {
            crc ^= bytes[i];
            for (int step = 0; step < 8; ++step) {
                crc = (crc & 0x80) != 0 ? (crc << 1 ^ 0x31) & 0xFF : crc << 1;
            }
        }
        SOAK_CHECK(DXR_CalculateCrc8(bytes, length) == crc);
        std::vector<int32_t> numbers(words);
        std::transform(a.begin(), a.end(), numbers.begin(),
                       [](uint32_t word) { return static_cast<int32_t>(word >> 2U); });
        std::vector<int32_t> sorted = numbers;
        std::sort(sorted.begin(), sorted.end());
        DXR_AscendSort(numbers.data(), words);
        SOAK_CHECK(numbers == sorted);
        SOAK_CHECK(DXR_HTONL(DXR_NTOHL(a[0])) == a[0]);
        return 30;
    }

  private:
    static void Bitmaps(Random &random, std::vector<uint32_t> &a, const std::vector<uint32_t> &b) {
        const auto words = static_cast<uint32_t>(a.size());
        std::vector<uint32_t> result = a;
        const uint32_t which = random.Below(3);
        const auto operation = std::array{DXR_OrBmp, DXR_AndBmp, DXR_XorBmp}[which];
        operation(result.data(), b.data(), words);
        uint32_t bits = 0;
        uint32_t filled = 0;
        for (uint32_t i = 0; i < words; ++i) {
            const uint32_t expected = which == 0   ? a[i] | b[i]
                                      : which == 1 ? a[i] & b[i]
                                                   : a[i] ^ b[i];
            SOAK_CHECK(result[i] == expected);
            bits += static_cast<uint32_t>(__builtin_popcount(expected));
            filled += expected != 0 ? 1 : 0;
        }
        SOAK_CHECK(DXR_CountValidBitOfArray(result.data(), words) == bits);
        SOAK_CHECK(DXR_GetNonZeroCntInArray(result.data(), words) == filled);
        SOAK_CHECK(DXR_IsSameBitMap(result.data(), a.data(), words) == (result == a ? 1 : 0));
        const uint32_t width = 1 + random.Below(32);
        const uint32_t start = random.Below(words * 32 - width + 1);
        const uint32_t value = random.Word() & (0xFFFFFFFFU >> (32 - width));
        DXR_SetBitField(result.data(), words, value, start, width);
        SOAK_CHECK(DXR_GetBitField(result.data(), words, start, width) == value);
    }

    static void Links(Random &random) {
        const uint32_t chips = 1 + random.Below(4);
        const uint32_t links = 1 + random.Below(100);
        DxrLinkBitMap *const map = DXR_CreateLinkBitMap(chips, links);
        std::vector<bool> model(size_t{chips} * links);
        for (uint32_t i = 0; i < 10; ++i) {
            const uint32_t chip = random.Below(chips);
            const uint32_t link = random.Below(links);
            DXR_SaveLinkToBitMap(map, chip, link);
            model[size_t{chip} * links + link] = true;
        }
        SOAK_CHECK(DXR_CountValidBitOfArray(map->bitMap, map->chipNum * map->wordNumPerChip) ==
                   static_cast<uint32_t>(std::count(model.begin(), model.end(), true)));
        const uint64_t before = t_messages;
        DXR_PrintLinkToBitMap(map, "links");
        SOAK_CHECK(t_messages - before == 1);
        DXR_DestroyLinkBitMap(map);
    }
};

// --- blocks, lists, hash tables, large texts, alarms

class ServicesJob : public Job {
  public:
    explicit ServicesJob(uint32_t thread) : mid_(1000 + thread) {}

    uint64_t Run(Random &random) override {
        void *const list = DXR_CreateSll();
        std::vector<void *> model;
        for (uint32_t i = 0; i < 20; ++i) {
            const uint32_t size = 1 + random.Below(500);
            auto *const block = static_cast<char *>(DXR_Malloc(mid_, size, __FILE__, __LINE__));
            std::memset(block, static_cast<char>(size), size);
            const bool atHead = random.OneIn(2);
            DXR_AddSll(list, block, atHead ? DXR_HOST_LIST_HEAD : DXR_HOST_LIST_TAIL);
            model.insert(atHead ? model.begin() : model.end(), block);
        }
        DxrSllIterator it = DXR_InitSllIterator(list);
        uint32_t index = 0;
        while (DXR_SllIteratorHasNext(&it) == 1) {
            void *const data = DXR_SllIteratorGetNextData(&it);
            SOAK_CHECK(data == model[index]);
            DXR_Free(data, __FILE__, __LINE__);
            ++index;
        }
        SOAK_CHECK(index == model.size());
        DXR_DestroySll(list);
        const uint64_t entries = FillHashTable(random);
        const std::string text(300 + random.Below(1500), 'p');
        const uint64_t before = t_messages;
        SOAK_CHECK(DXR_PrintLargeBuffer(text.c_str()) == 0);
        SOAK_CHECK(t_messages - before >= text.size() / 480);
        SOAK_CHECK(DXR_Alarm(mid_, 0, DXR_HOST_ALARM_MINOR, DXR_HOST_ALARM_RAISED, nullptr) == 0);
        SOAK_CHECK(DXR_Alarm(mid_, 0, DXR_HOST_ALARM_MINOR, DXR_HOST_ALARM_CLEARED, nullptr) == 0);
        SOAK_CHECK(DXR_GetCurrSec() == g_now);
        return 20 * 5 + entries * 5 + 6;
    }

  private:
    // The number of entries, which are added, found and walked.
    static uint64_t FillHashTable(Random &random) {
        DxrHostHashOptions options{sizeof(options), sizeof(uint32_t), 8, 0, {}, {}, {}};
        void *const table = DXR_HashCreate(&options);
        const uint32_t entries = random.Below(30);
        for (uint32_t key = 0; key < entries; ++key) {
            SOAK_CHECK(DXR_HashInsert(table, &key, &key, sizeof(key), DXR_HOST_HASH_ADD) == 0);
            void *const entry = DXR_HashFindKey(table, &key);
            const void *const data = DXR_HashGetFromEntry(entry, DXR_HOST_HASH_DATA, 0);
            SOAK_CHECK(data != nullptr && std::memcmp(data, &key, sizeof(key)) == 0);
        }
        SOAK_CHECK(DXR_HashCount(table) == entries);
        uint32_t walked = 0;
        for (void *entry = DXR_HashGetFirst(table); entry != nullptr;
             entry = DXR_HashGetNext(table, entry)) {
            ++walked;
        }
        SOAK_CHECK(walked == entries);
        SOAK_CHECK(DXR_HashFree(table) == 0);
        return entries;
    }

    uint32_t mid_;
};

// --- a private log of the thread's own, and binary files that all read

class FilesJob : public Job {
  public:
    explicit FilesJob(uint32_t thread) : name_("soak" + std::to_string(thread) + ".log") {}

    uint64_t Run(Random &random) override {
        const std::string text =
            std::string(1 + random.Below(2500), static_cast<char>('a' + random.Below(26))) + "\n";
        SOAK_CHECK(DXR_WritePrivateLog(name_.c_str(), static_cast<uint32_t>(text.size()),
                                       text.c_str()) == 0);
        model_ += text;
        SOAK_CHECK(DXR_GetPrivateLogLen(name_.c_str()) == model_.size());
        if (model_.size() > 20000) {
            const uint32_t kept = random.Below(10000);
            const std::lock_guard turn(g_cutting);
            SOAK_CHECK(DXR_FixPrivateLogLen(name_.c_str(), kept) == 0);
            model_.erase(0, model_.size() - kept);
        }
        std::vector<char> read(30000);
        SOAK_CHECK(
            DXR_GetPrivateLog(name_.c_str(), read.data(), static_cast<uint32_t>(read.size())) == 0);
        SOAK_CHECK(model_ == read.data());

        std::array<char, 64> latest;
        SOAK_CHECK(DXR_GetLatestFile("soak", "bin", latest.data(), latest.size()) == 0);
        SOAK_CHECK(std::strcmp(latest.data(), "soak_2.bin") == 0);
        uint8_t *data = nullptr;
        uint32_t length = 0;
        SOAK_CHECK(DXR_GetBinFileData("bin", latest.data(), &data, &length) == 0);
        SOAK_CHECK(length == kDataSize && std::count(data, data + length, kDataByte) == kDataSize);
        DXR_Free(data, __FILE__, __LINE__);
        return 7;
    }

    static constexpr uint32_t kDataSize = 5000;
    static constexpr char kDataByte = 'd';

  private:
    std::string name_;
    std::string model_;
};

}  // namespace soak

#endif  // DXR_TESTS_THREADS_SOAK_OTHER_JOBS_H

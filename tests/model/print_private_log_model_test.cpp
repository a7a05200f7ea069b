// Private logs against a naive model: random operations with random failures, the whole directory
// compared after each.
#include "dxr/print_private_log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "dxr/hooks.h"
#include "support/private_log_host.h"
#include "support/test_host.h"

namespace {

using dxrtest::GuardedBuffer;

constexpr int kOperations = 5000;
const std::string kDirectory = DXR_PRIVATE_LOG_DIRECTORY;
const std::string kTemporary = "dxr_log.tmp";
const std::vector<std::string> kNames = {"a.log", "b.log", "long name with spaces", kTemporary};

// One call of one file function that is to fail.
struct Fault {
    std::string function;
    uint32_t call = 0;
};

class Model {
  public:
    std::map<std::string, std::string> files;
    bool writeHook = true;
    Fault fault;

    void Write(const std::string &name, const std::string &text) {
        if (writeHook) {
            files[name] += text;
        }
    }

    // The text read into `size` bytes; none: the call fails. Empty optional text: nothing is
    // written.
    [[nodiscard]] std::pair<uint32_t, std::optional<std::string>> Read(const std::string &name,
                                                                       size_t size) {
        if (!Resolve(name) || Fails("fopen")) {
            return {1, std::nullopt};
        }
        const std::string &content = files[name];
        std::optional<std::string> text;
        for (size_t at = 0; at < content.size();) {
            if (size == 0) {
                return {1, std::nullopt};
            }
            size_t end = std::min(content.find('\n', at), content.size() - 1) + 1;
            end = std::min(end, at + 511);
            const std::string line = content.substr(at, end - at);
            text = text.value_or("") + line.substr(0, line.find('\0'));
            at = end;
        }
        if (text) {
            text = text->substr(0, size - 1);
        }
        return {0, text};
    }

    uint32_t Length(const std::string &name) {
        return Resolve(name) ? static_cast<uint32_t>(files[name].size()) : 0xFFFFFFFF;
    }

    uint32_t Copy(const std::string &from, const std::string &to, size_t offset, size_t length) {
        if (!Resolve(from) || Fails("fopen") || Fails("fseek") || !Resolve(to) || Fails("fopen")) {
            return 1;
        }
        const std::string content = files[from];
        files[to] = offset < content.size() ? content.substr(offset, length) : "";
        return 0;
    }

    uint32_t Cut(const std::string &name, uint32_t maxLength) {
        const uint32_t length = Length(name);
        if (length == 0xFFFFFFFF) {
            return 1;
        }
        if (length <= maxLength) {
            return 0;
        }
        if (!Resolve(name)) {
            return 1;
        }
        Write(kTemporary, "");
        if (!Resolve(kTemporary) || Copy(name, kTemporary, length - maxLength, maxLength) != 0 ||
            Fails("remove")) {
            return 1;
        }
        files.erase(name);
        if (Fails("rename") || files.count(kTemporary) == 0) {
            return 1;
        }
        files[name] = files[kTemporary];
        files.erase(kTemporary);
        return 0;
    }

  private:
    bool Fails(const std::string &function) {
        return fault.function == function && --fault.call == 0;
    }
    bool Resolve(const std::string &name) { return !Fails("realpath") && files.count(name) != 0; }
};

class PrivateLogModel : public testing::Test {
  protected:
    PrivateLogModel() : random_(dxrtest::Seed()) {}

    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(random_);
    }
    bool Chance(uint32_t percent) { return Below(100) < percent; }

    // A log's name; the temporary file's less often than the others'.
    const std::string &PickName() { return kNames[Below(Chance(10) ? 4 : 3)]; }

    std::string RandomText(uint32_t size, bool anyByte) {
        std::string text;
        while (text.size() < size) {
            if (Chance(3)) {
                text += '\n';
            } else if (Chance(2)) {
                text += anyByte ? '\0' : '%';
            } else if (Chance(1)) {
                text += std::string(Below(1200), '=');
            } else {
                text += static_cast<char>(anyByte ? Below(256) : 'a' + Below(26));
            }
        }
        text.resize(size);
        return text;
    }

    void ArrangeFault() {
        static const std::vector<Fault> kFaults = {
            {"realpath", 1}, {"realpath", 2}, {"realpath", 3}, {"realpath", 4}, {"realpath", 5},
            {"fopen", 1},    {"fopen", 2},    {"fseek", 1},    {"remove", 1},   {"rename", 1}};
        model_.fault = {};
        if (Chance(30)) {
            model_.fault = kFaults[Below(static_cast<uint32_t>(kFaults.size()))];
            host_.files.Fail(model_.fault.function, EIO, model_.fault.call);
        }
    }
    // Takes back a fault that the operation did not reach.
    void ClearFault() {
        model_.fault = {};
        for (const char *const function : {"realpath", "fopen", "fseek", "remove", "rename"}) {
            host_.files.Fail(function, 0, 0);
        }
    }

    void CheckRead(const std::string &name) {
        const uint32_t size = Chance(10) ? Below(4) : Below(6000);
        GuardedBuffer out(size);
        const uint32_t result = DXR_GetPrivateLog(name.c_str(), out.Data(), size);
        const auto [expected, text] = model_.Read(name, size);
        ASSERT_EQ(result, expected);
        ASSERT_TRUE(out.Intact());
        if (text) {
            ASSERT_TRUE(out.Terminated());
            ASSERT_EQ(out.Text(), *text);
        } else {
            ASSERT_TRUE(out.Untouched());
        }
    }

    void CheckCut(const std::string &name) {
        const auto found = model_.files.find(name);
        // Mostly below the length, sometimes just at it.
        const auto length =
            static_cast<uint32_t>(found != model_.files.end() ? found->second.size() : 0);
        const uint32_t maxLength =
            Chance(20) ? length + Below(3) - (length > 0 ? 1 : 0) : Below(length + length / 4 + 1);
        if (name == kTemporary && length > maxLength) {
            model_.fault = {};
            ClearFault();  // what a log of this name loses at which step is not told
        }
        const uint32_t expected = model_.Cut(name, maxLength);
        if (name == kTemporary && expected == 0 && length > maxLength) {
            FAIL() << "a log named like the temporary file cannot be cut";
        }
        ASSERT_EQ(DXR_FixPrivateLogLen(name.c_str(), maxLength), expected);
        cuts_ += expected == 0 && length > maxLength ? 1 : 0;
        failedCuts_ += expected == 1 && length > maxLength ? 1 : 0;
    }

    void CheckCopy() {
        const std::string &from = PickName();
        const std::string &to = PickName();
        if (from == to) {
            return;  // what of a file emptied under the reader is copied is not told
        }
        const uint32_t offset = Below(5000);
        const uint32_t length = Chance(5) ? 0xFFFFFFFF : Below(5000);
        const uint32_t expected = model_.Copy(from, to, offset, length);
        ASSERT_EQ(
            DXR_CopyFile((kDirectory + from).c_str(), (kDirectory + to).c_str(), offset, length),
            expected);
    }

    void Step() {
        const std::string &name = PickName();
        const uint32_t kind = Below(100);
        if (kind < 15) {
            const std::string text = RandomText(Below(5000), true);
            host_.files.Append(name, text);
            model_.files[name] += text;
        } else if (kind < 30) {
            const std::string text = RandomText(Below(5000), false);
            DXR_WritePrivateLog(name.c_str(), static_cast<uint32_t>(text.size()), text.c_str());
            model_.Write(name, text);
        } else if (kind < 35) {
            std::filesystem::remove(host_.files.Log(name));
            model_.files.erase(name);
        } else if (kind < 38) {
            model_.writeHook = Chance(70);
            g_dxrHooks.print.writePrivateLog =
                model_.writeHook ? dxrtest::PrivateLogHost::Write : nullptr;
        } else {
            ArrangeFault();
            if (kind < 55) {
                CheckRead(name);
            } else if (kind < 60) {
                ASSERT_EQ(DXR_GetPrivateLogLen(name.c_str()), model_.Length(name));
            } else if (kind < 75) {
                CheckCopy();
            } else {
                CheckCut(name);
            }
            ClearFault();
        }
    }

    void CompareDirectory() const {
        std::vector<std::string> names;
        for (const auto &[name, content] : model_.files) {
            names.push_back(name);
            const auto real = host_.files.Content(name);
            ASSERT_TRUE(real.has_value()) << name;
            ASSERT_TRUE(*real == content) << name;
        }
        ASSERT_EQ(host_.files.Names(), names);
        ASSERT_EQ(host_.files.OpenStreams(), 0U);
    }

    dxrtest::PrivateLogHost host_;
    std::mt19937_64 random_;
    Model model_;
    int cuts_ = 0;
    int failedCuts_ = 0;
};

TEST_F(PrivateLogModel, RandomOperationsLeaveTheDirectoryOfTheModel) {
    for (int operation = 0; operation < kOperations; ++operation) {
        SCOPED_TRACE("operation " + std::to_string(operation));
        Step();
        if (!HasFatalFailure()) {
            CompareDirectory();
        }
        if (HasFatalFailure()) {
            return;
        }
        host_.host.calls.clear();
    }
    EXPECT_GT(cuts_, 50);
    EXPECT_GT(failedCuts_, 20);
}

}  // namespace

// The host's alarm service, by the sentences of its header.
#include "dxr_devhost/alarm.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"
#include "support/test_host.h"

namespace {

using dxrtest::Message;
using testing::ElementsAre;
using testing::HasSubstr;

uint32_t Raise(uint32_t alarm, uint32_t object, uint32_t severity, const char *text = nullptr) {
    return DXR_Alarm(alarm, object, severity, DXR_HOST_ALARM_RAISED, const_cast<char *>(text));
}

uint32_t Clear(uint32_t alarm, uint32_t object) {
    return DXR_Alarm(alarm, object, DXR_HOST_ALARM_MAJOR, DXR_HOST_ALARM_CLEARED, nullptr);
}

DxrHostFmAlarm FmAlarmOf(uint32_t alarm, uint32_t part, uint32_t state, const char *text) {
    DxrHostFmAlarm made{};
    made.size = sizeof(made);
    made.alarm = alarm;
    made.object = 3;
    made.part = part;
    made.severity = DXR_HOST_ALARM_MINOR;
    made.state = state;
    made.cause = 9;
    std::strncpy(made.text, text, sizeof(made.text));
    return made;
}

class HostAlarms : public dxrtest::SteppedHost {
  protected:
    [[nodiscard]] DxrHostAlarm At(uint32_t index) const {
        DxrHostAlarm alarm{};
        EXPECT_TRUE(DxrHostGetAlarm(host, index, &alarm)) << index;
        return alarm;
    }
    [[nodiscard]] uint32_t Known() const {
        uint32_t known = 0;
        DxrHostCountAlarms(host, &known, nullptr);
        return known;
    }
    [[nodiscard]] uint32_t Raised() const {
        uint32_t raised = 0;
        DxrHostCountAlarms(host, nullptr, &raised);
        return raised;
    }
};

constexpr uint64_t kStartMs = 946684800000;

TEST_F(HostAlarms, AreKeptCountedAndCleared) {
    EXPECT_EQ(Raise(7, 3, DXR_HOST_ALARM_MAJOR, "no light"), 0U);
    DxrHostAdvance(host, 10);
    EXPECT_EQ(Raise(7, 3, DXR_HOST_ALARM_MAJOR), 0U);
    EXPECT_EQ(Raise(7, 4, DXR_HOST_ALARM_WARNING), 0U) << "another object";
    EXPECT_EQ(Known(), 2U);
    EXPECT_EQ(Raised(), 2U);
    DxrHostAdvance(host, 10);
    EXPECT_EQ(Clear(7, 3), 0U);
    EXPECT_EQ(Clear(7, 3), static_cast<uint32_t>(ENOENT)) << "cleared already";
    EXPECT_EQ(Clear(8, 3), static_cast<uint32_t>(ENOENT)) << "never raised";
    EXPECT_EQ(Known(), 2U);
    EXPECT_EQ(Raised(), 1U);
    const DxrHostAlarm first = At(0);
    EXPECT_EQ(first.kind, DXR_HOST_ALARM_PLAIN);
    EXPECT_EQ(first.alarm, 7U);
    EXPECT_EQ(first.object, 3U);
    EXPECT_EQ(first.part, 0U);
    EXPECT_EQ(first.severity, DXR_HOST_ALARM_MAJOR);
    EXPECT_EQ(first.state, DXR_HOST_ALARM_CLEARED);
    EXPECT_EQ(first.raised, 2U);
    EXPECT_EQ(first.cleared, 1U);
    EXPECT_EQ(first.firstMs, kStartMs);
    EXPECT_EQ(first.raisedMs, kStartMs + 10);
    EXPECT_EQ(first.clearedMs, kStartMs + 20);
    EXPECT_STREQ(first.text, "no light") << "the second time said nothing else";
    EXPECT_THAT(first.caller, HasSubstr("alarm_test"));
    EXPECT_EQ(At(1).object, 4U);
    EXPECT_EQ(At(1).clearedMs, 0U);
    DxrHostAlarm none{};
    EXPECT_FALSE(DxrHostGetAlarm(host, 2, &none));
    EXPECT_FALSE(DxrHostGetAlarm(host, 0, nullptr));
    EXPECT_TRUE(reports.empty());
}

TEST_F(HostAlarms, AreMessages) {
    EXPECT_EQ(Raise(7, 3, DXR_HOST_ALARM_MAJOR, "no light"), 0U);
    EXPECT_EQ(Raise(7, 3, DXR_HOST_ALARM_MAJOR, "still none"), 0U) << "no news";
    EXPECT_EQ(Raise(7, 3, DXR_HOST_ALARM_CRITICAL), 0U) << "the text stays";
    EXPECT_EQ(Clear(7, 3), 0U);
    EXPECT_EQ(Raise(7, 3, DXR_HOST_ALARM_CRITICAL, ""), 0U);
    DxrHostFmAlarm fault = FmAlarmOf(7, 2, DXR_HOST_ALARM_RAISED, "");
    EXPECT_EQ(DXR_FmAlarm(&fault), 0U);
    fault.state = DXR_HOST_ALARM_CLEARED;
    EXPECT_EQ(DXR_FmAlarm(&fault), 0U);
    EXPECT_THAT(messages,
                ElementsAre(Message(2, "alarm 7 of object 3 is raised, major: no light"),
                            Message(2, "alarm 7 of object 3 is raised, critical: still none"),
                            Message(6, "alarm 7 of object 3 is cleared"),
                            Message(2, "alarm 7 of object 3 is raised, critical"),
                            Message(2, "fault alarm 7 of object 3, part 2, is raised, minor"),
                            Message(6, "fault alarm 7 of object 3, part 2, is cleared")));
}

TEST_F(HostAlarms, OfFaultManagementAreKeptApart) {
    EXPECT_EQ(Raise(7, 3, DXR_HOST_ALARM_MAJOR), 0U);
    DxrHostFmAlarm fault = FmAlarmOf(7, 0, DXR_HOST_ALARM_RAISED, "bit");
    EXPECT_EQ(DXR_FmAlarm(&fault), 0U);
    fault.part = 1;
    EXPECT_EQ(DXR_FmAlarm(&fault), 0U);
    EXPECT_EQ(Known(), 3U);
    EXPECT_EQ(At(1).kind, DXR_HOST_ALARM_FM);
    EXPECT_EQ(At(1).cause, 9U);
    EXPECT_EQ(At(2).part, 1U);
    EXPECT_STREQ(At(2).text, "bit");
    fault.state = DXR_HOST_ALARM_CLEARED;
    EXPECT_EQ(DXR_FmAlarm(&fault), 0U);
    EXPECT_EQ(At(0).state, DXR_HOST_ALARM_RAISED);
    EXPECT_EQ(At(1).state, DXR_HOST_ALARM_RAISED);
    EXPECT_EQ(At(2).state, DXR_HOST_ALARM_CLEARED);
    EXPECT_STREQ(At(2).text, "bit");
}

TEST_F(HostAlarms, TextsAreCut) {
    const std::string longText(1000, 'x');
    EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_MINOR, longText.c_str()), 0U);
    EXPECT_EQ(At(0).text, std::string(127, 'x'));
    DxrHostFmAlarm fault = FmAlarmOf(2, 0, DXR_HOST_ALARM_RAISED, longText.c_str());
    ASSERT_EQ(fault.text[127], 'x') << "it ends at its size";
    EXPECT_EQ(DXR_FmAlarm(&fault), 0U);
    EXPECT_EQ(At(1).text, std::string(127, 'x'));
}

TEST_F(HostAlarms, WrongOnesAreReportedAndChangeNothing) {
    EXPECT_EQ(Raise(1, 1, 0), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(Raise(1, 1, 5), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_Alarm(1, 1, DXR_HOST_ALARM_MAJOR, 2, nullptr), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(DXR_FmAlarm(nullptr), static_cast<uint32_t>(EINVAL));
    std::array<DxrHostFmAlarm, 2> faults{};
    faults[0] = FmAlarmOf(1, 1, DXR_HOST_ALARM_RAISED, "");
    EXPECT_EQ(DXR_FmAlarm(reinterpret_cast<char *>(faults.data()) + 1),
              static_cast<uint32_t>(EINVAL));
    --faults[0].size;
    EXPECT_EQ(DXR_FmAlarm(faults.data()), static_cast<uint32_t>(EINVAL));
    EXPECT_EQ(Known(), 0U);
    EXPECT_EQ(Texts(DXR_HOST_REPORT_MISUSE).size(), 5U) << "the first two are alike";
    EXPECT_EQ(reports.size(), 5U);
    EXPECT_TRUE(messages.empty());
}

TEST_F(HostAlarms, AFailedRaisingChangesNothing) {
    DxrHostFailNth(host, "alarm.raise", 2, false);
    EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_MINOR), 0U);
    EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_CRITICAL), static_cast<uint32_t>(ENOMEM));
    EXPECT_EQ(At(0).raised, 1U);
    EXPECT_EQ(At(0).severity, DXR_HOST_ALARM_MINOR);
    DxrHostFailNth(host, "alarm.raise", 1, false);
    DxrHostFmAlarm fault = FmAlarmOf(1, 1, DXR_HOST_ALARM_RAISED, "");
    EXPECT_EQ(DXR_FmAlarm(&fault), static_cast<uint32_t>(ENOMEM));
    EXPECT_EQ(Known(), 1U);
}

TEST_F(HostAlarms, AreForgotten) {
    EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_MINOR), 0U);
    DxrHostForgetAlarms(host);
    EXPECT_EQ(Known(), 0U);
    EXPECT_EQ(Clear(1, 1), static_cast<uint32_t>(ENOENT));
    EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_MINOR), 0U);
    EXPECT_EQ(At(0).raised, 1U);
}

TEST_F(HostAlarms, ThatAreStillRaisedAreNotLeftBehind) {
    EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_CRITICAL), 0U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostAlarms, AgreeWithAModel) {
    struct Model {
        uint32_t alarm;
        uint32_t raised;
        bool isRaised;
    };
    std::vector<Model> model;
    std::mt19937_64 random(dxrtest::Seed());
    for (int step = 0; step < 3000; ++step) {
        const auto alarm = static_cast<uint32_t>(random() % 30);
        const auto found = std::find_if(model.begin(), model.end(),
                                        [alarm](const Model &each) { return each.alarm == alarm; });
        if (random() % 2 == 0) {
            ASSERT_EQ(Raise(alarm, 1, DXR_HOST_ALARM_MINOR), 0U);
            if (found == model.end()) {
                model.push_back({alarm, 1, true});
            } else {
                ++found->raised;
                found->isRaised = true;
            }
        } else {
            const bool isRaised = found != model.end() && found->isRaised;
            ASSERT_EQ(Clear(alarm, 1), isRaised ? 0U : static_cast<uint32_t>(ENOENT));
            if (isRaised) {
                found->isRaised = false;
            }
        }
    }
    ASSERT_EQ(Known(), model.size());
    for (uint32_t i = 0; i < model.size(); ++i) {
        EXPECT_EQ(At(i).alarm, model[i].alarm);
        EXPECT_EQ(At(i).raised, model[i].raised);
        EXPECT_EQ(At(i).state == DXR_HOST_ALARM_RAISED, model[i].isRaised);
    }
}

TEST_F(HostAlarms, FromManyThreadsAreAllCounted) {
    DxrHostSetPrintSink(host, nullptr, nullptr, 0);
    DxrHostSetPrintFile(host, nullptr, 0, nullptr);
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([thread] {
            for (uint32_t i = 0; i < 500; ++i) {
                EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_MINOR), 0U);
                EXPECT_EQ(Raise(2, thread, DXR_HOST_ALARM_MINOR), 0U);
                EXPECT_EQ(Clear(2, thread), 0U);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    uint32_t raised = 0;
    for (uint32_t i = 0; i < Known(); ++i) {
        raised += At(i).raised;
    }
    EXPECT_EQ(raised, 4000U);
    EXPECT_EQ(Raised(), 1U);
}

// As many as are kept; the next one is refused until they are forgotten.
TEST_F(HostAlarms, HaveALimit) {
    DxrHostSetPrintSink(
        host, [](uint32_t, const char *, void *) {}, nullptr, 6);
    for (uint32_t i = 0; i < DXR_HOST_MOST_ALARMS; ++i) {
        ASSERT_EQ(Raise(1, i, DXR_HOST_ALARM_MINOR), 0U);
    }
    for (uint32_t i = 0; i < 2; ++i) {
        EXPECT_EQ(Raise(2, i, DXR_HOST_ALARM_MINOR), static_cast<uint32_t>(ENOSPC));
    }
    EXPECT_EQ(Known(), DXR_HOST_MOST_ALARMS);
    EXPECT_THAT(Texts(DXR_HOST_REPORT_MISUSE), ElementsAre("more alarms than are kept"));
    EXPECT_EQ(Raise(1, 5, DXR_HOST_ALARM_MAJOR), 0U) << "one that is known";
    EXPECT_EQ(Clear(1, 6), 0U);
    DxrHostForgetAlarms(host);
    EXPECT_EQ(Raise(2, 0, DXR_HOST_ALARM_MINOR), 0U);
}

TEST_F(HostAlarms, AreSaidInTheOrderOfWhatHappened) {
    struct Said {
        std::vector<char> events;
        std::atomic<int> inside{0};
    } said;
    DxrHostSetPrintSink(
        host,
        [](uint32_t level, const char *, void *user) {
            auto *const to = static_cast<Said *>(user);
            EXPECT_EQ(++to->inside, 1) << "one after the other";
            to->events.push_back(level == 2 ? 'r' : 'c');
            --to->inside;
        },
        &said, 6);
    std::atomic<uint32_t> cleared{0};
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&cleared] {
            for (uint32_t i = 0; i < 2000; ++i) {
                EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_MINOR), 0U);
                cleared += Clear(1, 1) == 0 ? 1 : 0;
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(said.events.size(), 2 * cleared);
    for (size_t i = 0; i < said.events.size(); ++i) {
        ASSERT_EQ(said.events[i], i % 2 == 0 ? 'r' : 'c') << i;
    }
}

TEST_F(HostAlarms, ThatASinkClearsAreSaidAfterwards) {
    struct Said {
        std::vector<std::string> texts;
        uint32_t inside = 0;
    } said;
    DxrHostSetPrintSink(
        host,
        [](uint32_t, const char *text, void *user) {
            auto *const to = static_cast<Said *>(user);
            EXPECT_EQ(to->inside++, 0U);
            (void)Clear(1, 1);
            to->texts.emplace_back(text);
            --to->inside;
        },
        &said, 6);
    EXPECT_EQ(Raise(1, 1, DXR_HOST_ALARM_MINOR), 0U);
    EXPECT_THAT(said.texts, ElementsAre(HasSubstr("is raised, minor"), HasSubstr("is cleared")));
}

TEST(Alarms, WithoutAHostAreNotTaken) {
    DxrHooks hooks;
    DxrHostFillHooks(&hooks);
    EXPECT_EQ(hooks.alarm.alarm(1, 1, 1, 1, nullptr), static_cast<uint32_t>(ECANCELED));
    EXPECT_EQ(hooks.alarm.fmAlarm(nullptr), static_cast<uint32_t>(ECANCELED));
    DxrHostAlarm alarm{};
    EXPECT_FALSE(DxrHostGetAlarm(nullptr, 0, &alarm));
    uint32_t known = 7;
    DxrHostCountAlarms(nullptr, &known, nullptr);
    EXPECT_EQ(known, 0U);
}

}  // namespace

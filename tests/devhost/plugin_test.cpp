// The host's plug-in service, by the sentences of its header, with plug-ins of plugins/plugin.c.
#include "dxr_devhost/plugin.h"

#include <dlfcn.h>
#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "devhost/host_fixture.h"
#include "devhost/plugins/plugin.h"
#include "tools/temporary_directory.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HostPlugin : public dxrtest::HostTest {
  protected:
    HostPlugin() {
        for (const char *name : {"good", "old_interface", "short", "no_table", "unresolved", "bare",
                                 "calling", "leaving"}) {
            std::filesystem::copy(
                std::string(DXR_TEST_PLUGINS "/libdevhost_plugin_") + name + ".so",
                directory.Path(std::string(name) + ".so"));
        }
        options.pluginPath = path.c_str();
        options.clock = DXR_HOST_CLOCK_STEPPED;
        Begin();
    }

    DxrHostPlugin Record(const char *name, const char *file = nullptr) {
        return {sizeof(DxrHostPlugin), 0, name, file, &test};
    }

    // Registers and loads; gives what loading gave.
    uint32_t Load(const char *name) {
        DxrHostPlugin plugin = Record(name);
        EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
        return DXR_LoadBrdPlugin(&plugin);
    }

    [[nodiscard]] std::vector<DxrHostPluginInfo> Plugins() const {
        std::vector<DxrHostPluginInfo> plugins(DxrHostGetPlugins(host, nullptr, 0));
        DxrHostGetPlugins(host, plugins.data(), static_cast<uint32_t>(plugins.size()));
        return plugins;
    }

    [[nodiscard]] std::vector<std::string> Misuses() const { return Texts(DXR_HOST_REPORT_MISUSE); }

    [[nodiscard]] std::string LastMessage() const {
        return messages.empty() ? "" : messages.back().second;
    }

    dxrtest::TemporaryDirectory directory;
    const std::string path = directory.Path();
    TestPlugin test{};
};

constexpr uint32_t Error(int number) {
    return static_cast<uint32_t>(number);
}

TEST_F(HostPlugin, IsLoadedAskedAndUnloaded) {
    test.checkResult = 12;
    DxrHostPlugin plugin = Record("good");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
    void *answer = nullptr;
    EXPECT_EQ(DXR_QueryBrdPlugin(&plugin, nullptr, &answer), Error(ENXIO));
    EXPECT_EQ(DXR_CheckBrdPlugin(&plugin), 0U) << "it could be loaded";
    EXPECT_EQ(test.loads, 0U);
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U);
    EXPECT_EQ(test.loads, 1U);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 1U);
    EXPECT_EQ(DXR_CheckBrdPlugin(&plugin), 12U) << "what its function says";
    static void *asked = nullptr;
    test.query = [](void *question) -> uint32_t {
        asked = question;
        return 34;
    };
    DxrHostPlugin other = Record("good", "another record");
    EXPECT_EQ(DXR_QueryBrdPlugin(&other, &asked, &answer), 34U) << "the name alone counts";
    EXPECT_EQ(asked, &asked);
    const auto plugins = Plugins();
    ASSERT_EQ(plugins.size(), 1U);
    EXPECT_STREQ(plugins[0].name, "good");
    EXPECT_EQ(plugins[0].path, std::filesystem::canonical(directory.Path("good.so")).string());
    EXPECT_EQ(plugins[0].isLoaded, 1U);
    EXPECT_EQ(plugins[0].version, DXR_HOST_PLUGIN_VERSION(2, 3));
    EXPECT_EQ(plugins[0].inside, 0U);
    EXPECT_EQ(plugins[0].loads, 1U);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(test.unloads, 1U);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
    EXPECT_EQ(Plugins()[0].version, 0U);
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U) << "once more";
    EXPECT_EQ(Plugins()[0].loads, 2U);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U);
    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), Error(ENOENT));
    EXPECT_THAT(Plugins(), IsEmpty());
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostPlugin, IsClosedWhenLoadOrUnloadThrow) {
    const auto isOpen = [this] {
        void *const library = dlopen(directory.Path("good.so").c_str(), RTLD_NOW | RTLD_NOLOAD);
        if (library != nullptr) {
            dlclose(library);
        }
        return library != nullptr;
    };
    test.work = [] { throw std::runtime_error("a module in C++"); };
    EXPECT_EQ(Load("good"), Error(ENOMEM));
    EXPECT_FALSE(isOpen());
    DxrHostPlugin plugin = Record("good");
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
    test.work = nullptr;
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U);
    EXPECT_TRUE(isOpen());
    test.work = [] { throw std::runtime_error("a module in C++"); };
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U);
    EXPECT_THAT(reports, IsEmpty());
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostPlugin, DisplaysAllThatStayWhileOthersGo) {
    for (const char *name : {"bare", "good", "leaving", "short"}) {
        DxrHostPlugin plugin = Record(name);
        EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    }
    static std::vector<std::string> lines;
    lines.clear();
    DXR_DisplayBrdPlugin(
        nullptr, reinterpret_cast<void *>(+[](const char *line, void *user) {
            lines.emplace_back(line);
            if (lines.size() == 2) {
                auto *const self =
                    static_cast<HostPlugin_DisplaysAllThatStayWhileOthersGo_Test *>(user);
                for (const char *name : {"bare", "good", "leaving"}) {
                    DxrHostPlugin plugin = self->Record(name);
                    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U);
                }
            }
        }),
        this, 0);
    EXPECT_THAT(lines, ElementsAre("plug-in \"bare\": registered", "plug-in \"good\": registered",
                                   "plug-in \"short\": registered"));
}

TEST_F(HostPlugin, UnknownOnesAreNotThere) {
    DxrHostPlugin plugin = Record("good");
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), Error(ENOENT));
    EXPECT_EQ(DXR_CheckBrdPlugin(&plugin), Error(ENOENT));
    EXPECT_EQ(DXR_QueryBrdPlugin(&plugin, nullptr, nullptr), Error(ENOENT));
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
    EXPECT_THAT(reports, IsEmpty());
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_THAT(Misuses(), ElementsAre("a plug-in that is not loaded is unloaded: \"good\""));
    plugin = Record("missing");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), Error(ENOENT));
    plugin = Record("directory", ".");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), Error(ENOENT)) << "no file";
}

TEST_F(HostPlugin, BadRecordsAreReported) {
    DxrHostPlugin plugin = Record("good");
    plugin.size += 1;
    for (void *record : {static_cast<void *>(nullptr), static_cast<void *>(&plugin)}) {
        EXPECT_EQ(DXR_RegisterBrdPlugin(record), Error(EINVAL));
        EXPECT_EQ(DXR_UnRegisterBrdPlugin(record), Error(EINVAL));
        EXPECT_EQ(DXR_LoadBrdPlugin(record), Error(EINVAL));
        DXR_UnLoadBrdPlugin(record);
        EXPECT_EQ(DXR_IsBrdPluginLoaded(record), 0U);
        EXPECT_EQ(DXR_CheckBrdPlugin(record), Error(EINVAL));
        EXPECT_EQ(DXR_QueryBrdPlugin(record, nullptr, nullptr), Error(EINVAL));
    }
    DXR_DisplayBrdPlugin(&plugin, nullptr, nullptr, 0);
    EXPECT_EQ(reports.size(), 8U) << "one for each slot";
    EXPECT_THAT(Misuses(), testing::Each("no plug-in record, or no name in it"));
    plugin = Record(nullptr);
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), Error(EINVAL));
    plugin = Record("");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), Error(EINVAL));
}

TEST_F(HostPlugin, TwiceIsReported) {
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin plugin = Record("good");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), Error(EEXIST));
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), Error(EALREADY));
    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), Error(EBUSY));
    EXPECT_EQ(test.loads, 1U);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 1U);
    EXPECT_THAT(Misuses(), ElementsAre("a plug-in that is registered already: \"good\"",
                                       "a plug-in that is loaded already: \"good\"",
                                       "a plug-in that is loaded ends its registration: \"good\""));
    DXR_UnLoadBrdPlugin(&plugin);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(test.unloads, 1U);
    EXPECT_EQ(Misuses().back(), "a plug-in that is not loaded is unloaded: \"good\"");
}

TEST_F(HostPlugin, FilesThatAreNoPlugInsAreNotLoaded) {
    directory.Write("broken.so", "no shared object");
    const std::string good = directory.Read("good.so");
    for (size_t bytes = 0; bytes < 5000; bytes += 96) {
        const std::string name = "cut" + std::to_string(bytes);
        directory.Write(name + ".so", good.substr(0, bytes));
        EXPECT_EQ(Load(name.c_str()), Error(ENOEXEC)) << bytes;
    }
    directory.Write("cut.so", good.substr(0, 5000));
    EXPECT_EQ(Load("broken"), Error(ENOEXEC));
    EXPECT_THAT(LastMessage(), HasSubstr("broken.so"));
    EXPECT_EQ(Load("cut"), Error(ENOEXEC));
    EXPECT_THAT(LastMessage(), HasSubstr("cut.so: it is no shared object, or was cut"));
    EXPECT_EQ(Load("unresolved"), Error(ENOEXEC));
    EXPECT_THAT(LastMessage(), HasSubstr("DxrTestNobodyHasThis"));
    EXPECT_EQ(Load("no_table"), Error(ENOSYS));
    EXPECT_THAT(LastMessage(), HasSubstr("no_table.so: there is no dxrHostPlugin in it"));
    EXPECT_EQ(Load("old_interface"), Error(EPROTONOSUPPORT));
    EXPECT_EQ(Load("short"), Error(EPROTONOSUPPORT));
    EXPECT_THAT(LastMessage(), HasSubstr("its table is of another version"));
    for (const char *name : {"broken", "cut", "unresolved", "no_table", "old_interface", "short"}) {
        DxrHostPlugin plugin = Record(name);
        EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U) << name;
        EXPECT_NE(DXR_CheckBrdPlugin(&plugin), 0U) << name;
        EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U) << name;
    }
    EXPECT_THAT(reports, IsEmpty()) << "the files are to blame, not the module";
}

TEST_F(HostPlugin, AFileThatIsGoneIsNotOpened) {
    DxrHostPlugin plugin = Record("good");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    std::filesystem::remove(directory.Path("good.so"));
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), Error(ENOEXEC));
    EXPECT_THAT(LastMessage(), HasSubstr("there is no such file any more"));
}

TEST_F(HostPlugin, VersionsMustFit) {
    const auto load = [this](uint32_t wanted) {
        DxrHostPlugin plugin = Record("good");
        plugin.version = wanted;
        EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
        const uint32_t result = DXR_LoadBrdPlugin(&plugin);
        if (result == 0) {
            DXR_UnLoadBrdPlugin(&plugin);
        }
        EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U);
        return result;
    };
    EXPECT_EQ(load(0), 0U);
    EXPECT_EQ(load(DXR_HOST_PLUGIN_VERSION(2, 0)), 0U);
    EXPECT_EQ(load(DXR_HOST_PLUGIN_VERSION(2, 3)), 0U);
    EXPECT_EQ(load(DXR_HOST_PLUGIN_VERSION(2, 4)), Error(EPROTONOSUPPORT));
    EXPECT_THAT(LastMessage(), HasSubstr("its version is 2.3, wanted is 2.4"));
    EXPECT_EQ(load(DXR_HOST_PLUGIN_VERSION(1, 0)), Error(EPROTONOSUPPORT));
    EXPECT_EQ(load(DXR_HOST_PLUGIN_VERSION(3, 0)), Error(EPROTONOSUPPORT));
}

TEST_F(HostPlugin, OneThatDoesNotWantToIsNotLoaded) {
    test.loadResult = 99;
    EXPECT_EQ(Load("good"), 99U);
    EXPECT_EQ(test.loads, 1U);
    EXPECT_EQ(test.unloads, 0U);
    DxrHostPlugin plugin = Record("good");
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U);
}

TEST_F(HostPlugin, FunctionsMayBeMissing) {
    EXPECT_EQ(Load("bare"), 0U);
    DxrHostPlugin plugin = Record("bare");
    EXPECT_EQ(DXR_CheckBrdPlugin(&plugin), 0U);
    EXPECT_EQ(DXR_QueryBrdPlugin(&plugin, nullptr, nullptr), Error(ENOSYS));
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
}

TEST_F(HostPlugin, PathsStayInTheirDirectory) {
    const dxrtest::TemporaryDirectory elsewhere;
    const std::string other = elsewhere.Path("good.so");
    std::filesystem::copy(directory.Path("good.so"), other);
    std::filesystem::create_symlink(other, directory.Path("link.so"));
    std::filesystem::create_directory(directory.Path("below"));
    std::filesystem::copy(directory.Path("good.so"), directory.Path("below/good.so"));
    const auto enter = [this](const char *name, const std::string &file) {
        DxrHostPlugin plugin = Record(name, file.c_str());
        return DXR_RegisterBrdPlugin(&plugin);
    };
    EXPECT_EQ(enter("absolute", other), Error(EACCES));
    EXPECT_EQ(enter("linked", "link.so"), Error(EACCES));
    EXPECT_EQ(enter("dots", "../" + std::filesystem::path(elsewhere.Path()).filename().string() +
                                "/good.so"),
              Error(EACCES));
    EXPECT_THAT(Misuses(), Contains(HasSubstr("outside: ")));
    EXPECT_EQ(enter("below", "below/good.so"), 0U);
    EXPECT_EQ(enter("inside", directory.Path("below/../good.so")), 0U);
    End();
    options.allowOutside = 1;
    Begin();
    EXPECT_EQ(enter("absolute", other), 0U);
    EXPECT_EQ(enter("linked", "link.so"), 0U);
    DxrHostPlugin plugin = Record("linked");
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U);
    EXPECT_EQ(Plugins()[1].path, std::filesystem::canonical(other).string());
}

TEST_F(HostPlugin, APathThatCannotBeLookedUpIsNotOutside) {
    std::filesystem::create_symlink("loop.so", directory.Path("loop.so"));
    for (const uint32_t allowOutside : {0U, 1U}) {
        End();
        options.allowOutside = allowOutside;
        Begin();
        DxrHostPlugin plugin = Record("loop");
        EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), Error(ELOOP));
        EXPECT_THAT(Misuses(), IsEmpty());
        EXPECT_THAT(LastMessage(), HasSubstr("loop.so cannot be looked up: "));
    }
}

TEST_F(HostPlugin, TheDefaultDirectoryIsBelowTheWorkPath) {
    End();
    std::filesystem::create_directory(directory.Path("plugin"));
    std::filesystem::copy(directory.Path("good.so"), directory.Path("plugin/there.so"));
    options.pluginPath = nullptr;
    options.workPath = path.c_str();
    Begin();
    EXPECT_EQ(Load("there"), 0U);
}

TEST_F(HostPlugin, AFunctionDoesNotUnloadItsOwnPlugIn) {
    EXPECT_EQ(Load("good"), 0U);
    static DxrHostPlugin plugin;
    plugin = Record("good");
    test.query = [](void * /*question*/) -> uint32_t {
        DXR_UnLoadBrdPlugin(&plugin);
        return DXR_IsBrdPluginLoaded(&plugin);
    };
    void *answer = nullptr;
    EXPECT_EQ(DXR_QueryBrdPlugin(&plugin, nullptr, &answer), 1U);
    EXPECT_THAT(Misuses(),
                ElementsAre("a plug-in is unloaded while a call of it is in progress: \"good\""));
    EXPECT_EQ(test.unloads, 0U);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(test.unloads, 1U) << "once the call is over";
}

TEST_F(HostPlugin, AnotherThreadDoesNotUnloadWhatIsInUse) {
    EXPECT_EQ(Load("good"), 0U);
    static std::atomic<int> step{0};
    step = 0;
    test.query = [](void * /*question*/) -> uint32_t {
        step = 1;
        while (step != 2) {
            std::this_thread::yield();
        }
        return 5;
    };
    DxrHostPlugin plugin = Record("good");
    uint32_t result = 0;
    std::thread asker([&] {
        void *answer = nullptr;
        result = DXR_QueryBrdPlugin(&plugin, nullptr, &answer);
    });
    while (step != 1) {
        std::this_thread::yield();
    }
    EXPECT_EQ(Plugins()[0].inside, 1U);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 1U);
    step = 2;
    asker.join();
    EXPECT_EQ(result, 5U);
    EXPECT_EQ(Misuses().size(), 1U);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
}

TEST_F(HostPlugin, CodeThatIsStillNeededStays) {
    test.startsTimer = 1;
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin plugin = Record("good");
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
    EXPECT_THAT(Misuses(), ElementsAre("plug-in \"good\" is unloaded while its code is needed by a "
                                       "timer or heart-beat: it stays in memory"));
    EXPECT_TRUE(DxrHostAdvance(host, 2000000)) << "the timer's function is still there";
    test.stopsTimer = 1;
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(Misuses().size(), 1U) << "it stopped its timer";
}

TEST_F(HostPlugin, FunctionsThatAreCalledBackAreNeeded) {
    test.leavesFunctions = 1;
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin plugin = Record("good");
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_THAT(Misuses(), ElementsAre(HasSubstr(
                               "needed by a hash table, fault check heat, the temperature of "
                               "sensor 7, mailbox lpu 3: it stays in memory")));
    int32_t temperature = 0;
    EXPECT_EQ(DxrHostGetTemperature(host, 7, &temperature), 0U) << "the function is still there";
    EXPECT_EQ(temperature, 7);
    const DxrHostUnit lpu = {DXR_HOST_UNIT_LPU, 3};
    EXPECT_EQ(DxrHostCloseMailbox(host, &lpu), 0U);
    uint32_t key = 1;
    EXPECT_EQ(DXR_HashInsert(test.table, &key, nullptr, 0, DXR_HOST_HASH_ADD), 0U);
    EXPECT_EQ(DXR_HashFree(test.table), 0U);
}

TEST_F(HostPlugin, FunctionsOfDevicesAreNeededUntilTheyAreTakenBack) {
    struct Kind {
        uint32_t TestPlugin::*leaves;
        const char *text;
    };
    for (const Kind &kind :
         {Kind{&TestPlugin::leavesControl, "needed by the commands of a device: "},
          Kind{&TestPlugin::leavesInterrupt, "needed by an interrupt: "},
          Kind{&TestPlugin::leavesPreReset, "needed by the processing before a reset: "},
          Kind{&TestPlugin::leavesCommand, "needed by commands: "},
          Kind{&TestPlugin::leavesWatch, "needed by a watch: "}}) {
        test = {};
        test.*kind.leaves = 1;
        reports.clear();
        EXPECT_EQ(Load("good"), 0U);
        DxrHostPlugin plugin = Record("good");
        DXR_UnLoadBrdPlugin(&plugin);
        EXPECT_THAT(Misuses(), ElementsAre(HasSubstr(kind.text)));
        End();
        Begin();
    }
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin plugin = Record("good");
    const DxrHostCell cell{DXR_HOST_REGISTERS, 0, 0, 0, 0};
    EXPECT_TRUE(DxrHostEndRule(host, 1));
    EXPECT_TRUE(DxrHostPokeCell(host, &cell, 1));
    reports.clear();
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_THAT(reports, IsEmpty());
}

// Either function of a table keeps it; a table that was released needs none.
TEST_F(HostPlugin, ATablesFunctionsAreNeededUntilItIsReleased) {
    test.leavesTable = 1;
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin plugin = Record("good");
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_THAT(Misuses(), ElementsAre(HasSubstr("needed by a hash table: it stays in memory")));
    std::array<uint32_t, 2> keys = {1, 1};
    for (const uint32_t result : {0U, Error(EEXIST)}) {
        uint32_t &key = keys[result == 0 ? 0 : 1];
        EXPECT_EQ(DXR_HashInsert(test.table, &key, nullptr, 0, DXR_HOST_HASH_ADD), result);
    }
    EXPECT_EQ(DXR_HashFree(test.table), 0U);
    test.leavesTable = 0;
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(Misuses().size(), 1U);
}

// The host looks for the tracing once in a process.
TEST_F(HostPlugin, TheCallerIsTheOneBeforeTheTracing) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            void *const tracing =
                dlopen(DXR_TEST_PLUGINS "/libdevhost_plugin_tracing.so", RTLD_NOW | RTLD_GLOBAL);
            reinterpret_cast<void (*)()>(dlsym(tracing, "DxrTestReleaseNothing"))();
            std::fputs(reports.at(0).caller, stderr);
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "in devhost_plugin_test|^devhost_plugin_test");
}

// Where a library was that went, another one's texts may be.
TEST_F(HostPlugin, TextsOfLibrariesThatWereThereBeforeTheHostMayGo) {
    End();
    void *const library = dlopen(directory.Path("bare.so").c_str(), RTLD_NOW);
    ASSERT_NE(library, nullptr);
    Dl_info info{};
    ASSERT_NE(dladdr(dlsym(library, "dxrHostPlugin"), &info), 0);
    Begin();
    ASSERT_EQ(dlclose(library), 0);
    constexpr size_t kBytes = 4096;
    void *const there = mmap(info.dli_fbase, kBytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    ASSERT_EQ(there, info.dli_fbase);
    auto *const text = static_cast<char *>(there);
    void *block = nullptr;
    for (const char *const file : {"one.cpp", "two.cpp"}) {
        std::strcpy(text, file);  // NOLINT(clang-analyzer-security.insecureAPI.strcpy): it fits
        for (int round = 0; round < 4; ++round) {
            block = DXR_Malloc(9, 8, text, 1);
            DXR_Free(block, text, 2);
        }
    }
    DXR_Free(block, "again.cpp", 3);
    EXPECT_THAT(Misuses(), ElementsAre(HasSubstr("a block that was released at two.cpp:2, "
                                                 "allocated at two.cpp:1")));
    (void)munmap(there, kBytes);
}

TEST_F(HostPlugin, HasAModuleOfItsOwn) {
    test.registersModule = 1;
    EXPECT_EQ(Load("good"), 0U);
    EXPECT_EQ(DXR_GetThis(), nullptr) << "this program has none";
    DxrHostPlugin plugin = Record("good");
    void *answer = nullptr;
    EXPECT_EQ(DXR_QueryBrdPlugin(&plugin, nullptr, &answer), 0U);
    EXPECT_EQ(answer, &test) << "what the plug-in gave as its instance";
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_THAT(Misuses(), ElementsAre(HasSubstr("needed by module \"of a plug-in\"")));
}

TEST_F(HostPlugin, Displays) {
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin bare = Record("bare");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&bare), 0U);
    std::vector<std::string> lines;
    const DxrHostPluginPrint print = [](const char *line, void *user) {
        static_cast<std::vector<std::string> *>(user)->emplace_back(line);
    };
    void *const printer = reinterpret_cast<void *>(print);
    DXR_DisplayBrdPlugin(nullptr, printer, &lines, 0);
    EXPECT_THAT(lines, ElementsAre("plug-in \"bare\": registered",
                                   "plug-in \"good\": loaded, version 2.3"));
    lines.clear();
    DXR_DisplayBrdPlugin(&bare, printer, &lines, 1);
    EXPECT_THAT(lines,
                ElementsAre("plug-in \"bare\": registered, 0 calls inside, loaded 0 times, " +
                            std::filesystem::canonical(directory.Path("bare.so")).string()));
    lines.clear();
    DxrHostPlugin unknown = Record("unknown");
    DXR_DisplayBrdPlugin(&unknown, printer, &lines, 1);
    EXPECT_THAT(lines, IsEmpty());
    DXR_DisplayBrdPlugin(&bare, nullptr, nullptr, 0);
    EXPECT_EQ(messages.back(), (dxrtest::Message{2, "plug-in \"bare\": registered"}));
    DxrHostPluginInfo one{};
    EXPECT_EQ(DxrHostGetPlugins(host, &one, 1), 2U);
    EXPECT_STREQ(one.name, "bare");
}

TEST_F(HostPlugin, StepsCanBeMadeToFail) {
    DxrHostPlugin plugin = Record("good");
    DxrHostFailNth(host, "plugin.register", 1, false);
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), Error(ENOMEM));
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    DxrHostFailNth(host, "plugin.load", 1, false);
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), Error(ENOMEM));
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U);
}

TEST_F(HostPlugin, WhatIsLeftBehindIsReportedAndClosed) {
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin bare = Record("bare");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&bare), 0U);
    EXPECT_EQ(End(), 2U);
    EXPECT_THAT(
        Texts(DXR_HOST_REPORT_LEFTOVER),
        ElementsAre(HasSubstr("left behind: plug-in \"bare\", made by DXR_RegisterBrdPlugin"),
                    HasSubstr("left behind: loaded plug-in \"good\"")));
    EXPECT_EQ(test.unloads, 0U);
}

TEST_F(HostPlugin, AnyThreadMayCall) {
    std::atomic<uint32_t> loaded{0};
    static DxrHostPlugin plugin;
    plugin = Record("bare");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    DxrHostSetReportSink(
        host, [](const DxrHostReport *, void *) {}, nullptr);
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([this, &loaded] {
            for (int round = 0; round < 50; ++round) {
                loaded += DXR_LoadBrdPlugin(&plugin) == 0 ? 1 : 0;
                (void)DXR_CheckBrdPlugin(&plugin);
                (void)DXR_QueryBrdPlugin(&plugin, nullptr, nullptr);
                (void)Plugins();
                DXR_UnLoadBrdPlugin(&plugin);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(Plugins()[0].loads, loaded.load());
    EXPECT_EQ(Plugins()[0].inside, 0U);
}

// Who opens a file holds the loader's lock, which names in reports need: they are looked up while
// no lock of the host is held.
TEST_F(HostPlugin, MayCallSlotsWhileItIsOpened) {
    DxrHostSetReportSink(
        host, [](const DxrHostReport *, void *) {}, nullptr);
    DxrHostHashOptions tableOptions{sizeof(tableOptions), 4, 0, 0, nullptr, nullptr, nullptr};
    void *const freed = DXR_HashCreate(&tableOptions);
    void *const reused = DXR_HashCreate(&tableOptions);
    EXPECT_EQ(DXR_HashFree(freed), 0U);
    EXPECT_EQ(DXR_HashFree(reused), 0U);
    std::atomic<bool> isDone{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&isDone, freed] {
            while (!isDone) {
                EXPECT_EQ(DXR_HashCount(freed), 0U);
            }
        });
    }
    DxrHostPlugin plugin = Record("calling");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    for (int round = 0; round < 10; ++round) {
        EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), 0U);
        DXR_UnLoadBrdPlugin(&plugin);
    }
    isDone = true;
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U);
    EXPECT_EQ(End(), 0U);
}

TEST_F(HostPlugin, SinksInItsCodeAreNeeded) {
    EXPECT_EQ(Load("bare"), 0U);
    DxrHostPlugin plugin = Record("bare");
    void *const library = dlopen(directory.Path("bare.so").c_str(), RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(library, nullptr);
    DxrHostSetReportSink(
        host, reinterpret_cast<DxrHostReportSink>(dlsym(library, "DxrTestReportSink")), nullptr);
    DxrHostSetPrintSink(
        host, reinterpret_cast<DxrHostPrintSink>(dlsym(library, "DxrTestPrintSink")), nullptr, 6);
    (void)dlclose(library);
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_EQ(DXR_IsBrdPluginLoaded(&plugin), 0U);
    DxrHostReport report{};
    ASSERT_TRUE(DxrHostGetReport(host, 0, &report));
    EXPECT_THAT(report.text, HasSubstr("needed by the sink of reports, a sink of messages, lines "
                                       "or events: it stays in memory"));
    EXPECT_NE(DXR_InitMutex(nullptr, nullptr), 0U) << "the sink is still there";
}

TEST(HostPluginCalls, WithoutAHostThereIsNone) {
    DxrHooks slots;
    DxrHostFillHooks(&slots);
    DxrHostPlugin plugin{sizeof(DxrHostPlugin), 0, "good", nullptr, nullptr};
    EXPECT_EQ(slots.plugin.registerBrdPlugin(&plugin), Error(ECANCELED));
    EXPECT_EQ(slots.plugin.unRegisterBrdPlugin(&plugin), Error(ECANCELED));
    EXPECT_EQ(slots.plugin.loadBrdPlugin(&plugin), Error(ECANCELED));
    EXPECT_EQ(slots.plugin.checkBrdPlugin(&plugin), Error(ECANCELED));
    EXPECT_EQ(slots.plugin.queryBrdPlugin(&plugin, nullptr, nullptr), Error(ECANCELED));
    EXPECT_EQ(slots.plugin.isBrdPluginLoaded(&plugin), 0U);
    slots.plugin.unLoadBrdPlugin(&plugin);
    slots.plugin.displayBrdPlugin(nullptr, nullptr, nullptr, 0);
    EXPECT_EQ(DxrHostGetPlugins(nullptr, nullptr, 0), 0U);
}

// What runs while a file is opened has given a function away: asked for when the file is closed.
TEST_F(HostPlugin, AFileThatIsClosedStaysWhileItsCodeIsNeeded) {
    DxrHostPlugin plugin = Record("leaving");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    EXPECT_EQ(DXR_CheckBrdPlugin(&plugin), 0U);
    EXPECT_THAT(Misuses(), ElementsAre(HasSubstr("\"leaving\" is unloaded while its code is "
                                                 "needed by ")));
    int32_t temperature = 0;
    EXPECT_EQ(DxrHostGetTemperature(host, 36, &temperature), 0U);
    EXPECT_EQ(temperature, 36000);
    EXPECT_EQ(DXR_UnRegisterBrdPlugin(&plugin), 0U);
}

TEST_F(HostPlugin, AFileThatIsRefusedStaysWhileItsCodeIsNeeded) {
    DxrHostPlugin plugin = Record("leaving");
    plugin.version = DXR_HOST_PLUGIN_VERSION(9, 0);
    EXPECT_EQ(DXR_RegisterBrdPlugin(&plugin), 0U);
    EXPECT_EQ(DXR_LoadBrdPlugin(&plugin), Error(EPROTONOSUPPORT));
    EXPECT_EQ(LastMessage(),
              "plug-in " + std::string(Plugins()[0].path) + ": its version is 2.3, wanted is 9.0");
    EXPECT_EQ(Misuses().size(), 1U);
    int32_t temperature = 0;
    EXPECT_EQ(DxrHostGetTemperature(host, 36, &temperature), 0U);
    EXPECT_EQ(temperature, 36000);
}

// Two registrations of one file: looking at the one takes nothing from the other.
TEST_F(HostPlugin, AFileThatIsLoadedUnderAnotherNameIsClosedQuietly) {
    test.startsTimer = 1;
    test.stopsTimer = 1;
    EXPECT_EQ(Load("good"), 0U);
    DxrHostPlugin other = Record("other", "good.so");
    EXPECT_EQ(DXR_RegisterBrdPlugin(&other), 0U);
    EXPECT_EQ(DXR_CheckBrdPlugin(&other), 0U);
    EXPECT_THAT(reports, IsEmpty());
    DxrHostPlugin plugin = Record("good");
    DXR_UnLoadBrdPlugin(&plugin);
    EXPECT_THAT(reports, IsEmpty());
}

}  // namespace

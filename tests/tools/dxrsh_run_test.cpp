// dxrsh run, replay and diff as a user runs them, on a module of the tests' own.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tools/expect_dxrsh.h"
#include "tools/run_dxrsh.h"
#include "tools/temporary_directory.h"

namespace {

using dxrtest::ExpectFails;
using dxrtest::ExpectPrints;
using dxrtest::Holds;
using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::RunDxrshInto;
using dxrtest::TemporaryDirectory;
using dxrtest::Words;

const std::string kWorker = DXRSH_WORKER;
// How long a call may not come in a replay that differs.
const Words kImpatient = {"--patience", "2"};

Words operator+(Words words, const Words &more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

Outcome RunWorker(const Words &options, const Words &arguments = {}) {
    return RunDxrsh(Words{"run", "--clock", "virtual"} + options + Words{kWorker} + arguments);
}

Outcome Replay(const Words &options, const std::string &file, const Words &arguments = {}) {
    return RunDxrsh(Words{"replay"} + kImpatient + options + Words{file, kWorker} + arguments);
}

std::string Recorded(const TemporaryDirectory &directory, const std::string &name,
                     const Words &options = {}, const Words &arguments = {}) {
    (void)RunWorker(Words{"--trace", directory.Path(name)} + options, arguments);
    return directory.Path(name);
}

// --- run

TEST(DxrshRun, AWellBehavedModuleIsTold) {
    const Outcome outcome = RunWorker({});
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.err);
    for (const char *const part :
         {"port 3 is <up> & \"well\"\n", "sum 6, ticks 3\n",
          "module dxrsh_worker.so returned 0\nslots used: 27, 198 calls\n",
          "  DXR_ReadReg                                      4\n",
          "empty slots asked: 1 calls\n  DXR_InitSafeIo                                   1\n",
          "  module 7: 0 blocks, 0 bytes live; at most 644 bytes, 3 blocks in all\n",
          "log lines: 1 let through, 3 suppressed\n", "records: 3\n  1 x tick 1\n",
          "faults: 0\nleft behind: 0\nreports: 0\nwell\n"}) {
        EXPECT_TRUE(Holds(outcome.out, part)) << part << outcome.out;
    }
}

TEST(DxrshRun, TheVirtualClockGivesTheSameBytesForTheSameSeed) {
    const TemporaryDirectory directory;
    for (const std::string seed : {"1", "5", "77"}) {
        const Outcome first = RunWorker({"--seed", seed, "--report", directory.Path("a.html")});
        const Outcome second = RunWorker({"--seed", seed, "--report", directory.Path("b.html")});
        EXPECT_EQ(0, first.status);
        EXPECT_EQ(first.out, second.out);
        EXPECT_EQ(directory.Read("a.html"), directory.Read("b.html"));
    }
}

TEST(DxrshRun, WhatIsNotWellGivesOne) {
    EXPECT_EQ(1, RunWorker({}, {"fail"}).status);

    const Outcome leak = RunWorker({}, {"leak"});
    EXPECT_EQ(1, leak.status);
    EXPECT_TRUE(Holds(leak.out,
                      "left behind: 1\nreports: 1\n  memory: left behind: 100 bytes of "
                      "module 7 from "))
        << leak.out;

    const Outcome misuse = RunWorker({}, {"misuse"});
    EXPECT_EQ(1, misuse.status);
    EXPECT_TRUE(Holds(misuse.out,
                      "misuse, task, DXR_UnlockMutex by DxrModuleMain in "
                      "dxrsh_worker.so+"))
        << misuse.out;

    const Outcome stuck = RunWorker({}, {"stuck"});
    EXPECT_EQ(1, stuck.status);
    EXPECT_TRUE(Holds(stuck.out, "end of the run, ")) << stuck.out;
}

TEST(DxrshRun, AnExceptionThatLeavesTheModuleIsItsOwn) {
    for (const char *const clock : {"real", "virtual"}) {
        const std::string told = "dxrsh: dxrsh_throwing.so: an exception has left the module: ";
        const Outcome begin = RunDxrsh({"run", "--clock", clock, DXRSH_THROWING});
        EXPECT_EQ(begin.status, 1);
        EXPECT_EQ(begin.err, told + "port 3\n");
        const Outcome end = RunDxrsh({"run", "--clock", clock, DXRSH_THROWING, "late"});
        EXPECT_EQ(end.status, 1);
        EXPECT_EQ(end.err, told + "std::bad_alloc\n");
    }
}

TEST(DxrshRun, NoWayOutOfTheProgramPassesByUnseen) {
    for (const char *const end : {"exit", "quick_exit", "_exit", "_Exit", "pthread_exit"}) {
        const Outcome outcome = RunWorker({}, {end});
        EXPECT_EQ(1, outcome.status) << end;
        EXPECT_EQ("the module has ended the program\n", outcome.out) << end;
    }
}

// A process that the module forks ends as it likes, and takes nothing along.
TEST(DxrshRun, ChildrenOfTheModuleAreTheirOwn) {
    const TemporaryDirectory directory;
    const std::string control = directory.Path("control");
    // A child lacks the threads that hold some of the memory: a sanitizer would find leaks.
    const char *const before = std::getenv("ASAN_OPTIONS");
    const std::string kept = before != nullptr ? before : "";
    (void)setenv("ASAN_OPTIONS", (kept + ":detect_leaks=0").c_str(), 1);
    const Outcome outcome = RunDxrsh({"run", "--control", control, kWorker, "fork", control});
    (void)setenv("ASAN_OPTIONS", kept.c_str(), 1);
    EXPECT_EQ(0, outcome.status) << outcome.out;
    EXPECT_EQ(0U, outcome.out.find("child 0 ended with 0, the socket is there\n"
                                   "child 1 ended with 1, the socket is there\n"
                                   "child 2 ended with 2, the socket is there\n"
                                   "child 3 ended with 3, the socket is there\n"
                                   "child 4 died by 15, the socket is there\n"
                                   "port 3 is "))
        << outcome.out;
    EXPECT_EQ("", outcome.err);
    EXPECT_FALSE(std::filesystem::exists(control));
}

// A child that comes back from the module tells nothing of the run, and takes nothing from it.
TEST(DxrshRun, AForkedChildEndsWhereItComesBack) {
    const TemporaryDirectory directory;
    const std::string control = directory.Path("control");
    const Outcome outcome =
        RunDxrsh({"run", "--control", control, kWorker, "fork_return", control});
    EXPECT_EQ(0, outcome.status) << outcome.out;
    EXPECT_EQ(0U, outcome.out.find("child at main, ended with 5, the socket is there\nport 3 is "))
        << outcome.out;
    // The run takes its socket away before the module's way out.
    EXPECT_TRUE(Holds(outcome.out, "\nchild at end, ended with 0, the socket is gone\n"))
        << outcome.out;
    EXPECT_EQ(outcome.out.find("left behind"), outcome.out.rfind("left behind")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "\nleft behind: 0\n")) << outcome.out;
    EXPECT_EQ("", outcome.err);
}

TEST(DxrshRun, LinesOutliveTheModule) {
    const Outcome outcome = RunWorker({}, {"die"});
    EXPECT_EQ(128 + SIGKILL, outcome.status);
    EXPECT_EQ("port 3 is <up> & \"well\"\n", outcome.out);
    EXPECT_EQ("{\"line\":\"port 3 is <up> & \\\"well\\\"\"}\n", RunWorker({"--json"}, {"die"}).out);
}

// A run that gets a signal, once it has told its first line, and another one after its first word
// on that.
Outcome Interrupted(const Words &words, int signal, bool isTwice = false) {
    const TemporaryDirectory directory;
    const pid_t child = fork();
    if (child == 0) {
        (void)std::freopen(directory.Path("out").c_str(), "w", stdout);
        (void)std::freopen(directory.Path("err").c_str(), "w", stderr);
        (void)std::signal(SIGINT, SIG_DFL);  // ignored in the background of a shell
        dxrtest::ExecuteDxrsh(Words{"run"} + words);
        _exit(99);
    }
    const auto await = [&directory](const char *name) {
        for (int i = 0; i < 2000; ++i) {
            std::ifstream file(directory.Path(name));
            if (file.peek() != std::ifstream::traits_type::eof()) {
                return;
            }
            (void)usleep(10000);
        }
        ADD_FAILURE() << "in vain: " << name;
    };
    await("out");
    (void)kill(child, signal);
    if (isTwice) {
        await("err");
        (void)kill(child, signal);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), directory.Read("out"),
            directory.Read("err")};
}

TEST(DxrshRun, AnInterruptedRunIsTold) {
    for (const int signal : {SIGINT, SIGTERM}) {
        const TemporaryDirectory directory;
        const Outcome outcome =
            Interrupted({"--report", directory.Path("page.html"), kWorker, "stuck"}, signal);
        EXPECT_EQ(130, outcome.status);
        EXPECT_EQ("dxrsh: interrupted: the run ends\n", outcome.err);
        EXPECT_TRUE(Holds(outcome.out, "\nmodule dxrsh_worker.so returned 0\n")) << outcome.out;
        EXPECT_TRUE(Holds(directory.Read("page.html"), "<h1>Run of dxrsh_worker.so stuck</h1>"));
    }
}

TEST(DxrshRun, AModuleThatDoesNotReturnIsEndedNonetheless) {
    const std::string line = "port 3 is <up> & \"well\"\n";
    const TemporaryDirectory directory;
    const std::string control = directory.Path("control");
    const Outcome twice = Interrupted({"--control", control, kWorker, "deaf"}, SIGTERM, true);
    EXPECT_EQ(128 + SIGTERM, twice.status);
    EXPECT_EQ(line, twice.out);
    EXPECT_EQ("dxrsh: interrupted: the run ends\n", twice.err);
    EXPECT_FALSE(std::filesystem::exists(control));

    const Outcome late = Interrupted({kWorker, "deaf"}, SIGINT);
    EXPECT_EQ(128 + SIGINT, late.status);
    EXPECT_EQ("dxrsh: interrupted: the run ends\ndxrsh: the module does not return\n", late.err);

    const Outcome still = Interrupted({"--clock", "virtual", kWorker, "deaf"}, SIGTERM);
    EXPECT_EQ(128 + SIGTERM, still.status);
    EXPECT_EQ(line, still.out);
    EXPECT_EQ("dxrsh: interrupted\n", still.err);
}

TEST(DxrshRun, AModuleThatEndsTheProgramIsNotWell) {
    const TemporaryDirectory directory;
    const Outcome outcome = RunWorker({"--trace", directory.Path("trace")}, {"exit"});
    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("the module has ended the program\n", outcome.out);
    EXPECT_EQ("", RunDxrsh({"trace", directory.Path("trace")}).err);
}

TEST(DxrshRun, TheTextIsToldBeforeAPageThatCannotBeWritten) {
    const TemporaryDirectory directory;
    const std::string page = directory.Path("folder");
    ASSERT_TRUE(std::filesystem::create_directory(page));
    const Outcome outcome = RunWorker({"--report", page});
    EXPECT_EQ(2, outcome.status);
    EXPECT_TRUE(Holds(outcome.out, "well\n")) << outcome.out;
    EXPECT_EQ("dxrsh: " + page + ": Is a directory\n", outcome.err);
}

// As on a full disk.
TEST(DxrshRun, TheTextIsToldBeforeARecordingThatCannotBeWritten) {
    const TemporaryDirectory directory;
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    auto *const handler = std::signal(SIGXFSZ, SIG_IGN);
    // The list of slots, but not all calls.
    const rlimit small = {10000, before.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    const Outcome outcome = RunWorker({"--trace", directory.Path("trace")});
    const Outcome page = RunWorker({"--report", directory.Path("page.html")});
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("dxrsh: " + directory.Path("trace") + ": File too large\n", outcome.err);
    EXPECT_TRUE(Holds(outcome.out, "left behind: 0\nreports: 0\nwell\n")) << outcome.out;
    EXPECT_EQ(1, page.status);
    EXPECT_EQ("dxrsh: the recording for the page: File too large\n", page.err);
    EXPECT_FALSE(std::filesystem::exists(directory.Path("page.html")));
    // What was written until then can be read.
    const Outcome read = RunDxrsh({"trace", directory.Path("trace")});
    EXPECT_TRUE(Holds(read.err, "has no end after ")) << read.err;
}

TEST(DxrshRun, ASeedHasAllItsBits) {
    const TemporaryDirectory directory;
    const Outcome outcome =
        RunWorker({"--seed", "18446744073709551615", "--report", directory.Path("page.html")});
    EXPECT_EQ(0, outcome.status) << outcome.err;
    EXPECT_TRUE(Holds(directory.Read("page.html"), "seed 18446744073709551615."));
}

// What it has suppressed nobody knows then.
TEST(DxrshRun, AFilterThatHasEndedIsTold) {
    const TemporaryDirectory directory;
    const std::string page = directory.Path("page.html");
    const Outcome outcome = RunWorker({"--report", page}, {"unfiltered"});
    EXPECT_TRUE(Holds(outcome.out,
                      "log lines: 1 let through, suppressed unknown: the log filter has ended\n"))
        << outcome.out;
    EXPECT_TRUE(Holds(directory.Read("page.html"), "unknown: the log filter has ended"));
    // One that has not begun has suppressed none.
    EXPECT_TRUE(
        Holds(RunDxrsh({"run", DXRSH_REGISTERS}).out, "log lines: 0 let through, 0 suppressed\n"));
    const Outcome json = RunWorker({"--json"}, {"unfiltered"});
    EXPECT_TRUE(Holds(json.out, R"("lines_let_through":1,"lines_suppressed":null,)")) << json.out;
}

// As on a full disk.
TEST(DxrshRun, NoPartOfAPageStays) {
    const TemporaryDirectory directory;
    rlimit before{};
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    auto *const handler = std::signal(SIGXFSZ, SIG_IGN);
    const Words words = {std::string(20000, 'x')};  // the page has them, the recording has not
    const Words files = {"--report", directory.Path("whole.html"), "--trace",
                         directory.Path("trace")};
    ASSERT_EQ(0, RunWorker(files, words).status);
    const std::string whole = directory.Read("whole.html");
    const std::string trace = directory.Read("trace");
    std::filesystem::create_symlink("page.html", directory.Path("link.html"));
    ASSERT_LT(trace.size(), whole.size());
    const rlimit small = {whole.size() - 1, before.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    const Outcome page = RunWorker({"--report", directory.Path("page.html")}, words);
    const Outcome link = RunWorker({"--report", directory.Path("link.html")}, words);
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
    (void)std::signal(SIGXFSZ, handler);
    EXPECT_EQ(2, page.status);
    EXPECT_EQ("dxrsh: " + directory.Path("page.html") + ": File too large\n", page.err);
    EXPECT_EQ(2, link.status);
    EXPECT_FALSE(std::filesystem::exists(directory.Path("page.html")));
    EXPECT_TRUE(std::filesystem::is_symlink(directory.Path("link.html")));
}

// What is no file of its own, it does not remove: here a pipe whose reader leaves.
TEST(DxrshRun, APageThatIsNoFileStays) {
    const TemporaryDirectory directory;
    const std::string page = directory.Path("page.html");
    ASSERT_EQ(0, RunWorker({"--report", page}).status);
    const std::string path = directory.Path("pipe");
    ASSERT_EQ(0, mkfifo(path.c_str(), 0600));
    const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(reader, 0);
    const int room = fcntl(reader, F_SETPIPE_SZ, 4096);
    std::thread leaving([reader] {
        constexpr int kPatienceMs = 60000;
        pollfd watched{reader, POLLIN, 0};
        EXPECT_EQ(1, poll(&watched, 1, kPatienceMs));
        (void)close(reader);
    });
    const Outcome outcome = RunWorker({"--report", path});
    leaving.join();
    ASSERT_GT(room, 0);
    if (std::filesystem::file_size(page) <= static_cast<uintmax_t>(room)) {
        GTEST_SKIP() << "a pipe of this system takes all of it";
    }
    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("dxrsh: " + path + ": Broken pipe\n", outcome.err);
    EXPECT_TRUE(std::filesystem::is_fifo(path));
}

TEST(DxrshRun, NothingRunsWhereThereIsNoFolder) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("file", "text");
    for (const auto &[work, why] : {std::pair(directory.Path("none"), "No such file or directory"),
                                    std::pair(file, "Not a directory")}) {
        const Outcome outcome = RunWorker({"--work", work});
        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ("dxrsh: " + work + ": " + why + "\n", outcome.err);
    }
}

TEST(DxrshRun, NothingRunsForAPageThatHasNoPlace) {
    const TemporaryDirectory directory;
    const std::string page = directory.Path("none/page.html");
    const Outcome outcome = RunWorker({"--report", page});
    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("", outcome.out);
    EXPECT_EQ("dxrsh: " + page + ": No such file or directory\n", outcome.err);
}

TEST(DxrshRun, ThePageDoesNotTakeThePlaceOfTheRecording) {
    const TemporaryDirectory directory;
    const std::string file = directory.Path("both");
    const Outcome outcome = RunWorker({"--trace", file, "--report", file});
    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("dxrsh: " + file + ": not for the recording and the page at once\n", outcome.err);
}

// However it is called, and whether it is there before.
TEST(DxrshRun, NothingTakesThePlaceOfAnotherFile) {
    const TemporaryDirectory directory;
    const std::string other = directory.Path("./both");
    const std::string link = directory.Path("link");
    std::filesystem::create_symlink("both", link);
    for (const bool isThere : {false, true}) {
        if (isThere) {
            directory.Write("both", "before");
        }
        for (const std::string &page : {other, link}) {
            const std::string file = directory.Path("both");
            const Outcome outcome = RunWorker({"--trace", file, "--report", page});
            EXPECT_EQ(2, outcome.status);
            EXPECT_EQ("dxrsh: " + page + ": not for the recording and the page at once\n",
                      outcome.err);
            if (isThere) {
                EXPECT_EQ("before", directory.Read("both"));
            } else {
                std::filesystem::remove(file);
            }
        }
    }
    const std::string module = directory.Path("module.so");
    std::filesystem::copy_file(kWorker, module);
    const std::string board = directory.Write("board.json", "{}");
    for (const char *const option : {"--trace", "--report"}) {
        ExpectFails({"run", option, directory.Path("./module.so"), module}, 2,
                    directory.Path("./module.so") + ": is the module");
        ExpectFails({"run", "--board", board, option, board, module}, 2,
                    board + ": is the board's file");
    }
    EXPECT_EQ("{}", directory.Read("board.json"));
    EXPECT_EQ(0, RunDxrsh({"run", "--clock", "virtual", module}).status);
}

// Also while calls are noted: the host sees the module behind the trace.
TEST(DxrshRun, ReportsNameTheModuleWhileItIsTraced) {
    const TemporaryDirectory directory;
    const Outcome misuse = RunWorker({"--trace", directory.Path("trace")}, {"misuse"});
    EXPECT_TRUE(Holds(misuse.out, "DXR_UnlockMutex by DxrModuleMain in dxrsh_worker.so+"))
        << misuse.out;
}

TEST(DxrshRun, WhatCannotBeRunGivesTwo) {
    const TemporaryDirectory directory;
    const std::string missing = directory.Path("missing");
    ExpectFails({"run"}, 2, "MODULE is required");
    ExpectFails({"run", DXRSH_NO_MODULE}, 2,
                std::string(DXRSH_NO_MODULE) + ": defines no DxrModuleMain");
    EXPECT_EQ(2, RunDxrsh({"run", missing}).status);
    ExpectFails({"run", "--board", missing, kWorker}, 2, missing + ": No such file or directory");
    ExpectFails({"run", "--trace", missing + "/x", kWorker}, 2,
                missing + "/x: No such file or directory");
    EXPECT_EQ(2, RunDxrsh({"run", "--clock", "slow", kWorker}).status);
    EXPECT_EQ(2, RunDxrsh({"run", "--seed", "-1", kWorker}).status);
    EXPECT_EQ(2, RunDxrsh({"run", "--seed", "18446744073709551616", kWorker}).status);
    EXPECT_EQ(2, RunDxrsh({"run", "--fast", kWorker}).status);
}

// What comes after the module is its own.
TEST(DxrshRun, OptionsAfterTheModuleAreItsArguments) {
    EXPECT_EQ(0, RunWorker({}, {"--clock", "slow"}).status);
}

TEST(DxrshRun, TheBoardsFileIsRead) {
    const TemporaryDirectory directory;
    const std::string board = directory.Write(
        "board.json", R"({"registers": [{"unit": 0, "chip": 0, "address": 16, "value": 100}]})");
    const Outcome outcome = RunWorker({"--board", board});
    EXPECT_TRUE(Holds(outcome.out, "sum 106, ticks 3\n")) << outcome.out;
    const std::string bad = directory.Write("bad.json", R"({"registers": [{"unit": 0}]})");
    ExpectFails({"run", "--board", bad, kWorker}, 2,
                bad + ":1:16: /registers/0/address: is missing");
}

// --- the page

TEST(DxrshRun, ThePageSaysAllAndLoadsNothing) {
    const TemporaryDirectory directory;
    for (const std::string clock : {"real", "virtual"}) {
        const Outcome outcome = RunDxrsh({"run", "--clock", clock, "--report",
                                          directory.Path("page.html"), kWorker, "<x>", "leak"});
        EXPECT_EQ(1, outcome.status);
        const std::string page = directory.Read("page.html");
        for (const char *const part :
             {"<h1>Run of dxrsh_worker.so &lt;x&gt; leak</h1>", "Calls over time",
              "Memory by module", "port 3 is &lt;up&gt; &amp; &quot;well&quot;",
              "<th scope=\"row\">DXR_InitSafeIo</th><td class=\"n\">1</td>",
              "<th scope=\"row\">tick 3</th><td class=\"n\">1</td>", "Left behind: 1",
              "Content-Security-Policy\" content=\"default-src 'none'", "lang=\"en\""}) {
            EXPECT_TRUE(Holds(page, part)) << part;
        }
        EXPECT_EQ(clock == "real", Holds(page, "Latency by slot"));
        for (const char *const loads : {"://", "src=", "href=", "url(", "@import", "<script",
                                        "<link", "<iframe", "<img", "xmlns", "javascript"}) {
            EXPECT_FALSE(Holds(page, loads)) << loads;
        }
    }
}

// Of every report what the text says: of what kind it is, and who called.
TEST(DxrshRun, ThePageTellsReportsAsTheTextDoes) {
    const TemporaryDirectory directory;
    const Outcome outcome =
        RunWorker({"--report", directory.Path("page.html")}, {"misuse", "leak"});
    const std::string page = directory.Read("page.html");
    EXPECT_TRUE(Holds(page,
                      "<li>misuse, task, DXR_UnlockMutex by DxrModuleMain in "
                      "dxrsh_worker.so+"))
        << page;
    EXPECT_TRUE(Holds(page, "<li>memory: left behind: 100 bytes of module 7 from ")) << page;
}

// Only what is no character is told by its bytes, and what would act on others.
TEST(DxrshRun, ThePageShowsWordsOfAllLanguages) {
    const TemporaryDirectory directory;
    // In two parts: a character that turns the direction around does so to a source, too.
    const std::string turn = std::string("\xE2\x80") + "\xAE";
    const Outcome outcome =
        RunWorker({"--report", directory.Path("page.html")},
                  {"words", "\u00FC\x1B[1m\u0085" + turn + "x\xED\xA0\x80\xF0\x9F\x98\x80"});
    EXPECT_EQ(0, outcome.status);
    const std::string page = directory.Read("page.html");
    EXPECT_TRUE(Holds(page, "\nGr\u00F6\u00DFe \\xff \u20AC\n")) << page;
    EXPECT_TRUE(Holds(page,
                      "<h1>Run of dxrsh_worker.so words "
                      "\u00FC\\x1b[1m\\xc2\\x85\\xe2\\x80\\xaex\\xed\\xa0\\x80\U0001F600</h1>"))
        << page;
}

// Also when there is nobody left who could remove it.
TEST(DxrshRun, AModuleThatEndsTheProgramLeavesNoFile) {
    const TemporaryDirectory directory;
    const TemporaryDirectory temporary;
    const char *const before = std::getenv("TMPDIR");
    const std::string kept = before != nullptr ? before : "";
    (void)setenv("TMPDIR", temporary.Path("").c_str(), 1);
    for (const char *const end : {"exit", "kill"}) {
        (void)RunWorker({"--report", directory.Path("page.html")}, {end});
        EXPECT_TRUE(std::filesystem::is_empty(temporary.Path(""))) << end;
    }
    if (before != nullptr) {
        (void)setenv("TMPDIR", kept.c_str(), 1);
    } else {
        (void)unsetenv("TMPDIR");
    }
}

// --- replay

TEST(DxrshReplay, ARecordingOfTheSameModuleIsTheSame) {
    const TemporaryDirectory directory;
    for (const std::string seed : {"1", "2", "9"}) {
        const std::string file = Recorded(directory, "trace", {"--seed", seed});
        const Outcome outcome = Replay({}, file);
        EXPECT_EQ(0, outcome.status);
        EXPECT_EQ("sum 6, ticks 3\ncalls 198, of the host's 4, threads 3: the same\n", outcome.out);
    }
}

TEST(DxrshReplay, ThreadsOfTheModulesOwnTakePart) {
    const TemporaryDirectory directory;
    const std::string file = directory.Path("trace");
    (void)RunDxrsh({"run", "--trace", file, kWorker, "thread"});
    const Outcome outcome = Replay({}, file, {"thread"});
    EXPECT_EQ(0, outcome.status) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "threads 4: the same\n")) << outcome.out;
}

TEST(DxrshReplay, AMainFunctionWithoutCallsIsNobodyElse) {
    const TemporaryDirectory directory;
    const std::string file = directory.Path("trace");
    (void)RunDxrsh({"run", "--trace", file, kWorker, "alone"});
    const Outcome outcome = Replay({}, file, {"alone"});
    EXPECT_EQ(0, outcome.status) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "threads 2: the same\n")) << outcome.out;
    EXPECT_EQ(0U, RunDxrsh({"diff", file, file})
                      .out.find("main thread: the same, 0 calls\nother thread 1: the same, "));
}

TEST(DxrshReplay, ATaskThatNeverCameBackEndsThere) {
    const TemporaryDirectory directory;
    const std::string file = Recorded(directory, "trace", {}, {"forever"});
    const Outcome outcome = Replay({}, file, {"forever"});
    EXPECT_EQ(0, outcome.status) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, ": the same\n")) << outcome.out;
}

// Entries of the host's lead to what the module has put in, also now that there is no such host.
TEST(DxrshReplay, HashTablesLeadToWhatWasPutIn) {
    const TemporaryDirectory directory;
    const std::string lines =
        "put one 0\nput two 0\nput three 0\nput TWO 0\n"
        "one ne first -\ntwo wo a longer second  second\nthree hree third -\n"
        "third 1\n1 3 2 2 1\n";
    const Outcome first = RunWorker({"--trace", directory.Path("trace")}, {"tables"});
    EXPECT_TRUE(Holds(first.out, lines)) << first.out;
    const Outcome again = Replay({}, directory.Path("trace"), {"tables"});
    EXPECT_EQ(0, again.status);
    EXPECT_EQ(lines, again.out.substr(0, lines.size())) << again.out;
}

TEST(DxrshReplay, TheFirstDifferenceEndsIt) {
    const TemporaryDirectory directory;
    const Outcome outcome = Replay({}, Recorded(directory, "trace"), {"other"});
    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ(0U, outcome.out.find("thread 1, call ")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out,
                      " s: the call differs\n"
                      "  expected  DXR_WriteReg(arg1=0, arg2=0, arg3=4, value=0)\n"
                      "  got       DXR_WriteReg(arg1=0, arg2=0, arg3=4, value=1)\n"
                      "  value: expected 0, got 1\n"
                      "differs\n"))
        << outcome.out;
}

TEST(DxrshReplay, CallsThatEndEarlyOrLateDiffer) {
    const TemporaryDirectory directory;
    const std::string file = Recorded(directory, "trace");
    const Outcome early = Replay({}, file, {"fail"});
    EXPECT_EQ(1, early.status);
    EXPECT_TRUE(Holds(early.out, "expected  DXR_GetSysWorkPath(")) << early.out;

    const std::string nothing = Recorded(directory, "nothing", {}, {"fail"});
    const Outcome late = Replay({}, nothing);
    EXPECT_EQ(1, late.status);
    EXPECT_TRUE(Holds(late.out, "  expected  ")) << late.out;
}

// What follows it is not made any more, whatever the module says of itself.
TEST(DxrshReplay, AModuleThatEndsTheProgramDiffers) {
    const TemporaryDirectory directory;
    for (const char *const end : {"exit", "quick_exit", "_exit", "_Exit", "pthread_exit"}) {
        const Outcome outcome = Replay({}, Recorded(directory, "trace"), {end});
        EXPECT_EQ(1, outcome.status) << end;
        EXPECT_EQ("the module has ended the program\n", outcome.out) << end;
    }
}

TEST(DxrshReplay, WhatCannotBeToldFails) {
    const TemporaryDirectory directory;
    const std::string file = Recorded(directory, "trace");
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (full < 0) {
        GTEST_SKIP() << "there is no /dev/full";
    }
    for (const Words &command : {Words{"replay", file, kWorker}, Words{"diff", file, file},
                                 Words{"trace", file}, Words{"trace", "--counts", file}}) {
        const Outcome outcome = RunDxrshInto(full, command);
        EXPECT_EQ(1, outcome.status) << command[0];
        EXPECT_EQ("dxrsh: cannot write the output: No space left on device\n", outcome.err);
    }
    (void)close(full);
}

TEST(DxrshReplay, LooseGoesOnWithTheNextEqualCall) {
    const TemporaryDirectory directory;
    const std::string file = Recorded(directory, "trace");
    const Outcome skip = Replay({"--loose"}, file, {"skip"});
    EXPECT_EQ(1, skip.status);
    EXPECT_TRUE(Holds(skip.out, "  goes on with call ")) << skip.out;
    EXPECT_TRUE(Holds(skip.out, ", 1 call of the recording later\n")) << skip.out;
    EXPECT_TRUE(Holds(skip.out,
                      "sum 6, ticks 3\n"
                      "calls 197, of the host's 4, threads 3: differences 1, "
                      "calls not made 1\n"))
        << skip.out;

    const Outcome more = Replay({"--loose"}, file, {"more"});
    EXPECT_EQ(1, more.status);
    EXPECT_TRUE(Holds(more.out, "got       DXR_GetLrId()\n")) << more.out;
    EXPECT_TRUE(Holds(more.out,
                      "sum 6, ticks 3\n"
                      "calls 198, of the host's 4, threads 3: differences 1, "
                      "calls not made 0\n"))
        << more.out;

    const Outcome other = Replay({"--loose"}, file, {"other"});
    EXPECT_EQ(1, other.status);
    EXPECT_TRUE(Holds(other.out, "  no equal call comes: answered with 0\n")) << other.out;
    EXPECT_TRUE(Holds(other.out, "differences 2, calls not made 1\n")) << other.out;
}

TEST(DxrshReplay, JsonTellsWhatDiffers) {
    const Outcome outcome =
        RunDxrsh({"replay", "--json", DXRSH_SAMPLE_RECORDING, DXRSH_REGISTERS, "x"});
    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("", outcome.err);
    EXPECT_EQ(
        "{\"same\":false,\"ended\":false,\"told\":["
        "{\"note\":\"what the host called was not recorded: tasks, timers and interrupts are not "
        "replayed\"},"
        "{\"difference\":\"the call differs\",\"thread\":1,\"call\":5,\"ns\":324298,\"slot\":118,"
        "\"function\":\"Print.print\","
        "\"expected\":\"Print.print(level=6, format=\\\"port %u is %s\\\")\","
        "\"got\":\"Print.print(level=6, format=\\\"port %u is %s\\\")\","
        "\"details\":[{\"name\":\"message\",\"expected\":\"\\\"port 3 is up\\\"\","
        "\"got\":\"\\\"port 4 is up\\\"\"}]}]}\n",
        outcome.out);
    const TemporaryDirectory directory;
    const std::string file = Recorded(directory, "trace");
    const Outcome loose = Replay({"--loose", "--json"}, file, {"other"});
    EXPECT_TRUE(Holds(loose.out, R"("then":"no equal call comes: answered with 0"},)"))
        << loose.out;
}

// Stored by the releases that they name.
TEST(DxrshReplay, RecordingsOfEarlierReleasesAreRead) {
    EXPECT_EQ(0, Replay({}, DXRSH_WORKER_RECORDING).status);
    const Outcome first = RunDxrsh({"replay", DXRSH_SAMPLE_RECORDING, DXRSH_REGISTERS});
    EXPECT_EQ(0, first.status);
    EXPECT_EQ(
        "note: what the host called was not recorded: tasks, timers and interrupts are not "
        "replayed\n"
        "calls 6, of the host's 0, threads 1: the same\n",
        first.out);
    EXPECT_EQ(1, RunDxrsh({"replay", DXRSH_SAMPLE_RECORDING, DXRSH_REGISTERS, "x"}).status);
}

TEST(DxrshReplay, EveryReaderReadsRecordingsOfEarlierReleases) {
    struct Stored {
        const char *file;
        const char *call;
        size_t calls;
    };
    for (const Stored &stored : {Stored{DXRSH_SAMPLE_RECORDING, "DXR_SetEnv", 6},
                                 Stored{DXRSH_WORKER_RECORDING, "DXR_StartTimer", 202}}) {
        const std::vector<std::pair<Words, size_t>> forms = {{{}, stored.calls},
                                                             {{"--json"}, stored.calls},
                                                             {{"--chrome"}, stored.calls},
                                                             {{"--counts"}, 1},
                                                             {{"--counts", "--json"}, 1}};
        for (const auto &[options, least] : forms) {
            Words words = {"trace", stored.file};
            words.insert(words.end(), options.begin(), options.end());
            const Outcome outcome = RunDxrsh(words);
            EXPECT_EQ(0, outcome.status) << stored.file;
            EXPECT_EQ("", outcome.err) << stored.file;
            EXPECT_TRUE(Holds(outcome.out, stored.call)) << outcome.out;
            const auto lines = std::count(outcome.out.begin(), outcome.out.end(), '\n');
            EXPECT_GE(static_cast<size_t>(lines), least) << outcome.out;
        }
        EXPECT_EQ(0, RunDxrsh({"diff", stored.file, stored.file}).status);
        EXPECT_EQ(0, RunDxrsh({"diff", "--json", stored.file, stored.file}).status);
    }
    const TemporaryDirectory directory;
    const std::string now = directory.Path("now");
    ASSERT_EQ(0, RunDxrsh({"run", "--trace", now, DXRSH_REGISTERS}).status);
    const Outcome diff = RunDxrsh({"diff", DXRSH_SAMPLE_RECORDING, now});
    EXPECT_EQ(0, diff.status) << diff.out;
    EXPECT_TRUE(Holds(diff.out,
                      "note: what the host called is in the second recording alone\n"
                      "main thread: the same, 6 calls\n"))
        << diff.out;
    EXPECT_TRUE(Holds(RunDxrsh({"diff", now, DXRSH_SAMPLE_RECORDING}).out,
                      "note: what the host called is in the first recording alone\n"));
}

TEST(DxrshReplay, ACutRecordingIsReplayedToItsEnd) {
    const TemporaryDirectory directory;
    std::ifstream sample(DXRSH_SAMPLE_RECORDING, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(sample), {}};
    const std::string cut = directory.Write("cut", bytes.substr(0, bytes.size() - 1));
    const Outcome whole = RunDxrsh({"replay", cut, DXRSH_REGISTERS});
    EXPECT_EQ(0, whole.status);
    EXPECT_TRUE(Holds(whole.out, "note: the recording has no end after ")) << whole.out;
    const Outcome again = RunDxrsh({"replay", cut, DXRSH_REGISTERS, "again"});
    EXPECT_EQ(0, again.status);
    EXPECT_TRUE(Holds(again.out,
                      "the recording ends here: thread 1, after its last call\n"
                      "the same, up to where the recording ends\n"))
        << again.out;
    // A whole one says that there was no such call.
    EXPECT_EQ(1, RunDxrsh({"replay", DXRSH_SAMPLE_RECORDING, DXRSH_REGISTERS, "again"}).status);

    const std::string damaged = directory.Write("damaged", bytes + "x");
    ExpectFails({"replay", damaged, kWorker}, 2,
                damaged + ": damaged after " + std::to_string(bytes.size()) +
                    " bytes: bytes after its end");
    ExpectFails({"replay", kWorker, kWorker}, 2, kWorker + ": is no recording");
    ExpectFails({"replay", cut + "x", kWorker}, 2, cut + "x: No such file or directory");
    ExpectFails({"replay", cut}, 2, "FILE and MODULE is required");
}

// --- diff

TEST(DxrshDiff, TheSameRunIsTheSame) {
    const TemporaryDirectory directory;
    const std::string a = Recorded(directory, "a");
    const std::string b = Recorded(directory, "b");
    const Outcome outcome = RunDxrsh({"diff", a, b});
    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(Holds(outcome.out, "main thread: the same, ")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "task 1: the same, ")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "thread of the host 1: the same, ")) << outcome.out;
}

TEST(DxrshDiff, TheFirstDifferenceOfEachThreadIsShown) {
    const TemporaryDirectory directory;
    const std::string a = Recorded(directory, "a");
    const std::string b = Recorded(directory, "b", {}, {"other"});
    const Outcome outcome = RunDxrsh({"diff", "--context", "1", a, b});
    EXPECT_EQ(1, outcome.status);
    EXPECT_TRUE(Holds(outcome.out, "main thread: parts after ")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "DXR_WriteReg(arg1=0, arg2=0, arg3=4, value=0) = 0\n  - "))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "DXR_WriteReg(arg1=0, arg2=0, arg3=4, value=1) = 0\n  + "))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "    value: expected 0, got 1\n")) << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "task 1: the same, ")) << outcome.out;

    const std::string shorter = Recorded(directory, "c", {}, {"fail"});
    const Outcome ends = RunDxrsh({"diff", a, shorter});
    EXPECT_EQ(1, ends.status);
    EXPECT_TRUE(Holds(ends.out, "; the second recording has no more\n")) << ends.out;
}

// Whoever reads has seen enough.
TEST(DxrshDiff, AReaderThatLeavesIsNoFailure) {
    const TemporaryDirectory directory;
    const std::string a = Recorded(directory, "a");
    const std::string b = Recorded(directory, "b", {}, {"other"});
    int ends[2] = {};
    ASSERT_EQ(0, pipe2(ends, O_CLOEXEC));
    (void)close(ends[0]);
    const Outcome outcome = RunDxrshInto(ends[1], {"diff", a, b});
    (void)close(ends[1]);
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.err);
}

TEST(DxrshDiff, WhatCannotBeComparedGivesTwo) {
    const std::string sample = DXRSH_SAMPLE_RECORDING;
    ExpectFails({"diff", sample, sample + "x"}, 2, sample + "x: No such file or directory");
    ExpectFails({"diff", kWorker, sample}, 2, kWorker + ": is no recording");
    EXPECT_EQ(2, RunDxrsh({"diff", sample}).status);
}

}  // namespace

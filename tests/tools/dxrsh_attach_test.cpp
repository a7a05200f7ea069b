// dxrsh attach and dxrsh run --control: lines done on the host of another process, and those who
// send something else.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "support/sanitizers.h"
#include "tools/expect_dxrsh.h"
#include "tools/run_dxrsh.h"
#include "tools/temporary_directory.h"
#include "tools/terminal.h"

namespace {

using dxrtest::ExpectFails;
using dxrtest::Holds;
using dxrtest::kPatienceMs;
using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::TemporaryDirectory;
using dxrtest::Words;

bool IsThere(const std::string &path) {
    struct stat found {};
    return lstat(path.c_str(), &found) == 0;
}

void Pause() {
    (void)poll(nullptr, 0, 2);
}

// A program beside the test, with its own ends of pipes.
class Beside {
  public:
    explicit Beside(const Words &arguments) {
        int in[2];
        int out[2];
        EXPECT_EQ(pipe2(in, O_CLOEXEC), 0);
        EXPECT_EQ(pipe2(out, O_CLOEXEC), 0);
        child_ = fork();
        if (child_ == 0) {
            (void)dup2(in[0], 0);
            (void)dup2(out[1], 1);
            (void)dup2(out[1], 2);
            dxrtest::ExecuteDxrsh(arguments);
            _exit(99);
        }
        (void)close(in[0]);
        (void)close(out[1]);
        in_ = in[1];
        out_ = out[0];
    }
    ~Beside() {
        if (child_ > 0) {
            (void)kill(child_, SIGKILL);
            (void)waitpid(child_, nullptr, 0);
        }
        (void)close(in_);
        (void)close(out_);
    }
    Beside(const Beside &) = delete;
    Beside &operator=(const Beside &) = delete;
    Beside(Beside &&) = delete;
    Beside &operator=(Beside &&) = delete;

    [[nodiscard]] pid_t Pid() const { return child_; }

    void Write(const std::string &text) const {
        EXPECT_EQ(write(in_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    // Reads on until a text has come.
    void Await(const std::string &text) {
        while (!Holds(said_, text) && ReadOn()) {
        }
        EXPECT_TRUE(Holds(said_, text)) << text << ": " << said_;
    }

    // All that it printed, once it has ended.
    std::string Said() {
        while (ReadOn()) {
        }
        return said_;
    }

    int Status() {
        (void)Said();
        int status = -1;
        EXPECT_EQ(waitpid(child_, &status, 0), child_);
        child_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

  private:
    bool ReadOn() {
        pollfd watched{out_, POLLIN, 0};
        std::string piece(4096, '\0');
        const ssize_t count =
            poll(&watched, 1, kPatienceMs) > 0 ? read(out_, piece.data(), piece.size()) : -1;
        said_.append(piece, 0, static_cast<size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    pid_t child_ = -1;
    int in_ = -1;
    int out_ = -1;
    std::string said_;
};

// One who is attached without dxrsh.
class Line {
  public:
    explicit Line(const std::string &path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        (void)path.copy(static_cast<char *>(address.sun_path), sizeof(address.sun_path) - 1);
        fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        isThere_ = connect(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    }
    ~Line() { (void)close(fd_); }
    Line(const Line &) = delete;
    Line &operator=(const Line &) = delete;
    Line(Line &&) = delete;
    Line &operator=(Line &&) = delete;

    [[nodiscard]] bool IsThere() const { return isThere_; }

    // False when the other end is closed.
    [[nodiscard]] bool Send(const std::string &text) const {
        return send(fd_, text.data(), text.size(), MSG_NOSIGNAL) ==
               static_cast<ssize_t>(text.size());
    }

    // What comes up to a text, or to the end.
    std::string Await(const std::string &text) {
        while (!Holds(came_, text)) {
            pollfd watched{fd_, POLLIN, 0};
            std::string piece(4096, '\0');
            const ssize_t count =
                poll(&watched, 1, kPatienceMs) > 0 ? recv(fd_, piece.data(), piece.size(), 0) : -1;
            if (count <= 0) {
                break;
            }
            came_.append(piece, 0, static_cast<size_t>(count));
        }
        const size_t end = std::min(came_.find(text), came_.size() - text.size()) + text.size();
        std::string before = came_.substr(0, end);
        came_.erase(0, end);
        return before;
    }

  private:
    int fd_ = -1;
    bool isThere_ = false;
    std::string came_;
};

// The worker that goes on until its register is set, with a host that takes lines.
class DxrshAttach : public testing::Test {
  protected:
    [[nodiscard]] std::string Control() const { return directory_.Path("control"); }

    [[nodiscard]] Words Run(const Words &options = {}) const {
        Words words = {"run", "--control", Control()};
        words.insert(words.end(), options.begin(), options.end());
        words.insert(words.end(), {DXRSH_WORKER, "linger"});
        return words;
    }

    // Until the module waits for its register.
    void AwaitHost() const {
        for (int tries = 0; tries < kPatienceMs; ++tries) {
            Line line(Control());
            if (line.IsThere() && line.Send("registers 0:0:0x20 1\n") &&
                !Holds(line.Await("ok\n"), "read 0,")) {
                return;
            }
            Pause();
        }
        ADD_FAILURE() << "no module waits at " << Control();
    }

    [[nodiscard]] Outcome Attach(const std::string &lines) const {
        return RunDxrsh({"attach", Control(), "-"}, lines);
    }

    void ExpectShows(const std::string &lines, const std::string &expected) const {
        const Outcome outcome = Attach(lines);
        EXPECT_EQ(outcome.status, 0) << lines;
        EXPECT_EQ(outcome.out, expected) << lines;
        EXPECT_EQ(outcome.err, "") << lines;
    }

    void ExpectRefuses(const std::string &lines, const std::string &reason) const {
        const Outcome outcome = Attach(lines);
        const auto count = std::to_string(1 + std::count(lines.begin(), lines.end(), '\n'));
        EXPECT_EQ(outcome.status, 1) << lines;
        EXPECT_EQ(outcome.err, "dxrsh: standard input:" + count + ": " + reason + "\n") << lines;
    }

    // Lets the module go on, and expects that it ends well and leaves no file.
    void ExpectEndsWell(Beside &run) const {
        EXPECT_EQ(Attach("set 0:0:0x20 1\n").status, 0);
        EXPECT_EQ(run.Status(), 0);
        EXPECT_TRUE(Holds(run.Said(), "\nwell\n")) << run.Said();
        EXPECT_FALSE(IsThere(Control()));
    }

    const TemporaryDirectory directory_;
};

TEST_F(DxrshAttach, DoesLinesOnTheHostOfARun) {
    Beside run(Run());
    AwaitHost();
    struct stat found {};
    EXPECT_EQ(lstat(Control().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777U, 0600U);
    ExpectShows(
        "# a remark\n\n"
        "set 0:1:0x40 7\n"
        "call DXR_ReadReg 0 1 0x40\n"
        "expect value 7\n"
        "quit\nget x\n",
        "DXR_ReadReg = 0\n  value = 7\n");
    // Another one finds the same host, and what was kept.
    ExpectShows(
        "registers 0:1:0x40 1\nvalues value\n"
        "mailbox lpu:3\n"
        "drop lpu:3 18 1\ndrop 19 1\n"
        "send lpu:3 18\nsend lpu:3 19\nsend lpu:3 18 text:arrives\n"
        "receive lpu:3\n"
        "mailboxes\n"
        "mailbox lpu:3 close\n",
        "0:1:0x40             0x00000007  read 1, written 0\n"
        "value = 7\n"
        "sent message 1\nsent message 2\nsent message 3\n"
        "message 3, kind 18, code 0: 6172726976657300\n"
        "lpu:3    0 of 1024 messages\n"
        "sent 3, arrived 1, taken 1, lost 2, refused 0\n");
    const Outcome report = Attach("report\ncall DXR_UnlockMutex 5\nmemory\ntables\n");
    EXPECT_EQ(report.status, 0);
    EXPECT_TRUE(Holds(report.out, "slots used: ")) << report.out;
    EXPECT_TRUE(Holds(report.out, "log lines: 1 let through, 3 suppressed\n")) << report.out;
    EXPECT_TRUE(Holds(report.err, "host: misuse, ")) << report.err;
    EXPECT_EQ(Attach("set 0:0:0x20 1\n").status, 0);
    EXPECT_EQ(run.Status(), 1) << "the run tells of what was done to it";
    EXPECT_TRUE(Holds(run.Said(), "sum 6, ticks 3\n")) << run.Said();
    EXPECT_FALSE(IsThere(Control()));
}

TEST_F(DxrshAttach, EndsAFileWithTheFirstLineThatIsWrong) {
    Beside run(Run());
    AwaitHost();
    const std::string file = directory_.Write("lines", "get 0:0:8\nset 0:0:8\nget 0:0:8\n");
    const Outcome outcome = RunDxrsh({"attach", Control(), file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "0:0:0x8 = 0\n");
    EXPECT_EQ(outcome.err, "dxrsh: " + file + ":2: usage: set REGISTER VALUE\n");
    ExpectRefuses("source " + file, file + ":2: usage: set REGISTER VALUE");
    ExpectRefuses("call 'x", "a ' is not closed");
    ExpectRefuses("what now", "there is no command 'what'; did you mean 'wait'?");
    for (const std::string name : {"load", "unload"}) {
        ExpectRefuses(name + " x", name + ": only in 'dxrsh shell'; this host has its module");
    }
    ExpectRefuses("get 0:0:8\n" + std::string(70000, 'x'), "the line has 65536 bytes or more");
    // Words arrive as they were typed, and commands of dxrsh are done here.
    ExpectShows("buffer it \"text:a'b\\\"c\\\\\\\\\\nd\te\"\nvalues it\ncrc " +
                    directory_.Write("digits", "123456789") + "\n",
                "it = 61276222 635c0a64 096500\n0xa2 9 " + directory_.Path("digits") + "\n");
    EXPECT_FALSE(Holds(Attach("help\n").out, "\n  load "));
    EXPECT_TRUE(Holds(Attach("help\n").out, "\n  set "));
    ExpectEndsWell(run);
}

TEST_F(DxrshAttach, RecordsCallsOfARunInBetween) {
    Beside run(Run());
    AwaitHost();
    const std::string file = directory_.Path("calls.dxrtrace");
    const Outcome outcome =
        Attach("trace on " + file + "\ncall DXR_WriteReg 0 1 64 5\ntrace off\ntrace " + file +
               "\nreport\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "  DXR_WriteReg(arg1=0, arg2=1, arg3=64, value=5) = 0  "))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out, "  DXR_DestroySll  ")) << "counted before: " << outcome.out;
    // The module's thread is the main one, not that of those who are attached.
    EXPECT_TRUE(Holds(RunDxrsh({"diff", file, file}).out, "\nother thread 1: the same, 1 call\n"));
    ExpectRefuses("trace off", "no trace is on");
    ExpectEndsWell(run);
    Beside recorded(Run({"--trace", file}));
    AwaitHost();
    ExpectRefuses("trace on " + file + "2", "the run records its calls itself");
    ExpectEndsWell(recorded);
}

// A file that runs is not written over, under no name of it.
TEST_F(DxrshAttach, RecordsIntoNoModule) {
    const std::string module = directory_.Path("module.so");
    std::filesystem::copy_file(DXRSH_WORKER, module);
    std::filesystem::create_symlink(module, directory_.Path("link"));
    const std::string before = directory_.Read("module.so");
    Words words = Run();
    words[words.size() - 2] = module;
    Beside run(words);
    AwaitHost();
    for (const std::string &name : {module, directory_.Path("link")}) {
        ExpectRefuses("trace on " + name, name + ": is a module or a library of the run");
    }
    EXPECT_TRUE(directory_.Read("module.so") == before);
    ExpectEndsWell(run);
    // Also where the name that it was loaded by means nothing any more.
    words[words.size() - 2] = std::filesystem::relative(module).string();
    words.push_back("chdir");
    Beside away(words);
    AwaitHost();
    ExpectRefuses("trace on " + module, module + ": is a module or a library of the run");
    EXPECT_TRUE(directory_.Read("module.so") == before);
    ExpectEndsWell(away);
}

// It ends with the run, and everybody who reads recordings reads it.
TEST_F(DxrshAttach, ARecordingThatNobodyEndsEndsWithTheRun) {
    Beside run(Run());
    AwaitHost();
    const std::string file = directory_.Path("calls.dxrtrace");
    EXPECT_EQ(Attach("trace on " + file + "\ncall DXR_GetLrId\n").status, 0);
    ExpectEndsWell(run);
    for (const std::string format : {"", "--json", "--chrome", "--counts"}) {
        Words words = {"trace", file};
        if (!format.empty()) {
            words.push_back(format);
        }
        const Outcome outcome = RunDxrsh(words);
        EXPECT_EQ(outcome.status, 0) << format;
        EXPECT_EQ(outcome.err, "") << format << ": it is whole";
        EXPECT_TRUE(Holds(outcome.out, "DXR_GetLrId")) << format << ": " << outcome.out;
    }
    EXPECT_EQ(RunDxrsh({"diff", file, file}).status, 0);
    // It does not begin where the module does.
    const Outcome replayed = RunDxrsh({"replay", file, DXRSH_WORKER, "linger"});
    EXPECT_EQ(replayed.status, 1);
    EXPECT_TRUE(Holds(replayed.out, "the call differs\n")) << replayed.out;
}

size_t DescriptorsOf(pid_t process) {
    const std::filesystem::directory_iterator files("/proc/" + std::to_string(process) + "/fd");
    return static_cast<size_t>(std::distance(files, std::filesystem::directory_iterator()));
}

TEST_F(DxrshAttach, HarmfulClientsHarmNobody) {
    Beside run(Run());
    AwaitHost();
    EXPECT_EQ(Attach("get 0:0:8\n").status, 0);
    const size_t descriptors = DescriptorsOf(run.Pid());
    {
        Line hangs(Control());
        Line halfALine(Control());
        EXPECT_TRUE(halfALine.Send("set 0:0:0x20 "));
        Line garbage(Control());
        EXPECT_TRUE(garbage.Send(std::string("\0\xff\x1b[2J\r\n\n", 9) + "get 0:0:8\n"));
        EXPECT_EQ(garbage.Await("0x8 = 0\nok\n"),
                  "dxrsh 1\nerror there is no command '\\x00\xff\\x1b[2J'; 'help' lists them\n"
                  "ok\n 0:0:0x8 = 0\nok\n");
        Line endless(Control());
        (void)endless.Send(std::string(100000, 'x'));
        EXPECT_EQ(endless.Await("bytes\n"), "dxrsh 1\nend a line has less than 65536 bytes\n");
        EXPECT_EQ(endless.Await("more"), "");
        // One who asks much and hears nothing.
        Line deaf(Control());
        std::string many;
        for (int i = 0; i < 20; ++i) {
            many += "registers 0:0:0 65536\n";
        }
        EXPECT_TRUE(deaf.Send(many));
        {
            Line gone(Control());
            EXPECT_TRUE(gone.Send("registers 0:0:0 65536\nset 0:0:0x24 1\n"));
        }
        EXPECT_EQ(Attach("get 0:0:8\n").out, "0:0:0x8 = 0\n");
        Line asksMuch(Control());
        std::string values = "buffer b @300\nvalues";
        for (int i = 0; i < 30000; ++i) {
            values += " b";
        }
        EXPECT_TRUE(asksMuch.Send(values + "\nget 0:0:8\n"));
        EXPECT_EQ(asksMuch.Await("0x8 = 0\n"),
                  "dxrsh 1\nok\nerror it prints more than 16777216 bytes\n 0:0:0x8 = 0\n");
    }
    for (int tries = 0; tries < kPatienceMs && DescriptorsOf(run.Pid()) != descriptors; ++tries) {
        Pause();
    }
    EXPECT_EQ(DescriptorsOf(run.Pid()), descriptors);
    ExpectEndsWell(run);
}

TEST_F(DxrshAttach, TakesEightAtATime) {
    Beside run(Run());
    AwaitHost();
    {
        std::vector<std::unique_ptr<Line>> some;
        for (int i = 0; i < 8; ++i) {
            some.push_back(std::make_unique<Line>(Control()));
            EXPECT_EQ(some.back()->Await("\n"), "dxrsh 1\n");
        }
        const Outcome ninth = Attach("get 0:0:8\n");
        EXPECT_EQ(ninth.status, 1);
        EXPECT_EQ(ninth.err, "dxrsh: standard input:1: 8 are attached already\n");
        EXPECT_TRUE(some[3]->Send("get 0:0:8\n"));
        EXPECT_EQ(some[3]->Await("ok\n"), " 0:0:0x8 = 0\nok\n");
    }
    ExpectEndsWell(run);
}

TEST_F(DxrshAttach, TellsOfTheEndOfTheHost) {
    Beside run(Run());
    AwaitHost();
    Beside script({"attach", Control()});
    script.Write("get 0:0:8\n");
    script.Await("0:0:0x8 = 0\n");
    Line line(Control());
    ExpectEndsWell(run);
    EXPECT_EQ(line.Await("ended\n"), "dxrsh 1\nend the host has ended\n");
    script.Write("get 0:0:8\nget 0:0:8\n");
    EXPECT_EQ(script.Status(), 1);
    EXPECT_EQ(script.Said(), "0:0:0x8 = 0\ndxrsh: standard input:2: the host has ended\n");
    ExpectFails({"attach", Control()}, 2, Control() + ": No such file or directory");
}

// The run does not wait for ever for a line that waits for something.
TEST_F(DxrshAttach, ALineThatWaitsEndsWithTheHost) {
    Beside run(Run());
    AwaitHost();
    Line line(Control());
    EXPECT_TRUE(line.Send("mailbox lpu:3\nset 0:0:0x20 1\nreceive lpu:3 4294967295\nget 0:0:8\n"));
    EXPECT_TRUE(Holds(line.Await("nothing"), "dxrsh 1\nok\nok\n"));
    EXPECT_EQ(run.Status(), 1) << "the mailbox is left behind";
    EXPECT_FALSE(IsThere(Control()));
}

TEST_F(DxrshAttach, NoEndOfTheModulesLeavesAFile) {
    for (const char *const end : {"exit", "quick_exit", "_exit", "_Exit", "pthread_exit"}) {
        Words words = Run();
        words.back() = end;
        const Outcome outcome = RunDxrsh(words);
        EXPECT_EQ(outcome.status, 1) << end;
        EXPECT_EQ(outcome.out, "the module has ended the program\n") << end;
        EXPECT_FALSE(IsThere(Control())) << end;
    }
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_CORE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &none), 0);
    for (const int signal : {SIGINT, SIGHUP, SIGQUIT, SIGABRT, SIGUSR1, SIGALRM, SIGXCPU, SIGRTMIN,
                             SIGRTMIN + 7, SIGRTMAX}) {
        Words words = Run();
        words.back() = "raise";
        words.push_back(std::to_string(signal));
        Beside run(words);
        EXPECT_EQ(run.Status(), signal == SIGINT ? 130 : 128 + signal) << run.Said();
        EXPECT_FALSE(IsThere(Control())) << signal;
    }
    // The sanitizers have handlers of their own, and end the program past all others.
    if (!DXRTEST_MEMORY_IS_SHADOWED) {
        Words words = Run();
        words.back() = "overflow";
        EXPECT_EQ(Beside(words).Status(), 128 + SIGSEGV);
        EXPECT_FALSE(IsThere(Control())) << "the handler finds no stack";
    }
    ASSERT_EQ(setrlimit(RLIMIT_CORE, &before), 0);
}

TEST_F(DxrshAttach, TellsWhatItWaitsFor) {
    const std::string told =
        Control() + ": waiting for its host, which is stopped or busy with a line\n";
    Beside run(Run());
    AwaitHost();
    (void)kill(run.Pid(), SIGSTOP);
    {
        Beside attached({"attach", Control()});
        attached.Await(told);
        (void)kill(run.Pid(), SIGCONT);
        attached.Write("get 0:0:8\nquit\n");
        EXPECT_EQ(attached.Status(), 0);
        EXPECT_EQ(attached.Said(), told + "0:0:0x8 = 0\n");
    }
    (void)kill(run.Pid(), SIGSTOP);
    Beside attached({"attach", Control()});
    attached.Await(told);
    (void)kill(run.Pid(), SIGKILL);
    EXPECT_EQ(run.Status(), 128 + SIGKILL);
    EXPECT_EQ(attached.Status(), 2);
    EXPECT_EQ(attached.Said(), told + "dxrsh: " + Control() + ": its host has ended\n");
}

TEST_F(DxrshAttach, ListensWhereNobodyElseDoes) {
    {
        Beside first(Run());
        AwaitHost();
        ExpectFails(Run(), 2, Control() + ": another program listens there");
        EXPECT_EQ(Attach("get 0:0:8\n").status, 0);
        (void)kill(first.Pid(), SIGKILL);
        EXPECT_EQ(first.Status(), 128 + SIGKILL);
    }
    EXPECT_TRUE(IsThere(Control())) << "nobody could remove it";
    ExpectFails({"attach", Control()}, 2, Control() + ": no host listens there any more");
    {
        Beside second(Run());
        AwaitHost();
        (void)kill(second.Pid(), SIGTERM);
        EXPECT_EQ(second.Status(), 128 + SIGTERM);
        EXPECT_FALSE(IsThere(Control()));
    }

    const std::string file = directory_.Write("control", "kept");
    ExpectFails(Run(), 2, file + ": is there already, and no socket");
    EXPECT_EQ(directory_.Read("control"), "kept");
    ExpectFails({"attach", file}, 2, file + ": is no socket of a host");
    const std::string deep = directory_.Path(std::string(120, 'x'));
    ExpectFails({"attach", deep}, 2, deep + ": the path is too long for a socket");
    ExpectFails({"run", "--control", deep, "--clock", "virtual", DXRSH_WORKER}, 2,
                "--control: not with the virtual clock, whose runs repeat");
    ExpectFails({"run", "--control", "/nowhere/x", DXRSH_WORKER}, 2,
                "/nowhere/x: No such file or directory");
}

#ifdef DXRSH_LIBEDIT

TEST_F(DxrshAttach, IsAShellOnATerminal) {
    Beside run(Run());
    AwaitHost();
    dxrtest::Terminal terminal(directory_.Path("state"), {"attach", Control()});
    terminal.Do("get 0:0:8", "0:0:0x8 = 0");
    terminal.Do("nonsense", "dxrsh: there is no command 'nonsense'");
    terminal.Do("call DXR_GetLrI\t", "DXR_GetLrId = ");
    terminal.Do("values res\t", "result = ");
    terminal.Type("loa\t");
    terminal.Type("\x03");
    terminal.Await("^C");
    terminal.Await("dxr> ");
    {
        dxrtest::Terminal other(directory_.Path("state"), {"attach", Control()});
        other.Do("\x10", "result = ");  // what was typed is remembered
        other.Type("quit\r");
        EXPECT_EQ(other.Status(), 0);
    }
    ExpectEndsWell(run);
    terminal.Await("dxrsh: the host has ended");
    EXPECT_EQ(terminal.Status(), 1);
}

#endif

}  // namespace

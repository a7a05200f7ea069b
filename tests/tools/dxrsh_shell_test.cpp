// dxrsh shell as a user has it: lines of files, and lines typed on a terminal.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <csignal>
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
using dxrtest::Outcome;
using dxrtest::RunDxrsh;
using dxrtest::TemporaryDirectory;
using dxrtest::Words;

Outcome Shell(const std::string &lines, const Words &options = {}) {
    Words words = {"shell"};
    words.insert(words.end(), options.begin(), options.end());
    words.emplace_back("-");
    return RunDxrsh(words, lines);
}

void ExpectShows(const std::string &lines, const std::string &expected, const Words &options = {}) {
    const Outcome outcome = Shell(lines, options);
    EXPECT_EQ(outcome.status, 0) << lines;
    EXPECT_EQ(outcome.out, expected) << lines;
    EXPECT_EQ(outcome.err, "") << lines;
}

// The last line is wrong.
void ExpectRefuses(const std::string &lines, const std::string &reason) {
    const Outcome outcome = Shell(lines);
    const auto count = std::to_string(1 + std::count(lines.begin(), lines.end(), '\n'));
    EXPECT_EQ(outcome.status, 1) << lines;
    EXPECT_EQ(outcome.err, "dxrsh: standard input:" + count + ": " + reason + "\n") << lines;
}

// --- Files of lines

TEST(DxrshShell, DoesLineAfterLine) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("lines",
                                             "\xef\xbb\xbf# a remark\n"
                                             "\n"
                                             "call DXR_WriteReg 0 1 0x40 0xC0FFEE # another\r\n"
                                             "  get 0:1:64");
    dxrtest::ExpectPrints({"shell", file}, "DXR_WriteReg = 0\n0:1:0x40 = 12648430 (0xc0ffee)\n");
    dxrtest::ExpectPrints({"shell", "-"}, "0:1:0x40 = 0\n", "get 0:1:0x40\nquit\nget x\n");
    dxrtest::ExpectPrints({"shell"}, "0:1:0x40 = 0\n", "get 0:1:0x40\nexit\nget x\n");
    dxrtest::ExpectPrints(
        {"shell", "-"},
        "DXR_WriteReg = 0\n0:1:0x40 = 12648430 (0xc0ffee)\n0:1:0x44 = 0\n0:1:0x40 = 0\n",
        "source " + file +
            "\nget 0:1:0x44\n"
            "set 0:1:0x40 0\nget 0:1:0x40\n");
}

TEST(DxrshShell, EndsWithTheFirstLineThatIsWrong) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("lines", "get 0:1:4\nwhat now\nget 0:1:4\n");
    const Outcome outcome = RunDxrsh({"shell", file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "0:1:0x4 = 0\n");
    EXPECT_EQ(outcome.err,
              "dxrsh: " + file + ":2: there is no command 'what'; did you mean 'wait'?\n");
    const std::string outer = directory.Write("outer", "get 0:1:4\nsource " + file + "\n");
    EXPECT_EQ(RunDxrsh({"shell", outer}).err,
              "dxrsh: " + outer + ":2: " + file +
                  ":2: there is no command 'what'; did you mean 'wait'?\n");
    const std::string itself = directory.Path("itself");
    directory.Write("itself", "source " + itself + "\n");
    EXPECT_EQ(RunDxrsh({"shell", itself}).err,
              "dxrsh: " + itself + ": more than 16 files name each other\n");
    ExpectFails({"shell", directory.Path("none")}, 1,
                "cannot open " + directory.Path("none") + ": No such file or directory");
    ExpectRefuses("call 'DXR_ReadReg", "a ' is not closed");
    ExpectRefuses("source", "usage: source FILE");
    ExpectRefuses("shell", "there is no command 'shell'; did you mean 'help'?");
}

// Within the test's own limit of memory, which its programs inherit.
TEST(DxrshShell, SaysWhichLineHadTooLittleMemory) {
    if (DXRTEST_MEMORY_IS_SHADOWED) {
        GTEST_SKIP() << "the sanitizer's own memory is beyond every limit";
    }
    const TemporaryDirectory directory;
    std::string lines = "get 0:1:4\n";
    for (const char *const name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
        lines += std::string("buffer ") + name + " zero:67108864\n";
    }
    const std::string file = directory.Write("lines", lines + "get 0:1:4\n");
    const std::string outer = directory.Write("outer", "get 0:1:8\nsource " + file + "\n");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    const rlimit narrow = {rlim_t{512} << 20U, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_AS, &narrow), 0);
    const Outcome outcome = RunDxrsh({"shell", outer});
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "0:1:0x8 = 0\n0:1:0x4 = 0\n");
    const std::string where = "dxrsh: " + outer + ":2: " + file + ":";
    EXPECT_EQ(outcome.err.compare(0, where.size(), where), 0) << outcome.err;
    const std::string why = outcome.err.substr(std::min(where.size() + 1, outcome.err.size()));
    EXPECT_EQ(why, ": not enough memory\n") << outcome.err;
}

TEST(DxrshShell, TakesTheOptionsOfARun) {
    const TemporaryDirectory directory;
    const std::string board = directory.Write(
        "board.json", R"({"registers": [{"unit": 0, "chip": 0, "address": 16, "value": 100}]})");
    ExpectShows("get 0:0:16\n", "0:0:0x10 = 100 (0x64)\n", {"--board", board});
    ExpectShows("wait 100000000\ncall DXR_GetStartupTimeSec\n",
                "DXR_GetStartupTimeSec = 100000 (0x186a0)\n",
                {"--clock", "virtual", "--seed", "3"});
    ExpectFails({"shell", "--clock", "slow", "-"}, 2, "--clock: 'slow' is none of real, virtual");
    ExpectFails({"shell", "--board", "missing", "-"}, 2, "missing: No such file or directory");
}

// All its bits reach the host.
TEST(DxrshShell, ASeedHasItsOwnChance) {
    std::string lines;
    for (int i = 0; i < 16; ++i) {
        lines += "fail device.register.flip\ncall DXR_ReadReg 0 1 64\n";
    }
    const auto flips = [&lines](const char *seed) {
        const Outcome outcome = Shell(lines, {"--seed", seed});
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_FALSE(Holds(outcome.out, "value = 0\n")) << "no bit is flipped: " << outcome.out;
        return outcome.out;
    };
    EXPECT_EQ(flips("1"), flips("1"));
    EXPECT_NE(flips("1"), flips("2"));
    EXPECT_NE(flips("1"), flips("4294967297"));
    EXPECT_NE(flips("1"), flips("0x8000000000000001"));
}

// The commands of dxrsh, with their own options and hosts.
TEST(DxrshShell, DoesTheCommandsOfDxrsh) {
    const TemporaryDirectory directory;
    const std::string file = directory.Write("digits", "123456789");
    ExpectShows(
        "crc " + file + "\nlinks 2 40 0\nget 0:0:0\n",
        "0xa2 9 " + file + "\n" + RunDxrsh({"links", "2", "40", "0"}).out + "0:0:0x0 = 0\n");
    const Outcome outcome = Shell("get 0:0:0\ncrc " + directory.Path("none") + "\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "dxrsh: standard input:2: crc: cannot open " + directory.Path("none") +
                               ": No such file or directory\n");
    ExpectRefuses("filter --histgram",
                  "filter: there is no option '--histgram'; did you mean '--histogram'?");
    // What tells more than one thing does so, and the line follows.
    EXPECT_EQ(Shell("crc /none /none\n").err,
              "dxrsh: cannot open /none: No such file or directory\n"
              "dxrsh: cannot open /none: No such file or directory\n"
              "dxrsh: standard input:1: 'crc' ended with 1\n");
    EXPECT_TRUE(Holds(Shell("slots --group Memory\n").out, "2 slots, 2 filled, 0 empty\n"));
}

TEST(DxrshShell, KnowsWhatWasMeant) {
    ExpectRefuses("cal DXR_GetLrId", "there is no command 'cal'; did you mean 'call'?");
    ExpectRefuses("filtr x", "there is no command 'filtr'; did you mean 'filter'?");
    ExpectRefuses("qit", "there is no command 'qit'; did you mean 'quit'?");
    ExpectRefuses("xyzzyxyzzy", "there is no command 'xyzzyxyzzy'; 'help' lists them");
    ExpectRefuses("call DXR_ReadRg 0 1 4",
                  "there is no slot 'DXR_ReadRg'; did you mean 'DXR_ReadReg'?");
    ExpectRefuses("call Dev.readRg", "there is no slot 'Dev.readRg'; did you mean 'Dev.readReg'?");
    ExpectRefuses("call DXR_Xyzzyxyzzyx", "there is no slot 'DXR_Xyzzyxyzzyx'; 'slots' lists them");
    ExpectRefuses("help DXR_ReadRg",
                  "there is no command or slot 'DXR_ReadRg'; did you mean 'DXR_ReadReg'?");
    ExpectRefuses("fail memory.alocate",
                  "there is no point 'memory.alocate'; did you mean 'memory.allocate'?");
    ExpectRefuses("fail xyzzyxyzzy", "there is no point 'xyzzyxyzzy'; 'help fail' lists them");
}

TEST(DxrshShell, RefusesEmptyNames) {
    ExpectRefuses("call \"\"", "there is no slot ''; 'slots' lists them");
    ExpectRefuses("help ''", "there is no command or slot ''; 'help' lists the commands");
    ExpectRefuses("''", "there is no command ''; 'help' lists them");
    ExpectRefuses("fail ''", "there is no point ''; 'help fail' lists them");
    ExpectRefuses("source ''", "FILE: must not be empty");
    ExpectRefuses("trace on ''", "FILE: must not be empty");
    ExpectRefuses("load ''", "MODULE: must not be empty");
    ExpectRefuses("buffer '' @4", "NAME: must not be empty");
}

TEST(DxrshShell, HelpTellsOfCommandsAndSlots) {
    const std::string all = Shell("help\n").out;
    for (const char *const part :
         {"\n  call        calls a slot by its function", "\n  quit ", "\n  crc ", "\n  run "}) {
        EXPECT_TRUE(Holds(all, part)) << part << all;
    }
    ExpectShows("help set\nhelp source\n",
                "set REGISTER VALUE\nsets one in the same way, read-only bits too\n"
                "source FILE\ndoes the lines of a file\n");
    ExpectShows("help crc\n", RunDxrsh({"crc", "--help"}).out);
    ExpectShows("help DXR_GetEnv\n",
                "call DXR_GetEnv name [value] size\n"
                "Reads a variable of the environment block.\n"
                "  name         read: a text\n"
                "  value        written: size bytes; may be left out\n"
                "  size         32 bits\n");
    EXPECT_TRUE(Holds(Shell("help trace\n").out, "trace on FILE, trace off\n"));
    EXPECT_TRUE(Holds(Shell("help DXR_CreateTask\n").out, "a function: null alone can be given"));
    EXPECT_TRUE(Holds(Shell("help DXR_SendMsg\n").out,
                      "  msg+48       read: as many bytes as the u32 at msg+56 says\n"));
    EXPECT_TRUE(Holds(Shell("help Alarm.reserved2\n").out, "a reserved slot"));
    ExpectRefuses("help nothing",
                  "there is no command or slot 'nothing'; 'help' lists the commands");
}

// --- Calls

TEST(DxrshShell, CallsWithNumbersAndShowsResultsByName) {
    ExpectShows(
        "call DXR_WriteReg 0 1 64 12648430\n"
        "call DXR_ReadReg 0 1 64\n"
        "expect value 0xc0ffee\n"
        "expect result 0\n"
        "call Dev.readReg 0 1 64 @8\n"
        "call DXR_ReadReg 0 1 64 _\n"
        "hook DXR_ReadReg 0 1 64\n",
        "DXR_WriteReg = 0\n"
        "DXR_ReadReg = 0\n  value = 12648430 (0xc0ffee)\n"
        "DXR_ReadReg = 0\n  value = 12648430 (0xc0ffee)\n"
        "DXR_ReadReg = 0\n  value = 12648430 (0xc0ffee)\n"
        "hook Dev.readReg = 0\n  value = 12648430 (0xc0ffee)\n");
    ExpectRefuses("call DXR_ReadReg 0 1",
                  "DXR_ReadReg: 3 arguments are needed, 2 given; 'help DXR_ReadReg' tells");
    ExpectRefuses("call DXR_ReadReg 0 1 2 @4 5",
                  "DXR_ReadReg: 3 arguments are needed, 5 given; 'help DXR_ReadReg' tells");
    ExpectRefuses("call DXR_ReadReg 0 1 x", "address: 'x' is no whole number from 0 to 4294967295");
    ExpectRefuses("call DXR_ReadReg 0 1 -4",
                  "address: '-4' is no whole number from 0 to 4294967295");
    ExpectRefuses("call DXR_ReadReg 0 1 0x100000000",
                  "address: 0x100000000 does not fit in 32 bits");
    ExpectRefuses("call DXR_GetQueueDropStat 0 0 0 256 @32", "mode: 256 does not fit in 8 bits");
    ExpectRefuses("call DXR_GetCstPoolCount 0 65536 0", "pool: 65536 does not fit in 16 bits");
    ExpectRefuses("call DXR_ReadReg _ 1 2", "unit: a number is needed");
    ExpectRefuses("call DXR_Nothing", "there is no slot 'DXR_Nothing'; 'slots' lists them");
    ExpectRefuses("call", "usage: call SLOT [ARGUMENTS]");
    ExpectRefuses("hook", "usage: hook SLOT [ARGUMENTS]");
}

TEST(DxrshShell, CallsWithTextsAndBytes) {
    ExpectShows(
        "call DXR_SetEnv speed hex:3130304700 5\n"
        "call DXR_GetEnv speed 5\n"
        "call DXR_SetEnv 'a name, (odd)' 'text:5\\,6' _\n"
        "call DXR_GetEnv \"a name, (odd)\" @4 4\n"
        "call DXR_GetTriggerStr 1\n"
        "expect result interrupt\n"
        "call DXR_GetTriggerStr 99\n",
        "DXR_SetEnv = 0\n"
        "DXR_GetEnv = 0\n  value = 31303047 00\n"
        "DXR_SetEnv = 0\n"
        "DXR_GetEnv = 0\n  value = 3550261 (0x362c35)\n"
        "DXR_GetTriggerStr = \"interrupt\"\n"
        "DXR_GetTriggerStr = \"invalid\"\n");
    ExpectRefuses("call DXR_GetEnv speed @4 5", "value: 4 bytes are given where 5 are written");
    ExpectRefuses("call DXR_SetEnv speed hex:00 5", "value: 1 bytes are given where 5 are read");
    ExpectRefuses("call DXR_SetEnv speed hex:0 1", "value: '0' are no pairs of hexadecimal digits");
    ExpectRefuses("call DXR_SetEnv speed u8:256 1",
                  "value: '256' is no whole number from 0 to 255");
    ExpectRefuses(
        "call DXR_SetEnv speed hex:00,what 1",
        "value: 'what' is none of @BYTES, zero:BYTES, hex:, text:, u8:, u16:, u32:, u64:, "
        "ptr()");
    ExpectRefuses("call DXR_SetEnv speed 12 1",
                  "value: '12' is no memory (@BYTES, hex:, text:, u32:, ...), nor $NAME, nor null");
    ExpectRefuses("call DXR_GetEnv speed 0xFFFFFFFF",
                  "value: 4294967295 bytes; at most 67108864 can be given");
}

// Handles come back as they went out.
TEST(DxrshShell, KeepsResultsByName) {
    const TemporaryDirectory directory;
    directory.Write("data", "0123456789");
    ExpectShows(
        "call DXR_InitMutex null\n"
        "keep lock mutex\n"
        "call DXR_LockMutex $lock\n"
        "call DXR_UnlockMutex $lock\n"
        "call DXR_DestroyMutex $lock\n",
        Shell("call DXR_InitMutex null\n").out +
            "DXR_LockMutex = 0\nDXR_UnlockMutex = 0\nDXR_DestroyMutex = 0\n");
    const Outcome file = Shell("call DXR_FOpen " + directory.Path("data") +
                                   " rb\n"
                                   "keep file\n"
                                   "call DXR_FRead 1 4 $file\n"
                                   "expect result 4\n"
                                   "expect buffer 0x33323130\n"
                                   "call DXR_FRead 1 100 $file\n"
                                   "expect result 6\n"
                                   "call DXR_FClose $file\n",
                               {"--allow-outside"});
    EXPECT_EQ(file.status, 0) << file.err;
    EXPECT_TRUE(Holds(file.out, " = 34353637 3839\n")) << file.out;
    ExpectRefuses("keep it", "there is no 'result'; 'values' lists what there is");
    ExpectRefuses("call DXR_LockMutex $lock", "there is no 'lock'; 'values' lists what there is");
    ExpectRefuses("call DXR_GetTriggerStr 1\ncall DXR_LockMutex $result",
                  "mutex: $result is a text");
    ExpectRefuses("call DXR_GetLrId\nexpect result 1", "result: expected 1, got 0");
    ExpectRefuses("call DXR_GetTriggerStr 1\nexpect result poll",
                  "result: expected \"poll\", got \"interrupt\"");
    ExpectShows("buffer it u32:5,u16:6\nvalues it\nvalues\n",
                "it = 05000000 0600\nit = 05000000 0600\n");
}

// Records are built of their fields; what stands in them may be memory, too.
TEST(DxrshShell, CallsWithRecords) {
    const Outcome outcome = Shell(
        "mailbox lpu:3\n"
        "call DXR_SendMsg u32:64,u32:18,u64:0,u32:2,u32:3,zero:24,ptr(hex:0102),u32:2,u32:0\n"
        "receive lpu:3\n"
        "mailbox lpu:3 close\n"
        "call DXR_DynamicCreateTable 7\n"
        "call DXR_SetChipTblmData 3 u32:7,ptr(hex:ff),u32:1,ptr(text:one),u32:4,u32:1,zero:16\n"
        "call DXR_GetTblmAttr 7 @32\n"
        "call DXR_ReleaseTblm 7 0\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    for (const char *const part :
         {"DXR_SendMsg = 0\n  msg = 40000000 12000000 00000000 00000000 02000000 03000000 00000000 "
          "00000000 01000000 ",
          "\nmessage 1, kind 18, code 0: 0102\n", "\nDXR_SetChipTblmData = 0\n",
          "\n  record = 20000000 07000000 00000000 00000000 00000000 00000000 00000000 "
          "01000000\n"}) {
        EXPECT_TRUE(Holds(outcome.out, part)) << part << outcome.out;
    }
    ExpectRefuses("call DXR_SetChipTblmData 3 u32:7,ptr(hex:ff),u32:2,ptr(text:one),u32:4,zero:20",
                  "request+4: 1 bytes are given where 2 are read");
}

// Numbers that are kept may stand where memory is wanted: those are addresses, or none.
TEST(DxrshShell, RefusesAddressesOfNoMemory) {
    const std::string number = "set 0:1:0x40 0x1000\nget 0:1:0x40\n";
    ExpectRefuses(number + "call DXR_ReadReg 0 1 0x40 $result",
                  "value: at 0x1000 are no 4 bytes that can be written");
    ExpectRefuses(number + "call DXR_SetEnv $result hex:01 1",
                  "name: at 0x1000 are no 1 bytes that can be read");
    ExpectRefuses(number + "call DXR_SendMsg $result",
                  "msg: at 0x1000 are no 4 bytes that can be written");
    ExpectRefuses(number + "call DXR_SendMsg u32:64,zero:44,ptr($result),u32:1,u32:0",
                  "msg+48: at 0x1000 are no 1 bytes that can be read");
    ExpectRefuses(number + "hook Print.print 6 $result", "format: $result is no text");
    // Memory of the host's.
    const std::string memory = "call DXR_Malloc 5 64 here 1\nkeep mine\n";
    const Outcome outcome = Shell(memory +
                                  "call DXR_SetEnv speed text:100G 5\n"
                                  "call DXR_GetEnv speed $mine 64\n"
                                  "call DXR_SetEnv $mine hex:01 1\n"
                                  "call DXR_GetEnv 100G @1 1\n"
                                  "call DXR_Free $mine here 1\n");
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "  value = 1\n")) << outcome.out;
}

TEST(DxrshShell, TakesSoMuchMemoryAtATime) {
    std::string zeros = "zero:67108864";
    for (int i = 0; i < 64; ++i) {
        zeros += ",zero:67108864";
    }
    ExpectRefuses("buffer much " + zeros, "much: 134217728 bytes; at most 67108864 can be given");
    std::string deep(5000 * 4, 'p');
    for (size_t i = 0; i < deep.size(); i += 4) {
        deep.replace(i, 4, "ptr(");
    }
    const Outcome outcome = Shell("buffer deep " + deep);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(Holds(outcome.err, ": a ptr( stands in more than 16 others\n")) << outcome.err;
}

TEST(DxrshShell, RefusesFunctionsInOneLine) {
    ExpectRefuses(
        "call DXR_CreateTask name 5 null 1 @8 0",
        "DXR_CreateTask: 'entry' is a function of the caller's, which a line cannot give; "
        "null is none");
    ExpectRefuses(
        "call DXR_StartTimer u32:40,u32:1,u32:0,u32:0,u64:4096,u64:0,u64:0",
        "DXR_StartTimer: at timer+16 stands a function of the caller's, which a line cannot "
        "give");
    ExpectRefuses("call DXR_HashCreate u32:40,zero:12,u64:4096,zero:16",
                  "DXR_HashCreate: at options+16 stands a function of the caller's, which a line "
                  "cannot give");
    ExpectRefuses("call Alarm.reserved2",
                  "Alarm.reserved2: a reserved slot has no type and is not called");
    ExpectRefuses("call DXR_SendMsg u32:64,zero:44,u64:4096,u32:1,u32:0",
                  "msg+48: a pointer is given by ptr(...) or $NAME");
}

TEST(DxrshShell, SaysHowTheCallWent) {
    ExpectShows("call DXR_InitSafeIo\n",
                "DXR_InitSafeIo, the fallback: the host leaves the slot empty\n");
    ExpectRefuses("hook DXR_InitSafeIo", "DXR_InitSafeIo: the host leaves the slot empty");
    const Outcome print = Shell("call Print.print 1 'port 3, (up) 100%d'\n");
    EXPECT_EQ(print.out, "hook Print.print\n");
    EXPECT_EQ(print.err, "dxr [1] port 3, (up) 100%d\n");
    // What breaks a contract of the host is said at once.
    const Outcome misuse = Shell("call DXR_UnlockMutex 5\n");
    EXPECT_EQ(misuse.status, 0);
    EXPECT_TRUE(Holds(misuse.err, "host: misuse, ")) << misuse.err;
}

// --- The device, tables, messages

TEST(DxrshShell, SetsRegistersPastMasksAndCounts) {
    ExpectShows(
        "set 0:1:0x40 7\n"
        "call DXR_ReadReg 0 1 64\n"
        "registers 0:1:0x3c 2\n"
        "set i2c:0:0x50:3 0xAB\n"
        "get i2c:0:0x50:3\n"
        "set mdio:0:0:1:3:2 65535\n"
        "get mdio:0:0:1:3:2\n",
        "DXR_ReadReg = 0\n  value = 7\n"
        "0:1:0x3c             0x00000000  read 0, written 0\n"
        "0:1:0x40             0x00000007  read 1, written 0\n"
        "i2c:0:0x50:0x3 = 171 (0xab)\n"
        "mdio:0:0:1:3:0x2 = 65535 (0xffff)\n");
    ExpectRefuses("set i2c:0:0x50:3 256", "i2c:0:0x50:0x3: '256' is no whole number from 0 to 255");
    ExpectRefuses("get pcie:0:0", "there is no pcie:0:0x0");
    ExpectRefuses("get 0:1",
                  "'0:1' is none of UNIT:CHIP:ADDRESS, i2c:BUS:DEVICE:OFFSET, "
                  "mdio:UNIT:BUS:PHY:DEVICE:REGISTER, pcie:DEVICE:OFFSET or bar:DEVICE:BAR:OFFSET");
    ExpectRefuses("set 0:1:0", "usage: set REGISTER VALUE");
}

TEST(DxrshShell, ShowsTables) {
    ExpectShows(
        "tables\n"
        "call DXR_DynamicCreateTable 7\n"
        "entry 0 7 hex:00000001 text:one\n"
        "entry 3 7 hex:ff hex:0102\n"
        "tables\n"
        "tables 7\n"
        "call DXR_ReleaseTblm 7 0\n",
        "there are no tables\n"
        "DXR_DynamicCreateTable = 0\n"
        "     table  key bytes  data bytes  capacity   pool  entries\n"
        "         7        any         any       any      0        2\n"
        " chip  key and data\n"
        "    0  00000001: 6f6e6500\n"
        "    3  ff: 0102\n"
        "DXR_ReleaseTblm\n");
    ExpectRefuses("tables 5", "there is no table 5");
}

TEST(DxrshShell, SendsAndDropsMessages) {
    ExpectShows(
        "mailbox lpu:3\n"
        "send lpu:3 18 text:hello from=mpu:0 code=5\n"
        "drop 18 1\n"
        "send lpu:3 18\n"
        "drop lpu:3 19 1\n"
        "send lpu:3 19\n"
        "send lpu:3 19 hex:01\n"
        "mailboxes\n"
        "receive lpu:3\n"
        "receive lpu:3\n"
        "mailbox lpu:3 close\n",
        "sent message 1\nsent message 2\nsent message 3\nsent message 4\n"
        "lpu:3    2 of 1024 messages\n"
        "sent 4, arrived 2, taken 0, lost 2, refused 0\n"
        "message 1, kind 18, code 5, from mpu:0: 68656c6c6f00\n"
        "message 4, kind 19, code 0: 01\n");
    EXPECT_EQ(Shell("drop\n").out, "no messages are dropped\n");
    const Outcome drops =
        Shell("drop 18 3\ndrop lpu:3 19 4\ndrop lpu:3 20 5\ndrop lpu:4 20 6\ndrop\n");
    for (const char *const part :
         {"kind 18[ 18]", "msgType[19], lostCnt[4], name[kind 19]", "msgType[20], lostCnt[5]",
          "msgType[4], lostCnt[0], name[lpu:4]", "msgType[20], lostCnt[6]"}) {
        EXPECT_TRUE(Holds(drops.out, part)) << part << "\n" << drops.out;
    }
    ExpectRefuses("send lpu:3 18", "lpu:3 has no mailbox");
    ExpectRefuses("send moon:3 18",
                  "'moon:3' is no unit, such as mpu:0, lpu:3, sfu:1, devm:0, np:2");
    ExpectRefuses("send lpu:3 18 what",
                  "usage: send UNIT KIND [MEMORY] [from=UNIT] [code=N] [ack=MILLISECONDS]");
    ExpectRefuses("receive lpu:3", "lpu:3 has no mailbox");
}

TEST(DxrshShell, LetsStepsFail) {
    const Outcome outcome = Shell(
        "fail memory.allocate 2\n"
        "call DXR_Malloc 7 100 file 1\n"
        "keep block\n"
        "call DXR_Malloc 7 100 file 2\n"
        "expect result null\n"
        "memory\n"
        "call DXR_Free $block file 3\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(Holds(outcome.out,
                      "\nDXR_Malloc = null\n"
                      "module 7: 1 blocks, 100 bytes live; at most 100 bytes, 1 blocks in all\n"
                      "  1 blocks, 100 bytes from file:1\n"
                      "DXR_Free\n"))
        << outcome.out;
}

// --- Modules, traces, reports

TEST(DxrshShell, RunsAModuleOnTheSameHost) {
    const Outcome outcome = Shell(
        "set 0:0:0x10 100\n"
        "load " DXRSH_WORKER
        "\n"
        "registers 0:0:0x10 1\n"
        "report\n"
        "unload\n",
        {"--clock", "virtual"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    for (const char *const part :
         {"sum 106, ticks 3\n", "module dxrsh_worker.so returned 0; it is at work until 'unload'\n",
          "0:0:0x10             0x00000064  read 1, written 0\n", "slots used: ",
          "empty slots asked: 1 calls\n  DXR_InitSafeIo                                   1\n",
          "log lines: 1 let through, 3 suppressed\n", "records: 3\n", "reports: 0\n"}) {
        EXPECT_TRUE(Holds(outcome.out, part)) << part << outcome.out;
    }
    const std::string load = "load " DXRSH_WORKER "\n";
    const Outcome twice = Shell(load + "unload\n" + load, {"--clock", "virtual"});
    EXPECT_TRUE(Holds(twice.err, ":3: dxrsh_worker.so: a module begins once in a session\n"))
        << twice.err;
    EXPECT_TRUE(Holds(Shell("load " DXRSH_WORKER " fail\n").err,
                      ":1: module dxrsh_worker.so returned 3\n"));
    ExpectRefuses("unload", "no module is at work");
    EXPECT_EQ(Shell("load " + std::string("/nowhere/none.so")).status, 1);
}

TEST(DxrshShell, AModuleThatEndsTheProgramEndsTheLines) {
    for (const std::string end : {"exit", "quick_exit", "_exit", "_Exit", "pthread_exit"}) {
        const Outcome outcome = Shell("load " DXRSH_WORKER " " + end + "\nget 0:1:0x40\n");
        EXPECT_EQ(outcome.status, 1) << end;
        EXPECT_EQ(outcome.out, "the module has ended the program\n") << end;
    }
}

TEST(DxrshShell, LinesOfAModuleAreSafeForATerminal) {
    const Outcome outcome = Shell("load " DXRSH_WORKER " red\n", {"--clock", "virtual"});
    EXPECT_TRUE(Holds(outcome.out, "\n\\x1b[31mred\n")) << outcome.out;
    EXPECT_FALSE(Holds(outcome.out, "\x1b")) << outcome.out;
}

TEST(DxrshShell, RecordsCallsBetweenTwoLines) {
    const TemporaryDirectory directory;
    const std::string file = directory.Path("calls.dxrtrace");
    const Outcome outcome = Shell("call DXR_GetLrId\ntrace on " + file +
                                  "\n"
                                  "call DXR_WriteReg 0 1 64 5\n"
                                  "call DXR_InitSafeIo\n"
                                  "trace off\n"
                                  "call DXR_GetLrId\n"
                                  "trace " +
                                  file + "\nreport\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_TRUE(Holds(outcome.out, "  DXR_WriteReg(arg1=0, arg2=1, arg3=64, value=5) = 0  "))
        << outcome.out;
    EXPECT_TRUE(Holds(outcome.out,
                      "slots used: 2, 3 calls\n"
                      "  DXR_WriteReg                                     1\n"
                      "  DXR_GetLrId                                      2\n"))
        << outcome.out;
    EXPECT_EQ(dxrtest::SplitLines(RunDxrsh({"trace", file}).out).size(), 1U);
    ExpectRefuses("trace off", "no trace is on");
    ExpectRefuses("trace on /nowhere/calls", "/nowhere/calls: No such file or directory");
}

// What is left behind is told at the end, and changes nothing.
TEST(DxrshShell, TellsWhatIsLeftBehind) {
    const Outcome outcome = Shell("call DXR_Malloc 7 100 file 1\n");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(Holds(outcome.err, "host: memory: left behind: 100 bytes of module 7 from file:1"))
        << outcome.err;
}

// --- On a terminal

#ifdef DXRSH_LIBEDIT

using dxrtest::Terminal;

TEST(DxrshTerminal, DoesLinesUntilItIsLeft) {
    const TemporaryDirectory directory;
    Terminal terminal(directory.Path("state"));
    terminal.Do("get 0:1:4", "0:1:0x4 = 0");
    // What is wrong with a line ends neither the shell nor its host.
    terminal.Do("set 0:1:4 7", "set 0:1:4 7");
    terminal.Do("nonsense", "dxrsh: there is no command 'nonsense'");
    terminal.Do("crc /nowhere/x", "dxrsh: crc: cannot open /nowhere/x");
    terminal.Do("get 0:1:4", "0:1:0x4 = 7");
    terminal.Type("\x04");
    EXPECT_EQ(terminal.Status(), 0);

    Terminal again(directory.Path("state"), {"shell", "--clock", "virtual"});
    again.Type("quit\r");
    EXPECT_EQ(again.Status(), 0);
}

TEST(DxrshTerminal, InterruptsDropTheLine) {
    const TemporaryDirectory directory;
    Terminal terminal(directory.Path("state"));
    terminal.Type("set 0:1:4 7");
    terminal.Await("set 0:1:4 7");
    terminal.Type("\x03");
    terminal.Await("^C");
    terminal.Await("dxr> ");
    terminal.Do("get 0:1:4", "0:1:0x4 = 0");
    terminal.Type("\x04");
    EXPECT_EQ(terminal.Status(), 0);
}

// With an interrupt the terminal forgets what was typed, also what the shell is just about to read.
TEST(DxrshTerminal, AnInterruptMayTakeAwayWhatWasTyped) {
    const TemporaryDirectory directory;
    Terminal terminal(directory.Path("state"));
    for (int round = 0; round < 5000 && !HasFailure(); ++round) {
        terminal.Type("abc");
        for (int wait = round % 100 * 200; wait > 0; --wait) {
            std::atomic_signal_fence(std::memory_order_seq_cst);
        }
        terminal.Type("\x03");
        terminal.Await("^C");
        terminal.Await("dxr> ");
    }
    terminal.Do("get 0:1:4", "0:1:0x4 = 0");
}

TEST(DxrshTerminal, LeavesTheTerminalAsItWas) {
    const TemporaryDirectory directory;
    for (const int number : {SIGTERM, SIGHUP, SIGQUIT}) {
        Terminal terminal(directory.Path("state"));
        terminal.Type("get 0:1");
        EXPECT_TRUE(terminal.IsEdited());
        terminal.Signal(number);
        EXPECT_EQ(terminal.Status(), 128 + number);
        EXPECT_FALSE(terminal.IsEdited()) << number;
    }
    // A line goes on where it was stopped; nobody can stop the first process of a session.
    Terminal terminal(directory.Path("state"));
    terminal.Type("get 0:1");
    terminal.Signal(SIGTSTP);
    terminal.Signal(SIGCONT);
    terminal.Signal(SIGWINCH);
    terminal.Do(":0x40", "0:1:0x40 = 0\r\n");
    terminal.Type("quit\r");
    EXPECT_EQ(terminal.Status(), 0);
    EXPECT_FALSE(terminal.IsEdited());
}

TEST(DxrshTerminal, CompletesCommandsSlotsFilesAndNames) {
    const TemporaryDirectory directory;
    directory.Write("digits", "123456789");
    Terminal terminal(directory.Path("state"));
    terminal.Do("registe\t0:1:4 1", "read 0, written 0");
    terminal.Do("call DXR_GetLrI\t", "DXR_GetLrId = ");
    terminal.Do("crc " + directory.Path("dig\t"), "0xa2 9 ");
    terminal.Do("values res\t", "result = ");
    terminal.Type("fail memory.a\t");
    terminal.Await("fail memory.allocate");
    terminal.Type("\x03");
    terminal.Await("^C");
    terminal.Await("dxr> ");
    // Several: as far as they are the same, then they are shown.
    terminal.Type("ma\t");
    terminal.Await("mailbox");
    terminal.Type("\t");
    terminal.Await("mailboxes");
    terminal.Type("\x03");
    terminal.Await("^C");
    terminal.Await("dxr> ");
    terminal.Type("call DXR_GetCurr\t");
    const std::string listed = terminal.Await("DXR_GetCurrTime");
    EXPECT_TRUE(Holds(listed, "DXR_GetCurrMs")) << listed;
    terminal.Type("\x03");
    terminal.Await("^C");
    terminal.Await("dxr> ");
    terminal.Type("\x04");
    EXPECT_EQ(terminal.Status(), 0);
}

// Blanks, quotes and characters of several bytes, piece by piece.
TEST(DxrshTerminal, CompletesOddNames) {
    const TemporaryDirectory directory;
    const std::string odd = directory.Path("two words");
    ASSERT_EQ(mkdir(odd.c_str(), 0700), 0);
    directory.Write("two words/it's \xC3\xA9", "get 0:1:0x40\n");
    directory.Write("two words/it's \xC3\xA8", "get 0:1:0x44\n");
    directory.Write("two words/other\nname", "");
    Terminal terminal(directory.Path("state"));
    terminal.Type("source " + directory.Path("two") + "\t");
    terminal.Type("it\t\xC3\xA9\r");
    terminal.Await("0:1:0x40 = 0\r\n");
    terminal.Await("dxr> ");
    // What holds a line break is not typed.
    terminal.Type("source '" + odd + "'/ot\toops\r");
    terminal.Await("/otoops: No such file or directory");
    terminal.Type("quit\r");
    EXPECT_EQ(terminal.Status(), 0);
}

TEST(DxrshTerminal, RemembersWhatWasTyped) {
    const TemporaryDirectory directory;
    const std::string state = directory.Path("state");
    {
        Terminal terminal(state);
        terminal.Do("set 0:1:4 7", "set 0:1:4 7");
        terminal.Do("get 0:1:4", " = 7");
        terminal.Do("\x10", " = 7");  // the line before
        terminal.Type("\x04");
        EXPECT_EQ(terminal.Status(), 0);
    }
    EXPECT_EQ(directory.Read("state/dxrsh/history").substr(0, 22), "set 0:1:4 7\nget 0:1:4\n");
    {
        Terminal terminal(state);
        terminal.Do("\x10\x10", "set 0:1:4 7\r\n");  // the one before the last
        terminal.Do("get 0:1:4", " = 7");
        terminal.Type("\x04");
        EXPECT_EQ(terminal.Status(), 0);
    }
}

TEST(DxrshTerminal, KeepsSoManyLinesAndGoesWithoutAFile) {
    const TemporaryDirectory directory;
    std::string lines;
    for (int i = 0; i < 1500; ++i) {
        lines += "values\n";
    }
    mkdir(directory.Path("dxrsh").c_str(), 0700);
    directory.Write("dxrsh/history", lines + "get 0:1:8\n");
    {
        Terminal terminal(directory.Path("."));
        terminal.Type("\x04");
        EXPECT_EQ(terminal.Status(), 0);
    }
    const std::string kept = directory.Read("dxrsh/history");
    EXPECT_EQ(dxrtest::SplitLines(kept).size(), 1000U);
    EXPECT_EQ(kept.substr(kept.size() - 10), "get 0:1:8\n");

    const std::string file = directory.Write("no_directory", "");
    Terminal terminal(file);
    terminal.Do("get 0:1:4", "0:1:0x4 = 0");
    terminal.Type("\x04");
    EXPECT_EQ(terminal.Status(), 0);
}

#endif

}  // namespace

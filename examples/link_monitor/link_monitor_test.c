/* Tests of link_monitor, in plain C, by the kit that comes with the development host. */
#include "link_monitor.h"

#include <dxr_devhost_test.h>
#include <dxr_module.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>

/* ---- The links of a test ---------------------------------------------------------------- */

/* Two links, the names as the module loads them. */
static const char g_names[2][LINK_NAME_SIZE] = {"eth0", "eth1"};

static void WriteText(const char *link, const char *file, const char *text) {
    char name[128];
    snprintf(name, sizeof(name), "net/%s/%s", link, file);
    DxrTestWriteFile(name, text, (uint32_t)strlen(text));
}

/* The files that Linux would keep of a link. */
static void SetLink(const char *link, const char *carrier, const char *errors) {
    WriteText(link, "carrier", carrier);
    WriteText(link, "statistics/rx_errors", errors);
    WriteText(link, "statistics/tx_errors", "0\n");
}

static void MakeLinks(void) {
    DxrTestWriteFile("bin/" LINK_MONITOR_NAMES, g_names, sizeof(g_names));
    SetLink("eth0", "1\n", "0\n");
    SetLink("eth1", "0\n", "0\n");
}

/* Runs the module on these links, with two more arguments. */
static int RunModule(char *option, char *value) {
    char directory[512];
    snprintf(directory, sizeof(directory), "%s/net", DxrTestGetDirectory());
    char name[] = "link_monitor.so";
    char sys[] = "--sys";
    char *argv[] = {name, sys, directory, option, value, NULL};
    return DxrModuleMain(5, argv);
}

static int RunLooks(char *count) {
    char polls[] = "--polls";
    return RunModule(polls, count);
}

static bool IsUpInTable(uint32_t link) {
    LinkRow row = {0};
    DXR_TEST_CHECK(DXR_QueryTblmData(LINK_TABLE, &link, sizeof(link), &row, sizeof(row)) == 0);
    return row.isUp != 0;
}

/* ---- Tests ------------------------------------------------------------------------------ */

static void TellsHowLinksAreAtFirst(void) {
    char looks[] = "1";
    MakeLinks();
    DXR_TEST_CHECK(RunLooks(looks) == 0);
    DXR_TEST_LOGGED("link eth0 is up");
    DXR_TEST_LOGGED("link eth1 is down");
    DXR_TEST_LOGGED("links that are up: Chip0: Valid[1][ 0x00000001 ]*");
    DXR_TEST_CHECK(IsUpInTable(0));
    DXR_TEST_CHECK(!IsUpInTable(1));
    DXR_TEST_NOT_ASKED("DXR_Alarm");
    DxrModuleEnd();
}

static void FlapLink(void *unused) {
    (void)unused;
    for (int i = 0; i < 3; ++i) {
        DXR_DelayTask(1000);
        SetLink("eth0", "0\n", "0\n");
        DXR_DelayTask(1000);
        SetLink("eth0", "1\n", "0\n");
    }
}

static void TellsOfALinkThatComesAndGoes(void) {
    char looks[] = "90";
    MakeLinks();
    DxrTestStartTask(FlapLink, NULL);
    DXR_TEST_CHECK(RunLooks(looks) == 0);
    /* The log filter lets each line through once, the recorder counts. */
    DXR_TEST_LOGGED_TIMES("link eth0 is down", 1, 1);
    DXR_TEST_LOGGED_TIMES("link eth0 is up", 1, 1);
    const DxrRecordStore *const records = DXR_GetRecordEntity();
    DXR_TEST_CHECK(strcmp(records->records[2]->text, "link eth0 went down") == 0);
    DXR_TEST_CHECK(records->records[2]->count == 3);
    /* Three losses within a minute are too many, for that minute. */
    DXR_TEST_ASKED_TIMES("DXR_Alarm(1, 0, *, 1, *) = 0", 1, 1);
    DXR_TEST_ASKED_TIMES("DXR_Alarm(1, 0, *, 0, *) = 0", 1, 1);
    DxrModuleEnd();
}

static void CountErrors(void *unused) {
    (void)unused;
    DXR_DelayTask(1500);
    SetLink("eth0", "1\n", "7\n");
    DXR_DelayTask(1000);
    SetLink("eth0", "1\n", "9\n");
}

static void TellsOfErrorsOnce(void) {
    char looks[] = "5";
    MakeLinks();
    DxrTestStartTask(CountErrors, NULL);
    DXR_TEST_CHECK(RunLooks(looks) == 0);
    DXR_TEST_LOGGED("link eth0 has errors: 7");
    DXR_TEST_NOT_LOGGED("link eth0 has errors: 9");
    uint32_t link = 0;
    LinkRow row;
    DXR_QueryTblmData(LINK_TABLE, &link, sizeof(link), &row, sizeof(row));
    DXR_TEST_CHECK(row.errors == 9);
    DxrModuleEnd();
}

/* What the module answers to a message. */
static uint32_t Ask(uint32_t kind, uint32_t code) {
    DxrHostMessage message = {.size = sizeof(message),
                              .kind = kind,
                              .to = {DXR_HOST_UNIT_LPU, LINK_MONITOR_UNIT},
                              .flags = DXR_HOST_MESSAGE_ACK,
                              .timeoutMs = 10000,
                              .code = code};
    const uint32_t result = DXR_SendMsg(&message);
    return result == 0 ? message.result : result;
}

static void AskQuestions(void *unused) {
    (void)unused;
    while (Ask(LINK_MESSAGE_QUERY, 0) == ENXIO) { /* the module has not begun */
        DXR_DelayTask(1);
    }
    DXR_TEST_CHECK(Ask(LINK_MESSAGE_QUERY, 0) == 1);
    DXR_TEST_CHECK(Ask(LINK_MESSAGE_QUERY, 1) == 0);
    DXR_TEST_CHECK(Ask(LINK_MESSAGE_QUERY, 2) == LINK_NONE);
    DXR_TEST_CHECK(Ask(LINK_MESSAGE_REPORT, 0) == 1);
    DXR_TEST_CHECK(Ask(77, 0) == LINK_NONE);
    DXR_TEST_CHECK(Ask(LINK_MESSAGE_STOP, 0) == 0);
}

static void AnswersMessages(void) {
    char looks[] = "0"; /* a message ends it */
    MakeLinks();
    const uint32_t task = DxrTestStartTask(AskQuestions, NULL);
    DXR_TEST_CHECK(RunLooks(looks) == 0);
    DXR_TEST_CHECK(DxrHostJoinTask(NULL, task, DXR_HOST_FOREVER) == 0);
    DXR_TEST_LOGGED_TIMES("links that are up:*", 2, 2);
    DxrModuleEnd();
}

static void ReplaysEvents(void) {
    static const char events[] =
        "# recorded\n0 eth0 down 0\n0 eth1 up 0\n\n1500 eth0 up 3\nnonsense\n2500 eth1 down 0\n"
        "-5 eth1 up 0\n99999999999999999999999 eth1 up 0\n2600 eth0 up -1\n"
        "3500 eth7 up 0\n4000 eth1 up 1";
    char replay[] = "--replay";
    char file[] = "day.events";
    MakeLinks();
    DxrTestWriteFile("bin/day.events", events, sizeof(events) - 1);
    DXR_TEST_CHECK(RunModule(replay, file) == 0);
    DXR_TEST_CHECK(DxrHostGetElapsedNs(NULL) == 4000000000);
    DXR_TEST_LOGGED("link eth0 is down");
    DXR_TEST_LOGGED("link eth0 has errors: 3");
    DXR_TEST_LOGGED("link eth1 is down");
    DXR_TEST_LOGGED("links that are up: Chip0: Valid[2][ 0x00000003 ]*");
    DXR_TEST_NOT_ASKED("DXR_FOpen(\"*carrier\", *)");
    DxrModuleEnd();
}

static void SaysWhatIsMissing(void) {
    char looks[] = "1";
    char replay[] = "--replay";
    char file[] = "none.events";
    DXR_TEST_CHECK(RunLooks(looks) == 1);
    DXR_TEST_LOGGED("link_monitor: there are no links in links.bin");
    DxrModuleEnd();

    static const char unended[] = "sixteen letters.";
    DxrTestWriteFile("bin/" LINK_MONITOR_NAMES, unended, LINK_NAME_SIZE);
    DxrTestForget();
    DXR_TEST_CHECK(RunLooks(looks) == 1);
    DXR_TEST_LOGGED("link_monitor: there are no links in links.bin");
    DxrModuleEnd();

    MakeLinks();
    DXR_TEST_CHECK(RunModule(replay, file) == 1);
    DXR_TEST_LOGGED("link_monitor: there are no events in none.events");
    DxrModuleEnd();
}

static void RefusesWrongArguments(void) {
    char *const wrong[][2] = {{"--polls", "many"},
                              {"--polls", "-1"},
                              {"--every", "0"},
                              {"--every", NULL},
                              {"--color", "blue"},
                              {"--polls", "4294967296"},
                              {"--polls", "-18446744073709551613"}};
    for (size_t i = 0; i < sizeof(wrong) / sizeof(*wrong); ++i) {
        DxrTestForget();
        DXR_TEST_CHECK(RunModule(wrong[i][0], wrong[i][1]) == 2);
        char said[80];
        (void)snprintf(said, sizeof(said), "link_monitor: wrong arguments at %s", wrong[i][0]);
        DXR_TEST_LOGGED(said);
        DXR_TEST_NOT_ASKED("DXR_Register");
        DxrModuleEnd();
    }
}

static uint32_t RefuseTable(uint32_t table) {
    (void)table;
    return ENOMEM;
}

static void EndsWithoutATable(void) {
    char looks[] = "1";
    MakeLinks();
    DXR_TEST_FAKE(g_dxrHooks.tblm.dynamicCreateTable, RefuseTable);
    DXR_TEST_CHECK(RunLooks(looks) == 1);
    DXR_TEST_NOT_ASKED("DXR_ReleaseTblm");
    DxrModuleEnd();
}

static void EndsWhenItIsNotRegistered(void) {
    char looks[] = "1";
    MakeLinks();
    DxrHostFailNth(NULL, "module.register", 1, false);
    DxrTestAllow(DXR_HOST_REPORT_MISUSE); /* which is how the host refuses a module */
    DXR_TEST_CHECK(RunLooks(looks) == 1);
    DXR_TEST_NOT_ASKED("DXR_UnRegister");
    DxrModuleEnd();
}

/* ---- Many runs -------------------------------------------------------------------------- */

/* Whatever fails, the module ends well, and leaves nothing behind. */
static void RunSomehow(void *unused) {
    char looks[] = "3";
    (void)unused;
    MakeLinks();
    const int result = RunLooks(looks);
    DXR_TEST_CHECK(result == 0 || result == 1);
    DxrModuleEnd();
}

/* The same with a link that goes down too often. */
static void RunToAnAlarm(void *unused) {
    static const char events[] =
        "0 eth0 up 0\n1000 eth0 down 0\n2000 eth0 up 0\n3000 eth0 down 0\n4000 eth0 up 0\n"
        "5000 eth0 down 0\n";
    char replay[] = "--replay";
    char file[] = "day.events";
    (void)unused;
    MakeLinks();
    DxrTestWriteFile("bin/day.events", events, sizeof(events) - 1);
    DXR_TEST_CHECK(RunModule(replay, file) == 0);
    DXR_TEST_ASKED_TIMES("DXR_Alarm", 1, 1);
    DxrModuleEnd();
}

static bool SurvivesEach(const char *point, DxrTestBody body) {
    return DxrTestFailEach(NULL, point, false, body, NULL, stderr) != 0 &&
           DxrTestFailEach(NULL, point, true, body, NULL, stderr) != 0;
}

static bool SurvivesEachFailure(void) {
    static const char *const points[] = {"memory.allocate", "file.open",    "file.read",
                                         "mailbox.open",    "table.create", "table.set"};
    bool isGood = SurvivesEach("alarm.raise", RunToAnAlarm);
    for (size_t i = 0; i < sizeof(points) / sizeof(*points); ++i) {
        isGood = SurvivesEach(points[i], RunSomehow) && isGood;
    }
    return isGood;
}

static void Answer(void *unused) {
    (void)unused;
    AnswersMessages();
}

/* ---- All of them ------------------------------------------------------------------------ */

typedef struct Test {
    const char *name;
    void (*function)(void);
} Test;

static const Test g_tests[] = {
    {"TellsHowLinksAreAtFirst", TellsHowLinksAreAtFirst},
    {"TellsOfALinkThatComesAndGoes", TellsOfALinkThatComesAndGoes},
    {"TellsOfErrorsOnce", TellsOfErrorsOnce},
    {"AnswersMessages", AnswersMessages},
    {"ReplaysEvents", ReplaysEvents},
    {"SaysWhatIsMissing", SaysWhatIsMissing},
    {"RefusesWrongArguments", RefusesWrongArguments},
    {"EndsWithoutATable", EndsWithoutATable},
    {"EndsWhenItIsNotRegistered", EndsWhenItIsNotRegistered},
};

int main(void) {
    uint32_t bad = 0;
    for (size_t i = 0; i < sizeof(g_tests) / sizeof(*g_tests); ++i) {
        const bool hasBegun = DxrTestBegin(NULL);
        g_tests[i].function();
        const bool isGood = DxrTestEnd(stderr) == 0 && hasBegun;
        printf("%s %s\n", isGood ? "passed" : "FAILED", g_tests[i].name);
        bad += isGood ? 0 : 1;
    }
    bad += SurvivesEachFailure() ? 0 : 1;
    bad += DxrTestExplore(NULL, 100, Answer, NULL, stderr) == 100 ? 0 : 1;
    printf("%u failed\n", bad);
    return bad == 0 ? 0 : 1;
}

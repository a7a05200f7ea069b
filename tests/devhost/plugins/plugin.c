/* A plug-in of the tests, built in several versions; TEST_PLUGIN says which. */
#include "dxr_devhost.h"

#define TEST_PLUGIN_GOOD 0          /* answers, and does what the test asks it to */
#define TEST_PLUGIN_OLD_INTERFACE 1 /* a table of another version */
#define TEST_PLUGIN_SHORT 2         /* a table of another size */
#define TEST_PLUGIN_NO_TABLE 3
#define TEST_PLUGIN_UNRESOLVED 4 /* needs what nobody has */
#define TEST_PLUGIN_BARE 5       /* a table without functions */
#define TEST_PLUGIN_CALLING 6    /* the same, and calls slots while it is opened */
#define TEST_PLUGIN_LEAVING 7    /* leaves a function while it is opened */
#define TEST_PLUGIN_TRACING 8    /* stands between the library and the host, as the tracing does */

#if TEST_PLUGIN == TEST_PLUGIN_UNRESOLVED
extern void DxrTestNobodyHasThis(void);
void DxrTestCallNobody(void);
void DxrTestCallNobody(void) {
    DxrTestNobodyHasThis();
}
#endif

#if TEST_PLUGIN != TEST_PLUGIN_NO_TABLE

extern const DxrHostPluginTable dxrHostPlugin;

#if TEST_PLUGIN == TEST_PLUGIN_GOOD

#include "plugin.h"

static DxrHostTimer timer;

static void Nothing(void *argument) {
    (void)argument;
}

static uint32_t CheckFault(void *user) {
    (void)user;
    return 0;
}

static uint32_t Measure(uint32_t sensor, int32_t *milliCelsius) {
    *milliCelsius = (int32_t)sensor;
    return 0;
}

static uint32_t Handle(const DxrHostMessage *message, void *user) {
    (void)user;
    return message->kind;
}

static uint32_t Hash(const void *key, void *user) {
    (void)user;
    return *(const uint32_t *)key;
}

static int Compare(const void *key, const void *other, void *user) {
    (void)user;
    return *(const uint32_t *)key != *(const uint32_t *)other;
}

static uint32_t Control(DxrHostDevRequest *request, void *user) {
    (void)user;
    return request->command;
}

static void Watch(const DxrHostAccess *access, void *user) {
    (void)user;
    (void)access;
}

static void HandleInterrupt(uint32_t chip, uint32_t interrupt, void *argument) {
    (void)chip;
    (void)interrupt;
    (void)argument;
}

static void BeforeReset(uint32_t mode, void *argument) {
    (void)mode;
    (void)argument;
}

static uint32_t Command(void *record, uint32_t command, void *user) {
    (void)record;
    (void)user;
    return command;
}

static void LeaveFunctions(TestPlugin *test) {
    DxrHostHashOptions options = {sizeof(options), 4, 0, 0, Hash, NULL, NULL};
    const DxrHostMailbox box = {sizeof(box), 0, {DXR_HOST_UNIT_LPU, 3}, Handle, NULL};
    DxrHostOpenMailbox(NULL, &box);
    DxrHostAddFaultCheck(NULL, "heat", CheckFault, NULL, 5);
    DXR_RegisterQueryTempFunc(7, (void *)Measure);
    test->table = DXR_HashCreate(&options);
}

static uint32_t Load(void *argument) {
    TestPlugin *const test = (TestPlugin *)argument;
    ++test->loads;
    if (test->startsTimer != 0) {
        timer = (DxrHostTimer){sizeof(timer), 1000000, 1, 0, Nothing, NULL, timer.handle};
        DXR_StartTimer(&timer);
    }
    if (test->registersModule != 0) {
        DxrHostModule module = {sizeof(module), 77, 1, 0, {0, 0, 0}, "of a plug-in", test};
        DXR_Register(&module);
    }
    if (test->leavesFunctions != 0) {
        LeaveFunctions(test);
    }
    if (test->leavesControl != 0) {
        DxrHostSetDeviceControl(NULL, "/dev/x", Control, NULL);
    }
    if (test->leavesWatch != 0) {
        const DxrHostCell cell = {DXR_HOST_REGISTERS, 0, 0, 0, 0};
        DxrHostWatchCells(NULL, &cell, 4, Watch, NULL);
    }
    if (test->leavesInterrupt != 0) {
        DXR_IntrSetRegist(1, 2, (void *)HandleInterrupt, NULL);
    }
    if (test->leavesPreReset != 0) {
        DXR_RegisterPreResetProcFunc((void *)BeforeReset, NULL);
    }
    if (test->leavesCommand != 0) {
        DxrHostSetCommand(NULL, Command, NULL);
    }
    if (test->work != NULL) {
        test->work();
    }
    if (test->leavesTable != 0) {
        DxrHostHashOptions options = {sizeof(options), 4, 0, 0, NULL, Compare, NULL};
        test->table = DXR_HashCreate(&options);
    }
    return test->loadResult;
}

static void Unload(void *argument) {
    TestPlugin *const test = (TestPlugin *)argument;
    ++test->unloads;
    if (test->work != NULL) {
        test->work();
    }
    if (test->stopsTimer != 0) {
        DXR_StopTimer(&timer);
    }
}

static uint32_t Check(void *argument) {
    return ((TestPlugin *)argument)->checkResult;
}

static uint32_t Query(void *argument, void *question, void *answer) {
    TestPlugin *const test = (TestPlugin *)argument;
    *(void **)answer = DXR_GetThis();
    return test->query != NULL ? test->query(question) : 0;
}

#endif

#if TEST_PLUGIN == TEST_PLUGIN_CALLING
__attribute__((constructor)) static void Open(void) {
    DxrHostHashOptions options = {sizeof(options), 4, 0, 0, NULL, NULL, NULL};
    for (int i = 0; i < 200; ++i) {
        DXR_HashFree(DXR_HashCreate(&options));
    }
}
#endif

#if TEST_PLUGIN == TEST_PLUGIN_LEAVING
static uint32_t Measure(uint32_t sensor, int32_t *milliCelsius) {
    *milliCelsius = (int32_t)sensor * 1000;
    return 0;
}
__attribute__((constructor)) static void Open(void) {
    DXR_RegisterQueryTempFunc(36, (void *)Measure);
}
#endif

#if TEST_PLUGIN == TEST_PLUGIN_TRACING
/* What the host knows the tracing by. */
uint32_t DxrTraceStart(void);
uint32_t DxrTraceStart(void) {
    return 0;
}
void DxrTestReleaseNothing(void);
void DxrTestReleaseNothing(void) {
    static volatile uint32_t calls;
    static const uint32_t nothing;
    DXR_Free((void *)&nothing, "a.cpp", 1);
    ++calls; /* not the last step: this function stays among the callers */
}
#endif

/* Sinks that lie in the plug-in. */
void DxrTestReportSink(const DxrHostReport *report, void *user);
void DxrTestReportSink(const DxrHostReport *report, void *user) {
    (void)report;
    (void)user;
}
void DxrTestPrintSink(uint32_t level, const char *text, void *user);
void DxrTestPrintSink(uint32_t level, const char *text, void *user) {
    (void)level;
    (void)text;
    (void)user;
}

const DxrHostPluginTable dxrHostPlugin = {
#if TEST_PLUGIN == TEST_PLUGIN_SHORT
    .size = sizeof(DxrHostPluginTable) - 1,
#else
    .size = sizeof(DxrHostPluginTable),
#endif
    .version = DXR_HOST_PLUGIN_VERSION(2, 3),
#if TEST_PLUGIN == TEST_PLUGIN_OLD_INTERFACE
    .interfaceVersion = DXR_HOST_PLUGIN_INTERFACE + 1,
#else
    .interfaceVersion = DXR_HOST_PLUGIN_INTERFACE,
#endif
#if TEST_PLUGIN == TEST_PLUGIN_GOOD
    .load = Load,
    .unload = Unload,
    .check = Check,
    .query = Query,
#endif
};

#endif

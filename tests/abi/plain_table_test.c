/* HOST-4 */
/* A host that was built without the library's header knows the hook table as 226 addresses, each at
 * its number. This one writes such a table and calls through it: if a slot moves, a call lands in
 * the trap or finds wrong arguments. The numbers are written here a second time on purpose. */
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "dxr_api.h"
#include "support/check.h"

enum { kSlots = 226 };

enum {
    kAlarm = 0,
    kDb = 3,
    kDev = 22,
    kInit = 90,
    kList = 95,
    kMemory = 103,
    kMsg = 105,
    kPrint = 116,
    kSystem = 135,
    kTask = 151,
    kTblm = 159,
    kTime = 170,
    kCfg = 185,
    kJsonDecode = 196,
    kNp = 200,
    kPlugin = 203,
    kHash = 211,
    kFfm = 222,
    kKpi = 224,
    kTemperature = 225
};

typedef uintptr_t PlainTable[kSlots];

/* Distinct objects to pass and return by address. */
static char g_things[8];
#define THING(i) ((void *)&g_things[i])

static int g_calls;

static void Trap(void) {
    fprintf(stderr, "a slot was reached that no call here belongs to\n");
    abort();
}

static uint32_t Alarm(uint32_t a, uint32_t b, uint32_t c, uint32_t d, void *e) {
    ++g_calls;
    return a == 1 && b == 2 && c == 3 && d == 0xFFFFFFFFU && e == THING(0) ? 41 : 0;
}

static void *GetDestFicPort(void *a, void *b) {
    ++g_calls;
    return a == THING(1) && b == THING(2) ? THING(3) : NULL;
}

static uint32_t WriteMdio(uint32_t a, uint32_t b, uint8_t c, uint8_t d, uint16_t e, uint16_t f) {
    ++g_calls;
    return a == 1 && b == 2 && c == 0xFF && d == 0x80 && e == 0xFFFF && f == 0x8000 ? 42 : 0;
}

static uint32_t WriteFlashInfo(void *a) {
    ++g_calls;
    return a == THING(4) ? 43 : 0;
}

static void *GetThis(void) {
    ++g_calls;
    return THING(5);
}

static uint32_t ProcessSingleNode(void *list, void *a, uint32_t b) {
    ++g_calls;
    return list == THING(0) && a == THING(1) && b == 7 ? 44 : 0;
}

static void Release(void *block, const char *file, uint32_t line) {
    ++g_calls;
    CHECK(block == THING(6) && strcmp(file, "here") == 0 && line == 12);
}

static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    ++g_calls;
    return mid == 5 && size == 600 && strcmp(file, "here") == 0 && line == 11 ? THING(6) : NULL;
}

static const char *GetTriggerText(uint32_t trigger) {
    ++g_calls;
    return trigger == 3 ? "three" : "other";
}

static void Print(uint32_t level, const char *format, ...) {
    va_list args;
    ++g_calls;
    CHECK(level == 6 && strcmp(format, "%s") == 0);
    va_start(args, format);
    CHECK(strcmp(va_arg(args, const char *), "a line") == 0);
    va_end(args);
}

static uint32_t RecordMileStone(void *a) {
    ++g_calls;
    return a == THING(2) ? 45 : 0;
}

static uint32_t Read(void *buffer, uint32_t size, uint32_t count, void *file) {
    ++g_calls;
    return buffer == THING(1) && size == 8 && count == 9 && file == THING(2) ? 72 : 0;
}

static uint32_t CreateTask(void *a, void *b, void *c, uint32_t d, void *e, uint32_t flag, void *g) {
    ++g_calls;
    return a == THING(0) && b == THING(1) && c == THING(2) && d == 4 && e == THING(4) &&
                   flag == 1 && g == THING(6)
               ? 46
               : 0;
}

static uint32_t SetTableDataAndMask(uint32_t chip, void *request) {
    ++g_calls;
    return chip == 3 && request == THING(3) ? 47 : 0;
}

static uint64_t CurrentMs(void) {
    ++g_calls;
    return 0xFEDCBA9876543210U;
}

static uint32_t StartupSec(void) {
    ++g_calls;
    return 48;
}

static void *AdvancedSpec(uint32_t a, uint32_t b) {
    ++g_calls;
    return a == 1 && b == 2 ? THING(7) : NULL;
}

static uint32_t QueueDropStat(uint32_t a, uint32_t b, uint32_t c, uint8_t d, void *e) {
    ++g_calls;
    return a == 1 && b == 2 && c == 3 && d == 0xFE && e == THING(1) ? 49 : 0;
}

static void DisplayPlugin(void *a, void *b, void *c, uint32_t d) {
    ++g_calls;
    CHECK(a == THING(1) && b == THING(2) && c == THING(3) && d == 4);
}

static uint32_t HashInsert(void *a, void *b, void *c, uint32_t d, uint32_t e) {
    ++g_calls;
    return a == THING(1) && b == THING(2) && c == THING(3) && d == 4 && e == 5 ? 50 : 0;
}

static uint32_t StopFaultCheck(void) {
    ++g_calls;
    return 51;
}

static uint32_t UpdateKpi(void *a, uint32_t b) {
    ++g_calls;
    return a == THING(1) && b == 2 ? 52 : 0;
}

static void RegisterTemperature(uint32_t a, void *b) {
    ++g_calls;
    CHECK(a == 1 && b == THING(1));
}

static void CheckPlaces(void) {
    const uintptr_t table = (uintptr_t)DXR_GetHooks();
    const struct {
        const void *group;
        unsigned first;
    } groups[] = {
        {DXR_GetAlarmHooks(), kAlarm},   {DXR_GetDbHooks(), kDb},
        {DXR_GetDevHooks(), kDev},       {DXR_GetInitHooks(), kInit},
        {DXR_GetListHooks(), kList},     {DXR_GetMemoryHooks(), kMemory},
        {DXR_GetMsgHooks(), kMsg},       {DXR_GetPrintHooks(), kPrint},
        {DXR_GetSystemHooks(), kSystem}, {DXR_GetTaskHooks(), kTask},
        {DXR_GetTblmHooks(), kTblm},     {DXR_GetTimeHooks(), kTime},
        {DXR_GetCfgHooks(), kCfg},       {DXR_GetJsonDecodeHooks(), kJsonDecode},
        {DXR_GetNpHooks(), kNp},         {DXR_GetPluginHooks(), kPlugin},
        {DXR_GetHashHooks(), kHash},     {DXR_GetFfmHooks(), kFfm},
        {DXR_GetKpiHooks(), kKpi},       {DXR_GetTemperatureHooks(), kTemperature},
    };
    CHECK(sizeof(PlainTable) == 1808 && sizeof(g_dxrHooks) == 1808);
    CHECK(sizeof(groups) / sizeof(groups[0]) == 20);
    CHECK(table == (uintptr_t)&g_dxrHooks);
    for (size_t i = 0; i < sizeof(groups) / sizeof(groups[0]); ++i) {
        CHECK((uintptr_t)groups[i].group == table + groups[i].first * sizeof(uintptr_t));
    }
}

static void CheckCalls(void) {
    CHECK(DXR_Alarm(1, 2, 3, 0xFFFFFFFFU, THING(0)) == 41);
    CHECK(DXR_GetDestFicPort(THING(1), THING(2)) == THING(3));
    CHECK(DXR_WriteMdio(1, 2, 0xFF, 0x80, 0xFFFF, 0x8000) == 42);
    CHECK(DXR_WriteFlashInfo(THING(4)) == 43);
    CHECK(DXR_GetThis() == THING(5));
    CHECK(DXR_SslProcSingleNode(THING(0), THING(1), 7) == 44);
    CHECK(DXR_Malloc(5, 600, "here", 11) == THING(6));
    DXR_Free(THING(6), "here", 12);
    CHECK(strcmp(DXR_GetTriggerStr(3), "three") == 0);
    CHECK(DXR_PrintLargeBuffer("a line") == 0);
    CHECK(DXR_RecordWarmRebootMileStone(THING(2)) == 45);
    CHECK(DXR_FRead(THING(1), 8, 9, THING(2)) == 72);
    CHECK(DXR_CreateTask(THING(0), THING(1), THING(2), 4, THING(4), 1, THING(6)) == 46);
    CHECK(DXR_SetChipTblmDataAndMask(3, THING(3)) == 47);
    CHECK(DXR_GetCurrMs() == 0xFEDCBA9876543210U);
    CHECK(DXR_GetStartupTimeSec() == 48);
    CHECK(DXR_CFG_GetAdvancedSpec(1, 2) == THING(7));
    CHECK(DXR_GetQueueDropStat(1, 2, 3, 0xFE, THING(1)) == 49);
    DXR_DisplayBrdPlugin(THING(1), THING(2), THING(3), 4);
    CHECK(DXR_HashInsert(THING(1), THING(2), THING(3), 4, 5) == 50);
    CHECK(DXR_FfmStopFaultCheck() == 51);
    CHECK(DXR_UpdateKpiAttrVal(THING(1), 2) == 52);
    DXR_RegisterQueryTempFunc(1, THING(1));
}

int main(void) {
    PlainTable table;
    const int calls = 23;

    for (size_t slot = 0; slot < kSlots; ++slot) {
        table[slot] = (uintptr_t)Trap;
    }
    table[kAlarm + 0] = (uintptr_t)Alarm;
    table[kDb + 16] = (uintptr_t)GetDestFicPort;
    table[kDev + 58] = (uintptr_t)WriteMdio;
    table[kDev + 67] = (uintptr_t)WriteFlashInfo;
    table[kInit + 4] = (uintptr_t)GetThis;
    table[kList + 7] = (uintptr_t)ProcessSingleNode;
    table[kMemory + 0] = (uintptr_t)Release;
    table[kMemory + 1] = (uintptr_t)Allocate;
    table[kMsg + 3] = (uintptr_t)GetTriggerText;
    table[kPrint + 2] = (uintptr_t)Print;
    table[kPrint + 18] = (uintptr_t)RecordMileStone;
    table[kSystem + 7] = (uintptr_t)Read;
    table[kTask + 2] = (uintptr_t)CreateTask;
    table[kTblm + 10] = (uintptr_t)SetTableDataAndMask;
    table[kTime + 4] = (uintptr_t)CurrentMs;
    table[kTime + 14] = (uintptr_t)StartupSec;
    table[kCfg + 7] = (uintptr_t)AdvancedSpec;
    table[kNp + 1] = (uintptr_t)QueueDropStat;
    table[kPlugin + 7] = (uintptr_t)DisplayPlugin;
    table[kHash + 8] = (uintptr_t)HashInsert;
    table[kFfm + 1] = (uintptr_t)StopFaultCheck;
    table[kKpi + 0] = (uintptr_t)UpdateKpi;
    table[kTemperature + 0] = (uintptr_t)RegisterTemperature;

    CheckPlaces();
    CHECK(DXR_RegisterHooks((const void *)table) == 0);
    CHECK(memcmp(&g_dxrHooks, table, sizeof(table)) == 0);
    CheckCalls();
    CHECK(g_calls == calls);

    /* The table was copied: what the host does with its own afterwards is of no effect. */
    memset(table, 0, sizeof(table));
    CheckCalls();
    CHECK(g_calls == 2 * calls);

    CHECK(DXR_RegisterHooks((const void *)table) == 0);
    CHECK(DXR_WriteFlashInfo(THING(4)) == 1);
    CHECK(g_calls == 2 * calls);
    return 0;
}

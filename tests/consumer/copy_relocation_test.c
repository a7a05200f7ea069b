/* An executable at a fixed address holds the library's exported data itself (the linker copies them
 * into it) and its own entries for the library's functions. Library and executable must still mean
 * the same objects, and the same functions where the library's data points to them. */
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "dxr_api.h"
#include "support/check.h"

#if defined(__pic__) || defined(__PIC__) || defined(__pie__) || defined(__PIE__)
#error "must be compiled for a fixed address"
#endif

static void CheckDefaultMid(void) {
    CHECK(g_dxrMemoryMid == 9);
    CHECK(DXR_GetDefaultMid() == 9);
    g_dxrMemoryMid = 0xFFFFFFFE;
    CHECK(DXR_GetDefaultMid() == 0xFFFFFFFE);
    DXR_SetDefaultMid(12);
    CHECK(g_dxrMemoryMid == 12);
}

static uint32_t ReadReg(uint32_t a, uint32_t b, uint32_t c, void *value) {
    *(uint32_t *)value = a + b + c;
    return 77;
}

static void CheckHooks(void) {
    DxrHooks hooks;
    uint32_t value = 0;
    const unsigned char *bytes = (const unsigned char *)&g_dxrHooks;

    for (size_t i = 0; i < sizeof(g_dxrHooks); ++i) {
        CHECK(bytes[i] == 0);
    }
    CHECK((const void *)DXR_GetHooks() == (const void *)&g_dxrHooks);
    CHECK(DXR_GetDevHooks() == &g_dxrHooks.dev);
    CHECK(DXR_GetTemperatureHooks() == &g_dxrHooks.temperature);

    /* Written by the executable, read by the library. */
    g_dxrHooks.dev.readReg = ReadReg;
    CHECK(DXR_ReadReg(1, 2, 3, &value) == 77 && value == 6);

    /* Written by the library, read by the executable. */
    memset(&hooks, 0, sizeof(hooks));
    CHECK(DXR_RegisterHooks(&hooks) == 0);
    CHECK(g_dxrHooks.dev.readReg == NULL);
    hooks.dev.readReg = ReadReg;
    CHECK(DXR_RegisterHooks(&hooks) == 0);
    CHECK(g_dxrHooks.dev.readReg == ReadReg);
    CHECK(DXR_RegisterHooks(NULL) != 0);
    CHECK(g_dxrHooks.dev.readReg == NULL);
}

static void CheckConstant(void) {
    CHECK(DXR_TBLM_CHIPID_NOTCARE == 0xFFFF);
}

static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    (void)mid;
    (void)file;
    (void)line;
    return malloc(size);
}

static void Release(void *block, const char *file, uint32_t line) {
    (void)file;
    (void)line;
    free(block);
}

static uint32_t InitMutex(void **mutex, void *option) {
    (void)option;
    *mutex = mutex;
    return 0;
}

static uint32_t g_hashCalls;

static uint32_t Hash(const DxrLogFilterHashInput *input, uint32_t *hash) {
    (void)input;
    ++g_hashCalls;
    *hash = 1;
    return 0;
}

static void CheckLogFilter(void) {
    CHECK(g_dxrLogFilterSwitch == 1 && DXR_IsLogFilterEnable() == 1);
    g_dxrLogFilterSwitch = 0;
    CHECK(DXR_IsLogFilterEnable() == 0);
    DXR_EnableLogFilter(1);
    CHECK(g_dxrLogFilterSwitch == 1);

    const uint32_t id = g_dxrLogFilterHashFuncList[0].hashFuncId;
    const uint32_t hash = DXR_GetHashCode(id, "text", 4);
    CHECK(g_dxrLogFilterHashFuncList[0].func == DXR_SimpleHash);
    g_dxrLogFilterHashFuncList[0].func = Hash;
    CHECK(DXR_GetHashCode(id, "text", 4) == 1);
    CHECK(g_hashCalls == 1);
    /* Not the address that stood there, but the same function. */
    g_dxrLogFilterHashFuncList[0].func = DXR_SimpleHash;
    CHECK(DXR_GetHashCode(id, "text", 4) == hash && hash != 1);

    DXR_SetMemoryHooks(Allocate, Release);
    g_dxrHooks.task.initMutex = InitMutex;
    CHECK(g_dxrLogFilterInfo == NULL && g_dxrLogFilterMid == 9);
    CHECK(DXR_InitLogFilter(30) == 0);
    CHECK(g_dxrLogFilterMid == 30);
    CHECK(g_dxrLogFilterInfo != NULL && g_dxrLogFilterInfo == DXR_GetLogFilter(0));
    CHECK(g_dxrLogFilterMutex[28] == (void *)&g_dxrLogFilterMutex[28]);
    DXR_DestroyLogFilter();
    CHECK(g_dxrLogFilterInfo == NULL);
    CHECK(DXR_RegisterHooks(NULL) != 0);
}

static void CheckRecorder(void) {
    CHECK(DXR_GetRecordEntity() == &g_dxrRecord);
    DXR_SetMemoryHooks(Allocate, Release);
    DXR_RecordInfo("event %d", 1);
    CHECK(g_dxrRecord.nextIndex == 1);
    CHECK(g_dxrRecord.records[0] != NULL && strcmp(g_dxrRecord.records[0]->text, "event 1") == 0);
    DXR_DestroyRecordInfo();
    CHECK(g_dxrRecord.records[0] == NULL);
    CHECK(DXR_RegisterHooks(NULL) != 0);
}

static void CheckCrc(void) {
    const uint8_t byte = 1;

    CHECK(g_dxrCrc8TableInit == 0 && g_dxrCrc8Table[1] == 0);
    CHECK(DXR_CalculateCrc8(&byte, 1) == 0x31);
    CHECK(g_dxrCrc8TableInit == 1 && g_dxrCrc8Table[1] == 0x31);
    g_dxrCrc8Table[1] = 7;
    CHECK(DXR_CalculateCrc8(&byte, 1) == 7);
    g_dxrCrc8TableInit = 0;
    CHECK(DXR_CalculateCrc8(&byte, 1) == 0x31);
}

static void CheckIterator(void) {
    int list = 0;
    DxrSllIterator it = DXR_InitSllIterator(&list);

    CHECK(it.list == &list);
    CHECK(it.addData == DXR_SllIteratorAddData);
    CHECK(it.hasNext == DXR_SllIteratorHasNext);
    CHECK(it.getNextData == DXR_SllIteratorGetNextData);
    CHECK(it.getCount == DXR_SllIteratorGetCount);
    CHECK(it.moveToHead == DXR_SllIteratorMoveToHead);
    CHECK(it.hasNext(&it) == 0);
}

int main(void) {
    CheckDefaultMid();
    CheckHooks();
    CheckConstant();
    CheckLogFilter();
    CheckRecorder();
    CheckCrc();
    CheckIterator();
    return 0;
}

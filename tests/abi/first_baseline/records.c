/* A host of the first baseline, in C: each record that it builds or reads has its layout, each
 * function its arguments, and the library of today answers as then. */
#include <dxr_api.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "support/check.h"

static unsigned g_lines;
static uint32_t g_nowSec = 1000;
static int g_blocks;
static uint8_t g_velderFlag;

static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    (void)mid;
    (void)file;
    (void)line;
    ++g_blocks;
    return malloc(size);
}

static void Release(void *block, const char *file, uint32_t line) {
    (void)file;
    (void)line;
    g_blocks -= block != NULL ? 1 : 0;
    free(block);
}

static uint32_t WriteLine(const char *text) {
    CHECK(text[0] == 'p');
    ++g_lines;
    return 0;
}

static uint32_t Seconds(void) {
    return g_nowSec;
}

static void TextAndSeconds(char *text, uint32_t size, uint32_t *sec) {
    CHECK(size == 39);
    strcpy(text, "now");
    *sec = g_nowSec;
}

static void CalendarTime(DxrSysTime *time) {
    time->year = 2026;
    time->month = 11;
    time->second = 59;
}

static uint32_t SetTableData(uint32_t chip, DxrTblmRequest *request) {
    CHECK(chip == DXR_TBLM_CHIPID_NOTCARE && request->tableId == 7 && request->keyLen == 3);
    CHECK(memcmp(request->key, "key", 3) == 0 && request->dataLen == 4 && request->dataValid == 1);
    return 5;
}

static uint32_t CountNodes(void *list) {
    return *(const uint32_t *)list;
}

static void *NextNode(void *list, void *node) {
    return node == NULL ? list : (uint32_t *)node + 1;
}

static void *NodeData(void *node) {
    return node;
}

static void KeepVelderFlag(uint8_t flag) {
    g_velderFlag = flag;
}

static void Fill(DxrHooks *hooks) {
    memset(hooks, 0, sizeof(*hooks));
    hooks->memory.allocate = Allocate;
    hooks->memory.release = Release;
    hooks->print.diagLogFilter = WriteLine;
    hooks->time.getCurrSec = Seconds;
    hooks->time.getCurrTime = TextAndSeconds;
    hooks->time.getSysTime = CalendarTime;
    hooks->tblm.setChipTblmData = SetTableData;
    hooks->list.sslGetCount = CountNodes;
    hooks->list.sslGetNextNode = NextNode;
    hooks->list.sslGetNodeData = NodeData;
    hooks->init.registerVelderFuncs = KeepVelderFlag;
}

static void CheckLogFilter(void) {
    DxrLogFilterCfg site = {3, 0, 2, 0, 0, 60};
    char listing[1024];
    uint32_t length = 0;
    int i;
    CHECK(DXR_InitLogFilter(6) == 0 && g_dxrLogFilterMid == 6);
    for (i = 0; i < 10; ++i) {
        DXR_SameLogFilter(&site, "port %d", i % 2);
    }
    CHECK(g_lines == 2);
    CHECK(DXR_GetLogFilter(3) == &g_dxrLogFilterInfo[3] && g_dxrLogFilterInfo[3].curSize == 2);
    CHECK(g_dxrLogFilterInfo[3].entries[0].logCnt == 4);
    CHECK(strcmp(g_dxrLogFilterInfo[3].entries[1].logBeginTime, "now") == 0);
    CHECK(DXR_ShowLogFilterInfo(&site, listing, &length, sizeof(listing)) == 0);
    CHECK(length == strlen(listing) && strstr(listing, "curSize[2]") != NULL);
    g_nowSec += 60;
    DXR_SameLogFilter(&site, "port %d", 0);
    CHECK(g_lines == 3);
    DXR_DestroyLogFilter();
}

static void CheckRecorder(void) {
    char listing[512];
    DXR_RecordInfo("link %d down", 5);
    DXR_RecordInfo("link %d down", 5);
    CHECK(g_dxrRecord.nextIndex == 1 && g_dxrRecord.records[0]->count == 2);
    CHECK(strcmp(g_dxrRecord.records[0]->text, "link 5 down") == 0);
    CHECK(g_dxrRecord.records[0]->lastTime.second == 59);
    CHECK(DXR_GetAllRecordStr(listing, sizeof(listing)) == strlen(listing));
    CHECK(strstr(listing, "2026/11/") != NULL);
    DXR_DestroyRecordInfo();
}

static void CheckFaultInjection(void) {
    DxrSimulateMsg table[] = {{1, 100, 0, "hello"}, {2, 200, 0, "bye"}};
    DxrMessageFilterInfo queue = {9, 1, "queue", NULL, 0};
    DxrMessageFilterInfo port = {5, 0, "port", &queue, 1};
    DxrMessageFilter *tree = DXR_CreateMessageFilter(&port, 1);
    char text[128];
    DXR_RegisterSimulateMsgMap(table, 2);
    DXR_SetSimulateMsgLost(2, 1, text, sizeof(text));
    CHECK(table[1].lostCnt == 1 && DXR_IsSimulateMsgLost(200) == 1);
    CHECK(DXR_IsSimulateMsgLost(200) == 0);
    DXR_RegisterSimulateMsgMap(NULL, 0);
    CHECK(DXR_IsMessageFiltered(tree, 2, 5, 9) == 1 && DXR_IsMessageFiltered(tree, 2, 5, 9) == 0);
    DXR_DestroyMessageFilter(&tree);
    CHECK(tree == NULL);
}

static void CheckRecords(void) {
    uint32_t nodes[] = {3, 30, 300};
    uint32_t data = 1;
    uint32_t bits[2] = {0, 0};
    const DxrBitHitRec hit = {0xA5, 0xF0, 0xA0};
    const uint8_t module[13] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9};
    DxrLinkBitMap *map = DXR_CreateLinkBitMap(2, 40);
    DxrSllIterator it = DXR_InitSllIterator(nodes);
    CHECK(map->chipNum == 2 && map->linkNumPerChip == 40 && map->wordNumPerChip == 2);
    DXR_SaveLinkToBitMap(map, 1, 33);
    CHECK(map->bitMap[3] == 2);
    DXR_DestroyLinkBitMap(map);
    CHECK(it.getCount(&it) == 3 && *(uint32_t *)it.getNextData(&it) == 3 && it.index == 1);
    CHECK(*(uint32_t *)it.getNextData(&it) == 30 && it.hasNext(&it) == 1);
    CHECK(DXR_AddTblmData(7, "key", 3, &data, sizeof(data)) == 5);
    DXR_SetBmpBit(bits, 2, 40);
    CHECK(bits[1] == 0x100 && DXR_IsBitHit(&hit) == 0);
    DXR_Register((void *)module);
    CHECK(g_velderFlag == 9 && DXR_IsUseVelder() == 9);
    CHECK(DXR_CalculateCrc8((const uint8_t *)"123456789", 9) == 0xA2 && g_dxrCrc8TableInit == 1);
}

int main(void) {
    DxrHooks hooks;
    Fill(&hooks);
    CHECK(DXR_RegisterHooks(&hooks) == 0);
    CheckLogFilter();
    CheckRecorder();
    CheckFaultInjection();
    CheckRecords();
    CHECK(g_blocks == 0);
    return 0;
}

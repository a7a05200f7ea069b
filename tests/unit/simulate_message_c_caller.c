#include "unit/simulate_message_c_caller.h"

#include <string.h>

#include "dxr/simulate_message.h"

static uint8_t HasCount(const DxrSimulateMsg *entry, uint32_t key) {
    return entry->lostCnt == key;
}

int SimulateMessageCallsFromC(void) {
    static DxrSimulateMsg table[] = {{1, 10, 0, "one"}, {2, 20, 4, "two"}};
    char text[300];

    DXR_RegisterSimulateMsgMap(table, 2);
    if (DXR_GetSimulateMsgMap() != table || DXR_GetSimulateMsgMapSize() != 2) {
        return 1;
    }
    if (DXR_IsSameSimulateId(&table[0], 1) != 1 || DXR_IsSameMsgType(&table[0], 1) != 0) {
        return 2;
    }
    const DxrSimulateMsgCompare compare = HasCount;
    if (DXR_GetSimulateMsg(compare, 4) != &table[1]) {
        return 3;
    }
    if (DXR_GetSimulateMsgBySimluateId(2) != &table[1] ||
        DXR_GetSimulateMsgByMsgType(10) != table) {
        return 4;
    }
    DXR_SetSimulateMsgLost(1, 1, text, sizeof(text));
    if (strcmp(text, "simulate msg[10][one] lost[1] success, id[1]") != 0) {
        return 5;
    }
    if (DXR_IsSimulateMsgLost(10) != 1 || DXR_IsSimulateMsgLost(10) != 0) {
        return 6;
    }
    DXR_DisplaySimulateMsgLost(text, sizeof(text));
    if (strstr(text, "two[ 20]                    4\r\n") == NULL) {
        return 7;
    }
    DXR_RegisterSimulateMsgMap(NULL, 0);
    return 0;
}

#include "unit/message_filter_c_caller.h"

#include <string.h>

#include "dxr/message_filter.h"

int MessageFilterCallsFromC(void) {
    static const DxrMessageFilterInfo below[] = {{9, 1, "below", NULL, 0}};
    static const DxrMessageFilterInfo top[] = {{5, 0, "node", below, 1}, {7, 2, "leaf", NULL, 0}};
    char text[300];

    DxrMessageFilter *filter = DXR_CreateMessageFilter(top, 1);
    if (filter == NULL) {
        return 1;
    }
    DxrAddMessageFilterToComposite(filter, &top[1]);
    DXR_GetMessageFilterStr(filter, text, sizeof(text));
    if (strcmp(text,
               "    msgType[5], lostCnt[0], name[node]\r\n"
               "        msgType[9], lostCnt[1], name[below]\r\n"
               "    msgType[7], lostCnt[2], name[leaf]\r\n") != 0) {
        return 2;
    }
    const uint32_t child = 9;
    if (DXR_IsMessageFiltered(filter, 2, UINT32_C(5), child) != 1 ||
        DXR_IsMessageFiltered(filter, 2, UINT32_C(5), child) != 0) {
        return 3;
    }
    DXR_SetMessageFilterCount(filter, 1, 1, UINT32_C(5));
    if (DXR_IsMessageFiltered(filter, 1, UINT32_C(5)) != 1 ||
        DXR_IsMessageFiltered(filter, 0) != 0) {
        return 4;
    }
    DXR_DestroyMessageFilter(&filter);
    if (filter != NULL) {
        return 5;
    }
    return 0;
}

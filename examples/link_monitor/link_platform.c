/* The host's header stands beside the public one here, as that leaves to each platform how a module
 * describes itself to DXR_Register, how messages are received, and what the numbers of alarms and
 * units mean. */
#include "link_platform.h"

#include <dxr_devhost.h>
#include <errno.h>
#include <string.h>

_Static_assert(sizeof(DxrHostMessage) <= sizeof(((PlatformMessage *)0)->place), "no place");

static char g_module;                       /* stands for the module: there is one */
static char g_data[DXR_HOST_MESSAGE_BYTES]; /* its messages need none; it is not looked at */

static DxrHostUnit UnitOf(uint32_t number) {
    return (DxrHostUnit){DXR_HOST_UNIT_LPU, number};
}

bool PlatformBegin(const char *name, uint32_t mid, uint32_t unit) {
    const DxrHostMailbox mailbox = {.size = sizeof(mailbox), .unit = UnitOf(unit)};
    if (DxrHostOpenMailbox(NULL, &mailbox) != 0) {
        return false;
    }
    DxrHostModule record = {
        .size = sizeof(record), .mid = mid, .version = 1, .name = name, .instance = &g_module};
    DXR_Register(&record);
    if (DXR_GetThis() == &g_module) { /* else the host has refused it */
        return true;
    }
    DxrHostCloseMailbox(NULL, &mailbox.unit);
    return false;
}

void PlatformEnd(uint32_t unit) {
    const DxrHostUnit own = UnitOf(unit);
    DXR_UnRegister();
    DxrHostCloseMailbox(NULL, &own);
}

PlatformWait PlatformWaitForMessage(uint32_t unit, uint32_t ms, PlatformMessage *message) {
    const DxrHostUnit own = UnitOf(unit);
    DxrHostMessage got;
    switch (DxrHostReceiveMessage(NULL, &own, &got, g_data, sizeof(g_data), ms)) {
        case 0:
            message->kind = got.kind;
            message->code = got.code;
            memcpy(message->place, &got, sizeof(got));
            return PLATFORM_MESSAGE;
        case ETIMEDOUT:
            return PLATFORM_TIME;
        default:
            return PLATFORM_END;
    }
}

void PlatformAnswer(const PlatformMessage *message, uint32_t result) {
    DxrHostMessage got;
    memcpy(&got, message->place, sizeof(got));
    DxrHostAcknowledge(NULL, &got, result); /* nobody may wait for it, which is well */
}

void PlatformAlarm(uint32_t alarm, uint32_t object, bool isRaised, char *text) {
    DXR_Alarm(alarm, object, DXR_HOST_ALARM_MAJOR,
              isRaised ? DXR_HOST_ALARM_RAISED : DXR_HOST_ALARM_CLEARED, text);
}

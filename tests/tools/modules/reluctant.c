/* A board that does not end at once when it is stopped: it uses so many milliseconds of processor
 * time, as one that has much to put away, or with "stuck" it waits for ever. */
#define _POSIX_C_SOURCE 200809L

#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "dxr_api.h"
#include "dxr_devhost.h"
#include "dxr_module.h"

int DxrModuleMain(int argc, char **argv) {
    const char *const word = argc > 1 ? argv[1] : "0";
    const DxrHostUnit unit = {DXR_HOST_UNIT_MPU, 0};
    const DxrHostMailbox mailbox = {.size = sizeof(mailbox), .unit = unit};
    DxrHostMessage message;
    (void)DxrHostOpenMailbox(NULL, &mailbox);
    (void)DxrHostReceiveMessage(NULL, &unit, &message, NULL, 0, DXR_HOST_FOREVER);
    while (strcmp(word, "stuck") == 0) {
        (void)pause();
    }
    const clock_t until = clock() + strtol(word, NULL, 10) * (CLOCKS_PER_SEC / 1000);
    while (clock() < until) {
    }
    (void)DxrHostCloseMailbox(NULL, &unit);
    return 0;
}

/* A program on the development host: one more library gives it memory, a log and a clock. */
#include <stdio.h>
#include <string.h>

#include "dxr_devhost.h"

static char g_lines[64];

static void KeepLine(const char *line, void *user) {
    char *lines = user;
    snprintf(lines + strlen(lines), sizeof(g_lines) - strlen(lines), "%s\n", line);
}

int main(void) {
    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.clock = DXR_HOST_CLOCK_STEPPED;
    options.startSec = 1000;
    DxrHost *host = DxrHostCreate(&options);
    if (host == NULL || DxrHostRegister(host) != 0) {
        return 1;
    }
    DxrHostSetDiagSink(host, KeepLine, g_lines);
    const DxrLogFilterCfg site = {3, 0, 0, 0, 0, 0};
    DXR_InitLogFilter(DXR_GetDefaultMid());
    for (unsigned i = 0; i < 10; ++i) {
        DXR_SameLogFilter(&site, "link %u down", i % 2);
    }
    DXR_DestroyLogFilter();
    if (strcmp(g_lines, "link 0 down\nlink 1 down\n") != 0) {
        fprintf(stderr, "let through: %s", g_lines);
        return 1;
    }
    return DxrHostDestroy(host, stderr) == 0 ? 0 : 1;
}

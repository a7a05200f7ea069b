/* A module written in C: it sees the public header and links the library, nothing else. It runs
 * with an empty host first and then with a small one. */
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "dxr_api.h"

static int g_failures;

static void Expect(int holds, const char *what) {
    if (!holds) {
        fprintf(stderr, "does not hold: %s\n", what);
        ++g_failures;
    }
}
#define EXPECT(condition) Expect((condition) ? 1 : 0, #condition)

static char g_lastLine[256];

static void Print(uint32_t level, const char *format, ...) {
    va_list args;
    (void)level;
    va_start(args, format);
    vsnprintf(g_lastLine, sizeof(g_lastLine), format, args);
    va_end(args);
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

static uint32_t GetSysWorkPath(char *buffer, uint32_t size) {
    return snprintf(buffer, size, "/opt/work") > 0 ? 0 : 1;
}

int main(void) {
    DxrHooks hooks;
    char path[64];
    void *block;

    EXPECT(DXR_BoardIsMaster() == 1);
    EXPECT(strcmp(DXR_GetBinFolderName(), ".") == 0);
    EXPECT(DXR_Malloc(DXR_GetDefaultMid(), 16, __FILE__, __LINE__) == NULL);

    memset(&hooks, 0, sizeof(hooks));
    hooks.memory.allocate = Allocate;
    hooks.memory.release = Release;
    hooks.print.print = Print;
    hooks.system.getSysWorkPath = GetSysWorkPath;
    EXPECT(DXR_RegisterHooks(&hooks) == 0);

    block = DXR_Malloc(DXR_GetDefaultMid(), 16, __FILE__, __LINE__);
    EXPECT(block != NULL);
    DXR_Free(block, __FILE__, __LINE__);
    EXPECT(DXR_GetBinFilePath("boot", "a.bin", path, sizeof(path)) == 0);
    EXPECT(strcmp(path, "/opt/work/boot/a.bin") == 0);
    EXPECT(DXR_PrintLargeBuffer("hello") == 0);
    EXPECT(strcmp(g_lastLine, "hello") == 0);
    EXPECT(DXR_TBLM_CHIPID_NOTCARE == 0xFFFF);
    EXPECT(g_dxrMemoryMid == DXR_GetDefaultMid());
    return g_failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

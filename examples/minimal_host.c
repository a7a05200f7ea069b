/* A host of three hooks: enough for the log filter. The other examples have the development host;
 * this one fills a table of its own, which is what it shows, and needs libdxr_api alone. */
#include <dxr_api.h>
#include <stdio.h>
#include <stdlib.h>

static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    (void)mid, (void)file, (void)line; /* a real host accounts the block to them */
    return malloc(size);
}

static void Release(void *block, const char *file, uint32_t line) {
    (void)file, (void)line;
    free(block);
}

static uint32_t WriteLine(const char *line) {
    return puts(line) < 0 ? 1 : 0;
}

int main(void) {
    DxrHooks hooks = {0}; /* what is not set stays empty */
    hooks.memory.allocate = Allocate;
    hooks.memory.release = Release;
    hooks.print.diagLogFilter = WriteLine;
    DXR_RegisterHooks(&hooks);

    DxrLogFilterCfg site = {0}; /* one place in a program that logs */
    site.logType = 3;
    DXR_InitLogFilter(DXR_GetDefaultMid());
    for (int i = 0; i < 1000; ++i) {
        DXR_SameLogFilter(&site, "link %d down", i % 2); /* two lines come out, not a thousand */
    }
    DXR_DestroyLogFilter();
    return 0;
}

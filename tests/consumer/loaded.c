/* A program that does not link the library but loads it while it runs: loaded [LIBRARY]. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "dxr_api.h"

static unsigned char g_block[64];
static uint32_t g_mid;

static void *Allocate(uint32_t mid, uint32_t size, const char *file, uint32_t line) {
    (void)file;
    (void)line;
    g_mid = mid;
    return size <= sizeof(g_block) ? g_block : NULL;
}

static void *g_library;

/* A function's address is copied as bytes: C knows no cast from an object's. */
static int Find(const char *name, void *pointer) {
    void *const found = dlsym(g_library, name);
    if (found == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 0;
    }
    memcpy(pointer, &found, sizeof(found));
    return 1;
}

int main(int argc, char **argv) {
    uint32_t (*registerHooks)(const DxrHooks *hooks);
    void *(*allocate)(uint32_t mid, uint32_t size, const char *file, uint32_t line);
    uint32_t (*getDefaultMid)(void);
    uint32_t *defaultMid;
    DxrHooks hooks;

    g_library = dlopen(argc > 1 ? argv[1] : "libdxr_api.so.1", RTLD_NOW | RTLD_LOCAL);
    if (g_library == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    if (!Find("DXR_RegisterHooks", &registerHooks) || !Find("DXR_Malloc", &allocate) ||
        !Find("DXR_GetDefaultMid", &getDefaultMid) || !Find("g_dxrMemoryMid", &defaultMid)) {
        return 1;
    }
    memset(&hooks, 0, sizeof(hooks));
    hooks.memory.allocate = Allocate;
    *defaultMid = 31;
    if (registerHooks(&hooks) != 0 || getDefaultMid() != 31 ||
        allocate(getDefaultMid(), 64, "loaded.c", 1) != g_block || g_mid != 31) {
        fprintf(stderr, "the loaded library does not call the hooks\n");
        return 1;
    }
    if (dlclose(g_library) != 0) {
        fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    return 0;
}

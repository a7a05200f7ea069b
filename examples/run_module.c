/* Runs a module on a development host of its own: run_module WORK_PATH MODULE.so [ARGUMENT ...]
 * The module may read files anywhere. Exits with what it returns, or 3 when it left something
 * behind, 4 when it cannot be loaded. */
#include <dlfcn.h>
#include <dxr_devhost.h>
#include <dxr_module.h>
#include <stdio.h>
#include <string.h>

typedef int (*ModuleMain)(int argc, char **argv);
typedef void (*ModuleEnd)(void);

int main(int argc, char **argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: %s WORK_PATH MODULE.so [ARGUMENT ...]\n", argv[0]);
        return 4;
    }
    void *const module = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    void *const begin = module != NULL ? dlsym(module, "DxrModuleMain") : NULL;
    if (begin == NULL) {
        fprintf(stderr, "%s\n", dlerror());
        return 4;
    }
    void *const end = dlsym(module, "DxrModuleEnd");
    /* ISO C knows no cast from what dlsym gives. */
    ModuleMain moduleMain;
    ModuleEnd moduleEnd;
    memcpy(&moduleMain, &begin, sizeof(begin));
    memcpy(&moduleEnd, &end, sizeof(end));

    DxrHostOptions options;
    DxrHostInitOptions(&options);
    options.workPath = argv[1];
    options.allowOutside = 1;
    DxrHost *const host = DxrHostCreate(&options);
    if (host == NULL || DxrHostRegister(host) != 0) {
        fprintf(stderr, "no host could be made\n");
        return 4;
    }
    const int result = moduleMain(argc - 2, argv + 2);
    if (moduleEnd != NULL) {
        moduleEnd();
    }
    const uint32_t leftovers = DxrHostDestroy(host, stderr);
    return result == 0 && leftovers != 0 ? 3 : result;
}

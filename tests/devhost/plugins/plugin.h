/* What the test and its plug-in share: the argument of the plug-in's functions. */
#ifndef DXR_TESTS_DEVHOST_PLUGINS_PLUGIN_H
#define DXR_TESTS_DEVHOST_PLUGINS_PLUGIN_H

#include <stdint.h>

typedef struct TestPlugin {
    uint32_t loads; /* how often each was called */
    uint32_t unloads;
    uint32_t loadResult; /* what each is to return */
    uint32_t checkResult;
    uint32_t startsTimer; /* what `load` and `unload` are to do */
    uint32_t stopsTimer;
    uint32_t registersModule;
    uint32_t leavesFunctions; /* that check, measure and handle messages */
    uint32_t leavesTable;     /* one that compares */
    uint32_t leavesControl;   /* of a device */
    uint32_t leavesWatch;     /* of a register */
    uint32_t leavesInterrupt;
    uint32_t leavesPreReset; /* what is called before a reset */
    uint32_t leavesCommand;
    uint32_t (*query)(void *question); /* called by its `query`; may be null */
    void (*work)(void);                /* called by `load` and `unload`; may be null */
    void *table;                       /* a hash table with functions of the plug-in, left by it */
} TestPlugin;

#endif /* DXR_TESTS_DEVHOST_PLUGINS_PLUGIN_H */

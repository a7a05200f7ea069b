/* The host's plug-in service: all eight slots of the Plugin group.
 *
 * A plug-in is a shared object below the host's plug-in directory (DxrHostOptions::pluginPath) that
 * exports DXR_HOST_PLUGIN_SYMBOL, a DxrHostPluginTable. Modules name it by a DxrHostPlugin record;
 * two records with one name mean the same plug-in. A result is 0 or a number of <errno.h> where
 * nothing else is said. A null record, one of a wrong size and one without a name are reported and
 * give EINVAL. Why a file cannot be used is said in a message of level 1.
 *
 *   DXR_RegisterBrdPlugin(plugin)    makes it known; the record is copied. EEXIST, reported, for a
 *                                    name that is known; ENOENT when there is no such file; EACCES,
 *                                    reported, for a file outside the plug-in directory, unless
 *                                    DxrHostOptions::allowOutside is set; what the machine says,
 *                                    with a message, when it cannot look the path up; ENOMEM
 *                                    (point "plugin.register")
 *   DXR_UnRegisterBrdPlugin(plugin)  forgets it. ENOENT when it is not registered; EBUSY, reported,
 *                                    while it is loaded
 *   DXR_LoadBrdPlugin(plugin)        opens the file, looks at its table, calls its `load`. ENOENT
 *                                    when it is not registered; EALREADY, reported, when it is
 *                                    loaded; EBUSY while another call loads, checks or unloads it;
 *                                    ENOEXEC when the file is no shared object that can be opened;
 *                                    ENOSYS when it has no such symbol; EPROTONOSUPPORT when table
 *                                    or plug-in have another version; what its `load` returned;
 *                                    ENOMEM (point "plugin.load"). It is then not loaded, and the
 *                                    file is closed as by unloading
 *   DXR_UnLoadBrdPlugin(plugin)      calls its `unload` and closes the file. Reported, and left as
 *                                    it is: a plug-in that is not loaded, and one while a call of
 *                                    it, also this one, is in progress. When tasks, timers,
 *                                    interrupts, hash tables, modules or others still need its code
 *                                    after `unload`, that is reported, and the code stays in memory
 *                                    until the host's end
 *   DXR_IsBrdPluginLoaded(plugin)    1 when it is loaded, else 0
 *   DXR_CheckBrdPlugin(plugin)       of a loaded one what its `check` returns, 0 without one; of
 *                                    another one what loading would give short of calling its
 *                                    `load`: the file is opened, looked at and closed as by
 *                                    unloading. ENOENT when it is not registered, EBUSY while
 *                                    another call loads, checks or unloads it
 *   DXR_QueryBrdPlugin(plugin, question, answer)   what its `query` returns; both pointers are
 *                                    passed on unread. ENOENT when it is not registered, ENXIO when
 *                                    it is not loaded, ENOSYS when it has no `query`
 *   DXR_DisplayBrdPlugin(plugin, print, user, detail)   one line for a plug-in, or, `plugin` null,
 *                                    for all that are registered, in the order of their names:
 *                                    handed to `print`, a DxrHostPluginPrint, with `user`; null
 *                                    `print`: messages of level 2. `detail` not 0: path and calls
 *                                    too
 *
 * At the host's end loaded and registered plug-ins are reported, then the files are closed; their
 * `unload` is not called, for no slot would answer it. While a task that does not end could still
 * run their code, they stay open.
 *
 * Functions of a plug-in are called without a lock of the host, on the thread of the slot's caller;
 * they may call slots. Any thread may call any slot.
 *
 * Cost: DXR_LoadBrdPlugin, and DXR_CheckBrdPlugin of one that is not loaded, open and link a file;
 * unloading looks through the tasks, timers, interrupts, hash tables and modules of the host for
 * what still needs the code. DXR_DisplayBrdPlugin takes a line for each plug-in, the others the
 * logarithm of how many are registered. */
#ifndef DXR_DEVHOST_PLUGIN_H
#define DXR_DEVHOST_PLUGIN_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* A version: the same major and at least the minor number fit. */
#define DXR_HOST_PLUGIN_VERSION(major, minor) (0x10000u * (major) + (minor))

/* By which modules name a plug-in. */
typedef struct DxrHostPlugin {
    uint32_t size;    /* sizeof(DxrHostPlugin) */
    uint32_t version; /* at least which, DXR_HOST_PLUGIN_VERSION; 0: any */
    const char *name; /* not empty; the others are looked at by DXR_RegisterBrdPlugin alone */
    const char *path; /* absolute, or below the plug-in directory; null: the name and ".so" */
    void *argument;   /* for its functions */
} DxrHostPlugin;

/* The version of the table below. */
#define DXR_HOST_PLUGIN_INTERFACE 1u

/* What a plug-in exports. Its functions get the record's argument; null ones are not called. */
typedef struct DxrHostPluginTable {
    uint32_t size;             /* sizeof(DxrHostPluginTable) */
    uint32_t version;          /* the plug-in's, DXR_HOST_PLUGIN_VERSION */
    uint32_t interfaceVersion; /* DXR_HOST_PLUGIN_INTERFACE */
    uint32_t reserved;
    uint32_t (*load)(void *argument); /* not 0: it is not loaded */
    void (*unload)(void *argument);
    uint32_t (*check)(void *argument);
    uint32_t (*query)(void *argument, void *question, void *answer);
} DxrHostPluginTable;

/* The name of the table: const DxrHostPluginTable dxrHostPlugin = {...}. */
#define DXR_HOST_PLUGIN_SYMBOL "dxrHostPlugin"

/* Gets a line that DXR_DisplayBrdPlugin makes, without a line feed. */
typedef void (*DxrHostPluginPrint)(const char *line, void *user);

/* What is known of a plug-in. */
typedef struct DxrHostPluginInfo {
    char name[64];     /* cut when it is longer, as the path */
    char path[256];    /* without links and dots */
    uint32_t isLoaded; /* 1 or 0 */
    uint32_t version;  /* of the plug-in while it is loaded, else 0 */
    uint32_t inside;   /* calls of its functions that are in progress */
    uint32_t loads;    /* how often it was loaded */
} DxrHostPluginInfo;

/* Copies what is known of the registered plug-ins, in the order of their names, at most `room` of
 * them. Returns how many there are; `plugins` may be null when `room` is 0. */
DXR_API uint32_t DxrHostGetPlugins(DxrHost *host, DxrHostPluginInfo *plugins, uint32_t room);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_PLUGIN_H */

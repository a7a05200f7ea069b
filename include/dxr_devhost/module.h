/* The host's module service: all five slots of the Init group.
 *
 * None of the slots says which module calls, but for the registration record. The host tells by the
 * caller's code: the program or the shared object that registered a record is its module. One that
 * registered several speaks, in the slots without a record, for the last of them that is still
 * registered.
 *
 *   DXR_Register(record)            registers the module that a DxrHostModule describes; what it
 *                                   says is copied. Reported, and not registered: a null record, a
 *                                   wrong size, no name, an identifier or a name that another
 *                                   registered module has, no memory (point "module.register")
 *   DXR_UnRegister()                ends the registration of the caller's module; without one that
 *                                   is reported
 *   DXR_SetUdf(udf)                 keeps the pointer for the caller's module, in place of the one
 *                                   before; without a module that is reported. It is never followed
 *   DXR_RegisterVelderFuncs(flag)   keeps the flag for the caller's module when it has one, and as
 *                                   the host's last one. DXR_Register of the library calls the slot
 *                                   after the registration, also after one that failed
 *   DXR_GetThis()                   what the record gave as `instance`; null without a module
 *
 * Modules that are still registered at the host's end are reported. All may be called from any
 * thread.
 *
 * Cost: a slot without a record finds the caller's code, for which it may go up the stack of the
 * thread, and looks for it among the registered modules; DXR_Register compares its record with
 * them, and looks for the caller's code among the files that are loaded. */
#ifndef DXR_DEVHOST_MODULE_H
#define DXR_DEVHOST_MODULE_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* The registration record. The library reads the flag at offset 12. */
typedef struct DxrHostModule {
    uint32_t size;     /* sizeof(DxrHostModule) */
    uint32_t mid;      /* the module identifier, as given to DXR_Malloc */
    uint32_t version;  /* the module's own; kept for listings */
    uint8_t useVelder; /* not 0: it uses the Velder function set */
    uint8_t reserved[3];
    const char *name; /* not empty; kept up to 63 bytes, which tell it from others */
    void *instance;   /* for DXR_GetThis */
} DxrHostModule;

DXR_STATIC_ASSERT(offsetof(DxrHostModule, useVelder) == 12, "where the library reads the flag");

/* What is known of a registered module. */
typedef struct DxrHostModuleInfo {
    uint32_t mid;
    uint32_t version;
    uint32_t useVelder; /* the flag that DXR_RegisterVelderFuncs gave last for it; until then the
                           record's */
    uint32_t reserved;
    char name[64];
    void *instance;
    void *udf; /* null: none was set */
} DxrHostModuleInfo;

/* Copies what is known of the registered modules, in the order of registration, at most `room` of
 * them. Returns how many there are; `modules` may be null when `room` is 0. */
DXR_API uint32_t DxrHostGetModules(DxrHost *host, DxrHostModuleInfo *modules, uint32_t room);

/* The flag last given to DXR_RegisterVelderFuncs; 0 at first. */
DXR_API uint32_t DxrHostGetVelder(DxrHost *host);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_MODULE_H */

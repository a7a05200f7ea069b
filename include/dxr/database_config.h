/* Board data, memory parameters and advanced specifications, and the names of configuration files.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Cfg group. Parameters named argN are the host's to
 * define and pass through unread. */
#ifndef DXR_DATABASE_CONFIG_H
#define DXR_DATABASE_CONFIG_H

#include "dxr/base.h"
#include "dxr/database_config_slots.h"

DXR_EXTERN_C_BEGIN

/* Writes "../conf/<name>_0x<id1>_0x<id2>.json", both numbers as eight upper-case hexadecimal
 * digits, into a buffer of `bufSize` bytes: always terminated, cut without report when it does not
 * fit. A null name gives an empty text; with a null buffer or a size of 0 nothing is written. Uses
 * no hook; callable from any thread. */
DXR_API void DXR_CFG_FmtCfgFile(const char *name, uint32_t id1, uint32_t id2, char *buf,
                                uint32_t bufSize);

DXR_EXTERN_C_END

#endif /* DXR_DATABASE_CONFIG_H */

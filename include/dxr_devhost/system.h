/* The host's system service. Slots of the System group:
 *
 *   5  DXR_FOpen             a file; the handle is the host's. Null: no such file, a path outside
 *                            the work path where that is not allowed, point "file.open"
 *   6  DXR_FClose            0, or 1
 *   7  DXR_FRead             the bytes read, not the items; 0 at the end and on failure, point
 *                            "file.read"
 *   8  DXR_FileLength        bytes; 0xFFFFFFFF for failures and for 4 GiB - 1 and more
 *   9  DXR_GetBinFolderName  the host's text
 *  10  DXR_GetSysWorkPath    0, or 1 when there is no room for it and its terminator
 *  15  DXR_FSeek             origin SEEK_SET, SEEK_CUR or SEEK_END; with the last two the offset is
 *                            a signed number. 0, or 1
 *
 * All may be called from any thread. A handle that is none is reported and gives the failure value.
 */
#ifndef DXR_DEVHOST_SYSTEM_H
#define DXR_DEVHOST_SYSTEM_H

#include "dxr_devhost/host.h"

DXR_EXTERN_C_BEGIN

/* The work path given to the library, without a trailing slash. */
DXR_API void DxrHostSetWorkPath(DxrHost *host, const char *path);

/* The binary-data folder below the work path. Not while another thread uses a name obtained from
 * DXR_GetBinFolderName. */
DXR_API void DxrHostSetBinFolderName(DxrHost *host, const char *name);

DXR_EXTERN_C_END

#endif /* DXR_DEVHOST_SYSTEM_H */

/* Binary data files below the host's work directory: paths, loading, the latest file of a folder.
 *
 * The work path is asked of the host (DXR_GetSysWorkPath) at every call; a host that registered no
 * such hook has an empty one. Files are reached through the host's file hooks, folders through the
 * C library. Failures are also printed where a print hook is registered, but for a failed
 * allocation, null pointers to the loader and a search that finds nothing; the codes are the same
 * either way.
 *
 * Cost: a file is read in one piece, into memory that was zeroed; the latest file is found by one
 * pass over the folder.
 *
 * Thread safety: no state of its own; concurrent calls are as safe as the hooks they reach. */
#ifndef DXR_SYSTEM_BIN_FILE_H
#define DXR_SYSTEM_BIN_FILE_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Writes "<work path>/<folderName>/<fileName>" into `filePath`, `len` bytes in size. A path that
 * does not fit is cut, and that is a success. Returns 0, or 1 when the host gives no work path,
 * when nothing could be stored (`len` of 0 or 1) and for a null pointer. */
DXR_API uint32_t DXR_GetBinFilePath(const char *folderName, const char *fileName, char *filePath,
                                    uint32_t len);

/* Loads the file `filePath`, 1 to 10485759 bytes long, in one read. The host's DXR_FRead must
 * report the bytes it has read, not the items.
 *
 * Returns 0 with the bytes in `*data` and their number in `*len`; the block was allocated under
 * DXR_GetDefaultMid() and is the caller's, to be released with DXR_Free. Returns 1 when the file is
 * missing, has another length, cannot be opened or read whole, when there is no memory for it and
 * for a null pointer; the outputs are then left as they were. */
DXR_API uint32_t DXR_GetBinFileDataByFilePath(const char *filePath, uint8_t **data, uint32_t *len);

/* DXR_GetBinFileDataByFilePath of the path that DXR_GetBinFilePath forms; at most 255 characters of
 * it count. Returns 1 when either fails. */
DXR_API uint32_t DXR_GetBinFileData(const char *folderName, const char *fileName, uint8_t **data,
                                    uint32_t *len);

/* Writes "<work path>/<subDir>" into `path`, `len` bytes in size. A path that does not fit is cut,
 * and that is a success. Returns 0; 8 when the host gives no work path; 9 when nothing could be
 * stored (`len` of 0 or 1) and for a null pointer. */
DXR_API uint32_t DXR_GetWorkDir(const char *subDir, char *path, uint32_t len);

/* Finds in the folder `subDir` of the work directory the entry whose name is greatest in byte
 * order, among those that contain `pattern`, and writes the name into `fileName`, `len` bytes in
 * size. Where names carry a time stamp of fixed width that is the latest. An empty pattern is
 * contained in every name, "." and ".." included; a null one in none.
 *
 * Returns 0, or with `fileName` all zeros:
 * -  8: `fileName` is null, and nothing is written
 * -  9: there is no path of the folder, whatever the reason
 * - 10: the folder cannot be opened
 * - 11: a name greater than all read before it does not fit with its terminator; that ends the
 *   search, even before a greater one that would fit
 * - 12: no entry matched, or `len` is 0 */
DXR_API uint32_t DXR_GetLatestFile(const char *pattern, const char *subDir, char *fileName,
                                   uint32_t len);

DXR_EXTERN_C_END

#endif /* DXR_SYSTEM_BIN_FILE_H */

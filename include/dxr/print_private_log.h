/* Private log files: one plain text file a module, in a fixed directory. The host writes (Print
 * slot 8); the library hands it long texts in steps, reads a log back, tells its length, cuts it.
 *
 * File names are bare names, appended to the directory as they are; they come from trusted code.
 * Every failure is told by the result alone, nothing is printed.
 *
 * Cost: a log is read to its end, whatever fits; a cut copies what is kept, 512 bytes at a time.
 *
 * Threads: no lock and no state but the files. Every function may be called from any thread, as far
 * as the hooks may; calls on different logs do not meet, but for cuts: all share one temporary
 * file, so cuts, of whatever logs, must not run at the same time. Who reads or measures a log while
 * it is written or cut finds some of it, all of it or, for a moment of the cut, none. The caller
 * sees to both. */
#ifndef DXR_PRINT_PRIVATE_LOG_H
#define DXR_PRINT_PRIVATE_LOG_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Where the logs are. */
#define DXR_PRIVATE_LOG_DIRECTORY "/opt/lomk2/var/log/"

/* Characters that the host writes at most in one call. */
#define DXR_PRIVATE_LOG_WRITE_MAX 1000u

/* The one size of path buffer DXR_GetPrivateLogPath takes, in bytes. */
#define DXR_PRIVATE_LOG_PATH_SIZE 4096u

/* Resolves the path of log `name`, which must exist, into `out` of `outSize` bytes; `outSize` must
 * be DXR_PRIVATE_LOG_PATH_SIZE. 0, or 1 on failure: `out` then holds nothing of use. */
DXR_API uint32_t DXR_GetPrivateLogPath(const char *name, char *out, uint32_t outSize);

/* Hands the terminated `text` of `length` characters to the host's Print slot 8 as
 * write(name, "%s", rest), with the rest from character 0, 1000, 2000 and so on below `length` to
 * the end of the text: the host writes the first 1000 of them. Result 0. Length 0 makes one call
 * with an empty text, whatever `text` is, by which the host creates the file, and gives the hook's
 * result. With an empty slot, a null name, or a null text and a length: 0, and nothing is
 * written. */
DXR_API uint32_t DXR_WritePrivateLog(const char *name, uint32_t length, const char *text);

/* Reads log `name` into `out` of `outSize` bytes, line by line, cut to what fits and terminated. A
 * line is kept up to its first NUL byte. An empty log leaves `out` as it was. A read error counts
 * as the end. 0, or 1 when the log cannot be opened or there is no room even for a terminator. */
DXR_API uint32_t DXR_GetPrivateLog(const char *name, char *out, uint32_t outSize);

/* Length of log `name` in bytes as DXR_FileLength tells it, or 0xFFFFFFFF on failure. Its path
 * buffer comes from DXR_Malloc under module identifier 6 and is released before the return. */
DXR_API uint32_t DXR_GetPrivateLogLen(const char *name);

/* Keeps the newest `maxLength` bytes of log `name`. 0, also when the log is no longer than that; 1
 * on failure, or for a log of 2 GiB and more. The cut goes through the file "dxr_log.tmp" of the
 * directory, which the host creates by an empty write; with Print slot 8 empty it must exist
 * already. Until the log is removed a failure leaves it untouched; when the renaming fails after
 * that, or the process is killed before it, the log is missing and "dxr_log.tmp" holds what was
 * kept. Errors of reading and writing are not reported: what is kept is then shorter. A log of that
 * very name is lost when it is cut. */
DXR_API uint32_t DXR_FixPrivateLogLen(const char *name, uint32_t maxLength);

/* Copies `length` bytes from byte `offset` of `source` into `destination`, which must exist and is
 * emptied first. A source that ends early is copied as far as it goes. 0, or 1 when a file cannot
 * be resolved, opened or positioned. Read and write errors are not reported. */
DXR_API uint32_t DXR_CopyFile(const char *source, const char *destination, uint32_t offset,
                              uint32_t length);

DXR_EXTERN_C_END

#endif /* DXR_PRINT_PRIVATE_LOG_H */

/* Records and function types that slots of the hook table share. Their layout is part of the binary
 * interface with the host. */
#ifndef DXR_TYPES_H
#define DXR_TYPES_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* A calendar time, written by the host through DXR_GetSysTime. */
typedef struct DxrSysTime {
    uint16_t year;
    uint8_t month;
    uint8_t day;
    uint8_t hour;
    uint8_t minute;
    uint8_t second;
    uint8_t reserved[5]; /* further fields of the host's, which the library never reads */
} DxrSysTime;

/* A request to the host's table manager. Packed: the pointers are not aligned. */
#pragma pack(push, 1)
typedef struct DxrTblmRequest {
    uint32_t tableId;
    void *key;
    uint32_t keyLen; /* bytes */
    void *data;
    uint32_t dataLen;   /* bytes */
    uint32_t dataValid; /* 1 when data is not null, else 0 */
    uint8_t reserved[16];
} DxrTblmRequest;
#pragma pack(pop)

/* A slot that the library never reads; the host may fill it or leave it empty. */
typedef void (*DxrReservedHook)(void);

/* Prints one message in the manner of printf. The library uses level 1 for failures, 2 for a file
 * that cannot be opened, 6 for information and success; dxr/print.h says which message has which.
 */
typedef void (*DxrPrintHook)(uint32_t level, const char *format, ...) DXR_PRINTF(2, 3);

/* Appends one message to the private log of that name, in the manner of printf, creating the log
 * where needed. Writes at most the first 1000 characters of a message: the library hands a longer
 * text over again and again, from every 1000th character on to its end. */
typedef uint32_t (*DxrPrivateLogHook)(const char *name, const char *format, ...) DXR_PRINTF(2, 3);

/* Takes a finished line for a log filter of the host; the result is not looked at. */
typedef uint32_t (*DxrFilterLogHook)(void *handle, const char *text);

DXR_EXTERN_C_END

DXR_STATIC_ASSERT(sizeof(DxrSysTime) == 12, "DxrSysTime is 12 bytes");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, year) == 0, "year");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, month) == 2, "month");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, day) == 3, "day");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, hour) == 4, "hour");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, minute) == 5, "minute");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, second) == 6, "second");
DXR_STATIC_ASSERT(offsetof(DxrSysTime, reserved) == 7, "reserved");

DXR_STATIC_ASSERT(sizeof(DxrTblmRequest) == DXR_LAYOUT(48, 2), "DxrTblmRequest is 48 bytes");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, tableId) == 0, "tableId");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, key) == 4, "key");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, keyLen) == DXR_LAYOUT(12, 1), "keyLen");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, data) == DXR_LAYOUT(16, 1), "data");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, dataLen) == DXR_LAYOUT(24, 2), "dataLen");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, dataValid) == DXR_LAYOUT(28, 2), "dataValid");
DXR_STATIC_ASSERT(offsetof(DxrTblmRequest, reserved) == DXR_LAYOUT(32, 2), "reserved");

#endif /* DXR_TYPES_H */

/*
 * CRC-8: polynomial 0x31 (x^8 + x^5 + x^4 + 1), most significant bit first, initial register 0, no
 * final XOR. By a table of one entry for each byte, which is built at the first calculation.
 *
 * Cost: each byte once, and of the first calculation the table.
 *
 * Threads: calculations may run on any threads at once, the first ones too: one of them builds the
 * table, none waits for it. What a caller writes into flag or table, and DXR_InitCrc8Table, must
 * not run beside them: there is no lock.
 */
#ifndef DXR_UTILS_CRC8_H
#define DXR_UTILS_CRC8_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Entry i is the register after 8 steps from i; all 0 until the table is built. A calculation while
 * another thread builds it may return sooner than it is whole: who reads the table itself waits
 * until then, or builds it with DXR_InitCrc8Table and sets the flag before there are threads. */
extern DXR_API uint8_t g_dxrCrc8Table[256];

/* 1 once a calculation has built the table; at load 0. A caller who sets it vouches for the table.
 */
extern DXR_API uint8_t g_dxrCrc8TableInit;

/* Builds the table (again). Leaves the flag alone. */
DXR_API void DXR_InitCrc8Table(void);

/*
 * The CRC, 0 to 255, of the `len` bytes at `data`, by the table as it stands once the flag is set.
 * A `len` of 0 gives 0 and does not read `data`.
 */
DXR_API uint32_t DXR_CalculateCrc8(const uint8_t *data, uint64_t len);

DXR_EXTERN_C_END

#endif /* DXR_UTILS_CRC8_H */

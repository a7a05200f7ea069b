/* The platform service interface of a traffic-manager software kit. Includes everything.
 *
 * Threads: the library has no thread of its own; a function runs on its caller's. Dispatchers
 * (dxr/hooks.h) take no lock and are as thread-safe as the host's hooks. The log filter has a mutex
 * per log type, made by the host. All other process-wide state (hook table, default module
 * identifier, recorder, simulated messages, filter trees) has none: set it up during start-up or
 * use it from one thread, as the header of each says in its first comment. The CRC's table is built
 * by whoever comes first. What works on the caller's objects alone may run on any threads, each on
 * its own. Cost: a dispatcher is a getter call, a load, a test and a jump; it never allocates. What
 * costs more says so at its declaration.
 *
 * Some names mean something else than they seem to (DXR_ReverseBmp, DXR_InverseBitMap, DXR_FlipBit,
 * DXR_IsBitHit, DXR_SaveLinkToBitMapByAbsLinkId, DXR_DiagLogFilter, DXR_SllIteratorMoveToHead):
 * docs/names.md lists them.
 *
 * Duties. docs/duties.md has them all, numbered, with the test of each; those that come first:
 *   HOST-1  Register the table before services are called, and never while one is running.
 *           Before: fallbacks are answered. During: some calls see the old slot, some the new. Not
 *           noticed.
 *   HOST-3  Zero the table before filling it: what stands in a slot is called. Not noticed.
 *   HOST-4  Give each hook the type of its slot. Else the behaviour is undefined. Only the compiler
 *           can tell, for tables built from DxrHooks.
 *   HOST-5  Fill Db slots 10 and 11 together. With 10 alone DXR_GetNgTmPortInfoByTmPortFromDb calls
 *           a null pointer. Not noticed.
 *   HOST-7  Write no more than a hook was given room for (12 bytes for DXR_GetSysTime). Not
 *           noticed.
 *   HOST-8  Let no exception out of a hook. Else the behaviour is undefined. Not noticed.
 *   HOST-9  Let a memory, time, print or mutex hook call the log filter only where it can take the
 *           mutex of the log type: the filter calls these hooks while it holds that of a type
 *           (dxr/print_log_filter_store.h). The log hook, Print slot 4, is called without one. Else
 *           a mutex that cannot be taken twice never returns. Not noticed.
 *   HOST-10 Allocate blocks of the full size, aligned for any type, and take them back through the
 *           release hook. Without an allocator every allocation fails and each function says so.
 *           Else not noticed.
 *   MODULE-1 Pass buffers of the size that is passed with them. Not noticed.
 *   MODULE-2 Pass no null pointer unless the declaration takes it. The library's own functions that
 *           take text test for null, hot ones do not; dispatchers hand on whatever they get, unless
 *           they say otherwise.
 *   MODULE-5 Release a block that was handed over with DXR_Free. Else it leaks; the host's
 *           accounting by module identifier, file and line shows it.
 *   MODULE-8 Keep to one thread where a header says so. Not noticed.
 */
#ifndef DXR_API_H
#define DXR_API_H

#include "dxr/alarm.h"
#include "dxr/base.h"
#include "dxr/database.h"
#include "dxr/database_config.h"
#include "dxr/device.h"
#include "dxr/fault.h"
#include "dxr/fault_management.h"
#include "dxr/hash.h"
#include "dxr/hooks.h"
#include "dxr/info_recorder.h"
#include "dxr/kpi.h"
#include "dxr/list.h"
#include "dxr/memory.h"
#include "dxr/message.h"
#include "dxr/message_filter.h"
#include "dxr/module.h"
#include "dxr/network_processor.h"
#include "dxr/plugin.h"
#include "dxr/print.h"
#include "dxr/print_log_filter.h"
#include "dxr/print_log_filter_store.h"
#include "dxr/print_private_log.h"
#include "dxr/simulate_message.h"
#include "dxr/system.h"
#include "dxr/system_bin_file.h"
#include "dxr/system_table.h"
#include "dxr/system_task.h"
#include "dxr/system_time.h"
#include "dxr/temperature.h"
#include "dxr/types.h"
#include "dxr/utils_bitmap.h"
#include "dxr/utils_crc8.h"
#include "dxr/utils_link_bitmap.h"
#include "dxr/utils_numeric.h"
#include "dxr/version.h"

#endif /* DXR_API_H */

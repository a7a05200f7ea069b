/* The development host: a device on a laptop, for programs, tests and examples that have no
 * platform of their own. One header a service says what the host makes of its slots. */
#ifndef DXR_DEVHOST_H
#define DXR_DEVHOST_H

#include "dxr_devhost/alarm.h"
#include "dxr_devhost/chassis.h"
#include "dxr_devhost/database.h"
#include "dxr_devhost/database_config.h"
#include "dxr_devhost/device.h"
#include "dxr_devhost/fault_management.h"
#include "dxr_devhost/hash.h"
#include "dxr_devhost/host.h"
#include "dxr_devhost/kpi.h"
#include "dxr_devhost/list.h"
#include "dxr_devhost/memory.h"
#include "dxr_devhost/message.h"
#include "dxr_devhost/module.h"
#include "dxr_devhost/network_processor.h"
#include "dxr_devhost/plugin.h"
#include "dxr_devhost/print.h"
#include "dxr_devhost/system.h"
#include "dxr_devhost/system_table.h"
#include "dxr_devhost/system_task.h"
#include "dxr_devhost/system_time.h"
#include "dxr_devhost/temperature.h"

#endif /* DXR_DEVHOST_H */

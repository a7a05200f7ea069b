#include "dxr/system_task.h"

#include <sched.h>

uint32_t DXR_SchedYield() {
    return static_cast<uint32_t>(sched_yield());
}

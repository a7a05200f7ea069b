// What the scheduler needs of the task service.
#ifndef DXR_DEVHOST_SYSTEM_TASK_INTERNAL_H
#define DXR_DEVHOST_SYSTEM_TASK_INTERNAL_H

#include <string>

#include "thread_record.h"

namespace devhost {

class Host;

// A thread ends: reports the mutexes of the host that it holds, which nobody can unlock any more.
// `who` names it. Throws std::bad_alloc.
void ReportHeldMutexes(Host &host, ThreadRecord &thread, const std::string &who);

}  // namespace devhost

#endif  // DXR_DEVHOST_SYSTEM_TASK_INTERNAL_H

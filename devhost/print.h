// What the rest of the host uses of the print service.
#ifndef DXR_DEVHOST_PRINT_INTERNAL_H
#define DXR_DEVHOST_PRINT_INTERNAL_H

#include <cstdint>

namespace devhost {

class Host;

// Opens the log file, once all services are there. What goes wrong is reported.
void OpenLog(Host &host);

// A message of the host itself.
void Say(Host &host, uint32_t level, const char *text);

}  // namespace devhost

#endif  // DXR_DEVHOST_PRINT_INTERNAL_H

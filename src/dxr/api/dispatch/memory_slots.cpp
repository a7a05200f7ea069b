// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/memory_slots.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

void DXR_Free(void *block, const char *file, uint32_t line) {
    Call(DXR_GetMemoryHooks()->release, block, file, line);
}

// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

#include "dxr/plugin.h"

#include "dispatch/call.h"
#include "dxr/hooks.h"

using dxr::Call;

uint32_t DXR_RegisterBrdPlugin(void *plugin) {
    return Call(DXR_GetPluginHooks()->registerBrdPlugin, 0, plugin);
}

uint32_t DXR_UnRegisterBrdPlugin(void *plugin) {
    return Call(DXR_GetPluginHooks()->unRegisterBrdPlugin, 0, plugin);
}

uint32_t DXR_LoadBrdPlugin(void *plugin) {
    return Call(DXR_GetPluginHooks()->loadBrdPlugin, 0, plugin);
}

void DXR_UnLoadBrdPlugin(void *plugin) {
    Call(DXR_GetPluginHooks()->unLoadBrdPlugin, plugin);
}

uint32_t DXR_IsBrdPluginLoaded(void *plugin) {
    return Call(DXR_GetPluginHooks()->isBrdPluginLoaded, 0, plugin);
}

uint32_t DXR_CheckBrdPlugin(void *plugin) {
    return Call(DXR_GetPluginHooks()->checkBrdPlugin, 0, plugin);
}

uint32_t DXR_QueryBrdPlugin(void *arg1, void *arg2, void *arg3) {
    return Call(DXR_GetPluginHooks()->queryBrdPlugin, 0, arg1, arg2, arg3);
}

void DXR_DisplayBrdPlugin(void *arg1, void *arg2, void *arg3, uint32_t arg4) {
    Call(DXR_GetPluginHooks()->displayBrdPlugin, arg1, arg2, arg3, arg4);
}

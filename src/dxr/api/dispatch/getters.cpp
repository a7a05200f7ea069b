// Made by hooks/generate.py from hooks/slots.yaml; do not edit.

// The getters stay real functions: host and library reach a group the same way. Their bodies are
// seen by the dispatchers nevertheless, which therefore keep their arguments in their registers
// across the call.

#include "dxr/hooks.h"

[[gnu::noinline]] DxrAlarmHooks *DXR_GetAlarmHooks() {
    return &DXR_GetHooks()->alarm;
}

[[gnu::noinline]] DxrDbHooks *DXR_GetDbHooks() {
    return &DXR_GetHooks()->db;
}

[[gnu::noinline]] DxrDevHooks *DXR_GetDevHooks() {
    return &DXR_GetHooks()->dev;
}

[[gnu::noinline]] DxrInitHooks *DXR_GetInitHooks() {
    return &DXR_GetHooks()->init;
}

[[gnu::noinline]] DxrListHooks *DXR_GetListHooks() {
    return &DXR_GetHooks()->list;
}

[[gnu::noinline]] DxrMemoryHooks *DXR_GetMemoryHooks() {
    return &DXR_GetHooks()->memory;
}

[[gnu::noinline]] DxrMsgHooks *DXR_GetMsgHooks() {
    return &DXR_GetHooks()->msg;
}

[[gnu::noinline]] DxrPrintHooks *DXR_GetPrintHooks() {
    return &DXR_GetHooks()->print;
}

[[gnu::noinline]] DxrSystemHooks *DXR_GetSystemHooks() {
    return &DXR_GetHooks()->system;
}

[[gnu::noinline]] DxrTaskHooks *DXR_GetTaskHooks() {
    return &DXR_GetHooks()->task;
}

[[gnu::noinline]] DxrTblmHooks *DXR_GetTblmHooks() {
    return &DXR_GetHooks()->tblm;
}

[[gnu::noinline]] DxrTimeHooks *DXR_GetTimeHooks() {
    return &DXR_GetHooks()->time;
}

[[gnu::noinline]] DxrCfgHooks *DXR_GetCfgHooks() {
    return &DXR_GetHooks()->cfg;
}

[[gnu::noinline]] DxrJsonDecodeHooks *DXR_GetJsonDecodeHooks() {
    return &DXR_GetHooks()->jsonDecode;
}

[[gnu::noinline]] DxrNpHooks *DXR_GetNpHooks() {
    return &DXR_GetHooks()->np;
}

[[gnu::noinline]] DxrPluginHooks *DXR_GetPluginHooks() {
    return &DXR_GetHooks()->plugin;
}

[[gnu::noinline]] DxrHashHooks *DXR_GetHashHooks() {
    return &DXR_GetHooks()->hash;
}

[[gnu::noinline]] DxrFfmHooks *DXR_GetFfmHooks() {
    return &DXR_GetHooks()->ffm;
}

[[gnu::noinline]] DxrKpiHooks *DXR_GetKpiHooks() {
    return &DXR_GetHooks()->kpi;
}

[[gnu::noinline]] DxrTemperatureHooks *DXR_GetTemperatureHooks() {
    return &DXR_GetHooks()->temperature;
}

/* Made by hooks/generate.py from hooks/slots.yaml; do not edit. */

/* Board plug-ins.
 *
 * Dispatchers as dxr/hooks.h describes them: no lock, no allocation, as thread-safe as the hook. A
 * result is the hook's; slots count within the Plugin group. Parameters named argN are the host's
 * to define and pass through unread; what the development host makes of them is an example. */
#ifndef DXR_PLUGIN_H
#define DXR_PLUGIN_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Registers a board plug-in. Slot 0; 0 without a hook. In the development host: plugin (in, a
 * record). */
DXR_API uint32_t DXR_RegisterBrdPlugin(void *plugin);

/* Ends the registration of a board plug-in. Slot 1; 0 without a hook. In the development host:
 * plugin (in, a record). */
DXR_API uint32_t DXR_UnRegisterBrdPlugin(void *plugin);

/* Loads a board plug-in. Slot 2; 0 without a hook. In the development host: plugin (in, a
 * record). */
DXR_API uint32_t DXR_LoadBrdPlugin(void *plugin);

/* Unloads a board plug-in. Slot 3; does nothing without a hook. In the development host: plugin
 * (in, a record). */
DXR_API void DXR_UnLoadBrdPlugin(void *plugin);

/* Tells whether a board plug-in is loaded. Slot 4; 0 without a hook. In the development host:
 * plugin (in, a record). */
DXR_API uint32_t DXR_IsBrdPluginLoaded(void *plugin);

/* Checks a board plug-in. Slot 5; 0 without a hook. In the development host: plugin (in, a
 * record). */
DXR_API uint32_t DXR_CheckBrdPlugin(void *plugin);

/* Queries a board plug-in. Slot 6; 0 without a hook. In the development host: plugin (in, a
 * record), question, answer. */
DXR_API uint32_t DXR_QueryBrdPlugin(void *arg1, void *arg2, void *arg3);

/* Displays board plug-ins. Slot 7; does nothing without a hook. In the development host: plugin
 * (in, a record), print, user, detail. */
DXR_API void DXR_DisplayBrdPlugin(void *arg1, void *arg2, void *arg3, uint32_t arg4);

DXR_EXTERN_C_END

#endif /* DXR_PLUGIN_H */

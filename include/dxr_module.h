/* A module as a program loads it: a shared object with a way in and, where it needs one, a way out.
 * `dxrsh run` and `dxrsh replay` load such modules; a host of its own may do it as they do.
 *
 * A module defines what is declared here, includes the library's header and links the library; it
 * brings no host along. When DxrModuleMain is called, a host is registered, so that all services
 * can be used; what happens earlier, in constructors of the shared object, finds no host.
 *
 * The module is at work from the call of DxrModuleMain to the return of DxrModuleEnd: tasks that it
 * created, timers that it started and handlers that it registered are called in between. A program
 * ends the host after that, and what the module has not given back counts as left behind. */
#ifndef DXR_MODULE_ENTRY_H
#define DXR_MODULE_ENTRY_H

#include "dxr/base.h"

DXR_EXTERN_C_BEGIN

/* Runs the module. argv[0] is the path that the module was loaded from, argv[1] to argv[argc - 1]
 * are its arguments, argv[argc] is null; all stay the caller's, and valid until DxrModuleEnd has
 * returned. Called once, on the program's first thread, which is the task "main" of a development
 * host. A module that runs on by tasks and timers waits in here until its work is done: the
 * return ends the run. Returns 0 when all went well; any other value is the module's failure.
 *
 * Every module defines this function. */
DXR_API int DxrModuleMain(int argc, char **argv);

/* Gives back what the module still holds: stops its timers, ends its tasks and waits for them, and
 * releases its memory. Called once on the same thread, after DxrModuleMain has returned, whatever
 * it returned, also when the host has ended the run (a reset, a deadlock, the end of the time):
 * then every wait gives its failure value at once. The shared object may be unloaded after that.
 *
 * A module may define this function. */
DXR_API void DxrModuleEnd(void);

DXR_EXTERN_C_END

#endif /* DXR_MODULE_ENTRY_H */

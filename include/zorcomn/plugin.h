/** @file
 * Prototypes of the entry points that the library looks up in a module (qelLoadLibrary, qelLoadString and the version
 * stamps), for a module to include: the compiler then checks what the module defines, and exports it. Each entry point
 * is optional; a declaration alone asks for no definition. Not for programs that load modules. C99 and C++.
 *
 * @include agent/plugin.cpp
 */
#pragma once
#include "api.h"
#include "portability.h"
#include "utilities.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Told of the module's first load and of its unloading; see qelDllMain.
 * @param module    the module's own handle.
 * @param reason    ZORCOMN_ATTACH or ZORCOMN_DETACH.
 * @param reserved  null.
 * @return on attach 1; anything else refuses, and the load fails.
 * Error cell: the module's affair.  Threads: called by one at a time.  Owns: nothing.
 */
ZORCOMN_API int32_t DllMain(void *module, uint32_t reason, void *reserved);

/** Serves the module's string resources; see qelLoadString, which hands its arguments on as they are.
 * @param module  the module's own handle.
 * @param id      which text.
 * @param buffer  receives it.
 * @param size    as module and callers agree, commonly the buffer's size in bytes.
 * @return as module and callers agree, commonly the text's length; 0 for no such text.
 * Error cell: the module's affair.  Threads: as the module promises.  Owns: the buffer stays the caller's.
 */
ZORCOMN_API int32_t loadString(void *module, uint32_t id, char *buffer, int32_t size);

/** Tells the module's version; see qelPluginGetVersion.
 * @param first, second, third, fourth  receive the version's numbers; never null, and 0 at the call.
 * @return 0 when the version is told; anything else refuses.
 * Error cell: the module's affair.  Threads: as the module promises.  Owns: nothing.
 */
ZORCOMN_API int32_t ORPLUGIN_GetVersion(uint16_t *first, uint16_t *second, uint16_t *third, uint16_t *fourth);

#ifdef __cplusplus
}
#endif

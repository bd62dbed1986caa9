#ifndef ORVU_PLUGIN_H
#define ORVU_PLUGIN_H

#include "orvu_types.h"

/* The one symbol that a plug-in exports. */
#if defined(_WIN32)
#define ORVU_PLUGIN_API __declspec(dllexport)
#else
#define ORVU_PLUGIN_API __attribute__((visibility("default")))
#endif

ORVU_EXTERN_C_BEGIN

/* Enters the plug-in. The host loads the library and calls this on a thread of its own.
 * host_argument is the host's: the plug-in hands it unread to orvu_basedrv_init_driver.
 * Returns 0 when the plug-in stands (also when it stood already), else a code for the log. */
#if defined(ORVU_BUILDING_PLUGIN)
ORVU_PLUGIN_API
#endif
int32_t orvu_plugin_init(void* host_argument);

typedef int32_t (*orvu_plugin_entry)(void* host_argument);
#define ORVU_PLUGIN_ENTRY_NAME "orvu_plugin_init"

ORVU_EXTERN_C_END

#endif /* ORVU_PLUGIN_H */

#ifndef ORVU_CORE_H
#define ORVU_CORE_H

#include "orvu_types.h"

ORVU_EXTERN_C_BEGIN

typedef json_t *(*orvu_res_handler)(int32_t status, orvu_request request);
ORVU_API int32_t orvu_res_locate(const char *path, int32_t flag, orvu_res_handler handler);
ORVU_API int32_t orvu_res_locate_ex(const char *path, int32_t check, int32_t flag, orvu_res_handler handler, const char *schema);
ORVU_API json_t *orvur_req_get_param(orvu_request request);

typedef struct { const char *ns; const char *name; int32_t reserved; } orvu_subscriber_attr;
typedef void (*orvu_subscription_cb)(int32_t error, uintptr_t reserved, int32_t moment, json_t *payload, orvu_subscriber_ref ref);
ORVU_API orvu_subscriber orvu_subscriber_new(const orvu_subscriber_attr *attr);
ORVU_API int32_t orvu_subscriber_subscribe(orvu_subscriber s, const char *subscribee, int32_t flag, orvu_subscription_cb callback);
ORVU_API int32_t orvu_subscriber_pushforward(orvu_subscriber s, json_t *object, int32_t a, int32_t b);
ORVU_API const orvu_subscriber_attr *orvu_subscriber_get_attr(orvu_subscriber_ref ref);
ORVU_API int32_t orvu_subscribee_install(const char *name, int32_t a, int32_t b, orvu_subscription_cb callback, void (*second)(void));
ORVU_API int32_t orvu_subscribee_pushback(orvu_subscriber_ref ref, json_t *object, int32_t a, int32_t b);

typedef struct { const void *reserved[3]; json_t *param; } orvu_cond_attr;
typedef struct { int32_t state; uint64_t reserved[2]; } orvu_cond_result;
typedef int32_t (*orvu_cond_cb)(orvu_cond cond, int32_t operation);
ORVU_API int32_t orvu_cond_exec_install(const char *name, int32_t a, int32_t b, orvu_cond_cb callback);
ORVU_API const orvu_cond_attr *orvu_cond_get_attr(orvu_cond cond);
ORVU_API int32_t orvu_cond_res_changed(orvu_cond cond, const orvu_cond_result *result);

ORVU_API void orvu_poll_wait(int32_t interval);
typedef void (*orvu_timer_cb)(uintptr_t reserved, void *argument);
ORVU_API orvu_timer orvu_timer_start(uint32_t delay, orvu_timer_cb callback, void *argument);
ORVU_API int32_t orvu_timer_stop(orvu_timer timer);

typedef void (*orvu_dbg_handler)(int32_t argc, const char *const *argv, orvu_dbg context);
ORVU_API int32_t orvu_dbg_decl(const char *name, const char *command, const char *help, orvu_dbg_handler handler);
ORVU_API int32_t orvu_dbg_echo(orvu_dbg context, int32_t code, const char *text);

ORVU_API int64_t orvu_basedrv_init_driver(void *host_argument);
typedef void (*orvu_event_handler)(int32_t status, orvu_msg message, void *context, uintptr_t reserved);
ORVU_API int32_t orvu_basedrv_register_event_notify(int32_t cls, int32_t sub, orvu_event_handler handler, void *context, int32_t limit, uint16_t mask);
ORVU_API int32_t orvu_basedrv_unregister_event_notify(int32_t cls, int32_t sub, orvu_event_handler handler, uint16_t mask);
ORVU_API void *orvu_basedrv_get_notify_msgdata(orvu_msg message);
ORVU_API int32_t orvu_basedrv_complete_msg(orvu_msg message);
ORVU_API int32_t orvu_funcdrv_get_procpath(uint64_t pid, orvu_wchar *buffer, uint32_t capacity);
ORVU_API int32_t orvu_funcdrv_get_all_appids(void *buffer, uint32_t *count);
ORVU_API int32_t orvu_funcdrv_get_app_path(void *buffer, uint32_t *count);
ORVU_API int32_t orvu_funcdrv_add_appid_pid_relation(uint64_t pid, uint32_t appid, uint8_t inherit, const orvu_wchar *path, const char *tag);
ORVU_API int32_t orvu_funcdrv_add_appid_pid_relation_by_parent(uint64_t pid, uint64_t parent_pid);
ORVU_API int32_t orvu_funcdrv_add_unident_app_relation(const orvu_wchar *path);
ORVU_API int32_t orvu_funcdrv_clear_appid_path_relation(void);
ORVU_API int32_t orvu_funcdrv_set_applibrary_version(const char *tag, uint64_t version, uint64_t *old_version);

ORVU_EXTERN_C_END

#endif /* ORVU_CORE_H */

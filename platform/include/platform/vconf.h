/*
 * Key store: typed values under path-like names, seen by all processes of the camera at once.
 *
 * Results are 0 on success and negative on failure.  All calls may be used from any thread.
 * A watch's callback runs on the main loop (GLib's default context) of the process that watches,
 * once for each write from the moment of vconf_notify_key_changed on, in the order of the writes,
 * each with the value written then; a repeated value and the process's own writes are told too.
 */
#ifndef PLATFORM_VCONF_H
#define PLATFORM_VCONF_H

#ifdef __cplusplus
extern "C" {
#endif

enum vconf_type {
    VCONF_TYPE_NONE = 0,
    VCONF_TYPE_INT = 1,
    VCONF_TYPE_BOOL = 2,
    VCONF_TYPE_STRING = 3,
};

/* One change of one key: owned by the key store, valid during the callback only. */
typedef struct keynode keynode_t;
typedef void (*vconf_callback_fn)(keynode_t *node, void *user_data);

/* `*value` is left alone on failure: the key does not exist or has another type. */
int vconf_get_int(const char *key, int *value);
int vconf_get_bool(const char *key, int *value);

/* Create the key or replace its value and type. */
int vconf_set_int(const char *key, int value);
int vconf_set_str(const char *key, const char *value);

/* One watch for each pair of key and callback; the key need not exist yet.  Watching a pair again
 * replaces its user data.  Ignoring a pair that is not watched fails. */
int vconf_notify_key_changed(const char *key, vconf_callback_fn callback, void *user_data);
int vconf_ignore_key_changed(const char *key, vconf_callback_fn callback);

/* What has changed.  Asking for another type than the node's gives 0 and NULL. */
int vconf_keynode_get_type(const keynode_t *node);
int vconf_keynode_get_int(const keynode_t *node);
char *vconf_keynode_get_str(const keynode_t *node);
char *vconf_keynode_get_name(const keynode_t *node);

#ifdef __cplusplus
}
#endif

#endif

/* The router's support library: key/value ("taglist") files, number lists, port
 * lookups. On the router the vendor's library provides these (TAVIO_PLATFORM=external);
 * off it, router_support_host.cc implements them on plain files under TAVIO_ROOT. Plain C so
 * that either can be linked. Paths given here are the router's own; the host implementation
 * puts the root prefix in front where it meets the file system. */
#ifndef TAVIO_PLATFORM_ROUTER_SUPPORT_H
#define TAVIO_PLATFORM_ROUTER_SUPPORT_H

#ifdef __cplusplus
extern "C" {
#endif

/* ---- taglist files: KEY=VALUE lines ---- */
typedef struct taglist taglist_t;

/** Loads a taglist file; null when it is missing or unreadable (an empty file is an empty
 *  list). mode and flags are the vendor's open options; the host ignores them. */
taglist_t* load_taglist_ex(const char* path, int mode, int flags);
/** The value of the key formed from key_format and its arguments, or def when absent. The
 *  text is borrowed from the list (or is def) and lives until the list is changed or freed. */
const char* get_taglist_default_ex(const taglist_t* list, const char* def, const char* key_format,
                                   ...) __attribute__((format(printf, 3, 4)));
/** Sets key to value, adding the key at the end when it is new; 0 on success, -1 on failure. */
int update_taglist_ex(taglist_t* list, const char* key, const char* value);
/** Writes the list back to the file it was loaded from, atomically; 0 on success, -1 on
 *  failure (the old file is then untouched). */
int save_taglist_ex(taglist_t* list, int mode);
/** Frees the list; null is ignored. */
void free_taglist(taglist_t* list);

/* ---- counted list of integers ---- */
typedef struct numlist {
  int count;
  int* nums;
} numlist_t;

/** The integers in text, separated by blanks and/or commas; other tokens are skipped. Null
 *  only when memory runs out; a null or empty text gives an empty list. */
numlist_t* create_numlist(const char* text);
/** Appends one number; 0 on success, -1 on failure. */
int insert_numlist(numlist_t* list, int number);
/** Frees the list; null is ignored. */
void free_numlist(numlist_t* list);

/* ---- port lookups ---- */
/** The connection port identifier of a front-panel port number. */
int get_conn_port_id(int port);
/** The physical type of a connection port; 1 is Ethernet, 0 unknown. */
int get_physical_type_ex(int conn_port_id, int flags);

#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
#include <memory>

namespace tavio {

struct TaglistFree {
  void operator()(taglist_t* list) const { free_taglist(list); }
};
/// An owned taglist, freed on scope exit.
using TaglistPtr = std::unique_ptr<taglist_t, TaglistFree>;

/// Loads a taglist file the way the router's callers do (mode 1, flags 0).
inline TaglistPtr load_taglist(const char* path) { return TaglistPtr(load_taglist_ex(path, 1, 0)); }

struct NumlistFree {
  void operator()(numlist_t* list) const { free_numlist(list); }
};
/// An owned number list.
using NumlistPtr = std::unique_ptr<numlist_t, NumlistFree>;

}  // namespace tavio
#endif

#endif

/* The C interface of shared reader plug-ins (.so modules registered with
 * "registersharedreader", Filler::ReadSharedReader or the preference file).
 *
 * A plug-in exports one function, quorvix_reader_plugin, that returns a
 * description of the plug-in. The library loads each registered module once
 * (dlopen) and keeps it for the life of the process, so everything the
 * description points to may be static.
 *
 * Reading a file: `read` fills a QvxReaderResult with a flat list of
 * vectors, each named by subcase, data type, request and component; the
 * library groups them into its tree in the order given. Everything `read`
 * points to stays the plug-in's: the library copies it and then calls
 * `release` on the same result (also after a failed read), where the
 * plug-in frees what it allocated. On failure `read` returns non-zero and
 * sets `error` (also freed by `release`).
 */
#ifndef QUORVIX_READER_PLUGIN_H
#define QUORVIX_READER_PLUGIN_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Bumped whenever a structure below changes; the library refuses a module
 * built for another version. */
#define QVX_READER_PLUGIN_VERSION 1

typedef struct QvxReaderVector {
  const char* subcase;   /* subcase label; NULL or "" for a file without subcases */
  const char* type;      /* data type name */
  const char* request;   /* request name */
  const char* component; /* component name */
  const char* unit;      /* NULL when the file gives none */
  const double* values;
  size_t length;
} QvxReaderVector;

typedef struct QvxReaderResult {
  const QvxReaderVector* vectors;
  size_t count;
  const char* error; /* why the file cannot be read; NULL on success */
  void* context;     /* the plug-in's own, for `release` */
} QvxReaderResult;

typedef struct QvxReaderPlugin {
  /* QVX_READER_PLUGIN_VERSION as the plug-in was built; always first. */
  int interface_version;
  const char* name;
  /* The file extensions the plug-in takes, without the dot, compared
   * case-insensitively; NULL-terminated. May be NULL when `probe` is set. */
  const char* const* extensions;
  /* Non-zero when the plug-in takes the file `path` (it may look inside).
   * May be NULL: then the extensions decide. */
  int (*probe)(const char* path);
  /* Reads the file into `out` (zero-initialised by the caller): 0 on
   * success, non-zero with out->error set on failure. */
  int (*read)(const char* path, QvxReaderResult* out);
  /* Frees what `read` allocated for `out`. May be NULL. */
  void (*release)(QvxReaderResult* out);
} QvxReaderPlugin;

/* The one symbol a plug-in exports. */
typedef const QvxReaderPlugin* (*QvxReaderPluginEntry)(void);
#define QVX_READER_PLUGIN_ENTRY "quorvix_reader_plugin"

#ifdef __cplusplus
}
#endif

#endif /* QUORVIX_READER_PLUGIN_H */

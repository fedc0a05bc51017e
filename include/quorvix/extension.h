/* Functions in a shared library, called from expressions.
 *
 * A host registers one with MathParser::AddExtDLLFunc(name, library, entry,
 * word1, word2). On the first call the library is loaded (and kept for the
 * rest of the process) and `entry` is looked up; it must have the type
 * quorvix_extension_function:
 *
 *   int entry(quorvix_call* call);
 *
 * The arguments and the call record belong to quorvix and live for the call
 * only. The function answers through the call's setters, which copy what
 * they are given, so nothing crosses the boundary that either side must
 * free. It returns 0 when it set a result; otherwise the call fails with the
 * message given to set_error, or a general one when there is none.
 */
#ifndef QUORVIX_EXTENSION_H
#define QUORVIX_EXTENSION_H

#ifdef __cplusplus
extern "C" {
#endif

/* The layout of the records below; a function may refuse a version it does
 * not know. */
#define QUORVIX_EXTENSION_VERSION 1

enum quorvix_kind {
  QUORVIX_NUMBERS = 0, /* rows x cols doubles, row-major; a scalar is 1 x 1 */
  QUORVIX_STRING = 1   /* one NUL-terminated string */
};

typedef struct quorvix_value {
  int kind;
  int rows;
  int cols;
  const double* data; /* QUORVIX_NUMBERS */
  const char* text;   /* QUORVIX_STRING */
} quorvix_value;

typedef struct quorvix_call quorvix_call;
struct quorvix_call {
  int version; /* QUORVIX_EXTENSION_VERSION */
  int word1;   /* the two words given at registration */
  int word2;
  int argc;
  const quorvix_value* argv; /* argc arguments */
  /* The result: numbers (copied), a string (copied) or an error message. */
  void (*set_numbers)(quorvix_call* call, int rows, int cols, const double* data);
  void (*set_string)(quorvix_call* call, const char* text);
  void (*set_error)(quorvix_call* call, const char* message);
  void* result; /* quorvix's own; not for the function */
};

typedef int (*quorvix_extension_function)(quorvix_call* call);

#ifdef __cplusplus
}
#endif

#endif /* QUORVIX_EXTENSION_H */

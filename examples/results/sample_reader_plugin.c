/* A sample shared reader plug-in for a made-up format, ".qvs":
 *
 *   QVS1
 *   subcase 1
 *   time [s]: 0 0.5 1
 *   force [N]: 10 12.5 11
 *
 * The first line is the signature. "subcase LABEL" starts a subcase; every
 * other non-empty line is a request of the data type "sample": its name, an
 * optional unit in brackets, a colon and its numbers (component "value").
 *
 * Build: cc -shared -fPIC -I<quorvix>/include sample_reader_plugin.c -o sample_reader_plugin.so
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "quorvix/reader_plugin.h"

/* Files beyond this size are refused rather than read into memory. */
#define MAX_FILE_BYTES (64L << 20)

/* Everything one read allocates, freed by release. */
typedef struct Context {
  char* text;
  QvxReaderVector* vectors;
  double* numbers;
  char error[160];
} Context;

static int fail(QvxReaderResult* out, Context* c, const char* why, int line) {
  if (line > 0)
    snprintf(c->error, sizeof c->error, "%s in line %d", why, line);
  else
    snprintf(c->error, sizeof c->error, "%s", why);
  out->error = c->error;
  out->vectors = NULL;
  out->count = 0;
  return 1;
}

static char* read_all(const char* path, long* size) {
  FILE* f = fopen(path, "rb");
  char* text = NULL;
  if (f == NULL) return NULL;
  if (fseek(f, 0, SEEK_END) == 0 && (*size = ftell(f)) >= 0 && *size <= MAX_FILE_BYTES &&
      fseek(f, 0, SEEK_SET) == 0 && (text = malloc((size_t)*size + 1)) != NULL) {
    if (fread(text, 1, (size_t)*size, f) != (size_t)*size) {
      free(text);
      text = NULL;
    } else {
      text[*size] = '\0';
    }
  }
  fclose(f);
  return text;
}

static char* trim(char* s) {
  while (*s == ' ' || *s == '\t') ++s;
  char* end = s + strlen(s);
  while (end > s && (end[-1] == ' ' || end[-1] == '\t' || end[-1] == '\r')) *--end = '\0';
  return s;
}

static int qvs_read(const char* path, QvxReaderResult* out) {
  Context* c = calloc(1, sizeof *c);
  long size = 0;
  if (c == NULL) return 1;
  out->context = c;
  c->text = read_all(path, &size);
  if (c->text == NULL) return fail(out, c, "cannot read the file", 0);
  if (strncmp(c->text, "QVS1", 4) != 0) return fail(out, c, "not a QVS1 file", 0);
  /* A line holds at most size / 2 + 1 numbers and there are at most
   * size / 2 + 1 lines: both bounds keep the arrays within the file's size. */
  c->numbers = malloc(sizeof(double) * ((size_t)size / 2 + 1));
  c->vectors = malloc(sizeof(QvxReaderVector) * ((size_t)size / 2 + 1));
  if (c->numbers == NULL || c->vectors == NULL) return fail(out, c, "out of memory", 0);
  const char* subcase = "";
  size_t used = 0;
  int line_number = 1;
  char* next = strchr(c->text, '\n');
  while (next != NULL) {
    char* line = next + 1;
    ++line_number;
    next = strchr(line, '\n');
    if (next != NULL) *next = '\0';
    line = trim(line);
    if (*line == '\0') continue;
    if (strncmp(line, "subcase ", 8) == 0) {
      subcase = trim(line + 8);
      continue;
    }
    char* colon = strchr(line, ':');
    if (colon == NULL) return fail(out, c, "missing ':'", line_number);
    *colon = '\0';
    QvxReaderVector* v = &c->vectors[out->count++];
    v->subcase = subcase;
    v->type = "sample";
    v->component = "value";
    v->unit = NULL;
    char* bracket = strchr(line, '[');
    if (bracket != NULL) {
      char* close = strchr(bracket, ']');
      if (close == NULL) return fail(out, c, "unclosed unit", line_number);
      *close = '\0';
      *bracket = '\0';
      v->unit = bracket + 1;
    }
    v->request = trim(line);
    v->values = c->numbers + used;
    v->length = 0;
    char* p = colon + 1;
    for (;;) {
      while (*p == ' ' || *p == '\t') ++p;
      if (*p == '\0') break;
      char* end = NULL;
      double x = strtod(p, &end);
      if (end == p) return fail(out, c, "not a number", line_number);
      c->numbers[used++] = x;
      ++v->length;
      p = end;
    }
  }
  if (out->count == 0) return fail(out, c, "no data", 0);
  out->vectors = c->vectors;
  return 0;
}

static void qvs_release(QvxReaderResult* out) {
  Context* c = out->context;
  if (c == NULL) return;
  free(c->text);
  free(c->vectors);
  free(c->numbers);
  free(c);
  out->context = NULL;
}

static const char* const qvs_extensions[] = {"qvs", NULL};

#ifdef SAMPLE_READER_WRONG_VERSION
#define SAMPLE_VERSION (QVX_READER_PLUGIN_VERSION + 1)
#else
#define SAMPLE_VERSION QVX_READER_PLUGIN_VERSION
#endif

static const QvxReaderPlugin qvs_plugin = {
    SAMPLE_VERSION, "qvs", qvs_extensions, NULL, qvs_read, qvs_release,
};

const QvxReaderPlugin* quorvix_reader_plugin(void) { return &qvs_plugin; }

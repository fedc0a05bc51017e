// Value record, argument list and function-table entry shared by the whole
// expression service. These are plain records: hosts and built-ins read and
// write their fields directly.
//
// Ownership: `name`, every string of `str_list`, `str_list` itself and `data`
// are array allocations owned by the record. Whoever holds a `symtab*` owns it
// and frees it with `Delete()`.
#ifndef QUORVIX_SYMTAB_H
#define QUORVIX_SYMTAB_H

#include <cstddef>

// Kind codes held in symtab::type.
enum SymtabKind : unsigned short {
  SYM_UNDEFINED = 0,
  SYM_SCALAR = 1,
  SYM_ARRAY = 2,
  SYM_STRINGS = 3,
};

struct symtab {
  char* name = nullptr;       // owned; null for anonymous values
  char** str_list = nullptr;  // kind 3: num_strings owned strings
  double* data = nullptr;     // kind 2: rows x cols doubles, row-major
  double value = 0.0;         // kind 1
  unsigned short type = SYM_UNDEFINED;
  int rows = 0;
  int cols = 0;
  int num_strings = 0;
  int reserved1 = 0;
  int reserved2 = 0;
  unsigned short shared = 0;  // belongs to a variable table
  unsigned short frozen = 0;  // set by freeze(), cleared by thaw()
  int reserved3 = 0;

  symtab() = default;
  // Deep copy of every field.
  symtab(const symtab& other);
  symtab& operator=(const symtab& other);
  // Moves take the payload and the name; the source is left empty (kind 0).
  symtab(symtab&& other) noexcept;
  symtab& operator=(symtab&& other) noexcept;
  ~symtab();

  // Frees the record and everything it owns; `this` is dead afterwards.
  void Delete();
  // Frees data and strings; keeps the record, its name and num_strings.
  void Clear();

  int NumElements() const;
  // New anonymous record holding element i; null when i is out of range.
  symtab* Element(int i) const;

  short IsScalar() const;
  short IsVector() const;
  short IsRowVector() const;
  short IsMatrix() const;
  short IsString() const;
  short IsStringList() const;

  // Helpers used throughout the library (not part of the raw record layout).
  void SetScalar(double v);  // frees any payload, kind 1
  // Frees any payload and makes a rows x cols array; the elements are left
  // uninitialised. Returns data. Past the policy's element limit it throws
  // the expression language's error and leaves the record as it was.
  double* SetArray(int r, int c);
  void SetString(const char* s);        // frees any payload, one string
  void SetStrings(char** list, int n);  // takes ownership of list and strings
  void SetName(const char* n);          // copies n (null clears)
  void DropName();                      // results are anonymous
  void ReleasePayload();                // frees payload, kind 0, counts 0
  void Swap(symtab& other) noexcept;

  // Pooled allocation: value records are created and freed at a high rate
  // during evaluation, so they come from a free list.
  static void* operator new(std::size_t size);
  static void operator delete(void* p, std::size_t size) noexcept;
};

// Copies a string into a new[] allocation (null yields null).
char* newstrdup(const char* s);

struct sym_list {
  symtab** args = nullptr;
  int count = 0;

  sym_list() = default;
  // Makes a list of n empty (null) slots.
  explicit sym_list(int n);
  sym_list(const sym_list&) = delete;
  sym_list& operator=(const sym_list&) = delete;
  // Deletes every non-null slot and frees the array.
  ~sym_list();

  // Takes ownership of slot i (nulls the slot).
  symtab* Take(int i) {
    symtab* s = args[i];
    args[i] = nullptr;
    return s;
  }
};

using BuiltinHandler = symtab* (*)(sym_list*);
using ContextHandler = symtab* (*)(void* context, sym_list*);

struct funtab {
  char* name = nullptr;
  BuiltinHandler handler = nullptr;
  short nargs = 0;
  short is_external = 0;
  char* program = nullptr;
  short is_user = 0;
  char* body = nullptr;
  char** arg_names = nullptr;
  short is_library = 0;
  short library_word = 0;
  char* library = nullptr;
  int has_context = 0;
  ContextHandler context_handler = nullptr;
  void* context = nullptr;
  // quorvix::CallFlag bits of a plain built-in: what it touches beyond its
  // arguments. Checked against the calling parser's policy before each call.
  unsigned call_flags = 0;
  // For a pure element-wise built-in without flags: the handler's function of
  // one number, which a call with one scalar argument uses instead.
  double (*scalar_kernel)(double) = nullptr;
  // Non-zero for a plain built-in that only reads its arguments through
  // peeks and takes (copies) any record it modifies or returns: a variable
  // holding an array may then reach it as a view of the variable's own
  // storage, a record with `shared` set whose `data` the handler must
  // neither change nor free. The built-ins' argument reader (builtins::Args)
  // gives a handler that takes such a record a copy of its own.
  short reads_in_place = 0;

  funtab() = default;
  funtab(const funtab&) = delete;
  funtab& operator=(const funtab&) = delete;
  ~funtab();
};

#endif  // QUORVIX_SYMTAB_H

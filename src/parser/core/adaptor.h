// SymtabAdaptor: the host side of evaluation. Nodes never compute on values
// themselves; every operation goes through this interface, which fills or
// reads value slots (symtab records held by the caller) and raises
// ParserCore_NS::Error with the given text position on failure.
#ifndef QUORVIX_PARSER_CORE_ADAPTOR_H
#define QUORVIX_PARSER_CORE_ADAPTOR_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quorvix/symtab.h"

namespace ParserCore_NS {

// Per-node memo of a variable lookup, valid while the owner's table
// generation is unchanged.
struct VariableCache {
  const void* owner = nullptr;
  std::uint64_t generation = 0;
  symtab* record = nullptr;
};

// Per-node memo of a function lookup, valid for one registry generation.
struct FunctionCache {
  std::uint64_t generation = ~std::uint64_t{0};
  funtab* entry = nullptr;
  double (*scalar)(double) = nullptr;
};

class SymtabAdaptor {
 public:
  virtual ~SymtabAdaptor() = default;

  virtual void copyValue(const symtab& from, symtab& to, int pos) = 0;
  virtual void makeRange(symtab& start, symtab& end, symtab& step, symtab& out, int pos) = 0;
  virtual void makeString(std::string_view text, symtab& out, int pos) = 0;
  virtual void makeArray(std::vector<symtab>& elements, symtab& out, int pos) = 0;
  virtual void makeNumber(double value, symtab& out, int pos) = 0;
  virtual void assignValue(symtab& to, const symtab& from, int pos) = 0;
  virtual void releaseValue(symtab& v) = 0;

  virtual void add(symtab& left, symtab& right, int pos) = 0;
  virtual void subtract(symtab& left, symtab& right, int pos) = 0;
  virtual void multiply(symtab& left, symtab& right, int pos) = 0;
  virtual void divide(symtab& left, symtab& right, int pos) = 0;
  virtual void modulus(symtab& left, symtab& right, int pos) = 0;
  virtual void power(symtab& left, symtab& right, int pos) = 0;
  virtual void negate(symtab& v, int pos) = 0;
  virtual void transpose(symtab& v, int pos) = 0;
  virtual void dot(symtab& left, symtab& right, int pos) = 0;
  virtual void cross(symtab& left, symtab& right, int pos) = 0;
  virtual void increment(symtab& v, int pos) = 0;
  virtual void decrement(symtab& v, int pos) = 0;

  virtual bool isZero(const symtab& v, int pos) = 0;
  virtual bool isOne(const symtab& v, int pos) = 0;
  virtual bool isScalar(const symtab& v) = 0;
  virtual bool isSingleString(const symtab& v) = 0;
  virtual double toDouble(const symtab& v, int pos) = 0;
  virtual std::string toString(const symtab& v, int pos) = 0;

  // Applies one or two whole-number indices to v in place.
  virtual void subscript(symtab& v, const unsigned* indices, int count, int pos) = 0;
  // Selects the elements (or rows) named by the numeric array `sub`.
  virtual void subrange(symtab& v, const symtab& sub, int pos) = 0;
  virtual void compare(symtab& left, symtab& right, unsigned relation, int pos) = 0;

  virtual bool functionExists(const char* name) = 0;
  virtual funtab* functionIndex(const char* name) = 0;
  virtual void setEmpty(symtab& v) = 0;
  // Calls a function with `count` evaluated arguments, which it consumes.
  // `arg_names` holds, per argument, the variable it was read from (null
  // entries for computed values); null when no argument is a variable.
  virtual void callFunction(const std::string& name, FunctionCache& cache, symtab* args, int count,
                            const std::string* const* arg_names, symtab& out, int pos) = 0;
  virtual void readVariable(const std::string& name, VariableCache& cache, symtab& out,
                            int pos) = 0;
  // Stores value into the variable, or into the element named by the
  // subscript values (each a scalar index or a numeric index array).
  virtual void assign(const std::string& name, std::vector<symtab>& subscripts, const symtab& value,
                      int pos) = 0;
  virtual bool allowEscapes() = 0;
  // Stores a whole variable, looked up through the node's memo.
  virtual void assignVariable(const std::string& name, VariableCache& cache, const symtab& value,
                              int pos) = 0;
  // The variable's own record (numeric array or strings), read-only; null
  // for anything else.
  virtual const symtab* peekValue(const std::string&, VariableCache&) { return nullptr; }
  // Element (or row) of `base` by one or two indices into `out`, leaving the
  // base untouched; the messages are those of subscript().
  virtual void subscriptOf(const symtab& base, const unsigned* indices, int count, symtab& out,
                           int pos) = 0;
  virtual bool readScalar(const std::string&, VariableCache&, double&) { return false; }
  virtual bool callScalar(const std::string&, FunctionCache&, double, double&) { return false; }

  // Logical operators on the non-short-circuited path.
  virtual void logicalAnd(symtab& left, symtab& right, int pos) = 0;
  virtual void logicalOr(symtab& left, symtab& right, int pos) = 0;
  virtual void logicalNot(symtab& v, int pos) = 0;
};

}  // namespace ParserCore_NS

#endif

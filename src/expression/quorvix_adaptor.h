// The adaptor between expression trees and value records: variables live in
// the current MathParser, functions in the process-wide registry, and the
// arithmetic is the in-place value operations.
#ifndef QUORVIX_EXPRESSION_QUORVIX_ADAPTOR_H
#define QUORVIX_EXPRESSION_QUORVIX_ADAPTOR_H

#include "parser/core/adaptor.h"

namespace MathParser_NS {

// The plain double function behind a plain built-in that has one (sin, abs,
// ...), so that a scalar call skips the argument list; null for any other
// entry (and for null).
double (*PureKernel(const funtab* e))(double);

class QuorvixSymtabAdaptor : public ParserCore_NS::SymtabAdaptor {
 public:
  void copyValue(const symtab& from, symtab& to, int pos) override;
  void makeRange(symtab& start, symtab& end, symtab& step, symtab& out, int pos) override;
  void makeString(std::string_view text, symtab& out, int pos) override;
  void makeArray(std::vector<symtab>& elements, symtab& out, int pos) override;
  void makeNumber(double value, symtab& out, int pos) override;
  void assignValue(symtab& to, const symtab& from, int pos) override;
  void releaseValue(symtab& v) override;

  void add(symtab& left, symtab& right, int pos) override;
  void subtract(symtab& left, symtab& right, int pos) override;
  void multiply(symtab& left, symtab& right, int pos) override;
  void divide(symtab& left, symtab& right, int pos) override;
  void modulus(symtab& left, symtab& right, int pos) override;
  void power(symtab& left, symtab& right, int pos) override;
  void negate(symtab& v, int pos) override;
  void transpose(symtab& v, int pos) override;
  void dot(symtab& left, symtab& right, int pos) override;
  void cross(symtab& left, symtab& right, int pos) override;
  void increment(symtab& v, int pos) override;
  void decrement(symtab& v, int pos) override;

  bool isZero(const symtab& v, int pos) override;
  bool isOne(const symtab& v, int pos) override;
  bool isScalar(const symtab& v) override;
  bool isSingleString(const symtab& v) override;
  double toDouble(const symtab& v, int pos) override;
  std::string toString(const symtab& v, int pos) override;

  void subscript(symtab& v, const unsigned* indices, int count, int pos) override;
  void subrange(symtab& v, const symtab& sub, int pos) override;
  void compare(symtab& left, symtab& right, unsigned relation, int pos) override;

  bool functionExists(const char* name) override;
  funtab* functionIndex(const char* name) override;
  void setEmpty(symtab& v) override;
  void callFunction(const std::string& name, ParserCore_NS::FunctionCache& cache, symtab* args,
                    int count, const ParserCore_NS::ArgumentSource* sources, symtab& out,
                    int pos) override;
  const symtab* peekValue(const std::string& name, ParserCore_NS::VariableCache& cache) override;
  void subscriptOf(const symtab& base, const unsigned* indices, int count, symtab& out,
                   int pos) override;
  bool readScalar(const std::string& name, ParserCore_NS::VariableCache& cache,
                  double& out) override;
  bool callScalar(const std::string& name, ParserCore_NS::FunctionCache& cache, double x,
                  double& out) override;
  void readVariable(const std::string& name, ParserCore_NS::VariableCache& cache, symtab& out,
                    int pos) override;
  void assign(const std::string& name, std::vector<symtab>& subscripts, const symtab& value,
              int pos) override;
  bool allowEscapes() override;
  void assignVariable(const std::string& name, ParserCore_NS::VariableCache& cache,
                      const symtab& value, int pos) override;

  void logicalAnd(symtab& left, symtab& right, int pos) override;
  void logicalOr(symtab& left, symtab& right, int pos) override;
  void logicalNot(symtab& v, int pos) override;
};

}  // namespace MathParser_NS

#endif

// The measured workloads, shared by the side-by-side comparison and the
// Google Benchmark binary so that both time exactly the same loops (the deck
// benchmark uses only the variable helpers).
//
// Every loop returns a checksum of what it computed: it keeps the optimiser
// from dropping the work and lets the caller check that the contenders agree.
#ifndef QUORVIX_BENCH_WORKLOADS_H
#define QUORVIX_BENCH_WORKLOADS_H

#include <cstddef>
#include <memory>
#include <vector>

#include <muParser.h>

#include "quorvix/math_parser.h"

namespace bench {

// Variables of `p` named `name`: a scalar, and a 1 x n row vector.
void AddScalar(MathParser& p, const char* name, double v);
void AddRowVector(MathParser& p, const char* name, const std::vector<double>& v);

// Scalar formula -------------------------------------------------------------

inline constexpr const char* kScalarFormula = "a*sin(b)+c^2/(1+a)";
inline constexpr double kB = 0.7;
inline constexpr double kC = 1.3;

// The value of `a` at iteration i: different every time, same for everyone.
inline double AValue(long i) { return 1.0 + static_cast<double>(i) * 1e-7; }

// A MathParser holding a, b, c and the parsed formula; `a_record` is the
// table record of `a`, written directly per iteration (the cheapest public
// way to change a variable).
struct QuorvixScalar {
  MathParser parser;
  symtab* a_record = nullptr;
  std::unique_ptr<MathParserExpression> expr;
  std::vector<char> text;  // writable copy for Evaluate(char*)

  QuorvixScalar();
};

// Parse once, evaluate n times.
double QuorvixParseOnce(QuorvixScalar& q, long n);
// Same, but `a` changed with SetVariable(name, &value) each time.
double QuorvixParseOnceSetVariable(QuorvixScalar& q, long n);
// Evaluate(char*) of the text n times (parse cache path).
double QuorvixReparse(QuorvixScalar& q, long n);

struct MuparserScalar {
  mu::Parser parser;
  double a = 0.0, b = kB, c = kC;

  MuparserScalar();
};

double MuparserLoop(MuparserScalar& m, long n);

// The formula compiled as C++, with b and c re-read every iteration as an
// interpreter must (otherwise sin(b) is hoisted out of the loop).
double NativeScalarLoop(long n);

// Element-wise vector expression ----------------------------------------------

inline constexpr const char* kVectorFormula = "sqrt(abs(x + y) * 0.5)";

// Deterministic inputs of length n with mixed signs, so abs() matters.
void MakeVectorInputs(std::size_t n, std::vector<double>& x, std::vector<double>& y);

struct QuorvixVector {
  MathParser parser;
  std::unique_ptr<MathParserExpression> expr;

  QuorvixVector(const std::vector<double>& x, const std::vector<double>& y);
};

// One evaluation; the result is returned (caller Deletes it) or null on error.
symtab* QuorvixVectorEval(QuorvixVector& q);

// One fused pass into a new array, allocated per call as any evaluator that
// returns a fresh result must.
std::unique_ptr<double[]> NativeVectorEval(const std::vector<double>& x,
                                           const std::vector<double>& y);

double Sum(const double* v, std::size_t n);

}  // namespace bench

#endif  // QUORVIX_BENCH_WORKLOADS_H

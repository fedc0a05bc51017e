#include "workloads.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bench {

namespace {

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "bench: %s: %s\n", what,
               MathParser::ErrorPending() ? MathParser::ErrorText().c_str() : "no result");
  std::exit(2);
}

// Takes a scalar result, frees it and returns its value.
inline double Consume(symtab* r) {
  if (r == nullptr || r->type != SYM_SCALAR) Fail("scalar evaluation failed");
  double v = r->value;
  r->Delete();
  return v;
}

}  // namespace

void AddScalar(MathParser& p, const char* name, double v) {
  symtab rec;
  rec.SetName(name);
  rec.SetScalar(v);
  p.AddVariable(&rec);
}

void AddRowVector(MathParser& p, const char* name, const std::vector<double>& v) {
  symtab rec;
  rec.SetName(name);
  double* d = rec.SetArray(1, static_cast<int>(v.size()));
  std::memcpy(d, v.data(), v.size() * sizeof(double));
  p.AddVariable(&rec);
}

QuorvixScalar::QuorvixScalar() {
  AddScalar(parser, "a", AValue(0));
  AddScalar(parser, "b", kB);
  AddScalar(parser, "c", kC);
  // AddVariable stores a copy; this is the record the table keeps.
  a_record = parser.SetVariable("a", nullptr);
  expr.reset(parser.CreateExpression(kScalarFormula));
  if (!expr) Fail("CreateExpression");
  text.assign(kScalarFormula, kScalarFormula + std::strlen(kScalarFormula) + 1);
}

double QuorvixParseOnce(QuorvixScalar& q, long n) {
  double sum = 0.0;
  for (long i = 0; i < n; ++i) {
    q.a_record->value = AValue(i);
    sum += Consume(q.parser.Evaluate(q.expr.get()));
  }
  return sum;
}

double QuorvixParseOnceSetVariable(QuorvixScalar& q, long n) {
  double sum = 0.0;
  for (long i = 0; i < n; ++i) {
    double a = AValue(i);
    q.parser.SetVariable("a", &a);
    sum += Consume(q.parser.Evaluate(q.expr.get()));
  }
  return sum;
}

double QuorvixReparse(QuorvixScalar& q, long n) {
  double sum = 0.0;
  for (long i = 0; i < n; ++i) {
    q.a_record->value = AValue(i);
    sum += Consume(q.parser.Evaluate(q.text.data()));
  }
  return sum;
}

MuparserScalar::MuparserScalar() {
  parser.DefineVar("a", &a);
  parser.DefineVar("b", &b);
  parser.DefineVar("c", &c);
  parser.SetExpr(kScalarFormula);
}

double MuparserLoop(MuparserScalar& m, long n) {
  double sum = 0.0;
  for (long i = 0; i < n; ++i) {
    m.a = AValue(i);
    sum += m.parser.Eval();
  }
  return sum;
}

namespace {
struct NativeVars {
  double a, b, c;
};
NativeVars native_vars{0.0, kB, kC};
}  // namespace

double NativeScalarLoop(long n) {
  NativeVars* v = &native_vars;
  double sum = 0.0;
  for (long i = 0; i < n; ++i) {
    v->a = AValue(i);
    // The variables live in memory and may change between evaluations.
    asm volatile("" : : "r"(v) : "memory");
    sum += v->a * std::sin(v->b) + std::pow(v->c, 2.0) / (1.0 + v->a);
  }
  return sum;
}

void MakeVectorInputs(std::size_t n, std::vector<double>& x, std::vector<double>& y) {
  x.resize(n);
  y.resize(n);
  std::uint64_t s = 0x9e3779b97f4a7c15ull;
  auto next = [&s] {
    s = s * 6364136223846793005ull + 1442695040888963407ull;
    return static_cast<double>(s >> 11) * (1.0 / 9007199254740992.0);  // [0, 1)
  };
  for (std::size_t i = 0; i < n; ++i) {
    x[i] = next() * 200.0 - 100.0;
    y[i] = next() * 200.0 - 100.0;
  }
}

QuorvixVector::QuorvixVector(const std::vector<double>& x, const std::vector<double>& y) {
  AddRowVector(parser, "x", x);
  AddRowVector(parser, "y", y);
  expr.reset(parser.CreateExpression(kVectorFormula));
  if (!expr) Fail("CreateExpression");
}

symtab* QuorvixVectorEval(QuorvixVector& q) { return q.parser.Evaluate(q.expr.get()); }

std::unique_ptr<double[]> NativeVectorEval(const std::vector<double>& x,
                                           const std::vector<double>& y) {
  const std::size_t n = x.size();
  std::unique_ptr<double[]> out(new double[n]);
  const double* xp = x.data();
  const double* yp = y.data();
  double* op = out.get();
  for (std::size_t i = 0; i < n; ++i) op[i] = std::sqrt(std::fabs(xp[i] + yp[i]) * 0.5);
  return out;
}

double Sum(const double* v, std::size_t n) {
  double s = 0.0;
  for (std::size_t i = 0; i < n; ++i) s += v[i];
  return s;
}

}  // namespace bench

// libFuzzer target: random expressions over a few scalar variables,
// operators and pure built-ins give the same value, message and error
// position on the scalar paths (compiled program, scalar fast path) as on
// the general tree path. The input bytes drive a small grammar, so nearly
// every input is an expression; the variables' values (zeros, negatives,
// NaN, infinities, and now and then an array or a string) come from the
// input too, as does the kind of `v`, which is subscripted (a row, a column,
// a matrix, strings or a scalar). Some expressions assign to `a`; every
// path then starts from the same variables and its outcome includes the
// value `a` is left with. A difference aborts with both outcomes printed.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

#include "expression/scalar_program.h"
#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace {

std::string g_first_error;

void KeepMessage(const char* m) {
  if (g_first_error.empty() && m != nullptr) g_first_error = m;
}

MathParser& Parser() {
  static MathParser* parser = [] {
    MathParser::SetErrorFunction(KeepMessage);
    auto* p = new MathParser;
    p->policy().restricted = true;
    return p;
  }();
  return *parser;
}

class Bytes {
 public:
  Bytes(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}
  unsigned Next(unsigned n) { return at_ < size_ ? data_[at_++] % n : 0; }
  bool Done() const { return at_ >= size_; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
  std::size_t at_ = 0;
};

const char* const kNumbers[] = {"0",   "1",  "2",   "-1",   "0.5", "3",   "1e308", "1e-308",
                                "2.5", "10", "0.1", "1e-5", "7",   "100", "0.0",   "-0.5"};
const char* const kVariables[] = {"a", "b", "c", "d"};
const char* const kBinary[] = {"+", "-",  "*",  "/",  "^",  "==", "!=", "<",
                               ">", "<=", ">=", "&&", "||", "%",  "+",  "*"};
const char* const kUnary[] = {"sin",   "cos",  "tan",  "sqrt", "abs",  "exp",  "log",  "log10",
                              "floor", "ceil", "asin", "acos", "atan", "sinh", "tanh", "int"};
const char* const kBinaryCalls[] = {"pow", "max", "min", "atan2"};

template <std::size_t N>
const char* Pick(Bytes& in, const char* const (&list)[N]) {
  return list[in.Next(N)];
}

void Expression(Bytes& in, int depth, std::string& out) {
  const unsigned choice = depth > 6 || in.Done() ? in.Next(2) : in.Next(10);
  switch (choice) {
    case 0:
      out += Pick(in, kNumbers);
      return;
    case 1:
      out += Pick(in, kVariables);
      return;
    // Blanks around operators and parentheses after a minus: "a--b" or
    // "--a" would be a decrement, whose side effect the second evaluation
    // would see.
    case 2:
    case 3:
      out += '(';
      Expression(in, depth + 1, out);
      out += ' ';
      out += Pick(in, kBinary);
      out += ' ';
      Expression(in, depth + 1, out);
      out += ')';
      return;
    case 4:
      out += "-(";
      Expression(in, depth + 1, out);
      out += ')';
      return;
    case 5:
    case 6:
      out += Pick(in, kUnary);
      out += '(';
      Expression(in, depth + 1, out);
      out += ')';
      return;
    case 7:
      out += Pick(in, kBinaryCalls);
      out += '(';
      Expression(in, depth + 1, out);
      out += ',';
      Expression(in, depth + 1, out);
      out += ')';
      return;
    case 8:
      out += "v[";
      Expression(in, depth + 1, out);
      out += ']';
      return;
    default:
      out += '(';
      Expression(in, depth + 1, out);
      out += '?';
      Expression(in, depth + 1, out);
      out += ':';
      Expression(in, depth + 1, out);
      out += ')';
      return;
  }
}

void SetVariable(MathParser& p, const char* name, Bytes& in) {
  static const double kValues[] = {0.0,
                                   -0.0,
                                   1.0,
                                   -1.0,
                                   2.0,
                                   0.5,
                                   -2.5,
                                   1e300,
                                   std::numeric_limits<double>::quiet_NaN(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   3.0};
  symtab rec;
  rec.SetName(name);
  const unsigned k = in.Next(14);
  if (k == 12) {
    double* d = rec.SetArray(1, 2);
    d[0] = 1.5;
    d[1] = -2.0;
  } else if (k == 13) {
    rec.SetString("s");
  } else {
    rec.SetScalar(kValues[k]);
  }
  p.AddVariable(&rec);
}

// `v` in one of the kinds a subscript meets.
void SetSubscripted(MathParser& p, Bytes& in) {
  static const char* const kKinds[] = {"v={-1,-0.5,0}", "v={-1,-0.5,0}'", "v={{-1,-0.5},{0,0.5}}",
                                       "v={\"x\",\"y\"}", "v=1"};
  if (symtab* r = p.Evaluate(kKinds[in.Next(5)])) r->Delete();
}

const char* const kAssign[] = {"=", "+=", "-=", "*=", "/="};

void SetVariables(MathParser& p, Bytes& in) {
  for (const char* name : kVariables) SetVariable(p, name, in);
  SetSubscripted(p, in);
}

std::string Describe(const symtab* v);

// The value of `text`, through a parsed expression when `parsed` (the path
// of a template's loop body), and then the value of `a`.
std::string Outcome(MathParser& p, const std::string& text, bool parsed) {
  g_first_error.clear();
  MathParserExpression* e = parsed ? p.CreateExpression(text.c_str()) : nullptr;
  symtab* v = e != nullptr ? p.Evaluate(e) : p.Evaluate(text.c_str());
  delete e;
  std::string out;
  if (v == nullptr)
    out = "error " + g_first_error + " @" + std::to_string(p.ErrorPosition());
  else
    out = Describe(v);
  if (v != nullptr) v->Delete();
  auto a = p.Variables().find("a");
  return out + "; a " + (a == p.Variables().end() ? "none" : Describe(a->second));
}

std::string Describe(const symtab* v) {
  std::string out;
  char buf[48];
  if (v->type == SYM_SCALAR) {
    std::snprintf(buf, sizeof buf, "%a", v->value);
    out = buf;
  } else {
    out = "kind " + std::to_string(v->type) + " " + std::to_string(v->NumElements());
    for (int i = 0; v->type == SYM_ARRAY && i < v->rows * v->cols; ++i) {
      std::snprintf(buf, sizeof buf, " %a", v->data[i]);
      out += buf;
    }
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MathParser& parser = Parser();
  Bytes in(data, size);
  const Bytes setup = in;
  SetVariables(parser, in);
  std::string text;
  if (in.Next(4) == 0) {
    text = "a ";
    text += Pick(in, kAssign);
    text += ' ';
  }
  Expression(in, 0, text);
  quorvix::ForceTreeEvaluation(true);
  const std::string tree = Outcome(parser, text, false);
  quorvix::ForceTreeEvaluation(false);
  // Twice on each path, from the same variables: the first run compiles,
  // the second reuses the program.
  for (int pass = 0; pass < 4; ++pass) {
    Bytes again = setup;
    SetVariables(parser, again);
    const std::string fast = Outcome(parser, text, pass >= 2);
    if (fast != tree) {
      std::fprintf(stderr, "paths differ for %s\n  tree: %s\n  fast: %s\n", text.c_str(),
                   tree.c_str(), fast.c_str());
      std::abort();
    }
  }
  parser.ClearStack();
  return 0;
}

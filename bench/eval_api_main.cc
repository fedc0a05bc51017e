// The C++ side of the Python module's benchmark (python_bench.py): the same
// evaluations through MathParser that the script times through
// quorvix.Parser.eval, printed as "NAME SECONDS_PER_EVALUATION CHECK" lines
// for the script to set beside its own. Times are the process's CPU time,
// which a machine shared with other work disturbs far less than the clock.
//
//   quorvix_eval_api_bench [--scalar-reps N] [--array-reps N] [--rounds N]
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "quorvix/math_parser.h"

namespace {

constexpr int kArrayElements = 1'000'000;
constexpr const char* kScalarExpression = "sqrt(abs(a + b) * 0.5)";
constexpr const char* kArrayExpression = "sqrt(abs(x + y) * 0.5)";

void SetScalar(MathParser& parser, const char* name, double value) {
  symtab record;
  record.SetName(name);
  record.SetScalar(value);
  parser.AddVariable(&record);
}

// The inputs python_bench.py makes with numpy: x[i] = i / n, y[i] = -0.75 x[i].
void SetInputs(MathParser& parser) {
  SetScalar(parser, "a", 1.25);
  SetScalar(parser, "b", 2.5);
  symtab x, y;
  x.SetName("x");
  y.SetName("y");
  double* xs = x.SetArray(1, kArrayElements);
  double* ys = y.SetArray(1, kArrayElements);
  for (int i = 0; i < kArrayElements; ++i) {
    xs[i] = static_cast<double>(i) / kArrayElements;
    ys[i] = -0.75 * xs[i];
  }
  parser.AddVariable(&x);
  parser.AddVariable(&y);
}

// Best time of one evaluation over `rounds` rounds of `reps` each; `check`
// gets the sum of the last result's elements.
double CpuSeconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

double Time(MathParser& parser, const char* expression, int reps, int rounds, double& check) {
  double best = 1e30;
  // As in the Python loop, a result lives until the next one has been made.
  // The first evaluations parse the text and fault in the result buffers of
  // a fresh process: they are not timed.
  symtab* last = nullptr;
  for (int round = -1; round < rounds; ++round) {
    const double t0 = CpuSeconds();
    for (int i = 0; i < reps; ++i) {
      symtab* result = parser.Evaluate(expression);
      if (result == nullptr) {
        std::fprintf(stderr, "quorvix_eval_api_bench: %s failed: %s\n", expression,
                     MathParser::ErrorText().c_str());
        std::exit(1);
      }
      if (last != nullptr) last->Delete();
      last = result;
    }
    if (round >= 0) best = std::min(best, (CpuSeconds() - t0) / reps);
  }
  check = last->type == SYM_SCALAR ? last->value : 0.0;
  for (int k = 0; last->type == SYM_ARRAY && k < last->rows * last->cols; ++k)
    check += last->data[k];
  last->Delete();
  return best;
}

int Option(int argc, char** argv, const char* name, int fallback) {
  for (int i = 1; i + 1 < argc; ++i)
    if (std::strcmp(argv[i], name) == 0) return std::max(1, std::atoi(argv[i + 1]));
  return fallback;
}

}  // namespace

int main(int argc, char** argv) {
  const int scalar_reps = Option(argc, argv, "--scalar-reps", 200'000);
  const int array_reps = Option(argc, argv, "--array-reps", 50);
  const int rounds = Option(argc, argv, "--rounds", 5);
  MathParser parser;
  SetInputs(parser);
  double check = 0.0;
  const double scalar = Time(parser, kScalarExpression, scalar_reps, rounds, check);
  std::printf("scalar %.9g %.17g\n", scalar, check);
  const double array = Time(parser, kArrayExpression, array_reps, rounds, check);
  std::printf("array %.9g %.17g\n", array, check);
  return 0;
}

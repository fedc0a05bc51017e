#include "scalar_scaling_rows.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "quorvix/math_parser.h"
#include "workloads.h"

namespace bench {

namespace {

// a + b, then alternately "* c", "- a", "+ b", ... applied in turn to all
// that comes before (parenthesised): every operator adds two nodes, itself
// and a variable. The values keep the chain finite: the products grow by c
// every third step.
std::string Formula(int nodes, double a, double b, double c, double& value) {
  static const char kOps[] = {'*', '-', '+'};
  static const char kVars[] = {'c', 'a', 'b'};
  std::string text = "a+b";
  value = a + b;
  for (int i = 0, n = 3; n + 2 <= nodes; ++i, n += 2) {
    text = "(" + text + ")" + kOps[i % 3] + kVars[i % 3];
    switch (i % 3) {
      case 0:
        value *= c;
        break;
      case 1:
        value -= a;
        break;
      default:
        value += b;
        break;
    }
  }
  return text;
}

}  // namespace

bool ScalarScalingRows(int number, long evaluations, int runs) {
  bool ok = true;
  double last_ns = 0;
  int last_nodes = 0;
  for (int nodes : {3, 31, 301}) {
    MathParser p;
    AddScalar(p, "a", 1.0);
    AddScalar(p, "b", kB);
    AddScalar(p, "c", kC);
    symtab* a = p.SetVariable("a", nullptr);
    double expected = 0;
    const std::string text = Formula(nodes, 1.0, kB, kC, expected);
    std::unique_ptr<MathParserExpression> e(p.CreateExpression(text.c_str()));
    const long n = std::max(1000L, evaluations);
    double best = 1e300, last = 0;
    for (int r = 0; r < runs && e; ++r) {
      const auto t0 = std::chrono::steady_clock::now();
      double sum = 0;
      for (long i = 0; i < n; ++i) {
        a->value = 1.0;  // written each time, as a host changing its input would
        symtab* v = p.Evaluate(e.get());
        if (v == nullptr || v->type != SYM_SCALAR) {
          if (v != nullptr) v->Delete();
          sum = NAN;
          break;
        }
        sum += v->value;
        v->Delete();
      }
      const auto t1 = std::chrono::steady_clock::now();
      best = std::min(best, std::chrono::duration<double>(t1 - t0).count() / n);
      last = sum / n;
    }
    if (!e || !(std::fabs(last - expected) <= 1e-9 * std::max(1.0, std::fabs(expected)))) {
      std::printf("MISMATCH scaling formula of %d nodes: %.17g, expected %.17g\n", nodes, last,
                  expected);
      ok = false;
    }
    // Linear growth: each step's added nodes cost what the step before's did.
    const double ns = best * 1e9;
    const std::string label = (nodes == 3 ? std::to_string(number) + " " : std::string("  ")) +
                              "scalar formula, " + std::to_string(nodes) + " nodes";
    char step[96] = "";
    if (nodes != 3)
      std::snprintf(step, sizeof step, "%.2f ns per added node",
                    (ns - last_ns) / (nodes - last_nodes));
    std::printf("%-28s %-8s %10.1f  %s\n", label.c_str(), "ns/eval", ns, step);
    last_ns = ns;
    last_nodes = nodes;
  }
  std::printf(
      "%d: ((a+b)*c-a)+b..., parsed once, a written before each evaluation; time = fixed cost\n"
      "   of an evaluation + a cost per node, constant when growth is linear\n",
      number);
  return ok;
}

}  // namespace bench

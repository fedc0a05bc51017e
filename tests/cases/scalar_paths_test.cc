// The scalar paths against the general tree path: every expression of the
// case tables gives the same value, kind, message and error position
// whether it is evaluated as usual (compiled program, scalar fast path) or
// with the general tree path forced.
#include <cstdio>
#include <string>
#include <vector>

#include "cases/case_file.h"
#include "expression/parse_cache.h"
#include "expression/scalar_program.h"
#include "support/support.h"

namespace {

struct Outcome {
  int line = 0;
  std::string input;
  std::string value;  // kind and every number to the last bit, or "null"
  std::string error;
  int errors = 0;
  int position = -1;
};

std::string Exact(const symtab* v) {
  if (v == nullptr) return "null";
  std::string out = std::to_string(v->type) + ":";
  char buf[40];
  auto number = [&](double x) {
    std::snprintf(buf, sizeof buf, "%a ", x);
    out += buf;
  };
  if (v->type == SYM_SCALAR) number(v->value);
  if (v->type == SYM_ARRAY) {
    out += std::to_string(v->rows) + "x" + std::to_string(v->cols) + " ";
    for (int i = 0; i < v->rows * v->cols; ++i) number(v->data[i]);
  }
  for (int i = 0; v->type == SYM_STRINGS && i < v->num_strings; ++i)
    out += std::string("\"") + v->str_list[i] + "\" ";
  return out;
}

// Runs one case file in a fresh parser, in order, on the chosen path.
std::vector<Outcome> RunFile(const cases::fs::path& file, bool tree, int& compiled) {
  std::vector<std::string> problems;
  const std::vector<cases::Entry> entries = cases::ReadEntries(file, problems);
  quorvix::ForceTreeEvaluation(tree);
  std::vector<Outcome> outcomes;
  qt::ErrorCapture errors;
  MathParser parser;
  for (const cases::Entry& e : entries) {
    if (e.directive) {
      parser.AllowEscapeCharactersInStrings(e.text == "escapes on");
      continue;
    }
    errors.Clear();
    symtab* v = parser.Evaluate(e.input.c_str());
    // Setup lines are evaluated for their effects; their values may vary
    // from run to run (times, file handles).
    if (e.has_out || e.has_err)
      outcomes.push_back({e.line, e.input, Exact(v), errors.first, errors.count,
                          v == nullptr ? parser.ErrorPosition() : -1});
    if (v != nullptr) {
      v->Delete();
      // Counts the cases whose tree has a program (the tree is the cached one).
      const auto tree_of =
          quorvix::ParseExpression(e.input.c_str() + e.input.find_first_not_of(" \t\r\n\v\f"),
                                   parser.AllowEscapeCharactersInStrings());
      if (!tree && tree_of->program != nullptr) ++compiled;
    }
  }
  quorvix::ForceTreeEvaluation(false);
  return outcomes;
}

TEST(ScalarPaths, EveryCaseTableExpressionAgreesWithTheTreePath) {
  int compiled = 0, compared = 0;
  for (const cases::fs::path& file : cases::CaseFiles("expressions")) {
    const std::vector<Outcome> tree = RunFile(file, true, compiled);
    const std::vector<Outcome> fast = RunFile(file, false, compiled);
    ASSERT_EQ(tree.size(), fast.size()) << file;
    for (std::size_t i = 0; i < tree.size(); ++i) {
      const std::string where =
          file.filename().string() + ":" + std::to_string(tree[i].line) + ": " + tree[i].input;
      EXPECT_EQ(fast[i].value, tree[i].value) << where;
      EXPECT_EQ(fast[i].error, tree[i].error) << where;
      EXPECT_EQ(fast[i].errors, tree[i].errors) << where;
      EXPECT_EQ(fast[i].position, tree[i].position) << where;
      ++compared;
    }
  }
  // The tables exercise the compiled path, not only the tree.
  EXPECT_GT(compared, 1500);
  EXPECT_GT(compiled, 100);
}

}  // namespace

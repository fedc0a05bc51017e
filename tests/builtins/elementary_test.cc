// Elementary built-ins called directly, as the function-call node calls them:
// who owns which record afterwards, and what comes back with an error; the
// count and kind checks of the linear-algebra family too, and every family's
// table. Values and messages are in tests/cases/expressions/builtins.txt.
#include <algorithm>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "builtins/builtin_table.h"
#include "quorvix/math_parser.h"

namespace quorvix {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

symtab* Scalar(double x, const char* name = nullptr) {
  auto* s = new symtab;
  s->SetScalar(x);
  s->SetName(name);
  return s;
}

symtab* Array(int rows, int cols, std::vector<double> values, const char* name = nullptr) {
  auto* s = new symtab;
  double* d = s->SetArray(rows, cols);
  for (std::size_t i = 0; i < values.size(); ++i) d[i] = values[i];
  s->SetName(name);
  return s;
}

symtab* String(const char* text) {
  auto* s = new symtab;
  s->SetString(text);
  return s;
}

const std::span<const BuiltinEntry> kFamilies[] = {ElementaryBuiltins(), LinalgBuiltins()};

BuiltinHandler Handler(std::string_view name) {
  for (auto family : kFamilies)
    for (const BuiltinEntry& e : family)
      if (name == e.name) return e.handler;
  ADD_FAILURE() << "no built-in " << name;
  return nullptr;
}

class ElementaryTest : public ::testing::Test {
 protected:
  void SetUp() override { MathParser::ClearError(); }
  void TearDown() override {
    if (result_ != nullptr) result_->Delete();
    MathParser::ClearError();
  }

  // Clears the error and frees the previous call's result first.
  symtab* Call(std::string_view name, std::vector<symtab*> args) {
    MathParser::ClearError();
    if (result_ != nullptr) result_->Delete();
    list_ = std::make_unique<sym_list>(static_cast<int>(args.size()));
    for (std::size_t i = 0; i < args.size(); ++i) list_->args[i] = args[i];
    BuiltinHandler h = Handler(name);
    result_ = h != nullptr ? h(list_.get()) : nullptr;
    return result_;
  }

  std::string Error() const { return MathParser::ErrorText(); }
  symtab* Slot(int i) const { return list_->args[i]; }

  std::unique_ptr<sym_list> list_;
  symtab* result_ = nullptr;
};

TEST_F(ElementaryTest, WrongCountReportsAndLeavesTheListOwningEverything) {
  for (auto family : kFamilies)
    for (const BuiltinEntry& e : family) {
      if (e.nargs != 1) continue;
      symtab* a = Scalar(1);
      symtab* b = Scalar(2);
      EXPECT_EQ(Call(e.name, {a, b}), nullptr) << e.name;
      EXPECT_EQ(Error(), "Invalid number of arguments") << e.name;
      EXPECT_EQ(Slot(0), a) << e.name;
      EXPECT_EQ(Slot(1), b) << e.name;
    }
}

// Which argument comes back (anonymous), and what each slot holds after the
// call (-1: nothing). Wrappers hand a string back after the report; atan2
// swaps y into the list when only x is a vector.
TEST_F(ElementaryTest, ResultAndWhatTheListKeeps) {
  struct Case {
    const char* name;
    std::vector<symtab*> args;
    int out;
    std::vector<int> kept;
    const char* error;
  };
  const Case cases[] = {
      {"sqrt", {Scalar(4, "x")}, 0, {-1}, ""},
      {"inverse", {Array(2, 2, {4, 7, 2, 6}, "m")}, 0, {-1}, ""},
      {"sin", {String("text")}, 0, {-1}, "Invalid argument type"},
      {"atan2", {Array(1, 3, {1, -1, 0}, "y"), Array(3, 1, {1, 1, -1})}, 0, {-1, 1}, ""},
      {"atan2", {Scalar(1), Array(1, 2, {1, -1}, "x")}, 1, {-1, 0}, ""},
      {"atan2", {Scalar(1), String("x")}, -1, {-1, 1}, "Invalid type for argument 2"},
  };
  for (const Case& c : cases) {
    symtab* r = Call(c.name, c.args);
    EXPECT_EQ(Error(), c.error) << c.name;
    EXPECT_EQ(r, c.out < 0 ? nullptr : c.args[c.out]) << c.name;
    EXPECT_TRUE(r == nullptr || r->name == nullptr) << c.name;
    for (int i = 0; i < static_cast<int>(c.kept.size()); ++i)
      EXPECT_EQ(Slot(i), c.kept[i] < 0 ? nullptr : c.args[c.kept[i]]) << c.name << " " << i;
  }
}

TEST_F(ElementaryTest, EmptyArrayComesBackUnchanged) {
  for (const char* name : {"acos", "sqrt", "log", "int", "rtod", "sin", "exp", "abs"}) {
    symtab* arg = Array(1, 0, {});
    symtab* r = Call(name, {arg});
    EXPECT_EQ(r, arg) << name;
    EXPECT_EQ(Error(), "") << name;
  }
}

// A domain violation in a scalar or in an arc function frees the argument and
// yields null; sqrt and the logarithms of an array keep the array, converted
// up to the bad element.
TEST_F(ElementaryTest, DomainViolationResult) {
  // cols 0: a scalar holding in[0]; kept empty: null is returned.
  struct Case {
    const char* name;
    int cols;
    std::vector<double> in, kept;
  };
  const Case cases[] = {
      {"acos", 0, {1.0000001}, {}},
      {"acos", 0, {-1.0000001}, {}},
      {"acos", 0, {kNaN}, {}},
      {"asin", 0, {1.0000001}, {}},
      {"asin", 0, {-1.0000001}, {}},
      {"asin", 0, {kNaN}, {}},
      {"sqrt", 0, {-1}, {}},
      {"log", 0, {0}, {}},
      {"ln", 0, {-2}, {}},
      {"log10", 0, {0}, {}},
      {"acos", 3, {0.5, 1.0, 2.0}, {}},
      {"sqrt", 4, {4, 9, -1, 16}, {2, 3, -1, 16}},
      {"log", 3, {1, 0, 10}, {0, 0, 10}},
      {"ln", 3, {1, 0, 10}, {0, 0, 10}},
      {"log10", 3, {1, 0, 10}, {0, 0, 10}},
  };
  for (const Case& c : cases) {
    symtab* arg = c.cols == 0 ? Scalar(c.in[0]) : Array(1, c.cols, c.in);
    symtab* r = Call(c.name, {arg});
    EXPECT_EQ(Error(), "Domain violation") << c.name << " " << c.in[0];
    EXPECT_EQ(Slot(0), nullptr) << c.name;
    if (c.kept.empty()) {
      EXPECT_EQ(r, nullptr) << c.name << " " << c.in[0];
    } else {
      ASSERT_EQ(r, arg) << c.name;
      EXPECT_EQ(std::vector<double>(r->data, r->data + r->cols), c.kept) << c.name;
    }
  }
}

TEST_F(ElementaryTest, InvalidTypeForACheckedOrLinalgFunctionIsFreedAndNull) {
  for (const char* name : {"sqrt", "acos", "int", "cint", "rtod", "numpts", "maxindex", "inverse",
                           "determinant", "eigvalreal", "eigvalimag", "eigvecreal", "eigvecimag"}) {
    const bool count = name[0] == 'n' || name[0] == 'm';  // an undefined value
    EXPECT_EQ(Call(name, {count ? new symtab : String("a")}), nullptr) << name;
    EXPECT_EQ(Error(), "Invalid argument type") << name;
    EXPECT_EQ(Slot(0), nullptr) << name;
  }
}

// Names sorted and unique; a kernel gives what its handler gives and is what
// the registry holds; the reference text names the function; examples run.
TEST(BuiltinTables, RowsAgreeWithTheirHandlersAndExamples) {
  MathParser parser;
  // extern's example calls the shipped example program by this name.
  pk_registerexternalfunction("twice", QUORVIX_EXTERN_EXAMPLES "/twice.py");
  for (BuiltinFamily family : AllBuiltinFamilies()) {
    std::vector<std::string> names;
    for (const BuiltinEntry& e : family()) {
      names.emplace_back(e.name);
      EXPECT_EQ(std::string(e.usage).rfind(names.back() + "(", 0), 0u) << e.name;
      EXPECT_EQ(std::string(e.example).rfind(names.back() + "(", 0), 0u) << e.name;
      EXPECT_NE(std::string(e.synopsis), "") << e.name;
      EXPECT_EQ(MathParser::FunLook(e.name)->scalar_kernel, e.scalar_kernel) << e.name;
      std::unique_ptr<symtab> value(parser.Evaluate(e.example));
      EXPECT_NE(value, nullptr) << e.example << ": " << MathParser::ErrorText();
      if (e.scalar_kernel == nullptr) continue;
      sym_list args(1);
      args.args[0] = Scalar(0.7);
      std::unique_ptr<symtab> r(e.handler(&args));
      ASSERT_NE(r, nullptr) << e.name;
      EXPECT_EQ(r->value, e.scalar_kernel(0.7)) << e.name;
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
  }
  EXPECT_EQ(kFamilies[0].size(), 23u);
}

}  // namespace
}  // namespace quorvix

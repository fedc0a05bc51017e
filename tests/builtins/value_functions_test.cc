// What case lines cannot see: the frozen flag in the variable table, which
// variables sort writes back to, and the records that the text built-ins
// hand back with an error instead of null.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "builtins/builtin_table.h"
#include "support/support.h"

namespace quorvix {
namespace {

using test::ParserTest;

TEST_F(ParserTest, FreezeAndThawMarkTheVariable) {
  Eval("x = {1, 2}");
  EXPECT_EQ(Eval("freeze(x)"), "1, 2");
  EXPECT_EQ(parser_.Variables().at("x")->frozen, 1);
  EXPECT_EQ(Eval("y = x"), "");  // the flag travels with the value
  EXPECT_EQ(parser_.Variables().at("y")->frozen, 1);
  EXPECT_EQ(Eval("thaw(x)"), "1, 2");
  EXPECT_EQ(parser_.Variables().at("x")->frozen, 0);
  // A computed value names no variable.
  const std::size_t count = parser_.Variables().size();
  EXPECT_EQ(Eval("freeze(x + 1)"), "2, 3");
  EXPECT_EQ(parser_.Variables().size(), count);
}

symtab* Host(char* name) {
  if (std::string_view(name) != "g") return nullptr;
  return test::New(test::Array(1, 3, {3, 1, 2}));
}

TEST_F(ParserTest, SortWritesBackOnlyToVariablesOfTheTable) {
  parser_.AddGetFunc(&Host);
  EXPECT_EQ(Eval("sort(0, g)"), "1, 2, 3");
  // Looking g up entered it into the table, undefined; it stays so.
  EXPECT_EQ(parser_.Variables().at("g")->type, SYM_UNDEFINED);
  EXPECT_EQ(Eval("g"), "3, 1, 2");
  // The key moves into the table and the result is the further array; both
  // stay independent of each other afterwards.
  Eval("k = {2, 1}");
  Eval("a = {20, 10}");
  EXPECT_EQ(Eval("sort(0, k, a)[0] + 5"), "15");
  EXPECT_EQ(Eval("k"), "1, 2");
  EXPECT_EQ(Eval("a"), "10, 20");
}

// Handlers called directly, as the function-call node calls them.
symtab* Call(std::string_view name, const std::vector<symtab>& args) {
  MathParser::ClearError();
  sym_list list(static_cast<int>(args.size()));
  int i = 0;
  for (const symtab& a : args) list.args[i++] = new symtab(a);
  for (auto family : {TextBuiltins(), TimeDateBuiltins()})
    for (const BuiltinEntry& e : family)
      if (name == e.name) return e.handler(&list);
  ADD_FAILURE() << name;
  return nullptr;
}

TEST(TextDepartures, SomeErrorsHandTheTakenRecordBack) {
  struct Case {
    std::string_view name;
    std::vector<symtab> args;
    const char* message;  // "" for a null without a message
    const char* text;     // the record handed back; null for none
  };
  const symtab s = test::Strings({"ab"});
  const symtab one = test::Scalar(1);
  const Case cases[] = {
      {"asc", {}, "", nullptr},
      {"asc", {s, s}, "Invalid number of arguments", "ab"},
      {"toupper", {}, "", nullptr},
      {"toupper", {s, s}, "Invalid number of arguments", "ab"},
      {"tolower", {one}, "The input parameter must be a string in the TOUPPER function", "1"},
      {"convert", {}, "", nullptr},
      {"convert", {one, one, one}, "Invalid number of arguments", "1"},
      {"itoa", {one, one}, "The format specifier must be a string in CONVERT function", "1"},
      {"atoi", {test::Array(1, 1, {2})}, "String or scalar expected in CONVERT function", "2"},
      {"time", {test::Strings({""})}, "Invalid format specifier ", ""},
      {"asc", {one}, "String expected in ASC function", nullptr},
  };
  for (const Case& c : cases) {
    std::unique_ptr<symtab> r(Call(c.name, c.args));
    EXPECT_EQ(MathParser::ErrorText(), c.message) << c.name;
    ASSERT_EQ(r != nullptr, c.text != nullptr) << c.name;
    if (r) {
      EXPECT_EQ(test::Text(*r), c.text) << c.name;
    }
  }
  MathParser::ClearError();
}

}  // namespace
}  // namespace quorvix

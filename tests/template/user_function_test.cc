// UserFunction: default names, declaration parsing, copies, registration
// and calls through the expression service.
#include "quorvix/user_function.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace {

// The number behind "func_" in a default name; -1 when the name has
// another form.
int DefaultNumber(const char* name) {
  std::string n = name ? name : "";
  if (n.rfind("func_", 0) != 0 || n.size() == 5) return -1;
  for (std::size_t i = 5; i < n.size(); ++i)
    if (!std::isdigit(static_cast<unsigned char>(n[i]))) return -1;
  return std::stoi(n.substr(5));
}

// Evaluates `text` in a fresh parser: the value, or "error: <message>".
std::string Call(const char* text) {
  MathParser parser;
  symtab* v = parser.Evaluate(text);
  if (v == nullptr)
    return std::string("error: ") + (parser.ErrorMessage() ? parser.ErrorMessage() : "");
  std::string r =
      v->type == SYM_SCALAR ? std::to_string(static_cast<long long>(v->value)) : "non-scalar";
  v->Delete();
  return r;
}

TEST(UserFunctionDefaultsTest, ConsecutiveConstructionsTakeConsecutiveNumbers) {
  const int before = UserFunction::cntr;
  UserFunction a;
  UserFunction b;
  EXPECT_EQ(DefaultNumber(a.Name()), before);
  EXPECT_EQ(DefaultNumber(b.Name()), before + 1);
  EXPECT_EQ(UserFunction::cntr, before + 2);
}

TEST(UserFunctionDefaultsTest, DefaultTextAndFields) {
  UserFunction f;
  const std::string name = f.Name();
  EXPECT_EQ(std::string(f.FunctionText()), "function " + name + "()\n{\n}");
  EXPECT_EQ(f.NumArgs(), 0);
  EXPECT_EQ(f.ArgName(0), nullptr);
  EXPECT_TRUE(f.Editable());
  EXPECT_EQ(f.IsValid(), 1);
  EXPECT_EQ(f.RegisteredName(), nullptr);
}

TEST(UserFunctionParseTest, BlanksAroundNameAndArguments) {
  UserFunction f;
  f.FunctionText("function  f ( a , b ) { return a }");
  EXPECT_EQ(f.IsValid(), 1);
  EXPECT_STREQ(f.Name(), "f");
  ASSERT_EQ(f.NumArgs(), 2);
  EXPECT_STREQ(f.ArgName(0), "a");
  EXPECT_STREQ(f.ArgName(1), "b");
  EXPECT_EQ(f.ArgName(2), nullptr);
  EXPECT_EQ(f.ArgName(-1), nullptr);
}

TEST(UserFunctionParseTest, EmptyParenthesesGiveNoArguments) {
  UserFunction f;
  f.FunctionText("function g(a){return a}");
  ASSERT_EQ(f.NumArgs(), 1);
  f.FunctionText("function g(){return 1}");
  EXPECT_EQ(f.IsValid(), 1);
  EXPECT_EQ(f.NumArgs(), 0);
  EXPECT_EQ(f.ArgName(0), nullptr);
}

TEST(UserFunctionParseTest, TrailingCommaGivesAnEmptySecondArgument) {
  UserFunction f;
  f.FunctionText("function h(a,){return a}");
  EXPECT_EQ(f.IsValid(), 1);
  ASSERT_EQ(f.NumArgs(), 2);
  EXPECT_STREQ(f.ArgName(0), "a");
  EXPECT_STREQ(f.ArgName(1), "");
}

TEST(UserFunctionParseTest, TextWithoutBraceIsInvalidAndKeepsTheName) {
  UserFunction f;
  f.FunctionText("function keep(x){return x}");
  f.FunctionText("function other(y) return y");
  EXPECT_EQ(f.IsValid(), 0);
  EXPECT_STREQ(f.Name(), "keep");
  ASSERT_EQ(f.NumArgs(), 1);
  EXPECT_STREQ(f.ArgName(0), "x");
  EXPECT_STREQ(f.FunctionText(), "function other(y) return y");
}

TEST(UserFunctionParseTest, TextNotBeginningWithFunctionIsInvalid) {
  UserFunction f;
  f.FunctionText("function keep(x){return x}");
  f.FunctionText("func other(y){return y}");
  EXPECT_EQ(f.IsValid(), 0);
  EXPECT_STREQ(f.Name(), "keep");
}

TEST(UserFunctionParseTest, MissingOpeningParenthesisIsInvalid) {
  UserFunction f;
  f.FunctionText("function keep(x){return x}");
  f.FunctionText("function other {return 1}");
  EXPECT_EQ(f.IsValid(), 0);
  EXPECT_STREQ(f.Name(), "keep");
}

TEST(UserFunctionParseTest, MissingClosingParenthesisTakesTheNameOnly) {
  // The failure comes after the name: the name changes, the arguments stay.
  UserFunction f;
  f.FunctionText("function keep(x){return x}");
  f.FunctionText("function renamed(a, b{return a}");
  EXPECT_EQ(f.IsValid(), 0);
  EXPECT_STREQ(f.Name(), "renamed");
  ASSERT_EQ(f.NumArgs(), 1);
  EXPECT_STREQ(f.ArgName(0), "x");
}

TEST(UserFunctionParseTest, ValidTextAfterInvalidIsValidAgain) {
  UserFunction f;
  f.FunctionText("nothing");
  EXPECT_EQ(f.IsValid(), 0);
  f.FunctionText("function ok(){return 1}");
  EXPECT_EQ(f.IsValid(), 1);
}

TEST(UserFunctionParseTest, NameSetterLeavesTheText) {
  UserFunction f;
  f.FunctionText("function a1(){return 1}");
  f.Name("b1");
  EXPECT_STREQ(f.Name(), "b1");
  EXPECT_STREQ(f.FunctionText(), "function a1(){return 1}");
}

TEST(UserFunctionCopyTest, CopyIsDeepEditableAndUnregistered) {
  UserFunction f;
  f.FunctionText("function uf_copy_src(a, b){return a}");
  f.Editable(false);
  UserFunction::Register(&f, 0);
  ASSERT_NE(f.RegisteredName(), nullptr);
  UserFunction copy(f);
  f.FunctionText("function uf_copy_changed(z){return z}");
  EXPECT_STREQ(copy.Name(), "uf_copy_src");
  ASSERT_EQ(copy.NumArgs(), 2);
  EXPECT_STREQ(copy.ArgName(1), "b");
  EXPECT_TRUE(copy.Editable());
  EXPECT_EQ(copy.RegisteredName(), nullptr);
  MathParser::RemoveUserFn("uf_copy_src");
}

TEST(UserFunctionCopyTest, AssignmentCopiesNameTextAndArguments) {
  UserFunction f;
  f.FunctionText("function uf_assigned(p){return p}");
  UserFunction g;
  g = f;
  EXPECT_STREQ(g.Name(), "uf_assigned");
  EXPECT_STREQ(g.FunctionText(), "function uf_assigned(p){return p}");
  ASSERT_EQ(g.NumArgs(), 1);
  EXPECT_STREQ(g.ArgName(0), "p");
}

TEST(UserFunctionRegisterTest, RegisteredFunctionIsCallable) {
  UserFunction f;
  f.FunctionText("function uf_plus(a, b){return a + b}");
  EXPECT_EQ(UserFunction::Register(&f, 0), 1);
  EXPECT_STREQ(f.RegisteredName(), "uf_plus");
  EXPECT_EQ(Call("uf_plus(2, 3)"), "5");
  MathParser::RemoveUserFn("uf_plus");
}

TEST(UserFunctionRegisterTest, WrongArgumentCountIsASyntaxError) {
  UserFunction f;
  f.FunctionText("function uf_two(a, b){return a + b}");
  UserFunction::Register(&f, 0);
  EXPECT_EQ(Call("uf_two(1)"), "error: Syntax error");
  EXPECT_EQ(Call("uf_two(1, 2, 3)"), "error: Syntax error");
  MathParser::RemoveUserFn("uf_two");
}

TEST(UserFunctionRegisterTest, RenamingAndRegisteringAgainRemovesTheOldName) {
  UserFunction f;
  f.FunctionText("function uf_old_name(a){return a + 1}");
  UserFunction::Register(&f, 0);
  ASSERT_EQ(Call("uf_old_name(1)"), "2");
  f.FunctionText("function uf_new_name(a){return a + 2}");
  UserFunction::Register(&f, 0);
  EXPECT_STREQ(f.RegisteredName(), "uf_new_name");
  EXPECT_EQ(Call("uf_new_name(1)"), "3");
  EXPECT_EQ(MathParser::FunLook("uf_old_name"), nullptr);
  MathParser::RemoveUserFn("uf_new_name");
}

TEST(UserFunctionRegisterTest, RegisteringTheSameNameAgainReplacesTheBody) {
  UserFunction f;
  f.FunctionText("function uf_again(a){return a}");
  UserFunction::Register(&f, 0);
  f.FunctionText("function uf_again(a){return a * 10}");
  UserFunction::Register(&f, 0);
  EXPECT_EQ(Call("uf_again(2)"), "20");
  MathParser::RemoveUserFn("uf_again");
}

TEST(UserFunctionRegisterTest, KeepListsTheObjectOnce) {
  UserFunction f;
  f.FunctionText("function uf_kept(a){return a}");
  UserFunction::Register(&f, 1);
  f.FunctionText("function uf_kept_renamed(a){return a}");
  UserFunction::Register(&f, 1);
  EXPECT_EQ(std::count(UserFunction::fn_list.begin(), UserFunction::fn_list.end(), &f), 1);
  // The list does not own the object: take it out before it dies.
  std::erase(UserFunction::fn_list, &f);
  MathParser::RemoveUserFn("uf_kept_renamed");
}

TEST(UserFunctionRegisterTest, KeepWithAnExistingEntryUpdatesTheListedObject) {
  UserFunction listed;
  listed.FunctionText("function uf_listed(a){return a}");
  UserFunction::Register(&listed, 1);
  UserFunction newer;
  newer.FunctionText("function uf_listed(a){return a + 100}");
  UserFunction::Register(&newer, 1);
  EXPECT_STREQ(listed.FunctionText(), "function uf_listed(a){return a + 100}");
  EXPECT_EQ(Call("uf_listed(1)"), "101");
  std::erase(UserFunction::fn_list, &listed);
  std::erase(UserFunction::fn_list, &newer);
  MathParser::RemoveUserFn("uf_listed");
}

}  // namespace

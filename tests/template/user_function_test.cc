// UserFunction: declaration parsing, copies, registration and calls through
// the expression service.
#include "quorvix/user_function.h"

#include <algorithm>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

class UserFunctionTest : public qt::ParserTest {};

TEST_F(UserFunctionTest, DeclarationsValidAndInvalid) {
  // `before` (when not null) is set first; an invalid text keeps the name
  // and arguments parsed before it fails, and is stored as it stands.
  const struct {
    const char *before, *text;
    int valid;
    const char* name;
    std::vector<std::string> args;
  } cases[] = {
      {nullptr, "function  f ( a , b ) { return a }", 1, "f", {"a", "b"}},
      {"function g(a){return a}", "function g(){return 1}", 1, "g", {}},
      // A trailing comma gives an empty second argument.
      {nullptr, "function h(a,){return a}", 1, "h", {"a", ""}},
      {"function keep(x){return x}", "function other(y) return y", 0, "keep", {"x"}},
      {"function keep(x){return x}", "func other(y){return y}", 0, "keep", {"x"}},
      {"function keep(x){return x}", "function other {return 1}", 0, "keep", {"x"}},
      // The failure comes after the name: the name changes, the arguments stay.
      {"function keep(x){return x}", "function renamed(a, b{return a}", 0, "renamed", {"x"}},
      {"nothing", "function ok(){return 1}", 1, "ok", {}},
  };
  for (const auto& c : cases) {
    UserFunction f;
    if (c.before) f.FunctionText(c.before);
    f.FunctionText(c.text);
    EXPECT_EQ(f.IsValid(), c.valid) << c.text;
    EXPECT_STREQ(f.Name(), c.name) << c.text;
    EXPECT_STREQ(f.FunctionText(), c.text);
    ASSERT_EQ(f.NumArgs(), static_cast<int>(c.args.size())) << c.text;
    for (std::size_t i = 0; i < c.args.size(); ++i)
      EXPECT_STREQ(f.ArgName(static_cast<int>(i)), c.args[i].c_str()) << c.text;
    EXPECT_EQ(f.ArgName(static_cast<int>(c.args.size())), nullptr) << c.text;
    EXPECT_EQ(f.ArgName(-1), nullptr) << c.text;
  }
  // The name setter leaves the text.
  UserFunction f;
  f.FunctionText("function a1(){return 1}");
  f.Name("b1");
  EXPECT_STREQ(f.Name(), "b1");
  EXPECT_STREQ(f.FunctionText(), "function a1(){return 1}");
}

TEST_F(UserFunctionTest, CopyAndAssignmentAreDeepEditableAndUnregistered) {
  UserFunction f;
  f.FunctionText("function uf_copy_src(a, b){return a}");
  f.Editable(false);
  UserFunction::Register(&f, 0);
  ASSERT_NE(f.RegisteredName(), nullptr);
  UserFunction copy(f);
  UserFunction assigned;
  assigned = f;
  f.FunctionText("function uf_copy_changed(z){return z}");
  for (UserFunction* g : {&copy, &assigned}) {
    EXPECT_STREQ(g->Name(), "uf_copy_src");
    EXPECT_STREQ(g->FunctionText(), "function uf_copy_src(a, b){return a}");
    ASSERT_EQ(g->NumArgs(), 2);
    EXPECT_STREQ(g->ArgName(1), "b");
  }
  EXPECT_TRUE(copy.Editable());
  EXPECT_EQ(copy.RegisteredName(), nullptr);
  MathParser::RemoveUserFn("uf_copy_src");
}

TEST_F(UserFunctionTest, RegisteringAgainReplacesBodyOrName) {
  UserFunction f;
  f.FunctionText("function uf_old_name(a){return a}");
  EXPECT_EQ(UserFunction::Register(&f, 0), 1);
  EXPECT_EQ(Eval("uf_old_name(1, 2)"), "error: Syntax error");  // the argument count counts
  f.FunctionText("function uf_old_name(a){return a + 1}");
  UserFunction::Register(&f, 0);
  EXPECT_EQ(Eval("uf_old_name(1)"), "2");
  f.FunctionText("function uf_new_name(a){return a + 2}");
  UserFunction::Register(&f, 0);
  EXPECT_STREQ(f.RegisteredName(), "uf_new_name");
  EXPECT_EQ(Eval("uf_new_name(1)"), "3");
  EXPECT_EQ(MathParser::FunLook("uf_old_name"), nullptr);
  MathParser::RemoveUserFn("uf_new_name");
}

TEST_F(UserFunctionTest, KeepListsEachObjectOnceAndUpdatesTheListedOne) {
  UserFunction f;
  f.FunctionText("function uf_kept(a){return a}");
  UserFunction::Register(&f, 1);
  f.FunctionText("function uf_kept_renamed(a){return a}");
  UserFunction::Register(&f, 1);
  EXPECT_EQ(std::count(UserFunction::fn_list.begin(), UserFunction::fn_list.end(), &f), 1);
  // A newer object with a listed name updates the listed object.
  UserFunction newer;
  newer.FunctionText("function uf_kept_renamed(a){return a + 100}");
  UserFunction::Register(&newer, 1);
  EXPECT_STREQ(f.FunctionText(), "function uf_kept_renamed(a){return a + 100}");
  EXPECT_EQ(Eval("uf_kept_renamed(1)"), "101");
  // The list does not own the objects: take them out before they die.
  std::erase(UserFunction::fn_list, &f);
  std::erase(UserFunction::fn_list, &newer);
  MathParser::RemoveUserFn("uf_kept_renamed");
}

}  // namespace

// Macros defined and expanded by the host (DefineMacro, EvaluateMacro,
// RemoveMacro, ResetMacros), and their separation from template macros.
#include <gtest/gtest.h>

#include <string>

#include "quorvix/filler.h"

namespace {

class HostMacroTest : public testing::Test {
 protected:
  int Define(std::string definition) { return filler_.DefineMacro(definition.data()); }
  void Remove(std::string name) { filler_.RemoveMacro(name.data()); }

  // The expansion, or "<null>" when there is none.
  std::string Expand(std::string call) {
    char* out = filler_.EvaluateMacro(call.data());
    std::string r = out ? out : "<null>";
    delete[] out;
    return r;
  }

  std::string FillOutput(const char* text, std::string* errors = nullptr) {
    char* e = nullptr;
    char* out = filler_.Fill(text, &e);
    std::string r = out ? out : "";
    if (errors != nullptr) *errors = e ? e : "";
    delete[] out;
    delete[] e;
    return r;
  }

  Filler filler_;
};

TEST(HostMacroExpansionTest, DefinitionsAndCalls) {
  // Each case defines in a fresh engine (unless `definition` is null) and
  // expands `call` unfilled.
  const struct {
    const char* definition;
    int defined;
    const char* call;
    const char* expansion;
  } cases[] = {
      // Parameters are replaced inside brace groups; the result is not filled.
      {"m,a,b)a <{a}|{b}> b", 1, "m,1,2)", "a <{1}|{2}> b"},
      {"m,a)<{a + 1}>", 1, "m,x)", "<{x + 1}>"},
      // Not inside a string literal.
      {"m,a){\"a\" + a}", 1, "m,5)", "{\"a\" + 5}"},
      // Missing arguments become a quoted null.
      {"m,a,b){a}{b}", 1, "m,1)", "{1}{\"(null)\"}"},
      {"m,)body {1}", 1, "m,)", "body {1}"},
      {nullptr, 0, "nothing_here,1)", "<null>"},
      // A call without comma, with too many arguments or left open.
      {"m,a){a}", 1, "m", "<null>"},
      {"m,a){a}", 1, "m,1,2)", "<null>"},
      {"m,a){a}", 1, "m,1", "<null>"},
      // A definition without comma stores nothing; an open parameter list
      // leaves an empty macro.
      {"m", 0, "m,)", "<null>"},
      {"m,a body", 0, "m,)", ""},
  };
  for (const auto& c : cases) {
    Filler filler;
    if (c.definition) {
      std::string d = c.definition;
      EXPECT_EQ(filler.DefineMacro(d.data()), c.defined) << d;
    }
    std::string call = c.call;
    char* out = filler.EvaluateMacro(call.data());
    EXPECT_EQ(std::string(out ? out : "<null>"), c.expansion) << call;
    delete[] out;
  }
}

TEST_F(HostMacroTest, RedefineAndRemove) {
  ASSERT_EQ(Define("m,)one"), 1);
  ASSERT_EQ(Define("m,)two"), 1);
  EXPECT_EQ(Expand("m,)"), "two");
  Remove("m");
  EXPECT_EQ(Expand("m,)"), "<null>");
  Remove("never_defined");  // harmless
  EXPECT_EQ(Expand("never_defined,)"), "<null>");
}

TEST_F(HostMacroTest, ResetMacrosAndSeparationFromTemplateMacros) {
  ASSERT_EQ(Define("hm,)x"), 1);
  FillOutput("{define tm()}T{enddefine}");
  filler_.ResetMacros();
  EXPECT_EQ(Expand("hm,)"), "<null>");
  std::string errors;
  EXPECT_EQ(FillOutput("{tm()}", &errors), "");
  EXPECT_EQ(errors, "Syntax error in expression:\r\ntm()\r\n");
  // Host and template macros are separate.
  ASSERT_EQ(Define("hm,a)X{a}"), 1);
  EXPECT_EQ(FillOutput("{hm(1)}", &errors), "");
  EXPECT_EQ(errors, "Syntax error in expression:\r\nhm(1)\r\n");

  FillOutput("{define tm(a)}T{a}{enddefine}");
  EXPECT_EQ(Expand("tm,1)"), "<null>");
  Remove("tm");  // does not touch the template macro
  EXPECT_EQ(FillOutput("{tm(1)}"), "T1");

  ASSERT_EQ(Define("same,)host"), 1);
  FillOutput("{define same()}template{enddefine}");
  EXPECT_EQ(Expand("same,)"), "host");
  EXPECT_EQ(FillOutput("{same()}"), "template");
  // A bad parameter list in a template definition is reported without the
  // error header and without "{error}" in the output.
  EXPECT_EQ(FillOutput("{define m(a b)}x{enddefine}", &errors), "");
  EXPECT_EQ(errors, "illegal parameter speci" "fication in macro definition\r\n");
}

}  // namespace

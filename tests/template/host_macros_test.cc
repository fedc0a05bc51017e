// Macros defined and expanded by the host (DefineMacro, EvaluateMacro,
// RemoveMacro, ResetMacros), and their separation from template macros.
#include <gtest/gtest.h>

#include <string>

#include "quorvix/filler.h"

namespace {

class HostMacroTest : public testing::Test {
 protected:
  int Define(std::string definition) { return filler_.DefineMacro(definition.data()); }

  // The expansion, or "<null>" when there is none.
  std::string Expand(std::string call) {
    char* out = filler_.EvaluateMacro(call.data());
    if (out == nullptr) return "<null>";
    std::string r = out;
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

TEST_F(HostMacroTest, ExpansionReplacesParametersInsideBraceGroups) {
  ASSERT_EQ(Define("m,a,b)a <{a}|{b}> b"), 1);
  EXPECT_EQ(Expand("m,1,2)"), "a <{1}|{2}> b");
}

TEST_F(HostMacroTest, ExpansionIsNotFilled) {
  ASSERT_EQ(Define("m,a)<{a + 1}>"), 1);
  EXPECT_EQ(Expand("m,x)"), "<{x + 1}>");
}

TEST_F(HostMacroTest, ParameterInAStringLiteralIsNotReplaced) {
  ASSERT_EQ(Define("m,a){\"a\" + a}"), 1);
  EXPECT_EQ(Expand("m,5)"), "{\"a\" + 5}");
}

TEST_F(HostMacroTest, MissingArgumentsBecomeQuotedNull) {
  ASSERT_EQ(Define("m,a,b){a}{b}"), 1);
  EXPECT_EQ(Expand("m,1)"), "{1}{\"(null)\"}");
}

TEST_F(HostMacroTest, MacroWithoutParameters) {
  ASSERT_EQ(Define("m,)body {1}"), 1);
  EXPECT_EQ(Expand("m,)"), "body {1}");
}

TEST_F(HostMacroTest, UnknownMacroExpandsToNull) { EXPECT_EQ(Expand("nothing_here,1)"), "<null>"); }

TEST_F(HostMacroTest, CallWithoutCommaIsNull) {
  ASSERT_EQ(Define("m,a){a}"), 1);
  EXPECT_EQ(Expand("m"), "<null>");
}

TEST_F(HostMacroTest, TooManyArgumentsIsNull) {
  ASSERT_EQ(Define("m,a){a}"), 1);
  EXPECT_EQ(Expand("m,1,2)"), "<null>");
}

TEST_F(HostMacroTest, UnclosedArgumentListIsNull) {
  ASSERT_EQ(Define("m,a){a}"), 1);
  EXPECT_EQ(Expand("m,1"), "<null>");
}

TEST_F(HostMacroTest, DefinitionWithoutCommaStoresNothing) {
  EXPECT_EQ(Define("m"), 0);
  EXPECT_EQ(Expand("m,)"), "<null>");
}

TEST_F(HostMacroTest, UnclosedParameterListLeavesAnEmptyMacro) {
  EXPECT_EQ(Define("m,a body"), 0);
  EXPECT_EQ(Expand("m,)"), "");
}

TEST_F(HostMacroTest, RedefinitionReplaces) {
  ASSERT_EQ(Define("m,)one"), 1);
  ASSERT_EQ(Define("m,)two"), 1);
  EXPECT_EQ(Expand("m,)"), "two");
}

TEST_F(HostMacroTest, RemoveMacroDeletesIt) {
  ASSERT_EQ(Define("m,)x"), 1);
  std::string name = "m";
  filler_.RemoveMacro(name.data());
  EXPECT_EQ(Expand("m,)"), "<null>");
}

TEST_F(HostMacroTest, RemovingAnUnknownMacroIsHarmless) {
  std::string name = "never_defined";
  filler_.RemoveMacro(name.data());
  EXPECT_EQ(Expand("never_defined,)"), "<null>");
}

TEST_F(HostMacroTest, ResetMacrosDeletesHostAndTemplateMacros) {
  ASSERT_EQ(Define("hm,)x"), 1);
  FillOutput("{define tm()}T{enddefine}");
  filler_.ResetMacros();
  EXPECT_EQ(Expand("hm,)"), "<null>");
  std::string errors;
  EXPECT_EQ(FillOutput("{tm()}", &errors), "");
  EXPECT_EQ(errors, "Syntax error in expression:\r\ntm()\r\n");
}

TEST_F(HostMacroTest, HostMacroIsNotCallableFromATemplate) {
  ASSERT_EQ(Define("hm,a)X{a}"), 1);
  std::string errors;
  EXPECT_EQ(FillOutput("{hm(1)}", &errors), "");
  EXPECT_EQ(errors, "Syntax error in expression:\r\nhm(1)\r\n");
}

TEST_F(HostMacroTest, TemplateMacroIsNotExpandedByTheHost) {
  FillOutput("{define tm(a)}T{a}{enddefine}");
  EXPECT_EQ(Expand("tm,1)"), "<null>");
  EXPECT_EQ(FillOutput("{tm(1)}"), "T1");
}

TEST_F(HostMacroTest, SameNameForHostAndTemplateMacro) {
  ASSERT_EQ(Define("same,)host"), 1);
  FillOutput("{define same()}template{enddefine}");
  EXPECT_EQ(Expand("same,)"), "host");
  EXPECT_EQ(FillOutput("{same()}"), "template");
}

TEST_F(HostMacroTest, RemoveMacroDoesNotTouchTheTemplateMacro) {
  FillOutput("{define tm()}T{enddefine}");
  std::string name = "tm";
  filler_.RemoveMacro(name.data());
  EXPECT_EQ(FillOutput("{tm()}"), "T");
}

}  // namespace

namespace {

// A bad parameter list in a template definition is reported without the
// error header and without "{error}" in the output.
TEST(TemplateMacroDefinitionTest, BadParameterListIsWrittenPlainly) {
  Filler filler;
  char* errors = nullptr;
  char* out = filler.Fill("{define m(a b)}x{enddefine}", &errors);
  EXPECT_STREQ(out, "");
  ASSERT_NE(errors, nullptr);
  EXPECT_EQ(std::string(errors),
            "illegal parameter speci" "fication in macro definition\r\n");
  delete[] out;
  delete[] errors;
}

}  // namespace

// The process-wide function registry: first registration wins, lookups
// ignore case, removal respects the kind of entry, and the sorted listing.
// Every test leaves the registry as it found it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"

namespace {

std::vector<std::string>& Reports() {
  static std::vector<std::string> reports;
  return reports;
}
void CaptureReport(const char* message) { Reports().push_back(message ? message : "(null)"); }

symtab* Doubled(sym_list* args) {
  if (args->count != 1 || args->args[0]->type != SYM_SCALAR) {
    MathParser::Error("Invalid number of arguments");
    return nullptr;
  }
  symtab* s = args->Take(0);
  s->DropName();
  s->value *= 2;
  return s;
}

symtab* Constant99(sym_list*) {
  auto* s = new symtab;
  s->SetScalar(99);
  return s;
}

symtab* FirstArgument(sym_list* args) {
  symtab* s = args->Take(0);
  s->DropName();
  return s;
}

class RegistryTest : public testing::Test {
 protected:
  void SetUp() override {
    saved_ = MathParser::err_fun;
    MathParser::SetErrorFunction(CaptureReport);
    parser_ = std::make_unique<MathParser>();  // makes sure the built-ins are there
  }
  void TearDown() override {
    for (const char* name : {"qvreg_new", "qvreg_wide", "qvreg_user", "Zqvreg", "aqvreg",
                             "qvreg_ext", "qvreg_lib", "qvreg_ctx", "qvreg_proc", "dot"}) {
      MathParser::RemoveFunc(name);
      MathParser::RemoveUserFn(name);
    }
    MathParser::SetErrorFunction(saved_);
    MathParser::ClearError();
  }

  std::string Eval(const char* text) {
    Reports().clear();
    symtab* v = parser_->Evaluate(text);
    if (v == nullptr) return Reports().empty() ? "null" : "error: " + Reports().front();
    std::string out = v->type == SYM_SCALAR ? std::to_string(static_cast<long long>(v->value))
                                            : "(kind " + std::to_string(v->type) + ")";
    v->Delete();
    return out;
  }

  static char* ArgName(const char* s) { return const_cast<char*>(s); }

  std::unique_ptr<MathParser> parser_;
  ErrorFunc saved_ = nullptr;
};

TEST_F(RegistryTest, BuiltinsAreRegisteredUnderTheirNamesWithTheirArgumentWords) {
  struct Row {
    const char* name;
    short nargs;
  };
  for (Row row : {Row{"sin", 1}, Row{"atan2", 2}, Row{"inverse", 1}, Row{"sqrt", 1}}) {
    funtab* f = MathParser::FunLook(row.name);
    ASSERT_NE(f, nullptr) << row.name;
    EXPECT_STREQ(f->name, row.name);
    EXPECT_EQ(f->nargs, row.nargs) << row.name;
    EXPECT_NE(f->handler, nullptr);
    EXPECT_EQ(f->is_user | f->is_external | f->is_library | f->has_context, 0);
  }
  ASSERT_NE(MathParser::FunLook("ln"), nullptr);
  EXPECT_EQ(MathParser::FunLook("ln")->handler, MathParser::FunLook("log")->handler);
  EXPECT_EQ(MathParser::FunLook("qvreg_never_registered"), nullptr);
}

TEST_F(RegistryTest, AddFuncKeepsTheFirstRegistrationOfANameInAnyCase) {
  funtab* before = MathParser::FunLook("sin");
  BuiltinHandler builtin = before->handler;
  EXPECT_EQ(MathParser::AddFunc("SIN", Constant99, 3), 1);
  funtab* after = MathParser::FunLook("sIn");
  ASSERT_EQ(after, before);
  EXPECT_EQ(after->handler, builtin);
  EXPECT_STREQ(after->name, "sin");
  EXPECT_EQ(after->nargs, 1);
  EXPECT_EQ(Eval("SIN(0)"), "0");

  // A new name is found in any case.
  EXPECT_EQ(MathParser::AddFunc("QvReg_New", Doubled, 1), 0);
  funtab* f = MathParser::FunLook("qvreg_new");
  EXPECT_EQ(MathParser::FunLook("QVREG_NEW"), f);
  EXPECT_STREQ(f->name, "QvReg_New");
  EXPECT_EQ(f->handler, Doubled);
  EXPECT_EQ(Eval("qvreg_new(21)"), "42");
  EXPECT_EQ(Eval("QVREG_NEW(2)"), "4");
  // A second registration in another case is refused.
  EXPECT_EQ(MathParser::AddFunc("qvreg_NEW", Constant99, 1), 1);
  EXPECT_EQ(Eval("qvreg_new(1)"), "2");
  // The argument word is stored in 16 bits.
  ASSERT_EQ(MathParser::AddFunc("qvreg_wide", Constant99, 65536 + 5), 0);
  EXPECT_EQ(MathParser::FunLook("qvreg_wide")->nargs, 5);
}

// "dot" followed by "(" is a call when the registry knows the name; between
// two operands and without "(" it stays the operator.
TEST_F(RegistryTest, RegisteredFunctionNamedDotIsCalled) {
  EXPECT_EQ(Eval("dot(5, 6)"), "error: Syntax error");
  ASSERT_EQ(MathParser::AddFunc("dot", FirstArgument, 2), 0);
  EXPECT_EQ(Eval("dot(5, 6)"), "5");
  EXPECT_EQ(Eval("{1,2} dot {3,4}"), "11");
  // Names are tried before operators at a letter, so here "dot" is taken
  // for the call and two operands stand side by side.
  EXPECT_EQ(Eval("{1,2} dot({3,4})"), "error: Syntax error");
}

TEST_F(RegistryTest, RemovalRespectsTheKindOfEntry) {
  ASSERT_EQ(MathParser::AddFunc("qvreg_new", Doubled, 1), 0);
  MathParser::RemoveFunc("QVREG_NEW");
  EXPECT_EQ(MathParser::FunLook("qvreg_new"), nullptr);
  EXPECT_EQ(Eval("qvreg_new(1)"), "error: Syntax error");

  // A user function keeps copies of its body and argument names.
  std::string body = "function qvreg_user(a, b) { a+b }", arg = "b";
  char* args[] = {ArgName("a"), arg.data()};
  MathParser::AddUserFn("qvreg_user", body.c_str(), args, 2);
  body[0] = 'F';
  arg[0] = 'y';
  MathParser::RemoveFunc("qvreg_user");  // not removed by this
  funtab* f = MathParser::FunLook("QVREG_USER");
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(f->is_user, 1);
  EXPECT_EQ(f->nargs, 2);
  EXPECT_STREQ(f->body, "function qvreg_user(a, b) { a+b }");
  ASSERT_NE(f->arg_names, nullptr);
  EXPECT_STREQ(f->arg_names[1], "b");
  MathParser::RemoveUserFn("qvreg_user");
  EXPECT_EQ(MathParser::FunLook("qvreg_user"), nullptr);

  MathParser::RemoveUserFn("sqrt");  // a built-in stays
  funtab* builtin = MathParser::FunLook("sqrt");
  ASSERT_NE(builtin, nullptr);
  EXPECT_EQ(Eval("sqrt(16)"), "4");

  // A user function under a built-in name replaces it.
  const BuiltinHandler handler = builtin->handler;
  const short nargs = builtin->nargs;
  MathParser::AddUserFn("SQRT", "function SQRT(x) { x }", args, 1);
  f = MathParser::FunLook("sqrt");
  EXPECT_EQ(f->is_user, 1);
  EXPECT_STREQ(f->name, "SQRT");
  MathParser::RemoveUserFn("sqrt");  // put the built-in back
  ASSERT_EQ(MathParser::FunLook("sqrt"), nullptr);
  ASSERT_EQ(MathParser::AddFunc("sqrt", handler, nargs), 0);
  EXPECT_EQ(Eval("sqrt(9)"), "3");
}

// The refusal comes before the handler (which would report a wrong count
// first) and before the scalar shortcut.
TEST_F(RegistryTest, RestrictedModeRefusesABuiltinThatStartsProcesses) {
  ASSERT_EQ(MathParser::AddFunc("qvreg_proc", Doubled, 1, quorvix::kStartsProcesses,
                                [](double x) { return 2 * x; }),
            0);
  EXPECT_EQ(Eval("qvreg_proc(4)"), "8");
  parser_->policy().restricted = true;
  for (const char* call : {"qvreg_proc(4)", "qvreg_proc(1, 2)"})
    EXPECT_EQ(Eval(call), "error: qvreg_proc is not allowed in restricted mode") << call;
}

void* g_context_seen = nullptr;
symtab* ContextHandler(void* context, sym_list* args) {
  g_context_seen = context;
  auto* s = new symtab;
  s->SetScalar(args->count);
  return s;
}

TEST_F(RegistryTest, ExternalLibraryAndContextRegistrationsReplaceAndCarryTheirKind) {
  ASSERT_EQ(MathParser::AddFunc("qvreg_ext", Constant99, 1), 0);
  MathParser::AddExternalFunc("qvreg_ext", "/bin/true", 3);
  funtab* e = MathParser::FunLook("qvreg_ext");
  EXPECT_EQ(e->is_external, 1);
  EXPECT_STREQ(e->program, "/bin/true");
  EXPECT_EQ(e->nargs, 3);

  MathParser::AddExtDLLFunc("qvreg_lib", "libx.so", "entry", 2, 7);
  funtab* l = MathParser::FunLook("qvreg_lib");
  EXPECT_EQ(l->is_library, 1);
  EXPECT_STREQ(l->library, "libx.so");
  EXPECT_STREQ(l->program, "entry");
  EXPECT_EQ(l->nargs, 2);
  EXPECT_EQ(l->library_word, 7);

  int marker = 0;  // a context function is called with its context
  ASSERT_EQ(MathParser::AddContextFunc("qvreg_ctx", ContextHandler, &marker, 2), 0);
  EXPECT_EQ(Eval("qvreg_ctx(1, 2, 3)"), "3");
  EXPECT_EQ(g_context_seen, &marker);
}

bool SortedBytewise(funtab** list, std::size_t n) {
  for (std::size_t i = 1; i < n; ++i) {
    if (list[i]->name == nullptr) continue;
    if (list[i - 1]->name == nullptr || std::strcmp(list[i - 1]->name, list[i]->name) > 0)
      return false;
  }
  return true;
}

TEST_F(RegistryTest, SortedListHasEveryEntryOnceInByteOrderWithCapitalsFirst) {
  ASSERT_EQ(MathParser::AddFunc("Zqvreg", Constant99, 1), 0);
  ASSERT_EQ(MathParser::AddFunc("aqvreg", Constant99, 1), 0);
  const std::size_t n = MathParser::func_list.size();
  std::unique_ptr<funtab*[]> list(MathParser::GetSortedFunctionList());
  EXPECT_TRUE(SortedBytewise(list.get(), n));
  std::vector<funtab*> seen(list.get(), list.get() + n);
  for (const auto& [key, entry] : MathParser::func_list)
    EXPECT_EQ(std::count(seen.begin(), seen.end(), entry), 1) << key;
  auto position = [&](const char* name) {
    for (std::size_t i = 0; i < n; ++i)
      if (list[i]->name && std::strcmp(list[i]->name, name) == 0) return static_cast<long>(i);
    return -1L;
  };
  // "Zqvreg" begins with a capital: before every name in small letters.
  EXPECT_LT(position("Zqvreg"), position("abs"));
  EXPECT_LT(position("abs"), position("aqvreg"));
  EXPECT_LT(position("aqvreg"), position("sin"));
  // An entry without name comes last.
  auto* unnamed = new funtab;
  MathParser::func_list["\x01qvreg_unnamed"] = unnamed;
  std::unique_ptr<funtab*[]> with_unnamed(MathParser::GetSortedFunctionList());
  EXPECT_EQ(with_unnamed[n], unnamed);
  MathParser::func_list.erase("\x01qvreg_unnamed");
  delete unnamed;
}

TEST_F(RegistryTest, ClearFunctionListLeavesNoFunctionsUntilTheNextParser) {
  ASSERT_EQ(MathParser::AddFunc("qvreg_new", Doubled, 1), 0);
  {
    const std::size_t n = MathParser::func_list.size();
    MathParser another;  // with a filled registry a new parser adds nothing
    EXPECT_EQ(MathParser::func_list.size(), n);
    EXPECT_EQ(MathParser::FunLook("qvreg_new")->handler, Doubled);
  }
  MathParser::ClearFunctionList();
  EXPECT_TRUE(MathParser::func_list.empty());
  EXPECT_EQ(MathParser::FunLook("sin"), nullptr);
  EXPECT_EQ(Eval("sin(0)"), "error: Syntax error");

  MathParser fresh;  // registers the built-ins again
  EXPECT_NE(MathParser::FunLook("sin"), nullptr);
  EXPECT_EQ(MathParser::FunLook("qvreg_new"), nullptr);
  EXPECT_EQ(Eval("sin(0)"), "0");
  EXPECT_EQ(Eval("atan2(0, 1)"), "0");
}

}  // namespace

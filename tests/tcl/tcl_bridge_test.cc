// The Tcl bridge with a real interpreter and without one: the three
// built-ins, the TCL output stream and restricted mode.
#include <sstream>
#include <string>

#include "quorvix/message_service.h"
#include "quorvix/tcl_setup.h"
#include "support/support.h"
#include "util/process_timeout.h"

namespace {

class TclBridgeTest : public qt::ParserTest {
 protected:
  void SetUp() override {
    if (!quorvix::CreateTclInterpreter()) GTEST_SKIP() << "built without Tcl";
  }
};

// Takes the interpreter away while it lives.
class NoInterpreter {
 public:
  NoInterpreter() : saved_(MathParser::tcl_interp) { MathParser::tcl_interp = nullptr; }
  ~NoInterpreter() { MathParser::tcl_interp = saved_; }

 private:
  Tcl_Interp* saved_;
};

TEST_F(TclBridgeTest, FunctionsRunScriptsAndReadVariables) {
  EXPECT_EQ(Eval("tcleval({\"set tb_a 6\", \"expr {$tb_a * 7}\"})"), "{ \"6\", \"42\" }");
  EXPECT_EQ(Eval("tcleval(\"error oops\")"), "oops");
  EXPECT_EQ(Eval("tcleval(\"array set tb_arr {k v}\")"), "");
  EXPECT_EQ(Eval("tclgetvar(\"tb_arr\", \"k\") + tclgetvar(\"tb_a\")"), "v6");
  EXPECT_EQ(Eval("tclgetvar(\"tb_none\")"), "can't read \"tb_none\": no such variable");
  EXPECT_EQ(Eval("tcleval(\"exit 3\")"), "exit is not available here");
  EXPECT_EQ(Eval("tclevalfile(\"/no/such/tb.tcl\")"),
            "couldn't read file \"/no/such/tb.tcl\": no such file or directory");
  EXPECT_EQ(Eval("tcleval(1)"), "error: String expected in TCLEVAL function");
  EXPECT_EQ(Eval("tclevalfile(\"a\", \"b\")"), "error: Invalid number of arguments");
  EXPECT_EQ(Eval("tclgetvar(1, \"k\")"), "error: String expected in TCLEVAL function");
  EXPECT_EQ(Eval("tclgetvar(\"a\", \"b\", \"c\")"), "error: Invalid number of arguments");
  parser_.policy().restricted = true;
  EXPECT_EQ(Eval("tcleval(\"set x 1\")"), "error: tcleval is not allowed in restricted mode");
}

TEST_F(TclBridgeTest, EndlessScriptsStopAtTheTimeOutOrTheFillsTimeLimit) {
  quorvix::SetProcessTimeout(0.2);
  EXPECT_EQ(Eval("tcleval(\"while 1 {}\")"), "time limit exceeded");
  quorvix::SetProcessTimeout(0);
  // The limit is lifted afterwards.
  EXPECT_EQ(Eval("tcleval(\"expr 1+1\")"), "2");
  Filler filler;
  filler.GetMathParser()->policy().limits.seconds = 0.2;
  qt::Filled r = qt::Fill(filler, "a{tcleval(\"while 1 {}\")}b");
  EXPECT_EQ(r.output, "a");
  EXPECT_NE(r.errors.find("time limit exceeded (0.2 s)"), std::string::npos) << r.errors;
}

TEST_F(TclBridgeTest, WithoutAnInterpreterTheArgumentComesBack) {
  NoInterpreter none;
  EXPECT_EQ(Eval("tcleval({\"a\", \"b\"}) + tclevalfile(\"f\")"), "{ \"af\", \"bf\" }");
  symtab* emptied = parser_.Evaluate("tclgetvar(\"tb_a\")");
  ASSERT_NE(emptied, nullptr);
  EXPECT_EQ(emptied->type, SYM_STRINGS);
  EXPECT_EQ(emptied->num_strings, 0);
  emptied->Delete();
  Filler filler;
  qt::Filled r = qt::Fill(filler, "{open \"TCL\"}");
  EXPECT_EQ(r.errors, "{open \"TCL\"}\r\n           ^\r\ncould not open output file: \"TCL\".\r\n");
}

TEST_F(TclBridgeTest, TheTclStreamRunsItsTextWhenClosedAndReportsErrors) {
  Filler filler;
  qt::MessageLines messages;
  filler.GetMathParser()->policy().messages = &messages;
  qt::Filled r = qt::Fill(filler,
                          "{open \"TCL\"}set tb_s 6\nset tb_t [expr $tb_s * 7]\n{close}"
                          "{tclgetvar(\"tb_t\")}{open \"TCL\"}error boom{close}|"
                          "{open \"TCL\"}set tb_u end");
  EXPECT_EQ(r.output, "42|");
  EXPECT_TRUE(r.errors_null) << r.errors;
  EXPECT_EQ(messages.lines, std::vector<std::string>{"TCL stream: boom"});
  EXPECT_EQ(Eval("tclgetvar(\"tb_u\")"), "end");  // run at the end of the fill
}

}  // namespace

// What the output statements hand to the host: echo's messages, the report
// settings and the time-out, restricted mode, and the line ends of files.
#include <sstream>
#include <string>
#include <vector>

#include "quorvix/message_service.h"
#include "support/support.h"
#include "util/process_timeout.h"

namespace {

using qt::Fill;

TEST(OutputStatementsTest, EchoWritesAFormattedMessageNotOutput) {
  Filler filler;
  qt::MessageLines messages;
  filler.GetMathParser()->policy().messages = &messages;
  qt::Filled r = Fill(filler, "a{echo({1,2}, f4.1, array)}{if 0}{echo(3)}{endif}{echo(\"s\")}b");
  EXPECT_EQ(r.output, "ab");
  EXPECT_TRUE(r.errors_null) << r.errors;
  EXPECT_EQ(messages.lines, (std::vector<std::string>{"{ 1.0 , 2.0  }", "s"}));
}

TEST(OutputStatementsTest, ReportSettingsAndTimeOutReachTheHost) {
  Filler filler;
  qt::Filled r =
      Fill(filler,
           "{report_start_time 0.1; report_end_time (2 * 1.25); report_default_incr 1e300;"
           " attach_note_at 3.9; attach_note_to -2.5; display_as_output; report_animate;"
           " timeout 2.5}");
  EXPECT_TRUE(r.errors_null) << r.errors;
  EXPECT_EQ(filler.StartTime(), static_cast<double>(0.1f));  // kept in single precision
  EXPECT_EQ(filler.EndTime(), 2.5);
  EXPECT_EQ(filler.DefaultIncr(), static_cast<double>(3.4028234663852886e38f));
  EXPECT_EQ(filler.AttachNoteIdx(), 3);
  EXPECT_EQ(filler.AttachNoteOn(), -2);
  EXPECT_EQ(filler.AutoFillReport(), 1);
  EXPECT_TRUE(filler.GetAnimationEnabled());
  EXPECT_EQ(quorvix::ProcessTimeout(), 2.5);
  quorvix::SetProcessTimeout(0);
  Fill(filler, "{report_static}");
  EXPECT_FALSE(filler.GetAnimationEnabled());
  EXPECT_EQ(filler.AttachNoteIdx(), -1);  // reset by every fill
}

class OutputFilesTest : public TempDirTest {};

TEST_F(OutputFilesTest, RestrictedModeRefusesFilesAndTheTclStream) {
  Filler filler;
  filler.GetMathParser()->policy().restricted = true;
  const std::string file = (dir_ / "x.txt").string();
  struct Case {
    std::string keyword, name;
  };
  for (const Case& c : {Case{"open", file}, Case{"append", file}, Case{"open", "TCL"}}) {
    const std::string statement = "{" + c.keyword + " \"" + c.name + "\"}";
    qt::Filled r = Fill(filler, "a" + statement + "b");
    EXPECT_EQ(r.output, "a{error}");
    const std::string refused = c.name == "TCL" ? "TCL" : c.keyword;
    EXPECT_EQ(r.errors, "a" + statement + "b\r\n" + std::string(statement.size(), ' ') + "^\r\n" +
                            refused + " is not allowed in restricted mode\r\n");
  }
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(OutputFilesTest, FilesTakeLfLineEndsWhenAsked) {
  Filler filler;
  filler.SetLfInFiles(true);
  const std::string file = (dir_ / "lf.txt").string();
  qt::Filled r = Fill(filler, "{open \"" + file + "\"}\na\r\nb\n{close}\nbase\n");
  EXPECT_EQ(r.output, "base\r\n");
  EXPECT_EQ(qt::ReadFile(file), "a\nb\n");
}

}  // namespace

// Output and page statements: output files and the Tcl stream ("open",
// "append", "close"), messages ("echo"), page settings ("margins", "page",
// "tab") and the report settings a host reads back.
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "quorvix/message_service.h"
#include "template/engine.h"
#include "template/statement_table.h"
#include "template/tcl_hooks.h"
#include "util/output_stream.h"
#include "util/process_timeout.h"

namespace quorvix {

namespace {

// A file written by "open" or "append". It writes through a FileSink so that
// CR LF line ends can become LF as the host asked; the file is closed, with
// everything written to it, when the stream is deleted.
class FileOutput : public ostream_fast {
 public:
  FileOutput(std::FILE* file, bool lf) : ostream_fast(64 * 1024), file_(file), sink_(file, lf) {}
  ~FileOutput() override {
    flush();
    sink_.Finish();
    std::fclose(file_);
  }
  void flush() override {
    if (!buf_.empty()) sink_.Write(buf_.data(), buf_.size());
    handed_on_ += buf_.size();
    buf_.clear();
  }

 protected:
  void spill() override { flush(); }

 private:
  std::FILE* file_;
  FileSink sink_;
};

// An integer from a double as a C conversion would give it, defined for
// every value (NaN gives 0, the ends of the range are kept).
int TruncateToInt(double x) {
  if (!(x == x)) return 0;
  if (x >= 2147483647.0) return 2147483647;
  if (x <= -2147483648.0) return -2147483647 - 1;
  return static_cast<int>(x);
}

// Report times are kept in single precision; values beyond its range are
// held at its ends rather than overflow the conversion.
float ToFloat(double x) {
  constexpr double kMax = 3.4028234663852886e38;
  if (x > kMax && std::isfinite(x)) return static_cast<float>(kMax);
  if (x < -kMax && std::isfinite(x)) return static_cast<float>(-kMax);
  return static_cast<float>(x);
}

}  // namespace

std::span<const StatementRow> OutputStatements() {
  static const StatementRow kRows[] = {
      {"open", &Engine::st_open},
      {"append", &Engine::st_append},
      {"close", &Engine::st_close},
      {"echo", &Engine::st_echo},
      {"margins", &Engine::st_margins},
      {"page", &Engine::st_page},
      {"tab", &Engine::st_tab},
      {"table", &Engine::st_table},
      {"display_as_output", &Engine::st_display_as_output},
      {"attach_note_at", &Engine::st_attach_note_at},
      {"attach_note_to", &Engine::st_attach_note_to},
      {"timeout", &Engine::st_timeout},
      {"report_start_time", &Engine::st_report_start_time},
      {"report_end_time", &Engine::st_report_end_time},
      {"report_default_incr", &Engine::st_report_default_incr},
      {"report_animate", &Engine::st_report_animate},
      {"report_static", &Engine::st_report_static},
      {"quorvix_off", &Engine::st_quorvix_off},
      {"quorvix_on", &Engine::st_quorvix_on},
  };
  return kRows;
}

bool Engine::StatementValue(symtab*& value) {
  const bool on = IsFalse() == 0;
  bool syntax_failed = false;
  value = evaluate(&syntax_failed);
  if (syntax_failed) return false;
  if (on && value == nullptr) {
    expression_error(parser_);
    return false;
  }
  return true;
}

int Engine::ScalarStatement(const char* message, double& out) {
  symtab* v = nullptr;
  if (!StatementValue(v)) return 1;
  if (v == nullptr) return 0;
  const bool scalar = v->type == SYM_SCALAR;
  if (scalar) out = v->value;
  v->Delete();
  return scalar ? 0 : SyntaxError(message);
}

int Engine::OpenOutput(bool append) {
  symtab* v = nullptr;
  if (!StatementValue(v)) return 1;
  if (v == nullptr) return 0;
  if (!(v->type == SYM_STRINGS && v->num_strings >= 1 && v->str_list[0] != nullptr)) {
    v->Delete();
    return SyntaxError("string value required in OPEN statement");
  }
  const std::string name = v->str_list[0];
  v->Delete();
  current_output_->flush();

  std::unique_ptr<ostream_fast> stream;
  const Policy& policy = parser_->policy();
  if (name == "TCL") {
    // The interpreter runs whatever the stream collects: as good as a process.
    if (policy.restricted) return SyntaxError(Policy::NotAllowed("TCL").c_str());
    if (auto make = InstalledTclHooks().make_stream) stream = make(parser_->MessageService());
  } else {
    bool refused = false;
    std::FILE* file = policy.OpenFile(name, append ? "ab" : "wb", nullptr, &refused);
    if (refused) return SyntaxError(Policy::NotAllowed(append ? "append" : "open").c_str());
    if (file != nullptr) stream = std::make_unique<FileOutput>(file, lf_in_files_);
  }
  if (stream == nullptr) {
    const std::string message = append ? "could not open output file:  " + name
                                       : "could not open output file: \"" + name + "\".";
    return SyntaxError(message.c_str());
  }
  output_stack_.push_back(std::move(stream));
  current_output_ = output_stack_.back().get();
  return 0;
}

int Engine::st_open() { return OpenOutput(false); }
int Engine::st_append() { return OpenOutput(true); }

int Engine::st_close() {
  if (IsFalse() == 0) p_PopStream();
  return 0;
}

void Engine::CloseOutputs() {
  while (!output_stack_.empty()) output_stack_.pop_back();
  current_output_ = base_output_;
}

int Engine::st_echo() {
  if (!Expect('(')) return SyntaxError("'(' expected in ECHO statement");
  std::string text;
  if (!expr_to_string(&text)) return 1;
  if (!Expect(')')) return SyntaxError("')' expected in ECHO statement");
  if (IsFalse() != 0) return 0;
  if (MessageServiceBase* messages = parser_->MessageService()) messages->Message(text.c_str());
  return 0;
}

int Engine::st_margins() {
  if (!Expect('(')) return SyntaxError("'(' expected in MARGINS statement");
  int values[4] = {};
  for (int i = 0; i < 4; ++i) {
    if (i > 0 && !Expect(',')) return SyntaxError("',' expected in MARGINS statement");
    SkipBlanks();
    symtab* v = nullptr;
    if (!ReadExpression(&read_pos_, v)) return 1;
    if (v == nullptr) continue;
    const bool scalar = v->type == SYM_SCALAR;
    if (scalar) values[i] = TruncateToInt(v->value);
    v->Delete();
    if (!scalar) return SyntaxError("value expected in MARGINS statement");
  }
  if (!Expect(')')) return SyntaxError("')' expected in MARGINS statement");
  if (IsFalse() == 0)
    for (int i = 0; i < 4; ++i) margins_[i] = values[i];
  return 0;
}

int Engine::st_page() {
  Switch(page_state_[0], -1);
  return 0;
}

int Engine::st_tab() {
  if (!Expect('(')) return SyntaxError("'(' expected in TAB statement");
  SkipBlanks();
  symtab* v = nullptr;
  if (!ReadExpression(&read_pos_, v)) return 1;
  const bool bad = v != nullptr && v->type != SYM_SCALAR;
  if (v != nullptr) v->Delete();
  if (bad) return SyntaxError("scalar value expected in TAB statement");
  if (!Expect(')')) return SyntaxError("')' expected in TAB statement");
  return 0;
}

int Engine::st_display_as_output() {
  Switch(auto_fill_report_, 1);
  return 0;
}

int Engine::st_attach_note_at() {
  double v = attach_note_idx_;
  if (ScalarStatement("scalar value required in attach_note_at statement", v)) return 1;
  attach_note_idx_ = TruncateToInt(v);
  return 0;
}

int Engine::st_attach_note_to() {
  double v = attach_note_on_;
  if (ScalarStatement("scalar value required in attach_note_on statement", v)) return 1;
  attach_note_on_ = TruncateToInt(v);
  return 0;
}

int Engine::st_timeout() {
  double v = ProcessTimeout();
  if (ScalarStatement("scalar value required in timeout statement", v)) return 1;
  if (IsFalse() == 0) SetProcessTimeout(v);
  return 0;
}

int Engine::st_report_start_time() {
  double v = start_time_;
  if (ScalarStatement("scalar value required in report_start_time statement", v)) return 1;
  start_time_ = ToFloat(v);
  return 0;
}

int Engine::st_report_end_time() {
  double v = end_time_;
  if (ScalarStatement("scalar value required in report_end_time statement", v)) return 1;
  end_time_ = ToFloat(v);
  return 0;
}

int Engine::st_report_default_incr() {
  double v = default_incr_;
  if (ScalarStatement("scalar value required in report_default_incr statement", v)) return 1;
  default_incr_ = ToFloat(v);
  return 0;
}

int Engine::st_report_animate() {
  if (IsFalse() == 0) animation_enabled_ = true;
  return 0;
}

int Engine::st_report_static() {
  if (IsFalse() == 0) animation_enabled_ = false;
  return 0;
}

}  // namespace quorvix

// The template engine. A filler copies a template text to an output text and
// executes the statements and expressions written between curly braces.
//
// Ownership: Fill and FillLabel return new[] texts that the caller frees with
// delete[]; the error text handed out through `errors` likewise (null when
// there was no error). Evaluate's record stays owned by the filler until the
// caller takes it with GetReturnCode.
#ifndef QUORVIX_FILLER_H
#define QUORVIX_FILLER_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

class ostream_fast;
class ostrstream_fast;

namespace quorvix {
struct Macro;
struct SourceFrame;
struct StatementTable;
class ExpressionCache;
}  // namespace quorvix

class FillerBase {
 public:
  static constexpr int kConditionStackSize = 1024;

  FillerBase();
  explicit FillerBase(MathParser* parser);
  FillerBase(const FillerBase& other);
  FillerBase& operator=(const FillerBase& other);
  virtual ~FillerBase();

  virtual char* Fill(const char* text, char** errors) = 0;

  symtab* GetReturnCode();
  MathParser* GetMathParser() { return parser_; }
  static int CheckForBreak() { return 0; }
  void SafeQuotes(int on) { safe_quotes_ = on; }
  static void AllowInlineFunctions(bool on);
  static bool InlineFunctionsAllowed();
  int AttachNoteIdx() const { return attach_note_idx_; }
  int AttachNoteOn() const { return attach_note_on_; }
  int AutoFillReport() const { return auto_fill_report_; }
  double StartTime() const { return start_time_; }
  double EndTime() const { return end_time_; }
  double DefaultIncr() const { return default_incr_; }
  bool GetAnimationEnabled() const { return animation_enabled_; }
  void SetAnimationEnabled(bool on) { animation_enabled_ = on; }

  // Host macros: "name,params)body"; stored under the bare name.
  int DefineMacro(char* definition);
  // "name,args)": the expanded text (new[]), or null.
  char* EvaluateMacro(char* call);
  void RemoveMacro(char* name);
  void ResetMacros();

  // The process-wide include path.
  static std::vector<std::string>& IncludePath();

  // The stream that the outermost running fill writes to, or null.
  static ostream_fast* CurrentFillStream();

 protected:
  // The common body of a fill; returns the error text (new[]) or null.
  char* p_Fill(char** errors);
  // Fills from `start` (inside `buffer`, which stays the caller's); `name`
  // is the file the text is reported as, empty for a caller's text.
  char* RunFill(char* buffer, char* start, const std::string& name, char** errors,
                char* nul_at = nullptr);
  char* RunFill(const char* text, char** errors);

  // Fill loop and sources ----------------------------------------------------
  int fill_buffer();
  // Both return false when the source stack is full (the error is reported).
  bool SetBuffer(char* text, int owned);
  bool Push(const char* filename);
  // Reports a NUL byte at `at` in the current file; true (the fill stops).
  bool ReportNul(char* at);
  int Pop(int at_loop_end, MathParser* parser);
  ostream_fast* p_PopStream();
  int IsFalse() const {
    return break_pending_ || continue_pending_ ? 1000 : false_depth_;
  }

  // Brace groups and expressions ----------------------------------------------
  int fill_brace();
  int fill_brace_expr();
  // Reads an expression with its optional format and style and appends the
  // value's text; false when the fill must stop (the error is reported).
  bool expr_to_string(std::string& text);
  char* balance(char** pos);
  std::string BalanceText(char** pos);
  // Balances and evaluates the expression at *pos (execution must be on).
  // Loop bodies are read again on every pass, so the parsed expression is
  // remembered by its place in the text and reused while that text is the
  // same. Null after a failed evaluation (the parser holds the message).
  symtab* EvaluateText(char** pos);
  // Reads the expression at *pos and evaluates it when execution is on
  // (`value` null otherwise). Returns 1 after reporting a failed evaluation.
  int ReadExpression(char** pos, symtab*& value);
  // Reads one expression (in parentheses, or up to a terminator on the line)
  // and evaluates it when execution is on. `syntax_failed` is set when a
  // missing ')' was reported.
  symtab* evaluate(bool* syntax_failed = nullptr);
  void error();
  void expression_error(MathParser* parser);
  void recover();
  void WriteDeferredSpaces();
  void WriteText(const char* text, std::size_t n);

  // Statements ---------------------------------------------------------------
  friend struct quorvix::StatementTable;
  int st_if();
  int st_elseif();
  int st_else();
  int st_endif();
  int st_while();
  int st_for();
  int st_foreach();
  int st_endloop();
  int st_break();
  int st_continue();
  int st_exit();
  int st_return();
  int st_function();
  int st_format();
  int st_define();
  int st_undef();
  int st_ifdef();
  int st_include();
  int st_readfill();
  int st_path();
  int st_safe_quotes_on();
  int st_safe_quotes_off();
  int st_max_compatibility_on();
  int st_max_compatibility_off();
  int st_escape_characters_on();
  int st_escape_characters_off();

  // Helpers shared by the statements.
  // A keyword-only switch: sets `field` to `value` when execution is on.
  int Switch(int& field, int value);
  void SkipBlanks();
  bool Expect(char c);
  int SyntaxError(const char* message);
  int ReadFormat(std::string& format, char& letter, int& style, bool set_defaults);
  int IncludeFile(bool as_statements, const char* keyword_message);
  char* ExpandMacro(quorvix::Macro& macro, char** pos, int* status);
  const char* ReadMacroArguments(quorvix::Macro& macro, char** p);
  int ConditionHolds(const symtab* value) const;
  int ReadCondition(symtab*& value);
  bool OpenConditionLevel();
  bool OpenLoop(int false_increment);

  bool PushFrame(quorvix::SourceFrame*& out);
  void LinkFrame(quorvix::SourceFrame* f);
  void RestoreFlags(const quorvix::SourceFrame& f);
  int NoSourceLeft();
  // Counts one more pass of a loop; false (reported) past the limit.
  bool CountLoopPass();
  int PopPlain();

  void CopyState(const FillerBase& other);
  void DeleteSources();
  void DeleteOutputStack();

  // State ------------------------------------------------------------------------
  symtab* return_code_ = nullptr;
  std::unique_ptr<ostrstream_fast> error_stream_;
  int page_state_[3] = {-1, 25, 0};
  int buffer_owned_ = 0;
  quorvix::SourceFrame* source_top_ = nullptr;
  ostream_fast* current_output_ = nullptr;
  ostream_fast* base_output_ = nullptr;
  MathParser* parser_ = nullptr;
  std::string source_name_;
  int deferred_spaces_ = 0;
  int owns_parser_ = 0;
  int margins_[4] = {0, -1, 0, -1};
  std::map<std::string, std::unique_ptr<quorvix::Macro>> macros_;
  int safe_quotes_ = 0;
  int max_compatibility_ = 0;
  char* read_pos_ = nullptr;
  // Where the statement being run starts (its keyword).
  char* statement_start_ = nullptr;
  char* buffer_start_ = nullptr;
  // The buffer of the file being read ('}' and its text), null for text
  // handed in by the caller.
  char* file_start_ = nullptr;
  int error_flag_ = 0;
  int line_has_statement_ = 0;
  int resume_brace_ = 0;
  int line_has_output_ = 0;
  int condition_depth_ = 0;
  std::unique_ptr<int[]> condition_stack_;
  int false_depth_ = 0;
  std::string number_format_ = "%g";
  std::string string_format_ = "%s";
  int format_style_ = 1;
  char format_letter_ = 'g';
  std::vector<ostream_fast*> output_stack_;
  float start_time_ = 0.0f;
  float end_time_ = 0.0f;
  float default_incr_ = 0.0f;
  int attach_note_idx_ = -1;
  int attach_note_on_ = -1;
  int auto_fill_report_ = 0;
  bool animation_enabled_ = false;
  bool break_pending_ = false;
  bool continue_pending_ = false;
  // Nesting of sources opened by this fill (includes, macros, loops).
  int source_depth_ = 0;
  // Set when an "endloop" abandoned a source and reading went back to plain
  // text: the brace group being read is over.
  bool leave_group_ = false;
  bool in_format_statement_ = false;
  // Set when the file to fill holds a NUL byte there: reported instead.
  char* nul_at_ = nullptr;
  long long loop_passes_ = 0;
  std::unique_ptr<quorvix::ExpressionCache> expression_cache_;
};

class Filler : public FillerBase {
 public:
  Filler() = default;
  explicit Filler(MathParser* parser) : FillerBase(parser) {}
  char* Fill(const char* text, char** errors) override;
  // As Fill without error collection; null when the parser reported an error.
  char* FillLabel(const char* text);
  // Fills the text from its first '{' and returns the "return" value.
  symtab* Evaluate(const char* text, char** errors);
  // Fills the contents of a file, which error reports then name. Returns
  // null (and no error text) when the file cannot be read.
  char* FillFile(const char* path, char** errors);
};

class DOEFiller : public FillerBase {
 public:
  DOEFiller() = default;
  explicit DOEFiller(MathParser* parser) : FillerBase(parser) {}
  char* Fill(const char* text, char** errors) override;
};

#endif

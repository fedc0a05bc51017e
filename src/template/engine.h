// The template engine's state and its statement handlers. FillerBase holds
// one Engine and forwards the host operations to it; nothing outside the
// template engine sees this class.
//
// Statements (`st_*`, `fill_brace*`) return 0 to go on and 1 to stop the
// fill. Helpers return bool: true to go on, false when the fill must stop
// (the reason is reported by then).
#ifndef QUORVIX_TEMPLATE_ENGINE_H
#define QUORVIX_TEMPLATE_ENGINE_H

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

class ostream_fast;
class ostrstream_fast;
class ocappedstream_fast;

namespace quorvix {

class OutputSink;
struct Macro;
struct SourceFrame;
struct LoopExpression;
class ExpressionCache;
class GroupMemo;
struct RememberedGroup;
struct GroupFormat;

// The stream that the outermost running fill writes to (null when none).
ostream_fast*& PublishedFillStream();

class Engine {
 public:
  static constexpr int kConditionStackSize = 1024;

  // Owns the parser when `parser` is null.
  explicit Engine(MathParser* parser);
  // Copies the parser when the other one owns its own, the macros, the
  // switches and formats; no fill state.
  Engine(const Engine& other);
  Engine& operator=(const Engine&) = delete;
  ~Engine();

  // Fills the caller's text; the output (new[]) and, through `errors`, the
  // error text (new[], null when none).
  char* FillText(const char* text, char** errors);
  // Fills a file named in reports as `path`; null when it cannot be read.
  char* FillFile(const char* path, char** errors);
  // Fills the text, or the file at `path` when that is not null, writing
  // the output to `sink` as it goes: 0 without errors, 1 with (a refused
  // write adds "output write failed"), -1 when the file cannot be read.
  int FillTo(OutputSink& sink, const char* text, const char* path, char** errors);

  symtab* TakeReturnCode();
  symtab* ReturnCode() const { return return_code_; }
  void DropReturnCode();
  MathParser* parser() const { return parser_; }
  void SetSafeQuotes(int on) { safe_quotes_ = on; }
  int AttachNoteIdx() const { return attach_note_idx_; }
  int AttachNoteOn() const { return attach_note_on_; }
  int AutoFillReport() const { return auto_fill_report_; }
  double StartTime() const { return start_time_; }
  double EndTime() const { return end_time_; }
  double DefaultIncr() const { return default_incr_; }
  bool AnimationEnabled() const { return animation_enabled_; }
  void SetAnimationEnabled(bool on) { animation_enabled_ = on; }

  // Host macros (see FillerBase).
  int DefineMacro(char* definition);
  char* EvaluateMacro(char* call);
  void RemoveMacro(char* name);
  void ResetMacros();

  // Statements, registered by family in the statement table ----------------
  int fill_brace();
  int fill_brace_expr();
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
  int st_registerexternalfunction();
  int st_registerexternalreader();
  int st_registerimporttemplate();
  int st_registersharedreader();
  // Output and page statements (output_statements.cc, table_statement.cc,
  // verbatim_block.cc).
  int st_open();
  int st_append();
  int st_close();
  int st_echo();
  int st_margins();
  int st_page();
  int st_tab();
  int st_table();
  int st_display_as_output();
  int st_attach_note_at();
  int st_attach_note_to();
  int st_timeout();
  int st_report_start_time();
  int st_report_end_time();
  int st_report_default_incr();
  int st_report_animate();
  int st_report_static();
  int st_quorvix_off();
  int st_quorvix_on();
  // Files opened by "open" and "append" get LF line ends instead of CR LF.
  void SetLfInFiles(bool on) { lf_in_files_ = on; }
  int st_parameter();

 private:
  // Fills the text in `buffer` (owned by the fill) from `start`; `name` is
  // the file the text is reported as, empty for a caller's text. A NUL byte
  // at `nul_at` is reported instead of filling.
  void RunFill(ostream_fast& out, std::unique_ptr<char[]> buffer, char* start,
               const std::string& name, char** errors, char* nul_at = nullptr);
  // The two sources of a fill, into `out`; false when the file cannot be read.
  bool FillTextInto(ostream_fast& out, const char* text, char** errors);
  bool FillFileInto(ostream_fast& out, const char* path, char** errors);
  // The common body of a fill; returns the error text (new[]) or null.
  char* p_Fill(char** errors);

  // Fill loop and sources ----------------------------------------------------
  void fill_buffer();
  // Opens `text` as the innermost source; it lies in `owned` (a macro
  // expansion) or, when that is null, in the text of an outer source (a loop
  // body). Both this and Push return false when the fill must stop (the
  // source limit, a NUL byte in a file; reported).
  bool SetBuffer(char* text, std::unique_ptr<char[]> owned);
  bool Push(const char* filename);
  // Reports a NUL byte at `at` in the current file (the fill stops).
  void ReportNul(char* at);
  // Ends the innermost source, or runs a loop's end when `at_loop_end`.
  // False when there is nothing more to read here: no source is left, an
  // "endloop" abandoned the text it stood in, or the fill must stop.
  bool Pop(bool at_loop_end);
  ostream_fast* p_PopStream();
  int IsFalse() const { return break_pending_ || continue_pending_ ? 1000 : false_depth_; }

  // Brace groups and expressions ----------------------------------------------
  // The brace group behind the '{' at the read position: a remembered one
  // directly, any other through fill_brace (remembering it when it may be).
  int BraceGroup();
  int RunRememberedGroup(const RememberedGroup& group, char* at);
  // After a group at `at` ran as one expression statement starting at
  // `expression` and ending (with its format) at the read position.
  void RememberGroup(char* at, char* expression);
  // Reads an expression with its optional format and style and appends the
  // value's text to `text`, or writes it out when that is null; false when
  // the fill must stop (the error is reported).
  bool expr_to_string(std::string* text);
  // Reports a value that has no text; true for the kinds that have one.
  bool HasTextKind(symtab* value);
  // Reads ", format [, style]" of an expression statement, if present.
  bool ReadGroupFormat(GroupFormat& format);
  // The text of `value` (deleted here) in `format` over the current
  // defaults, appended to `text` or, when that is null, written out; false
  // after a reported error.
  bool FormatGroupValue(symtab* value, const GroupFormat& format, std::string* text);
  // The format (and its `letter`) a group writes a number or, when
  // `is_string`, strings with: its own, or the default of the moment.
  const std::string& FormatFor(const GroupFormat& format, bool is_string, char& letter) const;
  // FormatGroupValue for a number, written out.
  bool WriteGroupNumber(double number, const GroupFormat& format);
  // Reports a format letter that the value cannot be written with; false.
  bool IllegalFormat(char letter);
  // The text from *pos up to the first unnested ';', '}', ',' or ')' (or
  // the line end when `within_line`); *pos moves onto that terminator.
  std::string BalanceText(char** pos, bool within_line = false);
  // Balances and evaluates the expression at *pos (execution must be on).
  // Loop bodies are read again on every pass, so the parsed expression is
  // remembered by its place in the text and reused while that text is the
  // same. Null after a failed evaluation (the parser holds the message).
  symtab* EvaluateText(char** pos);
  // Reads the expression at *pos and evaluates it when execution is on
  // (`value` null otherwise). False after reporting a failed evaluation.
  bool ReadExpression(char** pos, symtab*& value);
  // The number (the scalar field, whatever the kind) of a loop's step or
  // condition at `text`, through its parsed form in `parsed` once it has
  // one; `evaluated` is false when execution is off. False after reporting
  // a failed evaluation.
  bool LoopExpressionValue(char* text, LoopExpression& parsed, double& number, bool& evaluated);
  // Reads one expression (in parentheses, or up to a terminator on the line)
  // and evaluates it when execution is on. `syntax_failed` is set when a
  // missing ')' was reported.
  symtab* evaluate(bool* syntax_failed = nullptr);
  void error();
  void expression_error(MathParser* parser);
  void recover();
  void WriteDeferredSpaces();
  void WriteText(const char* text, std::size_t n);

  // Helpers shared by the statements.
  // A keyword-only switch: sets `field` to `value` when execution is on.
  void Switch(int& field, int value);
  void SkipBlanks();
  bool Expect(char c);
  // Reports a syntax error at the read position and skips the rest of the
  // statement; gives the failing statement's result (1).
  int SyntaxError(const char* message);
  // Reads ", format [, style]" if present (always for the "format"
  // statement); false after a reported error.
  bool ReadFormat(std::string& format, char& letter, int& style, bool set_defaults);
  // Reads the file name of "include" or "readfill" and pushes the file;
  // false when the fill must stop.
  bool IncludeFile(bool as_statements, const char* keyword_message);
  // The expansion of a call with its arguments at *pos; false when the call
  // is malformed (reported).
  bool ExpandMacro(Macro& macro, char** pos, std::unique_ptr<char[]>& text);
  const char* ReadMacroArguments(Macro& macro, char** p);
  bool ConditionHolds(const symtab* value) const;
  // Reads a condition with evaluate(); false when the fill must stop.
  bool ReadCondition(symtab*& value);
  bool OpenConditionLevel();
  bool OpenLoop(int false_increment);
  // The registration statements that take one path: reads it and, when the
  // file opens, hands it to `add`. Missing files are ignored.
  int RegisterFile(const char* keyword, const char* kind_message,
                   void (*add)(const std::string& path));

  // False (reported) when one more source would pass the limit.
  bool HasRoomForSource();
  // Saves the reader's state, and the current source's own text, in a new
  // innermost frame.
  void PushFrame();
  void RestoreFlags(const SourceFrame& f);
  void NoSourceLeft();
  // Ends the innermost source and goes back to the one that opened it;
  // false when none was open.
  bool PopPlain();
  // Ends the innermost loop; reading goes on where it is.
  void DropLoop();
  // Starts the next pass of `loop`; false (reported) past the work budget.
  bool NextPass(const SourceFrame& loop, bool at_loop_end);
  // Spends one unit of the fill's work budget (a loop pass, an include, a
  // macro expansion); false (reported) past the budget or the time limit.
  bool SpendWork();
  // False (after reporting) when the fill has written more than the
  // policy's output limit. Every brace group asks: without a limit that is
  // one test, inline.
  bool WithinOutputLimit() {
    return parser_->policy().limits.output_bytes == 0 || base_output_ == nullptr ||
           OutputWithinLimit();
  }
  bool OutputWithinLimit();
  void DeleteSources();
  // Output statements: the value of a one-expression statement (null while
  // execution is off); false when the fill must stop (reported).
  bool StatementValue(symtab*& value);
  // A statement taking one scalar: its value truncated or as it stands in
  // `out` when execution is on.
  int ScalarStatement(const char* message, double& out);
  int OpenOutput(bool append);
  // Writes one row of a "table" format; false after a reported error.
  bool WriteTableRow(const std::string& format, const std::vector<symtab*>& columns, long long row);
  // Closes the streams opened by statements, innermost first.
  void CloseOutputs();

  // State ------------------------------------------------------------------------
  symtab* return_code_ = nullptr;
  std::unique_ptr<ocappedstream_fast> error_stream_;
  int page_state_[3] = {-1, 25, 0};
  // Saved states of the sources around the current one, innermost last.
  std::vector<std::unique_ptr<SourceFrame>> sources_;
  // The current source's own text; null while it reads a text owned by an
  // outer source (a loop body, a file including itself).
  std::unique_ptr<char[]> buffer_;
  ostream_fast* current_output_ = nullptr;
  ostream_fast* base_output_ = nullptr;
  MathParser* parser_ = nullptr;
  std::string source_name_;
  int deferred_spaces_ = 0;
  int owns_parser_ = 0;
  int margins_[4] = {0, -1, 0, -1};
  std::map<std::string, std::unique_ptr<Macro>> macros_;
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
  // Streams opened by statements, innermost last; the current output is the
  // last of them, or the fill's base stream (the caller's) when there is none.
  std::vector<std::unique_ptr<ostream_fast>> output_stack_;
  float start_time_ = 0.0f;
  float end_time_ = 0.0f;
  float default_incr_ = 0.0f;
  int attach_note_idx_ = -1;
  int attach_note_on_ = -1;
  int auto_fill_report_ = 0;
  bool animation_enabled_ = false;
  bool break_pending_ = false;
  bool continue_pending_ = false;
  // Set when an "endloop" abandoned a source and reading went back to plain
  // text: the brace group being read is over.
  bool leave_group_ = false;
  bool in_format_statement_ = false;
  bool lf_in_files_ = false;
  // Set when the file to fill holds a NUL byte there: reported instead.
  char* nul_at_ = nullptr;
  std::unique_ptr<ExpressionCache> expression_cache_;
  std::unique_ptr<GroupMemo> group_memo_;
  // Counts the texts the fill has made to read (a fill's own, an included
  // file, a macro expansion). Texts are never changed once made, and reading
  // is always within one that lives, so while no new one is made, text found
  // at an address stays what it was; a remembered group is compared with
  // the text only once per generation.
  std::uint64_t text_generation_ = 0;
  // The statement keyword at a place in the text (none: the expression
  // statement, length 0), remembered for the generation of texts it was
  // read in.
  struct StatementFound {
    const char* at = nullptr;
    std::uint64_t texts = 0;
    int (Engine::*handler)() = nullptr;
    std::size_t length = 0;
  };
  std::array<StatementFound, 64> found_statements_{};
  const StatementFound& FindStatement(const char* at, char lower);
  // The group that fill_brace is to remember when it turns out plain.
  char* memo_candidate_ = nullptr;
  // The text of the value of an expression statement, reused.
  std::string value_text_;
};

}  // namespace quorvix

#endif  // QUORVIX_TEMPLATE_ENGINE_H

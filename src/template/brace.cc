// Brace groups: statement dispatch, the expression statement, the services
// that read expressions, and the error reports.
#include <cstring>
#include <functional>
#include <string>

#include "expression/compiled_evaluation.h"
#include "quorvix/value_format.h"
#include "template/engine.h"
#include "template/engine_types.h"
#include "template/expression_cache.h"
#include "template/group_memo.h"
#include "template/number_text.h"
#include "template/statement_table.h"
#include "template/text_scan.h"
#include "util/output_stream.h"

namespace quorvix {

void Engine::SkipBlanks() {
  while (IsBlank(*read_pos_)) ++read_pos_;
}

bool Engine::Expect(char c) {
  SkipBlanks();
  if (*read_pos_ != c) return false;
  ++read_pos_;
  return true;
}

int Engine::SyntaxError(const char* message) {
  error();
  error_stream_->puts(message);
  error_stream_->endl();
  recover();
  return 1;
}

const Engine::StatementFound& Engine::FindStatement(const char* at, char lower) {
  // A statement read again (a loop body's) is found by its place while the
  // texts are those it was found in: the text there is still the same.
  StatementFound& memo = found_statements_[(reinterpret_cast<std::uintptr_t>(at) >> 1) &
                                           (found_statements_.size() - 1)];
  if (memo.at == at && memo.texts == text_generation_ && !GeneralGroupsForced()) return memo;
  memo = StatementFound{at, text_generation_, &Engine::fill_brace_expr, 0};
  // Keywords are whole words of word characters: only those as long as the
  // word here can match, which spares comparing the others.
  std::size_t word = 0;
  while (IsWordChar(at[word])) ++word;
  for (const StatementEntry& entry : StatementsForLetter(lower)) {
    if (entry.length == word && std::memcmp(at, entry.row.keyword, word) == 0) {
      memo.handler = entry.row.handler;
      memo.length = entry.length;
      break;
    }
  }
  return memo;
}

int Engine::fill_brace() {
  char* const memo_key = memo_candidate_;
  memo_candidate_ = nullptr;
  // Output grows without bound only through statements that repeat text
  // (loops, includes, macros, functions), and each runs through here.
  if (!WithinOutputLimit()) return 1;
  if (!line_has_output_) line_has_statement_ = 1;
  SkipBlanks();
  bool first = true;
  while (*read_pos_ != '\0' && *read_pos_ != '}') {
    SkipBlanks();
    const char* before = read_pos_;
    const char c = *read_pos_;
    const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    if (lower == '\'') {
      // A comment runs to the '}' or the line end; after a '{' inside it,
      // only the line end ends it.
      bool opened = false;
      while (*read_pos_ != '\0' && *read_pos_ != '\n' && (opened || *read_pos_ != '}')) {
        if (*read_pos_ == '{') opened = true;
        ++read_pos_;
      }
    } else {
      statement_start_ = read_pos_;
      const StatementFound& found = FindStatement(read_pos_, lower);
      int (Engine::*handler)() = found.handler;
      read_pos_ += found.length;  // the handler starts behind its keyword
      // A group that is one expression statement may be remembered.
      const bool plain = first && memo_key != nullptr && handler == &Engine::fill_brace_expr;
      char* const statement = read_pos_;
      if ((this->*handler)()) return 1;
      if (leave_group_) {
        leave_group_ = false;
        return 0;
      }
      if (plain) RememberGroup(memo_key, statement);
    }
    first = false;
    SkipBlanks();
    if (*read_pos_ == ';') {
      ++read_pos_;
    } else if (read_pos_ == before && *read_pos_ != '\0' && *read_pos_ != '}') {
      // Nothing was consumed (a stray character in switched-off text):
      // step over it so that the group always makes progress.
      ++read_pos_;
    }
  }
  if (*read_pos_ == '}') ++read_pos_;
  resume_brace_ = 0;
  return 0;
}

int Engine::fill_brace_expr() {
  if (!macros_.empty()) {
    const char* p = read_pos_;
    while (IsWordChar(*p)) ++p;
    if (p != read_pos_ && *p == '(') {
      std::string key(read_pos_, static_cast<std::size_t>(p - read_pos_));
      key += '(';
      auto it = macros_.find(key);
      if (it != macros_.end() && it->second != nullptr) {
        char* pos = const_cast<char*>(p);
        std::unique_ptr<char[]> expanded;
        if (!ExpandMacro(*it->second, &pos, expanded)) return 1;
        read_pos_ = pos;
        SkipBlanks();
        if (*read_pos_ != '}') return SyntaxError("'}' expected after macro call");
        if (IsFalse()) return 0;
        ++read_pos_;
        char* text = expanded.get();
        return SetBuffer(text, std::move(expanded)) ? 0 : 1;
      }
    }
  }
  return expr_to_string(nullptr) ? 0 : 1;
}

symtab* Engine::EvaluateText(char** pos) {
  char* start = *pos;
  const bool escapes = parser_->AllowEscapeCharactersInStrings();
  if (!expression_cache_) expression_cache_ = std::make_unique<ExpressionCache>();
  if (auto* e = expression_cache_->Find(start, escapes)) {
    const std::size_t length = e->source.size() - 1;
    *pos = start + length;
    return parser_->Evaluate(e->expression.get(), start, length);
  }
  std::string text = BalanceText(pos);
  symtab* value = parser_->Evaluate(text.data());
  if (value != nullptr) {
    std::unique_ptr<MathParserExpression> parsed(parser_->CreateExpression(text.c_str()));
    if (parsed) expression_cache_->Remember(start, text, **pos, std::move(parsed), escapes);
  }
  return value;
}

bool Engine::ReadExpression(char** pos, symtab*& value) {
  value = nullptr;
  if (IsFalse() != 0) {
    BalanceText(pos);
    return true;
  }
  value = EvaluateText(pos);
  if (value != nullptr) return true;
  expression_error(parser_);
  return false;
}

bool Engine::LoopExpressionValue(char* text, LoopExpression& parsed, double& number,
                                 bool& evaluated) {
  evaluated = false;
  symtab* value = nullptr;
  const bool escapes = parser_->AllowEscapeCharactersInStrings();
  if (parsed.parsed && IsFalse() == 0 && !GeneralGroupsForced() && parsed.escapes == escapes &&
      parsed.registry_generation == MathParser::RegistryGeneration()) {
    // The loop needs the number only: a compiled program gives it without
    // a result record.
    switch (RunCompiled(*parsed.parsed->tree(), *parser_, number)) {
      case CompiledRun::kValue:
        evaluated = true;
        return true;
      case CompiledRun::kAssigned:
        // The value of an assignment is the empty string: a scalar field of 0.
        number = 0.0;
        evaluated = true;
        return true;
      case CompiledRun::kNotRun:
        value = parser_->Evaluate(parsed.parsed.get(), text, parsed.length);
        if (value == nullptr) {
          expression_error(parser_);
          return false;
        }
        break;
    }
  } else {
    char* pos = text;
    if (!ReadExpression(&pos, value)) return false;
    if (value == nullptr) return true;
    parsed.length = static_cast<std::size_t>(pos - text);
    parsed.parsed.reset(parser_->CreateExpression(std::string(text, parsed.length).c_str()));
    parsed.registry_generation = MathParser::RegistryGeneration();
    parsed.escapes = escapes;
  }
  // The kind is not checked: the scalar field decides.
  evaluated = true;
  number = value->value;
  value->Delete();
  return true;
}

bool Engine::expr_to_string(std::string* text) {
  symtab* value = nullptr;
  if (IsFalse() != 0) {
    BalanceText(&read_pos_);
  } else {
    value = EvaluateText(&read_pos_);
    if (value == nullptr) {
      expression_error(parser_);
      return false;
    }
  }
  if (value != nullptr && !HasTextKind(value)) return false;
  GroupFormat format;
  if (!ReadGroupFormat(format)) {
    if (value) value->Delete();
    return false;
  }
  return value == nullptr || FormatGroupValue(value, format, text);
}

bool Engine::HasTextKind(symtab* value) {
  if (value->type == SYM_SCALAR || value->type == SYM_ARRAY || value->type == SYM_STRINGS)
    return true;
  error_stream_->puts("Undefined value type");
  error_stream_->endl();
  value->Delete();
  return false;
}

bool Engine::ReadGroupFormat(GroupFormat& format) {
  // ReadFormat sets only what the text gives: the format with its letter
  // (and the list style for a string format), then the style.
  format = GroupFormat();
  return ReadFormat(format.format, format.letter, format.style, false);
}

const std::string& Engine::FormatFor(const GroupFormat& format, bool is_string,
                                     char& letter) const {
  if (!format.format.empty()) {
    letter = format.letter;
    return format.format;
  }
  letter = is_string ? 's' : format_letter_;
  return is_string ? string_format_ : number_format_;
}

bool Engine::FormatGroupValue(symtab* value, const GroupFormat& format, std::string* text) {
  const bool is_string = value->type == SYM_STRINGS;
  char letter;
  const std::string& text_format = FormatFor(format, is_string, letter);
  if (is_string && letter != 's') {
    error_stream_->puts("unsuported format type");
    error_stream_->endl();
    recover();
    value->Delete();
    return false;
  }
  if (value->type == SYM_SCALAR) {
    const double number = value->value;
    value->Delete();
    if (text != nullptr)
      return FormatDouble(number, text_format.c_str(), letter, *text) || IllegalFormat(letter);
    return WriteGroupNumber(number, format);
  }
  ValueFormat vf;
  vf.letter = letter;
  vf.style = static_cast<FormatStyle>(format.style != 0 ? format.style : format_style_);
  vf.margin = margins_[1];
  if (vf.margin > 0) vf.column = current_output_->line_length() + deferred_spaces_;
  if (is_string)
    vf.string_format = text_format;
  else
    vf.number_format = text_format;
  std::string& out = text != nullptr ? *text : value_text_;
  if (text == nullptr) value_text_.clear();
  const bool ok = FormatValue(*value, vf, out);
  value->Delete();
  if (!ok) return IllegalFormat(letter);
  if (text == nullptr && !out.empty()) WriteText(out.data(), out.size());
  return true;
}

bool Engine::WriteGroupNumber(double number, const GroupFormat& format) {
  char letter;
  const std::string& text_format = FormatFor(format, false, letter);
  // No layout, and nothing is written when the letter fails. Most numbers
  // are written in place after the deferred blanks, which go in only when
  // the number has text; the others take the string path and WriteText.
  const auto spaces = static_cast<std::size_t>(deferred_spaces_);
  char* const at = current_output_->reserve(spaces + kNumberTextRoom);
  if (const char* end = FormatNumberTo(number, text_format.c_str(), letter, at + spaces)) {
    if (end > at + spaces) {
      if (spaces > 0) std::memset(at, ' ', spaces);
      current_output_->commit(end);
      deferred_spaces_ = 0;
      line_has_output_ = 1;
    }
    return true;
  }
  value_text_.clear();
  if (!FormatDouble(number, text_format.c_str(), letter, value_text_)) return IllegalFormat(letter);
  if (!value_text_.empty()) WriteText(value_text_.data(), value_text_.size());
  return true;
}

bool Engine::IllegalFormat(char letter) {
  error();
  error_stream_->puts("illegal format specifier '");
  error_stream_->put(letter);
  error_stream_->puts("'");
  error_stream_->endl();
  return false;
}

std::string Engine::BalanceText(char** pos, bool within_line) {
  const char* start = *pos;
  const char* end = BalanceEnd(start, within_line ? '\n' : '\0');
  *pos = const_cast<char*>(end);
  return std::string(start, static_cast<std::size_t>(end - start));
}

symtab* Engine::evaluate(bool* syntax_failed) {
  if (syntax_failed != nullptr) *syntax_failed = false;
  MathParser::ClearError();
  parser_->SetErrorMessage(nullptr);
  SkipBlanks();
  std::string text;
  if (*read_pos_ == '(') {
    ++read_pos_;
    text = BalanceText(&read_pos_);
    if (*read_pos_ != ')') {
      SyntaxError("')' expected following expression");
      if (syntax_failed != nullptr) *syntax_failed = true;
      return nullptr;
    }
    ++read_pos_;
  } else {
    // Up to the first unnested terminator, never beyond the line end.
    text = BalanceText(&read_pos_, true);
  }
  return IsFalse() == 0 ? parser_->Evaluate(text.data()) : nullptr;
}

void Engine::error() {
  if (!source_name_.empty()) {
    error_stream_->puts("in file:  ");
    error_stream_->puts(source_name_.c_str());
    error_stream_->endl();
  }
  // Only the current buffer is shown: a read position elsewhere (the empty
  // text of an ended source) shows an empty line.
  const char* start = buffer_start_ ? buffer_start_ : kEmptyText;
  const char* end_of_buffer = start + std::strlen(start);
  const char* pos = read_pos_;
  const std::less_equal<const char*> not_after;
  if (pos == nullptr || !not_after(start, pos) || !not_after(pos, end_of_buffer)) {
    start = kEmptyText;
    pos = kEmptyText;
  }
  const char* line = pos;
  while (line > start && line[-1] != '\n') --line;
  const char* end = pos;
  while (*end != '\0' && *end != '\n') ++end;
  error_stream_->write(line, static_cast<std::size_t>(end - line));
  error_stream_->endl();
  error_stream_->put_n(' ', static_cast<std::size_t>(pos - line));
  error_stream_->put('^');
  error_stream_->endl();
  WriteDeferredSpaces();
  current_output_->puts("{error}");
  error_flag_ = 1;
}

void Engine::expression_error(MathParser* parser) {
  WriteDeferredSpaces();
  if (!error_flag_) {
    const char* message = parser->ErrorMessage();
    if (message != nullptr && message[0] != '\0') {
      error_stream_->puts(message);
      error_stream_->puts(" in expression:");
    } else {
      error_stream_->puts("syntax error in expression:");
    }
    error_stream_->endl();
    const char* text = parser->ExpressionText();
    error_stream_->puts(text ? text : "");
    error_stream_->endl();
  }
  error_flag_ = 1;
  read_pos_ = kEmptyText;
}

void Engine::recover() {
  while (*read_pos_ != '\0' && *read_pos_ != ';' && *read_pos_ != '\n') ++read_pos_;
  if (*read_pos_ == ';') ++read_pos_;
}

}  // namespace quorvix

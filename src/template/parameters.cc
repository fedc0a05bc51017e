// The "parameter" statement: a design variable of the template, which the
// fill gives its nominal value unless the host has set it already.
#include <string>

#include "template/engine.h"
#include "template/statement_table.h"
#include "template/text_scan.h"

namespace quorvix {

std::span<const StatementRow> ParameterStatements() {
  static const StatementRow kRows[] = {
      {"parameter", &Engine::st_parameter},
  };
  return kRows;
}

namespace {
constexpr const char* kCommaExpected = "',' expected in PARAMETER statement";
constexpr const char* kParenExpected = "')' expected in PARAMETER statement";
}  // namespace

int Engine::st_parameter() {
  SkipBlanks();
  if (*read_pos_ != '(') {
    // Not a declaration: the rest of the statement is passed over.
    while (*read_pos_ != '\0' && *read_pos_ != ';' && *read_pos_ != '}') {
      read_pos_ = const_cast<char*>(BalanceEnd(read_pos_));
      if (*read_pos_ == ',' || *read_pos_ == ')') ++read_pos_;
    }
    return 0;
  }
  ++read_pos_;
  SkipBlanks();
  const char* name_start = read_pos_;
  while (IsWordChar(*read_pos_)) ++read_pos_;
  std::string name(name_start, static_cast<std::size_t>(read_pos_ - name_start));
  if (name.empty()) return SyntaxError("name expected in parameter statement");
  if (!Expect(',')) return SyntaxError(kCommaExpected);
  SkipBlanks();
  if (*read_pos_ == '"') {
    read_pos_ = const_cast<char*>(SkipQuoted(read_pos_));
  } else {
    while (IsWordChar(*read_pos_)) ++read_pos_;
  }
  if (!Expect(',')) return SyntaxError(kCommaExpected);
  SkipBlanks();
  std::string nominal;
  if (*read_pos_ != '"') {
    nominal = BalanceText(&read_pos_);
    for (int bound = 0; bound < 2; ++bound) {
      if (!Expect(',')) return SyntaxError(kCommaExpected);
      BalanceText(&read_pos_);
    }
  } else {
    nominal = BalanceText(&read_pos_);
    if (Expect(',')) BalanceText(&read_pos_);
  }
  if (!Expect(')')) return SyntaxError(kParenExpected);
  if (IsFalse() != 0) return 0;

  // A value the host (or an earlier declaration) set wins over the nominal.
  // A name merely looked up before holds a record of no kind: not a value.
  const auto& vars = parser_->Variables();
  if (auto it = vars.find(name); it != vars.end() && it->second->type != SYM_UNDEFINED) return 0;
  MathParser::ClearError();
  parser_->SetErrorMessage(nullptr);
  symtab* value = parser_->Evaluate(nominal.data());
  if (value == nullptr) {
    value = new symtab;
    value->SetScalar(0.0);
  }
  // A nominal that does not evaluate leaves no error behind for the next
  // statement to trip over.
  MathParser::ClearError();
  parser_->SetErrorMessage(nullptr);
  value->SetName(name.c_str());
  parser_->AddVariable(value);
  value->Delete();
  return 0;
}

}  // namespace quorvix

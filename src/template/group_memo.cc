// The engine's side of remembered brace groups: using one, and remembering
// a group after it ran once through the general path (so that first-time
// errors and messages are that path's own).
#include "template/group_memo.h"

#include <string>

#include "expression/compiled_evaluation.h"
#include "template/engine.h"
#include "template/text_scan.h"

namespace quorvix {

namespace {
bool g_force_general = false;
}  // namespace

void ForceGeneralGroups(bool on) { g_force_general = on; }
bool GeneralGroupsForced() { return g_force_general; }

int Engine::BraceGroup() {
  char* const at = read_pos_;
  // A remembered group is one expression statement: it runs the same way
  // while execution is on and no macro call could stand in its place.
  if (group_memo_ && IsFalse() == 0 && macros_.empty() && !g_force_general) {
    if (const RememberedGroup* group =
            group_memo_->Find(at, parser_->AllowEscapeCharactersInStrings(), text_generation_))
      return RunRememberedGroup(*group, at);
  }
  memo_candidate_ = at;
  return fill_brace();
}

int Engine::RunRememberedGroup(const RememberedGroup& group, char* at) {
  // What fill_brace, fill_brace_expr and expr_to_string do for this text.
  if (!WithinOutputLimit()) return 1;
  if (!line_has_output_) line_has_statement_ = 1;
  char* const expression = at + group.expression_start;
  statement_start_ = expression;
  read_pos_ = expression + group.expression_length;
  // A number from the compiled program is written without a result record.
  double number;
  symtab* value = nullptr;
  switch (RunCompiled(*group.expression->tree(), *parser_, number)) {
    case CompiledRun::kValue:
      read_pos_ = at + group.format_end;
      if (!WriteGroupNumber(number, group.format)) return 1;
      read_pos_ = at + group.source.size();
      resume_brace_ = 0;
      return 0;
    case CompiledRun::kAssigned:
      value = AssignmentValue();
      break;
    case CompiledRun::kNotRun:
      value = parser_->Evaluate(group.expression.get(), expression, group.expression_length);
      break;
  }
  if (value == nullptr) {
    expression_error(parser_);
    return 1;
  }
  if (!HasTextKind(value)) return 1;
  read_pos_ = at + group.format_end;
  if (!FormatGroupValue(value, group.format, nullptr)) return 1;
  read_pos_ = at + group.source.size();
  resume_brace_ = 0;
  return 0;
}

void Engine::RememberGroup(char* at, char* expression) {
  if (g_force_general || IsFalse() != 0 || !macros_.empty()) return;
  char* const format_end = read_pos_;
  const char* close = format_end;
  while (IsBlank(*close)) ++close;
  if (*close != '}') return;  // more statements follow
  // The format is read again from the same text: it reads as it did.
  const char* expression_end = BalanceEnd(expression);
  GroupFormat format;
  read_pos_ = const_cast<char*>(expression_end);
  const bool same = ReadGroupFormat(format) && read_pos_ == format_end;
  read_pos_ = format_end;
  if (!same) return;
  const auto length = static_cast<std::size_t>(expression_end - expression);
  const std::string text(expression, length);
  std::unique_ptr<MathParserExpression> parsed(parser_->CreateExpression(text.c_str()));
  if (!parsed) return;
  if (!group_memo_) group_memo_ = std::make_unique<GroupMemo>();
  RememberedGroup& group = group_memo_->Add(at, text_generation_);
  group.source.assign(at, static_cast<std::size_t>(close + 1 - at));
  group.expression = std::move(parsed);
  group.expression_start = static_cast<std::size_t>(expression - at);
  group.expression_length = length;
  group.format_end = static_cast<std::size_t>(format_end - at);
  group.format = std::move(format);
  group.registry_generation = MathParser::RegistryGeneration();
  group.escapes = parser_->AllowEscapeCharactersInStrings();
}

}  // namespace quorvix

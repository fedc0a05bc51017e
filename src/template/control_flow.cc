// Conditions, loops, break/continue, exit, return and inline functions.
#include <cmath>
#include <cstring>
#include <string>

#include "quorvix/filler.h"
#include "quorvix/user_function.h"
#include "template/engine.h"
#include "template/engine_types.h"
#include "template/statement_table.h"
#include "template/text_scan.h"
#include "util/output_stream.h"

namespace quorvix {

namespace {

// The first test of a loop truncates to an integer, so 0.5 does not enter.
int FirstLoopIncrement(const symtab* v) {
  if (v == nullptr || v->type != SYM_SCALAR) return 1;
  return std::trunc(v->value) == 0.0 ? 1 : 0;
}

void Free(symtab* v) {
  if (v != nullptr) v->Delete();
}

}  // namespace

std::span<const StatementRow> ControlFlowStatements() {
  static const StatementRow kRows[] = {
      {"if", &Engine::st_if},
      {"elseif", &Engine::st_elseif},
      {"else", &Engine::st_else},
      {"endif", &Engine::st_endif},
      {"while", &Engine::st_while},
      {"for", &Engine::st_for},
      {"foreach", &Engine::st_foreach},
      {"endloop", &Engine::st_endloop},
      {"break", &Engine::st_break},
      {"continue", &Engine::st_continue},
      {"exit", &Engine::st_exit},
      {"return", &Engine::st_return},
      {"function", &Engine::st_function},
  };
  return kRows;
}

bool Engine::ConditionHolds(const symtab* v) const {
  // NaN compares unequal to 0 and therefore holds.
  return v != nullptr && v->type == SYM_SCALAR && !(v->value == 0.0);
}

bool Engine::ReadCondition(symtab*& value) {
  bool syntax_failed = false;
  value = evaluate(&syntax_failed);
  if (syntax_failed) return false;
  if (value == nullptr && IsFalse() == 0) {
    expression_error(parser_);
    return false;
  }
  return true;
}

bool Engine::OpenConditionLevel() {
  if (condition_depth_ + 1 >= kConditionStackSize) {
    SyntaxError(kConditionDepthMessage);
    return false;
  }
  ++condition_depth_;
  return true;
}

int Engine::st_if() {
  const bool on = IsFalse() == 0;
  symtab* v = nullptr;
  if (!ReadCondition(v)) return 1;
  if (!OpenConditionLevel()) {
    Free(v);
    return 1;
  }
  condition_stack_[condition_depth_] = 0;
  if (!(on && ConditionHolds(v))) ++false_depth_;
  line_has_statement_ = 1;
  Free(v);
  return 0;
}

int Engine::st_elseif() {
  if (condition_depth_ == 0) return SyntaxError("unbalanced elseif");
  int& taken = condition_stack_[condition_depth_];
  if (IsFalse() == 0) {
    ++false_depth_;
    if (!max_compatibility_) taken = 1;
    symtab* v = nullptr;
    if (!ReadCondition(v)) return 1;  // switched off now: parsed only
    Free(v);
  } else if (IsFalse() == 1 && taken == 0) {
    false_depth_ = 0;
    symtab* v = nullptr;
    const bool ok = ReadCondition(v);
    false_depth_ = 1;
    if (!ok) return 1;
    if (ConditionHolds(v)) {
      false_depth_ = 0;
      if (!max_compatibility_) taken = 1;
    }
    Free(v);
  } else {
    symtab* v = nullptr;
    if (!ReadCondition(v)) return 1;
    Free(v);
  }
  line_has_statement_ = !max_compatibility_;
  return 0;
}

int Engine::st_else() {
  int& taken = condition_stack_[condition_depth_];
  if (IsFalse() == 0) {
    if (!max_compatibility_) taken = 1;
    ++false_depth_;
  } else if (IsFalse() == 1 && taken == 0) {
    if (!max_compatibility_) taken = 1;
    --false_depth_;
  }
  line_has_statement_ = !max_compatibility_;
  return 0;
}

int Engine::st_endif() {
  if (condition_depth_ == 0) return SyntaxError("unbalanced endif");
  if (IsFalse() != 0) --false_depth_;
  --condition_depth_;
  line_has_statement_ = !max_compatibility_;
  return 0;
}

// Opens the loop frame on the text right after the loop head.
bool Engine::OpenLoop(int false_increment) {
  if (!SetBuffer(read_pos_, nullptr)) return false;
  false_depth_ += false_increment;
  sources_.back()->is_loop = 1;
  return true;
}

int Engine::st_while() {
  MathParser::ClearError();
  if (!Expect('(')) return SyntaxError("'(' expected in WHILE statement");
  char* condition_start = read_pos_;
  symtab* v = nullptr;
  if (!ReadExpression(&read_pos_, v)) return 1;
  const int increment = FirstLoopIncrement(v);
  Free(v);
  if (!Expect(')')) return SyntaxError("')' expected in WHILE statement");
  if (!OpenLoop(increment)) return 1;
  // A loop whose body starts switched off (a failed first test, or text
  // that is off anyway) never repeats.
  sources_.back()->loop_condition = IsFalse() == 0 ? condition_start : nullptr;
  resume_brace_ = 1;
  return 0;
}

int Engine::st_for() {
  MathParser::ClearError();
  if (!Expect('(')) return SyntaxError("'(' expected in FOR statement");
  symtab* v = nullptr;
  if (!ReadExpression(&read_pos_, v)) return 1;
  Free(v);
  if (!Expect(';')) return SyntaxError("';' expected in FOR statement");
  char* condition_start = read_pos_;
  if (!ReadExpression(&read_pos_, v)) return 1;
  const int increment = FirstLoopIncrement(v);
  Free(v);
  if (!Expect(';')) return SyntaxError("';' expected in FOR statement");
  char* step_start = read_pos_;
  BalanceText(&read_pos_);  // the step runs first at the loop's end
  if (!Expect(')')) return SyntaxError("')' expected in FOR statement");
  if (!OpenLoop(increment)) return 1;
  if (IsFalse() == 0) {
    sources_.back()->loop_condition = condition_start;
    sources_.back()->loop_step = step_start;
  }
  resume_brace_ = 1;
  return 0;
}

int Engine::st_foreach() {
  const bool on = IsFalse() == 0;
  if (!Expect('(')) return SyntaxError("'(' expected in FOREACH statement");
  SkipBlanks();
  if (!IsAlpha(*read_pos_)) return SyntaxError("illegal variable name in FOREACH statement");
  const char* name_start = read_pos_;
  while (IsWordChar(*read_pos_)) ++read_pos_;
  std::string name(name_start, static_cast<std::size_t>(read_pos_ - name_start));
  if (!Expect('=')) return SyntaxError("'=' expected in FOREACH statement");
  symtab* array = nullptr;
  if (!ReadExpression(&read_pos_, array)) return 1;
  int count = 0;
  symtab first;  // the value of the first pass
  if (array != nullptr) {
    if (array->type == SYM_ARRAY) {
      count = array->rows * array->cols;
      if (count > 0) {
        // The first element goes through the stream's number conversion;
        // later passes take the elements exactly.
        ostrstream_fast number;
        number.write_double(array->data[0]);
        first.SetScalar(std::strtod(std::string(number.text()).c_str(), nullptr));
      }
    } else if (array->type == SYM_STRINGS) {
      count = array->num_strings;
      if (count > 0) first.SetString(array->str_list[0]);
    } else {
      Free(array);
      return SyntaxError("array expected in FOREACH statement");
    }
  }
  if (!Expect(')')) {
    Free(array);
    return SyntaxError("')' expected in FOREACH statement");
  }
  // An empty array runs no pass.
  if (!OpenLoop(on && count == 0 ? 1 : 0)) {
    Free(array);
    return 1;
  }
  SourceFrame& frame = *sources_.back();
  frame.loop_array = array;
  frame.loop_count = on ? count : 0;
  frame.loop_index = 0;
  frame.loop_variable = name;
  if (on && count > 0) {
    first.SetName(name.c_str());
    parser_->AddVariable(&first);
  }
  return 0;
}

int Engine::st_endloop() {
  if (Pop(true)) return 0;
  // An "endloop" outside its loop's own text abandoned that text; if reading
  // went back to plain text, the brace group being read is over.
  if (!error_flag_ && *read_pos_ != '\0' && !resume_brace_) leave_group_ = true;
  return error_flag_;
}

int Engine::st_break() {
  if (IsFalse() == 0) break_pending_ = true;
  return 0;
}

int Engine::st_continue() {
  if (IsFalse() == 0) continue_pending_ = true;
  return 0;
}

int Engine::st_exit() {
  if (IsFalse() == 0) read_pos_ = kEmptyText;
  return error_flag_;
}

int Engine::st_return() {
  while (*read_pos_ == ' ' || *read_pos_ == '\t') ++read_pos_;
  if (*read_pos_ == ';' || *read_pos_ == '}' || *read_pos_ == '\0') {
    Free(return_code_);
    return_code_ = new symtab;
    return_code_->SetString("");
  } else {
    std::string text = BalanceText(&read_pos_);
    if (IsFalse() == 0) {
      Free(return_code_);
      return_code_ = parser_->Evaluate(text.data());
    }
  }
  if (IsFalse() != 0) return 0;
  // Every open source, loops included, closes and the fill ends.
  DeleteSources();
  NoSourceLeft();
  return error_flag_;
}

int Engine::st_function() {
  char* definition = statement_start_;
  if (!FillerBase::InlineFunctionsAllowed()) {
    read_pos_ = definition;  // not a statement then: the text is an expression
    return fill_brace_expr();
  }
  SkipBlanks();
  if (!IsAlpha(*read_pos_)) return SyntaxError("bad function name in FUNCTION statement");
  while (IsWordChar(*read_pos_)) ++read_pos_;
  if (!Expect('(')) return SyntaxError("'(' expected in FUNCTION statement");
  // The parameter list: names separated by commas up to the ')'.
  while (*read_pos_ != '\0' && *read_pos_ != ')' && *read_pos_ != '{') ++read_pos_;
  if (*read_pos_ == ')') ++read_pos_;
  SkipBlanks();
  if (*read_pos_ != '{') return SyntaxError("'{' expected in FUNCTION statement");
  // The body runs to its matching brace; strings may hold braces.
  int depth = 0;
  do {
    char c = *read_pos_;
    if (c == '"') {
      read_pos_ = const_cast<char*>(SkipQuoted(read_pos_));
      continue;
    }
    if (c == '{') ++depth;
    if (c == '}') --depth;
    ++read_pos_;
  } while (depth > 0 && *read_pos_ != '\0');
  if (depth > 0) return SyntaxError("'}' expected in FUNCTION statement");
  if (IsFalse() == 0) {
    std::string text(definition, static_cast<std::size_t>(read_pos_ - definition));
    UserFunction f;
    f.FunctionText(text.c_str());
    UserFunction::Register(&f, 0);
  }
  return 0;
}

}  // namespace quorvix

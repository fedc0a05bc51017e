// Macros and inclusion: "define", calls, "undef", the host operations, the
// definition tests, and inclusion of files ("include", "readfill", "path").
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "quorvix/filler.h"
#include "template/engine.h"
#include "template/engine_types.h"
#include "template/macro_text.h"
#include "template/statement_table.h"
#include "template/text_scan.h"
#include "util/output_stream.h"
#include "util/search_path.h"

namespace quorvix {

namespace {}  // namespace

std::span<const StatementRow> MacroAndIncludeStatements() {
  static const StatementRow kRows[] = {
      {"define", &Engine::st_define},   {"undef", &Engine::st_undef},
      {"ifdef", &Engine::st_ifdef},     {"ifndef", &Engine::st_ifdef},
      {"include", &Engine::st_include}, {"readfill", &Engine::st_readfill},
      {"path", &Engine::st_path},
  };
  return kRows;
}

// Parses "(params)" of a definition at *pos (just after the '('). Writes its
// messages plainly; returns false on a syntax failure.
static bool ParseParameters(char** pos, Macro& macro, std::string& message) {
  char* p = *pos;
  while (true) {
    while (*p == ' ' || *p == '\t') ++p;
    if (*p == ')') break;
    if (!IsAlpha(*p)) {
      message = "illegal paramter name in macro definition";
      *pos = p;
      return false;
    }
    const char* start = p;
    while (IsWordChar(*p)) ++p;
    macro.parameters.push_back({std::string(start, static_cast<std::size_t>(p - start)), {}});
    while (*p == ' ' || *p == '\t') ++p;
    if (*p == ',') {
      ++p;
      continue;
    }
    if (*p == ')') break;
    message = "illegal parameter specification in macro definition";
    *pos = p;
    return false;
  }
  *pos = p;
  return true;
}

int Engine::st_define() {
  SkipBlanks();
  if (!IsAlpha(*read_pos_)) return SyntaxError("illegal macro name");
  const char* name_start = read_pos_;
  while (IsWordChar(*read_pos_)) ++read_pos_;
  std::string key(name_start, static_cast<std::size_t>(read_pos_ - name_start));
  SkipBlanks();
  if (*read_pos_ != '(') return SyntaxError("'(' expected in DEFINE statement");
  ++read_pos_;
  key += '(';
  if (key == "header(" || key == "footer(") page_state_[0] = 0;
  macros_.erase(key);
  auto macro = std::make_unique<Macro>();
  std::string message;
  if (!ParseParameters(&read_pos_, *macro, message)) {
    error_stream_->puts(message.c_str());
    error_stream_->endl();
    error_flag_ = 1;
    return 1;
  }
  if (*read_pos_ != ')') return SyntaxError("')' expected after DEFINE statement");
  ++read_pos_;
  SkipBlanks();
  if (*read_pos_ != '}') return SyntaxError("'}' expected after DEFINE statement");
  ++read_pos_;
  char* end = std::strstr(read_pos_, "enddefine");
  if (end == nullptr) return SyntaxError("{enddefine} not found in file");
  const char* body_end = end;
  while (body_end > read_pos_ && (body_end[-1] == ' ' || body_end[-1] == '\t')) --body_end;
  macro->body =
      prevent_brace(std::string(read_pos_, static_cast<std::size_t>(body_end - read_pos_)));
  macros_[key] = std::move(macro);
  read_pos_ = end + std::strlen("enddefine");
  SkipBlanks();
  if (*read_pos_ != '}') return SyntaxError("'}' expected after ENDDEFINE statement");
  return 0;
}

// Reads "args)" at *p (just behind the '(') into the macro's parameters;
// the missing ones get the quoted "(null)". On failure returns the message
// and leaves *p at the offending place.
const char* Engine::ReadMacroArguments(Macro& macro, char** p) {
  for (auto& param : macro.parameters) param.argument.clear();
  std::size_t given = 0;
  while (true) {
    while (**p == ' ' || **p == '\t' || **p == '\r' || **p == '\n') ++*p;
    if (**p == ')') {
      ++*p;
      break;
    }
    if (**p == '\0') return "unexpected end of file";
    if (given >= macro.parameters.size()) return "too many parameters passed to macro";
    char* start = *p;
    std::string argument = BalanceText(p);
    if (*p == start) return "syntax error in parameter list";
    macro.parameters[given++].argument = std::move(argument);
    while (**p == ' ' || **p == '\t') ++*p;
    if (**p == ',') ++*p;
  }
  for (std::size_t i = given; i < macro.parameters.size(); ++i)
    macro.parameters[i].argument = "\"(null)\"";
  return nullptr;
}

bool Engine::ExpandMacro(Macro& macro, char** pos, std::unique_ptr<char[]>& text) {
  char* p = *pos;
  if (*p == '(') ++p;
  if (const char* message = ReadMacroArguments(macro, &p)) {
    read_pos_ = p;
    SyntaxError(message);
    return false;
  }
  *pos = p;
  if (!SpendWork()) return false;
  const std::size_t limit = parser_->policy().limits.expansion_bytes;
  std::string body;
  if (!SubstituteParameters(macro, limit, body)) {
    error();
    error_stream_->puts(MacroSizeMessage(limit).c_str());
    error_stream_->endl();
    return false;
  }
  // Appended rather than "}" + ...: GCC 12 at -O3 warns falsely
  // (-Wrestrict) about a literal added in front of a temporary string.
  std::string braced = "}";
  braced += restore_brace(body);
  text = CopyText(braced);
  return true;
}

int Engine::st_undef() {
  SkipBlanks();
  if (!IsAlpha(*read_pos_)) return SyntaxError("illegal macro name");
  const char* start = read_pos_;
  while (IsWordChar(*read_pos_)) ++read_pos_;
  std::string key(start, static_cast<std::size_t>(read_pos_ - start));
  macros_[key + "("].reset();
  return 0;
}

int Engine::st_ifdef() {
  const bool on = IsFalse() == 0;
  bool syntax_failed = false;
  symtab* v = evaluate(&syntax_failed);
  if (syntax_failed) return 1;
  if (on && v == nullptr && parser_->ErrorMessage() != nullptr) {
    expression_error(parser_);
    return 1;
  }
  if (on && v != nullptr && v->type == SYM_SCALAR) {
    v->Delete();
    return SyntaxError("unbalanced elseif");
  }
  if (v != nullptr) v->Delete();
  if (!OpenConditionLevel()) return 1;
  ++false_depth_;
  line_has_statement_ = 1;
  return 0;
}

bool Engine::IncludeFile(bool as_statements, const char* keyword_message) {
  const bool on = IsFalse() == 0;
  bool syntax_failed = false;
  symtab* v = evaluate(&syntax_failed);
  if (syntax_failed) return false;
  if (on && v == nullptr) {
    expression_error(parser_);
    return false;
  }
  if (on && !(v->type == SYM_STRINGS && v->num_strings == 1)) {
    v->Delete();
    SyntaxError(keyword_message);
    return false;
  }
  std::string name = v != nullptr ? v->str_list[0] : "";
  if (v != nullptr) v->Delete();
  SkipBlanks();
  if (*read_pos_ == ';') ++read_pos_;
  SkipBlanks();
  if (!on) return true;

  line_has_statement_ = line_has_output_ = 0;
  std::string refusal;
  std::string path = FindOnSearchPath(parser_->policy(), name, refusal);
  if (path.empty() && !refusal.empty()) {
    SyntaxError(refusal.c_str());
    return false;
  }
  if (path.empty()) {
    error();
    error_stream_->puts(("The file \"" + name + "\" is not in the include path").c_str());
    error_stream_->endl();
    return false;
  }
  const std::size_t depth_before = sources_.size();
  const int saved_resume = resume_brace_;
  resume_brace_ = 1;
  if (!Push(path.c_str())) return false;
  if (sources_.size() == depth_before) {
    resume_brace_ = saved_resume;  // the file could not be read; reported
    return true;
  }
  if (as_statements) {
    line_has_statement_ = 1;
    line_has_output_ = !line_has_output_;
  } else {
    --read_pos_;  // onto the '}' in front of the file's text
  }
  return true;
}

int Engine::st_include() {
  return IncludeFile(false, "string value required in INCLUDE statement") ? 0 : 1;
}

int Engine::st_readfill() {
  return IncludeFile(true, "string value required in READFILL statement") ? 0 : 1;
}

int Engine::st_path() {
  const bool on = IsFalse() == 0;
  bool syntax_failed = false;
  symtab* v = evaluate(&syntax_failed);
  if (syntax_failed) return 1;
  if (on && v == nullptr) {
    expression_error(parser_);
    return 1;
  }
  if (!on) return 0;
  if (!(v->type == SYM_STRINGS && v->num_strings == 1)) {
    v->Delete();
    return SyntaxError("string value required in PATH statement");
  }
  std::string dir = v->str_list[0];
  v->Delete();
  // A directory on the path may be read from in restricted mode, so a
  // template must not add one.
  if (parser_->policy().restricted) return SyntaxError(Policy::NotAllowed("path").c_str());
  AddSearchDirectory(dir);
  return 0;
}

// Host macros ----------------------------------------------------------------

int Engine::DefineMacro(char* definition) {
  if (definition == nullptr) return 0;
  char* comma = std::strchr(definition, ',');
  if (comma == nullptr) return 0;
  std::string key(definition, static_cast<std::size_t>(comma - definition));
  auto macro = std::make_unique<Macro>();
  char* p = comma + 1;
  std::string message;
  bool ok = ParseParameters(&p, *macro, message) && *p == ')';
  if (!ok) {
    macro->parameters.clear();
    macros_[key] = std::move(macro);
    return 0;
  }
  macro->body = prevent_brace(p + 1);
  macros_[key] = std::move(macro);
  return 1;
}

char* Engine::EvaluateMacro(char* call) {
  page_state_[0] = -1;
  page_state_[1] = 25;
  page_state_[2] = 0;
  if (call == nullptr) return nullptr;
  char* comma = std::strchr(call, ',');
  if (comma == nullptr) return nullptr;
  auto it = macros_.find(std::string(call, static_cast<std::size_t>(comma - call)));
  if (it == macros_.end() || it->second == nullptr) return nullptr;
  Macro& macro = *it->second;
  char* p = comma + 1;
  if (ReadMacroArguments(macro, &p) != nullptr) return nullptr;
  std::string body;
  if (!SubstituteParameters(macro, parser_->policy().limits.expansion_bytes, body)) return nullptr;
  return CopyText(restore_brace(body)).release();
}

void Engine::RemoveMacro(char* name) {
  if (name == nullptr) return;
  auto it = macros_.find(name);
  if (it != macros_.end()) it->second.reset();
}

void Engine::ResetMacros() { macros_.clear(); }

}  // namespace quorvix

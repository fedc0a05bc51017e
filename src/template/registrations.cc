// Registration statements: external functions, external readers, import
// templates and shared reader modules named from inside a template. Their
// registrations are process-wide and outlive the fill.
#include <cstdio>
#include <string>

#include "quorvix/reader_lists.h"
#include "template/engine.h"
#include "template/statement_table.h"
#include "template/text_scan.h"

namespace quorvix {

namespace {

bool IsOneString(const symtab* v) {
  return v != nullptr && v->type == SYM_STRINGS && v->num_strings == 1;
}

// The string of a value that must be one, consuming the value; false when
// it is not one.
bool TakeString(symtab* v, std::string& text) {
  const bool ok = IsOneString(v);
  if (ok) text = v->str_list[0];
  if (v != nullptr) v->Delete();
  return ok;
}

std::string TrimmedText(const char* start, const char* end) {
  while (start < end && IsBlank(*start)) ++start;
  while (end > start && IsBlank(end[-1])) --end;
  return std::string(start, static_cast<std::size_t>(end - start));
}

}  // namespace

std::span<const StatementRow> RegistrationStatements() {
  static const StatementRow kRows[] = {
      {"registerexternalfunction", &Engine::st_registerexternalfunction},
      {"registerexternalreader", &Engine::st_registerexternalreader},
      {"registerimporttemplate", &Engine::st_registerimporttemplate},
      {"registersharedreader", &Engine::st_registersharedreader},
  };
  return kRows;
}

int Engine::st_registerexternalfunction() {
  const bool on = IsFalse() == 0;
  // A registration widens the registry for every later evaluation.
  if (on && parser_->policy().restricted)
    return SyntaxError(Policy::NotAllowed("registerexternalfunction").c_str());
  if (!Expect('(')) return SyntaxError("'(' expected in registerexternalfunction statement");
  std::string name;
  if (!on) {
    BalanceText(&read_pos_);
  } else if (!TakeString(EvaluateText(&read_pos_), name)) {
    MathParser::ClearError();
    return SyntaxError("function name expected in registerexternalfunction statement");
  }
  // The message names DEFINE: templates and hosts match on this text.
  if (!Expect(',')) return SyntaxError("',' expected in DEFINE statement");
  SkipBlanks();
  const char* path_start = read_pos_;
  std::string path;
  if (!on) {
    BalanceText(&read_pos_);
  } else if (symtab* v = EvaluateText(&read_pos_); v == nullptr) {
    // A path that is no expression (./prog.sh) stands as written.
    MathParser::ClearError();
    path = TrimmedText(path_start, read_pos_);
  } else if (!TakeString(v, path)) {
    return SyntaxError("path name expected in registerexternalfunction statement");
  }
  if (!Expect(')')) return SyntaxError("')' expected in registerexternalfunction statement");
  if (!on) return 0;
  // The same registration again (a loop) keeps the entry, and with it every
  // parse that the registry's generation guards.
  const funtab* known = MathParser::FunLook(name.c_str());
  if (known != nullptr && known->is_external && known->nargs == 1 && known->program != nullptr &&
      path == known->program)
    return 0;
  // The program need not exist yet: a call reports it when it is missing.
  MathParser::AddExternalFunc(name.c_str(), path.c_str(), 1);
  return 0;
}

int Engine::RegisterFile(const char* keyword, const char* kind_message,
                         void (*add)(const std::string& path)) {
  const bool on = IsFalse() == 0;
  if (on && parser_->policy().restricted) return SyntaxError(Policy::NotAllowed(keyword).c_str());
  bool syntax_failed = false;
  symtab* v = evaluate(&syntax_failed);
  if (syntax_failed) return 1;
  if (!on) return 0;
  if (v == nullptr) {
    expression_error(parser_);
    return 1;
  }
  std::string path;
  if (!TakeString(v, path)) return SyntaxError(kind_message);
  std::string why;
  if (std::FILE* f = parser_->policy().OpenFile(path, FileMode::kRead, &why)) {
    std::fclose(f);
    add(path);
  }
  return 0;
}

int Engine::st_registerexternalreader() {
  // No duplicate check here, unlike the host's registration.
  return RegisterFile(
      "registerexternalreader", "string value expected in registerexternalreader statement",
      [](const std::string& path) { VectorFileList::AddExternalReader(path, "", "", false); });
}

int Engine::st_registerimporttemplate() {
  // The message names registerexternalreader; it is kept as it always was.
  return RegisterFile(
      "registerimporttemplate", "string value expected in registerexternalreader statement",
      [](const std::string& path) { VectorFileList::AddTemplateReader(path, "", ""); });
}

int Engine::st_registersharedreader() {
  return RegisterFile("registersharedreader",
                      "string value expected in registersharedreader statement",
                      [](const std::string& path) { vqReaderModuleList::AddReaderPath(path); });
}

}  // namespace quorvix

// The preference file: a template whose filled text holds directive lines
// such as
//   * registerexternalreader("/opt/readers/csv2txt", "CSV", "*.csv")
// each of which registers a reader, an import template, an external
// function or a shared reader module.
#include <strings.h>

#include <memory>
#include <string>
#include <string_view>

#include "quorvix/filler.h"
#include "quorvix/reader_lists.h"
#include "results/reader_registration.h"
#include "template/text_scan.h"

namespace quorvix {

namespace {

enum class Directive { kImportTemplate, kExternalReader, kExternalFunction, kSharedReader };

struct DirectiveName {
  std::string_view keyword;
  Directive kind;
};

constexpr DirectiveName kDirectives[] = {
    {"registerimporttemplate", Directive::kImportTemplate},
    {"registerexternalreader", Directive::kExternalReader},
    {"registerexternalfunction", Directive::kExternalFunction},
    {"registersharedreader", Directive::kSharedReader},
};

// One directive line taken apart.
struct DirectiveLine {
  Directive kind;
  std::string name;  // the function's name (external functions)
  std::string main;  // the main argument as written
  std::string type;  // external readers
  std::string ext;
};

bool IsLineBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string Trimmed(const char* start, const char* end) {
  while (start < end && IsLineBlank(*start)) ++start;
  while (end > start && IsLineBlank(end[-1])) --end;
  return std::string(start, static_cast<std::size_t>(end - start));
}

// The next argument at *p, trimmed; *p moves onto its terminator.
std::string NextArgument(const char** p) {
  const char* start = *p;
  *p = BalanceEnd(start);
  return Trimmed(start, *p);
}

// Whether the argument list goes on with a comma (consumed).
bool NextComma(const char** p) {
  while (IsLineBlank(**p)) ++*p;
  if (**p != ',') return false;
  ++*p;
  return true;
}

// False for a line that is no directive; such lines are skipped.
bool ParseDirective(const std::string& line, DirectiveLine& d) {
  const std::size_t star = line.find('*');
  if (star == std::string::npos) return false;
  const char* p = line.c_str() + star + 1;
  while (IsLineBlank(*p)) ++p;
  const char* word = p;
  while (IsAlpha(*p)) ++p;
  const std::size_t length = static_cast<std::size_t>(p - word);
  bool known = false;
  for (const DirectiveName& n : kDirectives) {
    if (n.keyword.size() == length && strncasecmp(word, n.keyword.data(), length) == 0) {
      d.kind = n.kind;
      known = true;
    }
  }
  if (!known) return false;
  while (IsLineBlank(*p)) ++p;
  if (*p != '(') return false;
  ++p;
  if (d.kind == Directive::kExternalFunction) {
    d.name = Unquoted(NextArgument(&p));
    while (IsLineBlank(*p) || *p == ',') ++p;
  }
  d.main = NextArgument(&p);
  if (d.kind == Directive::kExternalReader && NextComma(&p)) {
    d.type = Unquoted(NextArgument(&p));
    if (NextComma(&p)) {
      d.ext = Unquoted(NextArgument(&p));
      if (d.ext.starts_with("*.")) d.ext.erase(0, 2);
    }
  }
  return true;
}

// The main argument's string: its value with a parser (false when that is
// no string), else the text without its quotes.
bool MainString(const DirectiveLine& d, MathParser* parser, std::string& text) {
  if (parser == nullptr) {
    text = Unquoted(d.main);
    return true;
  }
  std::unique_ptr<symtab, void (*)(symtab*)> v(parser->Evaluate(d.main.c_str()),
                                               [](symtab* s) { s->Delete(); });
  MathParser::ClearError();
  if (v == nullptr || v->type != SYM_STRINGS || v->num_strings != 1) return false;
  text = v->str_list[0];
  return true;
}

void Register(const DirectiveLine& d, MathParser* parser) {
  std::string text;
  const bool is_string = MainString(d, parser, text);
  switch (d.kind) {
    case Directive::kImportTemplate:
      if (is_string) RegisterImportTemplate(text.c_str(), "", "", parser);
      break;
    case Directive::kExternalReader:
      if (is_string) RegisterExternalReader(text.c_str(), d.type.c_str(), d.ext.c_str(), parser);
      break;
    case Directive::kExternalFunction:
      // A program path that is no string expression stands as written.
      if (d.name.empty()) break;
      RegisterExternalFunction(d.name.c_str(), is_string ? text.c_str() : Unquoted(d.main).c_str(),
                               parser);
      break;
    case Directive::kSharedReader:
      if (is_string) {
        const std::string module = SharedReaderForPreference(text);
        if (!module.empty()) vqReaderModuleList::AddReaderPath(module);
      }
      break;
  }
}

// The error text of a failed fill as one message, without CRs.
std::string AsMessage(const char* errors) {
  std::string text;
  for (const char* p = errors; *p != '\0'; ++p)
    if (*p != '\r') text += *p;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

}  // namespace quorvix

int Filler::GetTemplatesViaPreferenceFile(const char* file, MathParser* parser) {
  using namespace quorvix;
  if (file == nullptr) return 1;
  // Its lines widen the registries, which an untrusted template may not.
  if (parser != nullptr && parser->policy().restricted) {
    ReportWarning(Policy::NotAllowed("preference file"), parser);
    return 1;
  }
  const Policy trusted;
  std::string text;
  std::string why;
  if (!(parser != nullptr ? parser->policy() : trusted).ReadFile(file, text, &why)) {
    ReportWarning(std::string("cannot read preference file ") + file, parser);
    return 1;
  }
  Filler filler(parser);
  char* errors = nullptr;
  std::unique_ptr<char[]> out(filler.Fill(text.c_str(), &errors));
  if (errors != nullptr) {
    ReportWarning(AsMessage(errors), parser);
    delete[] errors;
    return 1;
  }
  if (out == nullptr) return 1;
  std::string_view output(out.get());
  while (!output.empty()) {
    const std::size_t end = output.find('\n');
    const std::string line(output.substr(0, end));
    output = end == std::string_view::npos ? std::string_view() : output.substr(end + 1);
    DirectiveLine d;
    if (ParseDirective(line, d)) Register(d, parser);
  }
  return 0;
}

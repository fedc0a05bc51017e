// Registered import templates: the template is filled with the variable
// `filename` set to the file's path, and what the fill writes is read as
// delimited text. Templates and extensions pair up by position; a template
// registered without an extension takes what the built-in readers do not.
#include <memory>
#include <string>
#include <string_view>

#include "builtins/private_run.h"
#include "quorvix/filler.h"
#include "quorvix/reader_lists.h"
#include "results/registered_match.h"
#include "results/result_tree.h"
#include "util/run_budget.h"

namespace quorvix::results {
namespace {

std::vector<std::string> Extensions(std::size_t templates) {
  std::vector<std::string> exts = VectorFileList::template_reader_ext();
  exts.resize(templates);
  return exts;
}

bool Sniff(const std::string& path, const std::string& head) {
  return FirstTaker(path, head, Extensions(VectorFileList::template_reader().size())) >= 0;
}

// The first error of a fill's error text on one line: a line that ends in
// ':' is followed by the text it quotes.
std::string FirstError(std::string_view errors) {
  std::string_view line = errors.substr(0, errors.find_first_of("\r\n"));
  std::string text(line);
  if (!line.ends_with(':') || line.size() == errors.size()) return text;
  errors.remove_prefix(line.size());
  while (!errors.empty() && (errors.front() == '\r' || errors.front() == '\n'))
    errors.remove_prefix(1);
  return text + " " + std::string(errors.substr(0, errors.find_first_of("\r\n")));
}

std::unique_ptr<ResultTree> Open(const std::string& path, const Policy& policy, std::string* why) {
  if (policy.restricted) {
    *why = Policy::NotAllowed("import template");
    return nullptr;
  }
  const auto templates = VectorFileList::template_reader();
  const std::vector<std::string> types = VectorFileList::template_reader_type();
  std::string head;
  if (!ReadHead(path, policy, head, why)) return nullptr;
  const int at = FirstTaker(path, head, Extensions(templates.size()));
  if (at < 0) {
    *why = "no import template takes " + path;
    return nullptr;
  }
  const std::string& source = templates[at]->Path();
  // A template that reads a file of its own kind would fill itself again
  // and again: the nesting of fills bounds it.
  RunBudget::Nesting depth;
  if (depth.too_deep(policy.limits.fills)) {
    *why = "import template " + source + " nested too deeply (limit " +
           std::to_string(policy.limits.fills) + ")";
    return nullptr;
  }
  Filler filler;
  MathParser& parser = *filler.GetMathParser();
  parser.SetPolicy(std::make_shared<Policy>(policy));
  symtab name;
  name.SetName("filename");
  name.SetString(path.c_str());
  parser.AddVariable(&name);
  char* errors = nullptr;
  std::unique_ptr<char[]> out;
  {
    builtins::QuietErrors quiet;
    out.reset(filler.FillFile(source.c_str(), &errors));
  }
  std::unique_ptr<char[]> error_text(errors);
  MathParser::ClearError();
  const std::string what = "import template " + source;
  if (error_text != nullptr) {
    *why = what + ": " + FirstError(error_text.get());
    return nullptr;
  }
  if (out == nullptr) {
    *why = what + " cannot be read";
    return nullptr;
  }
  const std::string type = static_cast<std::size_t>(at) < types.size() ? types[at] : "";
  return TreeOfOutput(out.get(), what, type, "import template", policy, why);
}

const bool g_registered =
    (AddReaderFormat({"import template", kRankRegistered, &Sniff, &Open}), true);

}  // namespace
}  // namespace quorvix::results

// quorvix help NAME: the reference entry of a built-in function or a
// statement, with its example run.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "quorvix/reference.h"
#include "reference_examples.h"

namespace quorvix::cli {

namespace {

// The lines of `text`, each indented by four blanks.
void PrintIndented(const std::string& text) {
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::printf("    %.*s\n", static_cast<int>(end - start), text.c_str() + start);
    start = end + 1;
  }
}

void PrintBuiltin(const ReferenceEntry& e) {
  std::printf("%s  (built-in function, %s)\n  %s\n  argument word: %d\n", e.usage.c_str(),
              e.group.c_str(), e.synopsis.c_str(), e.nargs);
  std::printf("  example:\n    %s\n", e.example.c_str());
  const ExampleResult r = RunBuiltinExample(e);
  std::printf("  %s:\n", r.ok ? "result" : "error");
  PrintIndented(r.text);
  if (!e.note.empty()) std::printf("  note: %s\n", e.note.c_str());
  if (!e.failures.empty()) std::printf("  fails, for example:\n");
  for (const ReferenceFailure& f : e.failures)
    std::printf("    %s: %s\n", f.call.c_str(), f.message.c_str());
}

void PrintStatement(const ReferenceEntry& e) {
  std::printf("%s  (statement, %s)\n  %s\n", e.usage.c_str(), e.group.c_str(), e.synopsis.c_str());
  std::printf("  example:\n");
  PrintIndented(e.example);
  const ExampleResult r = RunStatementExample(e);
  std::printf("  %s:\n", r.ok ? "output" : "error");
  PrintIndented(r.text);
}

}  // namespace

int RunHelp(const Args& args) {
  if (args.size() != 1) {
    std::fputs("usage: quorvix help NAME\n", stderr);
    return kExitUsage;
  }
  const std::string& name = args[0];
  bool found = false;
  for (const ReferenceEntry& e : BuiltinReference()) {
    if (e.name != name) continue;
    PrintBuiltin(e);
    found = true;
  }
  for (const ReferenceEntry& e : StatementReference()) {
    if (e.name != name) continue;
    if (found) std::fputc('\n', stdout);
    PrintStatement(e);
    found = true;
  }
  if (!found) {
    std::fprintf(stderr,
                 "quorvix help: no built-in function or statement named '%s' "
                 "(quorvix functions lists the functions)\n",
                 name.c_str());
    return kExitUsage;
  }
  return kExitOk;
}

}  // namespace quorvix::cli

// quorvix functions --markdown: the built-in reference, docs/builtins.md,
// written from the registration tables with every example run, so the
// committed file can be compared with what the tables give.
#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "quorvix/reference.h"
#include "reference_examples.h"

namespace quorvix::cli {

namespace {

constexpr const char* kIntroduction =
    "# Built-in functions\n"
    "\n"
    "<!-- Written by `quorvix functions --markdown` from the registration tables; "
    "do not edit by hand. -->\n"
    "\n"
    "Every function the library registers, family by family. Each entry gives the call's "
    "usage (arguments in brackets are optional), its argument word (the number stored with "
    "the function at registration, which `quorvix functions` lists; each function checks its "
    "own arguments, so the word is not always their count), one line on what it returns, and an "
    "example with its result as `quorvix eval` "
    "prints it. `quorvix help NAME` prints the same entry. When an argument has the wrong "
    "kind or count the call fails with a message such as \"Invalid argument type\", "
    "\"Invalid type for argument 2\", \"Argument 3 must be scalar\" (or vector, or string) or "
    "\"Invalid number of arguments\"; these are not repeated under each function. The other "
    "messages a function reports are listed in its entry, each with a call that fails so. See "
    "[the expression language](expression-language.md) for how errors are reported.\n";

// The anchor a Markdown renderer gives a heading.
std::string Anchor(const std::string& title) {
  std::string out;
  for (char c : title) {
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_')
      out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    else if (c == ' ')
      out += '-';
  }
  return out;
}

// "=> line" for every line of a value ("=>" alone for an empty line).
void PrintResultLines(const std::string& text) {
  for (std::size_t start = 0;;) {
    std::size_t end = text.find('\n', start);
    const bool last = end == std::string::npos;
    if (last) end = text.size();
    if (end == start)
      std::puts("=>");
    else
      std::printf("=> %.*s\n", static_cast<int>(end - start), text.c_str() + start);
    if (last) break;
    start = end + 1;
  }
}

void PrintEntry(const ReferenceEntry& e) {
  std::printf("\n### %s\n\n`%s` · argument word %d\n\n%s.\n\n", e.name.c_str(), e.usage.c_str(),
              e.nargs, e.synopsis.c_str());
  if (!e.note.empty()) {
    std::printf("Example (%s):\n\n```\n%s\n```\n", e.note.c_str(), e.example.c_str());
  } else {
    const ExampleResult r = RunBuiltinExample(e);
    std::printf("```expr\n%s\n", e.example.c_str());
    if (r.ok)
      PrintResultLines(r.text);
    else
      std::printf("!! %s\n", r.text.c_str());
    std::puts("```");
  }
  if (!e.failures.empty()) std::puts("\nMessages it reports, with a call that fails so:");
  for (const ReferenceFailure& f : e.failures)
    std::printf("\n```expr\n%s\n!! %s\n```\n", f.call.c_str(), f.message.c_str());
}

}  // namespace

int PrintBuiltinMarkdown() {
  const std::vector<ReferenceEntry> entries = BuiltinReference();
  std::fputs(kIntroduction, stdout);
  std::puts("\n## Families\n");
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string& group = entries[i].group;
    if (i > 0 && entries[i - 1].group == group) continue;
    std::printf("- [%s](#%s):", group.c_str(), Anchor(group).c_str());
    for (std::size_t j = i; j < entries.size() && entries[j].group == group; ++j)
      std::printf("%s `%s`", j > i ? "," : "", entries[j].name.c_str());
    std::puts("");
  }
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (i == 0 || entries[i - 1].group != entries[i].group)
      std::printf("\n## %s\n", entries[i].group.c_str());
    PrintEntry(entries[i]);
  }
  return kExitOk;
}

}  // namespace quorvix::cli

// quorvix functions: the registered functions, sorted, with their argument
// word; --long adds usage and synopsis, --markdown writes the reference.
#include <cstdio>
#include <map>
#include <memory>
#include <string>

#include "commands.h"
#include "quorvix/math_parser.h"
#include "quorvix/reference.h"

namespace quorvix::cli {

int RunFunctions(const Args& args) {
  const bool long_form = args.size() == 1 && args[0] == "--long";
  if (args.size() == 1 && args[0] == "--markdown") return PrintBuiltinMarkdown();
  if (!args.empty() && !long_form) {
    std::fputs("usage: quorvix functions [--long | --markdown]\n", stderr);
    return kExitUsage;
  }
  MathParser parser;  // registers the built-ins
  std::map<std::string, ReferenceEntry> entries;
  if (long_form)
    for (ReferenceEntry& e : BuiltinReference()) entries.emplace(e.name, std::move(e));
  std::size_t count = MathParser::func_list.size();
  std::unique_ptr<funtab*[]> list(MathParser::GetSortedFunctionList());
  for (std::size_t i = 0; i < count; ++i) {
    const char* name = list[i]->name ? list[i]->name : "";
    auto it = entries.find(name);
    if (it == entries.end()) {
      std::printf("%s %d\n", name, list[i]->nargs);
      continue;
    }
    std::printf("%s %d  %s  %s\n", name, list[i]->nargs, it->second.usage.c_str(),
                it->second.synopsis.c_str());
  }
  return kExitOk;
}

}  // namespace quorvix::cli

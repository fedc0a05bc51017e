// quorvix functions: the registered functions, sorted, with their argument word.
#include <cstdio>
#include <memory>

#include "commands.h"
#include "quorvix/math_parser.h"

namespace quorvix::cli {

int RunFunctions(const Args& args) {
  if (!args.empty()) {
    std::fputs("usage: quorvix functions\n", stderr);
    return kExitUsage;
  }
  MathParser parser;  // registers the built-ins
  std::size_t count = MathParser::func_list.size();
  std::unique_ptr<funtab*[]> list(MathParser::GetSortedFunctionList());
  for (std::size_t i = 0; i < count; ++i)
    std::printf("%s %d\n", list[i]->name ? list[i]->name : "", list[i]->nargs);
  return kExitOk;
}

}  // namespace quorvix::cli

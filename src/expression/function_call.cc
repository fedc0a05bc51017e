#include "expression/function_call.h"

#include <optional>
#include <string>

#include "quorvix/math_parser.h"

namespace quorvix {

FunctionCallers& Callers() {
  static FunctionCallers callers;
  return callers;
}

namespace {

symtab* Unavailable(const char* message) {
  MathParser::Error(message);
  return nullptr;
}

}  // namespace

symtab* CallEntry(funtab* entry, sym_list* args, int position) {
  // The one place a built-in's flags meet the policy, so no handler checks
  // for itself.
  if (MathParser* parser = MathParser::current_parser) {
    std::string why;
    const char* name = entry->name != nullptr ? entry->name : "";
    if (!parser->policy().AllowsCall(name, entry->call_flags, &why))
      return Unavailable(why.c_str());
  }
  FunctionCallers& callers = Callers();
  // These kinds read their entry (body, program, name) while they run.
  std::optional<RunningEntry> running;
  if (entry->is_external || entry->is_user || entry->is_library) running.emplace(entry);
  if (entry->is_external)
    return callers.external ? callers.external(entry, args)
                            : Unavailable("external functions are not available");
  if (entry->is_user)
    return callers.user ? callers.user(entry, args)
                        : Unavailable("user-defined functions are not available");
  if (entry->is_library)
    return callers.library ? callers.library(entry, args)
                           : Unavailable("library functions are not available");
  if (entry->has_context) return entry->context_handler(entry->context, args);
  if (MathParser::current_parser != nullptr) MathParser::current_parser->SetErrorPosition(position);
  return entry->handler ? entry->handler(args) : Unavailable("Unknown function");
}

}  // namespace quorvix

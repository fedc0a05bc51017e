#include "expression/external_function.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "expression/external_transport.h"
#include "expression/function_call.h"
#include "quorvix/math_parser.h"

std::vector<std::unique_ptr<ExternalAlias>> MathParser::alias_list;

namespace quorvix {
namespace {

symtab* Fail(const std::string& message) {
  MathParser::Error(message.c_str());
  return nullptr;
}

// Numbers go one to a line as "%.9e"; a matrix or a list of strings is not
// something the protocol can carry.
bool AppendArgument(const symtab& arg, std::string& text, int* strings) {
  if (arg.IsString()) {
    text += "3\n";
    text += arg.str_list[0];
    text += "\n0\n";
    ++*strings;
    return true;
  }
  const bool scalar = arg.type == SYM_SCALAR;
  if (!scalar && !(arg.type == SYM_ARRAY && !arg.IsMatrix())) return false;
  const int count = scalar ? 1 : arg.rows * arg.cols;
  const double* data = scalar ? &arg.value : arg.data;
  char line[48];
  std::snprintf(line, sizeof line, "0\n%d\n", count);
  text += line;
  for (int i = 0; i < count; ++i) {
    std::snprintf(line, sizeof line, "%.9e\n", data[i]);
    text += line;
  }
  return true;
}

symtab* CallRegistered(funtab* entry, sym_list* args) {
  if (args == nullptr || args->count == 0) return Fail("Invalid number of arguments");
  return CallExternalProgram(entry->program != nullptr ? entry->program : "", args, 0);
}

const bool g_installed = (Callers().external = &CallRegistered, true);

}  // namespace

symtab* CallExternalProgram(const std::string& program, sym_list* args, int first) {
  ExternalRequest request;
  request.program = program;
  std::string arguments;
  int strings = 0;
  const int count = args != nullptr ? args->count : 0;
  try {
    for (int i = first; i < count; ++i)
      if (args->args[i] == nullptr || !AppendArgument(*args->args[i], arguments, &strings))
        return Fail("Argument " + std::to_string(i) + " is an invalid type");
    request.text =
        std::to_string(count - first - strings) + "\n" + std::to_string(strings) + "\n" + arguments;
  } catch (const std::bad_alloc&) {
    return Fail("Out of memory");
  }
  static const Policy kDefault;
  MathParser* parser = MathParser::current_parser;
  request.policy = parser != nullptr ? &parser->policy() : &kDefault;
  request.messages =
      parser != nullptr ? parser->MessageService() : MathParser::GetActiveMessageService();
  request.errors = MathParser::p_error_os;
  ExternalReply reply;
  const int code = RunExternalProgram(request, reply);
  if (code != kTransportSuccess) {
    if (!reply.failure.empty()) return Fail(reply.failure);
    return Fail(reply.has_error_text ? reply.error_text : TransportMessage(code));
  }
  auto* result = new symtab;
  if (reply.is_string) {
    result->SetString(reply.text.c_str());
    return result;
  }
  const int n = static_cast<int>(reply.numbers.size());
  std::copy(reply.numbers.begin(), reply.numbers.end(), result->SetArray(n, 1));
  return result;
}

std::string ExternProgram(const char* name) {
  const std::string wanted = name != nullptr ? name : "";
  for (const auto& alias : MathParser::alias_list)
    if (alias->name == wanted) return alias->program;
  funtab* entry = MathParser::FunLook(name);
  if (entry != nullptr && entry->is_external && entry->program != nullptr) return entry->program;
  return {};
}

}  // namespace quorvix

extern "C" void pk_registerexternalfunction(const char* name, const char* program) {
  if (name == nullptr) return;
  // A parser first, so that the built-ins are in the registry before the
  // new entry makes it non-empty.
  MathParser registrar;
  MathParser::alias_list.push_back(
      std::make_unique<ExternalAlias>(ExternalAlias{name, program != nullptr ? program : ""}));
  MathParser::AddExternalFunc(name, program, 1);
}

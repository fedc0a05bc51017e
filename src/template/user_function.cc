// User-defined functions: declaration parsing, registration, and the call
// through a private filler.
#include "quorvix/user_function.h"

#include <cstring>
#include <string>

#include "expression/function_call.h"
#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/message_service.h"
#include "template/engine_types.h"
#include "util/run_budget.h"

int UserFunction::cntr = 1;
std::vector<UserFunction*> UserFunction::fn_list;

namespace {

std::string Trim(std::string s) {
  const char* blanks = " \t\r\n\v\f";
  std::size_t a = s.find_first_not_of(blanks);
  if (a == std::string::npos) return {};
  std::size_t b = s.find_last_not_of(blanks);
  return s.substr(a, b - a + 1);
}

char* Dup(const std::string& s) { return newstrdup(s.c_str()); }

// Warnings of the function registry go to the active message service, or
// to standard error.
void Warn(const std::string& text) {
  MessageServiceBase* service = MathParser::current_parser != nullptr
                                    ? MathParser::current_parser->MessageService()
                                    : MathParser::GetActiveMessageService();
  if (service != nullptr)
    service->Message(text.c_str());
  else
    std::fprintf(stderr, "%s\n", text.c_str());
}

// The registry's caller for user-defined functions.
symtab* CallUserFunction(funtab* entry, sym_list* args) {
  if (args->count != entry->nargs) {
    MathParser::Error("Syntax error");
    return nullptr;
  }
  // Every call counts toward the work budget, so that recursion that
  // branches (h(n-1) + h(n-1)) ends instead of running for days.
  std::string why;
  if (!quorvix::RunBudget::Spend(&why)) {
    MathParser::Error(why.c_str());
    return nullptr;
  }
  Filler filler;
  MathParser* parser = filler.GetMathParser();
  MathParser* caller = MathParser::current_parser;
  // The body runs under the caller's policy: its limits and its trust.
  if (caller != nullptr) parser->SetPolicy(caller->SharedPolicy());
  if (caller != nullptr && caller->GlobalsInFunctions()) parser->CopyGetFuncs(caller);
  for (int i = 0; i < args->count; ++i) {
    symtab copy(*args->args[i]);
    copy.SetName(entry->arg_names[i]);
    copy.shared = 0;
    parser->AddVariable(&copy);
  }
  char* errors = nullptr;
  filler.Evaluate(entry->body, &errors);
  // A failure of the body's template (a limit, a statement error) has no
  // parser message; its first line stands in for one.
  std::string fill_error;
  if (errors != nullptr) {
    fill_error = errors;
    fill_error = fill_error.substr(0, fill_error.find_first_of("\r\n"));
  }
  delete[] errors;
  symtab* result = filler.GetReturnCode();
  if (result != nullptr) return result;

  std::string message;
  const char* inner = parser->ErrorMessage();
  if (inner != nullptr && inner[0] != '\0')
    message = std::string(inner) + " in function " + entry->name;
  else if (fill_error.rfind(quorvix::kFillDepthPrefix, 0) == 0)
    message = fill_error + " in function " + entry->name;
  else
    message = std::string("error in function ") + entry->name;
  // The function's own failure is the one to report.
  MathParser::ClearError();
  MathParser::Error(message.c_str());
  return new symtab;
}

struct InstallCaller {
  InstallCaller() { quorvix::Callers().user = CallUserFunction; }
} install_caller;

}  // namespace

UserFunction::UserFunction() {
  std::string name = "func_" + std::to_string(cntr++);
  name_ = Dup(name);
  text_ = Dup("function " + name + "()\n{\n}");
}

UserFunction::UserFunction(const UserFunction& other) { CopyFrom(other); }

UserFunction& UserFunction::operator=(const UserFunction& other) {
  if (this != &other) {
    delete[] name_;
    delete[] text_;
    FreeArgs();
    name_ = text_ = nullptr;
    CopyFrom(other);
  }
  return *this;
}

void UserFunction::CopyFrom(const UserFunction& other) {
  name_ = newstrdup(other.name_);
  text_ = newstrdup(other.text_);
  num_args_ = other.num_args_;
  if (num_args_ > 0) {
    arg_names_ = new char*[num_args_];
    for (int i = 0; i < num_args_; ++i) arg_names_[i] = newstrdup(other.arg_names_[i]);
  }
  valid_ = other.valid_;
  editable_ = true;
}

UserFunction::~UserFunction() {
  FreeArgs();
  delete[] name_;
  delete[] text_;
  delete[] registered_name_;
}

void UserFunction::FreeArgs() {
  for (int i = 0; i < num_args_; ++i) delete[] arg_names_[i];
  delete[] arg_names_;
  arg_names_ = nullptr;
  num_args_ = 0;
}

void UserFunction::Name(const char* name) {
  char* copy = newstrdup(name);
  delete[] name_;
  name_ = copy;
}

void UserFunction::FunctionText(const char* text) {
  char* copy = newstrdup(text ? text : "");
  delete[] text_;
  text_ = copy;
  p_ParseDeclaration();
}

const char* UserFunction::ArgName(int i) const {
  return i >= 0 && i < num_args_ ? arg_names_[i] : nullptr;
}

void UserFunction::p_ParseDeclaration() {
  valid_ = 1;
  std::string text(text_);
  std::size_t brace = text.find('{');
  if (brace == std::string::npos) {
    valid_ = 0;
    return;
  }
  std::string head = Trim(text.substr(0, brace));
  if (head.compare(0, 8, "function") != 0) {
    valid_ = 0;
    return;
  }
  std::size_t p = 8;
  while (p < head.size() && head[p] == ' ') ++p;
  std::size_t open = head.find('(', p);
  if (open == std::string::npos) {
    valid_ = 0;
    return;
  }
  Name(Trim(head.substr(p, open - p)).c_str());
  std::size_t close = head.find(')', open + 1);
  if (close == std::string::npos) {
    valid_ = 0;
    return;
  }
  FreeArgs();
  std::string inside = Trim(head.substr(open + 1, close - open - 1));
  if (inside.empty()) return;
  std::vector<std::string> names;
  std::size_t start = 0;
  while (true) {
    std::size_t comma = inside.find(',', start);
    names.push_back(
        Trim(inside.substr(start, comma == std::string::npos ? std::string::npos : comma - start)));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  num_args_ = static_cast<int>(names.size());
  arg_names_ = new char*[num_args_];
  for (int i = 0; i < num_args_; ++i) arg_names_[i] = Dup(names[static_cast<std::size_t>(i)]);
}

int UserFunction::Register(UserFunction* f, short keep) {
  if (MathParser::FunLook(f->name_) != nullptr) {
    if (keep) {
      for (UserFunction* other : fn_list) {
        if (std::strcmp(other->name_, f->name_) == 0) {
          Warn(std::string("Overwriting quorvix function ") + f->name_);
          if (other != f) *other = *f;
          break;
        }
      }
    }
    MathParser::AddUserFn(f->name_, f->text_, f->arg_names_, f->num_args_);
    char* copy = newstrdup(f->name_);
    delete[] f->registered_name_;
    f->registered_name_ = copy;
    if (keep) fn_list.push_back(f);
    return 1;
  }
  if (f->registered_name_ != nullptr) {
    MathParser::RemoveUserFn(f->registered_name_);
    delete[] f->registered_name_;
    f->registered_name_ = nullptr;
  }
  f->registered_name_ = newstrdup(f->name_);
  bool listed = false;
  for (UserFunction* other : fn_list) listed = listed || other == f;
  MathParser::AddUserFn(f->name_, f->text_, f->arg_names_, f->num_args_);
  if (keep && !listed) fn_list.push_back(f);
  return 1;
}

#include "quorvix/math_parser.h"

#include <cmath>
#include <cstring>
#include <iostream>
#include <new>

#include "expression/builtin_registrar.h"
#include "expression/compiled_evaluation.h"
#include "expression/parse_cache.h"
#include "parser/core/error.h"
#include "util/limit_error.h"
#include "util/run_budget.h"
#include "values/record_pool.h"
#include "values/value_limits.h"
#include "values/value_ops.h"

MathParser* MathParser::current_parser = nullptr;
ErrorFunc MathParser::err_fun = nullptr;
std::ostream* MathParser::p_error_os = nullptr;
Tcl_Interp* MathParser::tcl_interp = nullptr;
void* (*MathParser::app_func)() = nullptr;
double (*MathParser::time_func)() = nullptr;
VQApplicationInfo* MathParser::s_app_info = nullptr;
std::map<void*, MessageServiceBase*> MathParser::message_services;
int MathParser::need_preprocess = -1;
std::string MathParser::error_text_;

namespace {

// Value operations report through the service's error function.
const bool g_value_errors_routed = (quorvix::ops::SetErrorSink(&MathParser::Error), true);

// Value sizes are bounded by the current parser's policy.
const quorvix::Limits* CurrentParserLimits() {
  return MathParser::current_parser != nullptr ? &MathParser::current_parser->policy().limits
                                               : nullptr;
}
const bool g_value_limits_routed = (quorvix::SetLimitsSource(&CurrentParserLimits), true);

quorvix::BuiltinRegistrar g_builtin_registrar = nullptr;

// Generations come from one counter so that a parser created at the address
// of a destroyed one never matches a stale cached lookup.
std::uint64_t NextGeneration() {
  static std::uint64_t counter = 0;
  return ++counter;
}

// Restores current_parser on every way out of an evaluation.
class CurrentParserScope {
 public:
  explicit CurrentParserScope(MathParser* p) : saved_(MathParser::current_parser) {
    MathParser::current_parser = p;
  }
  ~CurrentParserScope() { MathParser::current_parser = saved_; }
  CurrentParserScope(const CurrentParserScope&) = delete;
  CurrentParserScope& operator=(const CurrentParserScope&) = delete;

 private:
  MathParser* saved_;
};

// The message goes to the error function and stays with the parser, where
// the template engine reads it for its report.
void Report(MathParser* parser, const char* message) {
  parser->SetErrorMessage(message);
  if (MathParser::err_fun != nullptr) MathParser::err_fun(message);
}

}  // namespace

namespace quorvix {
void SetBuiltinRegistrar(BuiltinRegistrar registrar) { g_builtin_registrar = registrar; }
}  // namespace quorvix

MathParserExpression::MathParserExpression(std::shared_ptr<quorvix::ParsedTree> tree)
    : tree_(std::move(tree)) {}
MathParserExpression::~MathParserExpression() = default;

// Compiled programs keep their variables bound while the table's generation
// stands; reading variables at all depends on this switch, so it counts as a
// change of the table.
void MathParser::AllowAssign(int on) {
  allow_assign_ = on;
  vars_generation_ = NextGeneration();
}

MathParser::MathParser() : vars_generation_(NextGeneration()) {
  if (func_list.empty() && g_builtin_registrar != nullptr) g_builtin_registrar();
}

MathParser::MathParser(const MathParser& other) : vars_generation_(NextGeneration()) {
  CopyFrom(other);
}

MathParser& MathParser::operator=(const MathParser& other) {
  if (this != &other) {
    ClearStack();
    CopyFrom(other);
  }
  return *this;
}

void MathParser::CopyFrom(const MathParser& other) {
  for (const auto& [name, rec] : other.variables_) {
    auto* copy = new symtab(*rec);
    copy->shared = 1;
    variables_[name] = copy;
  }
  num_get_funcs_ = other.num_get_funcs_;
  num_set_funcs_ = other.num_set_funcs_;
  num_mdl_funcs_ = other.num_mdl_funcs_;
  for (int i = 0; i < kMaxHooks; ++i) {
    get_funcs_[i] = other.get_funcs_[i];
    set_funcs_[i] = other.set_funcs_[i];
    mdl_funcs_[i] = other.mdl_funcs_[i];
  }
  allow_assign_ = other.allow_assign_;
  globals_in_functions_ = other.globals_in_functions_;
  allow_escape_characters_ = other.allow_escape_characters_;
  policy_ = other.policy_;
  stats_packet_ = other.stats_packet_;
  vars_generation_ = NextGeneration();
}

MathParser::~MathParser() {
  quorvix::ForgetTextCopy(expression_text_);
  delete[] expression_text_;
  delete[] error_message_;
  ClearStack();
  if (current_parser == this) current_parser = nullptr;
}

// Evaluation ---------------------------------------------------------------

void MathParser::StoreExpressionText(const char* text, std::size_t length) {
  // The copy of the text reuses its buffer when the new text fits.
  quorvix::ForgetTextCopy(expression_text_);
  if (expression_text_ == nullptr || length >= expression_capacity_) {
    char* copy = new char[length + 16];
    delete[] expression_text_;
    expression_text_ = copy;
    expression_capacity_ = length + 16;
  }
  std::memmove(expression_text_, text, length);
  expression_text_[length] = '\0';
}

// Runs `body` (which parses and/or evaluates) with this parser current,
// turning every failure into a report and a null result.
template <typename Body>
symtab* MathParser::Guarded(int position_offset, Body body) {
  last_result_ = nullptr;
  eval_word1_ = eval_word2_ = eval_word3_ = 0;
  if (error_message_ != nullptr) {
    delete[] error_message_;
    error_message_ = nullptr;
  }
  CurrentParserScope scope(this);
  // An evaluation outside any fill owns the work, time and stack budget that
  // everything nested inside it (expressions, fills, functions) shares;
  // inside a fill it joins the fill's.
  quorvix::RunBudget::Scope budget(policy_->limits);
  error_text_.clear();
  symtab* result = nullptr;
  try {
    result = body();
  } catch (const ParserCore_NS::Error& e) {
    // Positions count from the start of the text as given.
    error_position_ = position_offset + (e.position() < 0 ? 0 : e.position());
    Report(this, e.message().c_str());
  } catch (const quorvix::LimitExceeded& e) {
    error_position_ = position_offset;
    Report(this, e.what());
  } catch (int) {
    // An integer thrown inside ends the evaluation silently.
    SetErrorMessage("");
  } catch (const std::bad_alloc&) {
    Report(this, "Out of memory");
  } catch (...) {
    Report(this, "Internal error");
  }
  last_result_ = result;
  return result;
}

namespace {

// Evaluates a tree for `parser`, the current parser; `program_tried` when
// EvaluateCompiled has already run the tree's program.
symtab* EvaluateParsed(MathParser& parser, quorvix::ParsedTree& tree, bool program_tried) {
  // Trees over scalars compute on plain doubles. The scalar paths have no
  // side effects before they give up, so the general path can start over.
  double d;
  if (quorvix::EvaluateScalar(tree, parser, program_tried, d)) {
    MathParser::ClearError();
    return quorvix::record_pool::NewScalar(d);
  }
  symtab value;
  tree.root->evaluate(value);
  MathParser::ClearError();
  if (value.type == SYM_UNDEFINED && value.name != nullptr)
    throw ParserCore_NS::Error(std::string("Unknown symbol \"") + value.name + "\"",
                               tree.root->position());
  auto* result = new symtab;
  result->Swap(value);
  return result;
}

}  // namespace

static int LeadingBlanks(const char* p) {
  int n = 0;
  while (p[n] == ' ' || p[n] == '\t' || p[n] == '\n' || p[n] == '\v' || p[n] == '\f' ||
         p[n] == '\r')
    ++n;
  return n;
}

symtab* MathParser::Evaluate(char* text) {
  const char* source = text ? text : "";
  // The copy that error reports quote is rewritten only when the text
  // differs from the last one (a text evaluated over and over is the case
  // this path is for).
  const bool same = expression_text_ != nullptr && std::strcmp(expression_text_, source) == 0;
  // The text evaluated last, again: its tree is at hand without a lookup
  // when the cache still holds the text the copy was confirmed against.
  quorvix::ParsedTree* seen =
      same ? quorvix::LastParsedText(expression_text_, allow_escape_characters_) : nullptr;
  if (seen != nullptr)
    if (symtab* result = quorvix::EvaluateCompiled(*seen, *this)) return last_result_ = result;
  // Out of line, and given copies, so that the compiled path neither pays
  // for its frame nor keeps its locals in memory.
  return [ this, source, same, seen ]() __attribute__((noinline)) {
    if (!same) StoreExpressionText(source, std::strlen(source));
    const int skip = LeadingBlanks(source);
    return Guarded(skip, [&] {
      quorvix::ParsePin pin;
      quorvix::ParsedTree& tree =
          quorvix::ParseText(std::string_view(source), skip, allow_escape_characters_);
      quorvix::ConfirmTextCopy(expression_text_, allow_escape_characters_);
      return EvaluateParsed(*this, tree, &tree == seen && quorvix::ProgramCurrent(tree));
    });
  }
  ();
}

MathParserExpression* MathParser::CreateExpression(const char* text) {
  if (text == nullptr) return nullptr;
  CurrentParserScope scope(this);
  quorvix::RunBudget::Scope budget(policy_->limits);  // parsing recurses too
  text += LeadingBlanks(text);
  try {
    return new MathParserExpression(quorvix::ParseExpression(text, allow_escape_characters_));
  } catch (...) {
    return nullptr;
  }
}

symtab* MathParser::Evaluate(MathParserExpression* expr) {
  if (expr == nullptr || !expr->tree()) return nullptr;
  if (symtab* result = quorvix::EvaluateCompiled(*expr->tree(), *this))
    return last_result_ = result;
  // Out of line, so that the compiled path does not pay for its frame.
  return [ this, expr ]() __attribute__((noinline)) {
    quorvix::ParsedTree& tree = *expr->tree();
    return Guarded(0, [&] { return EvaluateParsed(*this, tree, quorvix::ProgramCurrent(tree)); });
  }
  ();
}

symtab* MathParser::Evaluate(MathParserExpression* expr, const char* text, std::size_t length) {
  if (expr == nullptr || !expr->tree()) return nullptr;
  // The text is copied only when an error report needs it: this is the path
  // of expressions re-read in loops.
  if (symtab* result = quorvix::EvaluateCompiled(*expr->tree(), *this))
    return last_result_ = result;
  quorvix::ParsedTree& tree = *expr->tree();
  symtab* result =
      Guarded(0, [&] { return EvaluateParsed(*this, tree, quorvix::ProgramCurrent(tree)); });
  if (result == nullptr) {
    StoreExpressionText(text, length);
    error_position_ += LeadingBlanks(expression_text_);
  }
  return result;
}

symtab* MathParser::EvaluateTree(const std::shared_ptr<quorvix::ParsedTree>& tree) {
  return EvaluateParsed(*this, *tree, false);
}

// Variables ------------------------------------------------------------------

symtab* MathParser::SymLook(const char* name) {
  if (!allow_assign_) {
    auto* rec = new symtab;
    rec->SetName(name);
    return rec;
  }
  auto it = variables_.find(name);
  if (it == variables_.end()) {
    auto* rec = new symtab;
    rec->SetName(name);
    rec->shared = 1;
    it = variables_.emplace(name, rec).first;
  }
  if (it->second->name == nullptr) it->second->SetName(name);
  return it->second;
}

int MathParser::AddVariable(symtab* v) {
  if (v == nullptr || v->name == nullptr) return 0;
  auto* copy = new symtab(*v);
  copy->shared = 1;
  auto [it, inserted] = variables_.try_emplace(v->name, copy);
  if (!inserted) {
    it->second->shared = 0;
    it->second->Delete();
    it->second = copy;
  }
  vars_generation_ = NextGeneration();
  return 0;
}

symtab* MathParser::GetVariable(const char* name) {
  symtab* rec = SymLook(name);
  if (!allow_assign_) {
    rec->Delete();
    return nullptr;
  }
  if (rec->type == SYM_UNDEFINED) return nullptr;
  auto* copy = new symtab(*rec);
  copy->shared = 0;
  return copy;
}

symtab* MathParser::SetVariable(const char* name, const void* values) {
  symtab* rec = SymLook(name);
  if (values == nullptr) return rec;
  if (rec->type == SYM_SCALAR) {
    rec->value = *static_cast<const double*>(values);
  } else if (rec->type == SYM_ARRAY && rec->data != nullptr) {
    std::size_t n = static_cast<std::size_t>(rec->rows) * rec->cols;
    const auto* src = static_cast<const double*>(values);
    std::copy(src, src + n, rec->data);
  }
  return rec;
}

void MathParser::ClearVariable(const char* name) {
  auto it = variables_.find(name);
  if (it == variables_.end()) return;
  it->second->Delete();
  variables_.erase(it);
  vars_generation_ = NextGeneration();
}

void MathParser::ClearVariablesExcept(const std::set<std::string>& keep) {
  if (keep.empty()) return;  // an empty set is not a request to clear everything
  std::vector<std::string> doomed;
  for (const auto& [name, rec] : variables_)
    if (!keep.count(name)) doomed.push_back(name);
  for (const auto& name : doomed) ClearVariable(name.c_str());
}

void MathParser::ClearStack() {
  for (auto& [name, rec] : variables_) {
    rec->shared = 0;
    rec->Delete();
  }
  variables_.clear();
  vars_generation_ = NextGeneration();
}

void MathParser::ShowMathParserStack(MathParser* parser) {
  if (parser == nullptr) return;
  for (const auto& [name, rec] : parser->variables_) {
    std::cerr << name << '\n';
    if (rec->type == SYM_SCALAR) std::cerr << rec->value << '\n';
  }
}

// Hooks ------------------------------------------------------------------------

void MathParser::AddGetFunc(GetFunc f) {
  for (int i = 0; i < num_get_funcs_; ++i)
    if (get_funcs_[i] == f) return;
  if (num_get_funcs_ < kMaxHooks) get_funcs_[num_get_funcs_++] = f;
}

void MathParser::AddSetFunc(SetFunc f) {
  if (num_set_funcs_ < kMaxHooks) set_funcs_[num_set_funcs_++] = f;
}

void MathParser::AddMDLFunc(MdlFunc f) {
  for (int i = 0; i < num_mdl_funcs_; ++i)
    if (mdl_funcs_[i] == f) return;
  if (num_mdl_funcs_ < kMaxHooks) mdl_funcs_[num_mdl_funcs_++] = f;
}

void MathParser::CopyGetFuncs(MathParser* other) {
  if (other == nullptr) return;
  for (int i = 0; i < other->num_get_funcs_; ++i) AddGetFunc(other->get_funcs_[i]);
}

symtab* MathParser::GetDataPi(char* name) {
  if (name == nullptr || (std::strcmp(name, "PI") != 0 && std::strcmp(name, "pi") != 0))
    return nullptr;
  auto* pi = new symtab;
  pi->SetScalar(4.0 * std::atan(1.0));
  return pi;
}

// Errors -------------------------------------------------------------------------

void MathParser::Error(const char* msg) {
  if (error_text_.empty() && msg != nullptr) error_text_ = msg;
}

void MathParser::SetErrorFunction(ErrorFunc f) {
  if (f == err_fun) return;
  if (current_parser != nullptr) current_parser->error_function_changed_ = 1;
  err_fun = f;
}

void MathParser::SetErrorMessage(const char* msg) {
  char* copy = newstrdup(msg);
  delete[] error_message_;
  error_message_ = copy;
}

// Message services -------------------------------------------------------------

void MathParser::AddMessageService(void* key, MessageServiceBase* s) { message_services[key] = s; }

MessageServiceBase* MathParser::RemoveMessageService(void* key) {
  auto it = message_services.find(key);
  if (it == message_services.end()) return nullptr;
  MessageServiceBase* s = it->second;
  message_services.erase(it);
  return s;
}

MessageServiceBase* MathParser::GetActiveMessageService() {
  if (app_func == nullptr) return nullptr;
  void* key = app_func();
  if (key == nullptr) return nullptr;
  auto it = message_services.find(key);
  return it == message_services.end() ? nullptr : it->second;
}

MessageServiceBase* MathParser::MessageService() const {
  return policy_->messages != nullptr ? policy_->messages : GetActiveMessageService();
}

// High characters inside string literals are taken out as chr() calls, for
// hosts whose text passes through a 7-bit channel.
char* MathParser::_PreprocessForHiChar(const char* text) {
  std::string out;
  bool inside = false;
  for (const char* p = text ? text : ""; *p; ++p) {
    auto c = static_cast<unsigned char>(*p);
    if (c == '"') {
      inside = !inside;
      out += '"';
      continue;
    }
    if (inside && (c & 0x80)) {
      out += "\"+chr(";
      out += std::to_string(static_cast<int>(static_cast<signed char>(c)));
      out += ')';
      if (p[1] == '"') {
        ++p;
        inside = false;
      } else {
        out += "+\"";
      }
      continue;
    }
    out += static_cast<char>(c);
  }
  return newstrdup(out.c_str());
}

// MathParser: the expression service. A host constructs one, gives it
// variables and hooks, and evaluates expression text.
//
// Ownership: Evaluate returns a new record owned by the caller (free it with
// symtab::Delete) or null after an error, which goes to the error function.
// Expressions made by CreateExpression are owned by the caller (delete them).
// The function registry is process-wide and shared by every instance.
#ifndef QUORVIX_MATH_PARSER_H
#define QUORVIX_MATH_PARSER_H

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "quorvix/policy.h"
#include "quorvix/symtab.h"

class MessageServiceBase;
struct StatsPacket;
class VQApplicationInfo;
struct MdlMemberFunctionInfo;
struct Tcl_Interp;

namespace quorvix {
struct ParsedTree;
}

using GetFunc = symtab* (*)(char* name);
using SetFunc = int (*)(char* name, symtab* value);
using MdlFunc = MdlMemberFunctionInfo* (*)(char* name);
using ErrorFunc = void (*)(const char* message);

// A name that `extern` calls by and the program that serves it.
struct ExternalAlias {
  std::string name;
  std::string program;
};

// A parsed expression, evaluated many times without parsing again.
class MathParserExpression {
 public:
  explicit MathParserExpression(std::shared_ptr<quorvix::ParsedTree> tree);
  ~MathParserExpression();
  MathParserExpression(const MathParserExpression&) = delete;
  MathParserExpression& operator=(const MathParserExpression&) = delete;

  const std::shared_ptr<quorvix::ParsedTree>& tree() const { return tree_; }

 private:
  std::shared_ptr<quorvix::ParsedTree> tree_;
};

class MathParser {
 public:
  static constexpr int kMaxHooks = 10;

  MathParser();
  MathParser(const MathParser& other);
  MathParser& operator=(const MathParser& other);
  virtual ~MathParser();

  // Evaluation ----------------------------------------------------------
  virtual symtab* Evaluate(char* text);
  symtab* Evaluate(const char* text) { return Evaluate(const_cast<char*>(text)); }
  MathParserExpression* CreateExpression(const char* text);
  symtab* Evaluate(MathParserExpression* expr);
  // As above, and `text` (the expression's source, `length` bytes) is kept
  // as the expression text that error reports quote.
  symtab* Evaluate(MathParserExpression* expr, const char* text, std::size_t length);

  // Variables -----------------------------------------------------------
  int AddVariable(symtab* v);
  symtab* GetVariable(const char* name);
  symtab* SetVariable(const char* name, const void* values);
  void ClearVariable(const char* name);
  void ClearVariablesExcept(const std::set<std::string>& keep);
  void ClearStack();
  static void ShowMathParserStack(MathParser* parser);

  // Hooks ---------------------------------------------------------------
  virtual void AddGetFunc(GetFunc f);
  void AddSetFunc(SetFunc f);
  void AddMDLFunc(MdlFunc f);
  void CopyGetFuncs(MathParser* other);
  static symtab* GetDataPi(char* name);

  // Options -------------------------------------------------------------
  void AllowAssign(int on);
  int AllowAssign() const { return allow_assign_; }
  void GlobalsInFunctions(int on) { globals_in_functions_ = on; }
  int GlobalsInFunctions() const { return globals_in_functions_; }
  void AllowEscapeCharactersInStrings(bool on) { allow_escape_characters_ = on; }
  bool AllowEscapeCharactersInStrings() const { return allow_escape_characters_; }

  // Errors --------------------------------------------------------------
  // Keeps the first message of an evaluation.
  static void Error(const char* msg);
  static void BackupTo(char, int, int) {}
  static void SetErrorFunction(ErrorFunc f);
  static const std::string& ErrorText() { return error_text_; }
  static bool ErrorPending() { return !error_text_.empty(); }
  static void ClearError() { error_text_.clear(); }

  // Function registry (process-wide) -------------------------------------
  static int AddFunc(const char* name, BuiltinHandler handler, int nargs);
  // As above, with the handler's quorvix::CallFlag bits (a call the parser's
  // policy refuses reports why and never reaches the handler), for a pure
  // element-wise handler its function of one number (or null), and whether
  // it reads its arguments in place (funtab::reads_in_place).
  static int AddFunc(const char* name, BuiltinHandler handler, int nargs, unsigned call_flags,
                     double (*scalar_kernel)(double), bool reads_in_place = false);
  static int AddContextFunc(const char* name, ContextHandler handler, void* context, int nargs);
  static void RemoveFunc(const char* name);
  static void RemoveUserFn(const char* name);
  static void AddUserFn(const char* name, const char* body, char** arg_names, int nargs);
  static void AddExternalFunc(const char* name, const char* program, int nargs);
  static void AddExtDLLFunc(const char* name, const char* library, const char* entry, int word1,
                            int word2);
  static funtab** GetSortedFunctionList();
  static void ClearFunctionList();
  static funtab* FunLook(const char* name);
  // Bumped by every change of the registry; parse results depend on it.
  static std::uint64_t RegistryGeneration() { return registry_generation_; }

  // Message services and application information --------------------------
  static void AddMessageService(void* key, MessageServiceBase* s);
  static MessageServiceBase* RemoveMessageService(void* key);
  static MessageServiceBase* GetActiveMessageService();
  // Where this parser's messages go: the policy's service when the host set
  // one, else the active service; null when there is none.
  MessageServiceBase* MessageService() const;
  static void SetAppInfo(VQApplicationInfo* info) { s_app_info = info; }
  static VQApplicationInfo* GetAppInfo() { return s_app_info; }

  // Statistics packet ------------------------------------------------------
  // Precomputed statistics of the host's x and y data (stat_functions.h).
  // While one is attached, the statistics built-ins called on the variables
  // x and y answer from it. The host owns the packet and keeps it alive (and
  // refreshed) while it is attached; null detaches. Copies of the parser
  // share the pointer.
  void SetStatsPacket(StatsPacket* packet) { stats_packet_ = packet; }
  StatsPacket* GetStatsPacket() const { return stats_packet_; }

  // Trust and resources --------------------------------------------------
  // The policy this parser consults; copies of the parser (and the private
  // parsers and fillers made from it) share it.
  quorvix::Policy& policy() { return *policy_; }
  const quorvix::Policy& policy() const { return *policy_; }
  const std::shared_ptr<quorvix::Policy>& SharedPolicy() const { return policy_; }
  void SetPolicy(std::shared_ptr<quorvix::Policy> p) {
    if (p) policy_ = std::move(p);
  }

  // Access used by the expression language ------------------------------
  // The record for `name` in this instance's table, created as kind 0 when
  // absent; with assignments off, a new record owned by the caller.
  symtab* SymLook(const char* name);
  // Bumped whenever a table record is removed or replaced, so that cached
  // pointers to records can be checked cheaply.
  std::uint64_t VariablesGeneration() const { return vars_generation_; }
  int NumGetFuncs() const { return num_get_funcs_; }
  GetFunc GetFuncAt(int i) const { return get_funcs_[i]; }
  int NumSetFuncs() const { return num_set_funcs_; }
  SetFunc SetFuncAt(int i) const { return set_funcs_[i]; }
  const char* ExpressionText() const { return expression_text_; }
  const char* ErrorMessage() const { return error_message_; }
  void SetErrorMessage(const char* msg);
  int ErrorPosition() const { return error_position_; }
  void SetErrorPosition(int pos) { error_position_ = pos; }
  const std::map<std::string, symtab*, std::less<>>& Variables() const { return variables_; }

  // Process-wide state ------------------------------------------------------
  static MathParser* current_parser;
  static ErrorFunc err_fun;
  static std::ostream* p_error_os;
  static Tcl_Interp* tcl_interp;
  static void* (*app_func)();
  static double (*time_func)();
  static VQApplicationInfo* s_app_info;
  static std::map<void*, MessageServiceBase*> message_services;
  static int need_preprocess;
  static std::map<std::string, funtab*> func_list;
  // Appended by pk_registerexternalfunction; lives until the process ends.
  static std::vector<std::unique_ptr<ExternalAlias>> alias_list;

 private:
  symtab* EvaluateTree(const std::shared_ptr<quorvix::ParsedTree>& tree);
  void StoreExpressionText(const char* text, std::size_t length);
  template <typename Body>
  symtab* Guarded(int position_offset, Body body);
  void CopyFrom(const MathParser& other);
  static void StoreEntry(funtab* entry);
  static char* _PreprocessForHiChar(const char* text);

  int error_position_ = 0;
  int eval_word1_ = 0;
  int eval_word2_ = 0;
  int error_function_changed_ = 0;
  int eval_word3_ = 0;
  char* error_message_ = nullptr;
  char* expression_text_ = nullptr;
  std::size_t expression_capacity_ = 0;
  int unused_word_ = 0;
  std::map<std::string, symtab*, std::less<>>
      variables_;  // looked up by const char* without a copy
  int num_get_funcs_ = 0;
  int num_set_funcs_ = 0;
  int num_mdl_funcs_ = 0;
  int allow_assign_ = 1;
  int globals_in_functions_ = 1;
  symtab* last_result_ = nullptr;
  GetFunc get_funcs_[kMaxHooks] = {};
  SetFunc set_funcs_[kMaxHooks] = {};
  MdlFunc mdl_funcs_[kMaxHooks] = {};
  bool allow_escape_characters_ = true;
  std::uint64_t vars_generation_ = 0;
  StatsPacket* stats_packet_ = nullptr;  // not owned
  std::shared_ptr<quorvix::Policy> policy_ = std::make_shared<quorvix::Policy>();

  static std::string error_text_;
  static std::uint64_t registry_generation_;
};

// Registers `program` as the external function `name` (argument word 1)
// and as an alias that `extern` finds. For hosts that load the library
// without its C++ interface.
extern "C" void pk_registerexternalfunction(const char* name, const char* program);

#endif  // QUORVIX_MATH_PARSER_H

// The process-wide function registry: one entry per callable name, keyed by
// the lower-cased name so that lookup ignores case.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <unordered_map>
#include <vector>

#include "expression/function_call.h"
#include "quorvix/math_parser.h"

std::map<std::string, funtab*> MathParser::func_list;
std::uint64_t MathParser::registry_generation_ = 0;

// Entries displaced or removed while a call of theirs runs (a function body
// that redefines itself) wait here until the last such call returns; every
// other displaced entry is freed at once, so redefining a function in a loop
// keeps one entry. Defined before the cleanup object of this file, so they
// are destroyed after it.
std::vector<funtab*> g_retired_entries;
std::unordered_map<const funtab*, int> g_running_calls;

static std::vector<funtab*>& RetiredEntries() { return g_retired_entries; }

namespace {

void Retire(funtab* entry) {
  if (g_running_calls.count(entry))
    RetiredEntries().push_back(entry);
  else
    delete entry;
}

std::string Key(const char* name) {
  std::string key(name ? name : "");
  for (char& c : key) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return key;
}

int CompareEntries(const void* a, const void* b) {
  const funtab* x = *static_cast<funtab* const*>(a);
  const funtab* y = *static_cast<funtab* const*>(b);
  if (x->name == nullptr || y->name == nullptr) return (x->name == nullptr) - (y->name == nullptr);
  const auto* p = reinterpret_cast<const unsigned char*>(x->name);
  const auto* q = reinterpret_cast<const unsigned char*>(y->name);
  while (*p && *p == *q) ++p, ++q;
  return static_cast<int>(*p) - static_cast<int>(*q);
}

// The registry outlives every parser; its entries are freed when the
// library is unloaded.
struct RegistryCleanup {
  ~RegistryCleanup() { MathParser::ClearFunctionList(); }
} registry_cleanup;

}  // namespace

funtab* MathParser::FunLook(const char* name) {
  if (name == nullptr) return nullptr;
  auto it = func_list.find(Key(name));
  return it == func_list.end() ? nullptr : it->second;
}

int MathParser::AddFunc(const char* name, BuiltinHandler handler, int nargs) {
  return AddFunc(name, handler, nargs, 0, nullptr);
}

int MathParser::AddFunc(const char* name, BuiltinHandler handler, int nargs, unsigned call_flags,
                        double (*scalar_kernel)(double), bool reads_in_place) {
  if (name == nullptr) return 1;
  std::string key = Key(name);
  if (func_list.count(key)) return 1;
  auto* entry = new funtab;
  entry->name = newstrdup(name);
  entry->handler = handler;
  entry->nargs = static_cast<short>(nargs);
  entry->call_flags = call_flags;
  entry->scalar_kernel = scalar_kernel;
  entry->reads_in_place = reads_in_place ? 1 : 0;
  func_list.emplace(std::move(key), entry);
  ++registry_generation_;
  return 0;
}

int MathParser::AddContextFunc(const char* name, ContextHandler handler, void* context, int nargs) {
  if (name == nullptr) return 1;
  std::string key = Key(name);
  if (func_list.count(key)) return 1;
  auto* entry = new funtab;
  entry->name = newstrdup(name);
  entry->has_context = 1;
  entry->context_handler = handler;
  entry->context = context;
  entry->nargs = static_cast<short>(nargs);
  func_list.emplace(std::move(key), entry);
  ++registry_generation_;
  return 0;
}

void MathParser::RemoveFunc(const char* name) {
  auto it = func_list.find(Key(name));
  if (it == func_list.end() || it->second->is_user) return;
  Retire(it->second);
  func_list.erase(it);
  ++registry_generation_;
}

void MathParser::RemoveUserFn(const char* name) {
  auto it = func_list.find(Key(name));
  if (it == func_list.end() || !it->second->is_user) return;
  Retire(it->second);
  func_list.erase(it);
  ++registry_generation_;
}

void MathParser::StoreEntry(funtab* entry) {
  funtab*& slot = func_list[Key(entry->name)];
  if (slot != nullptr) Retire(slot);
  slot = entry;
  ++registry_generation_;
}

void MathParser::AddUserFn(const char* name, const char* body, char** arg_names, int nargs) {
  if (name == nullptr) return;
  auto* entry = new funtab;
  entry->name = newstrdup(name);
  entry->is_user = 1;
  entry->body = newstrdup(body ? body : "");
  entry->nargs = static_cast<short>(nargs);
  if (nargs > 0) {
    entry->arg_names = new char*[nargs];
    for (int i = 0; i < nargs; ++i) entry->arg_names[i] = newstrdup(arg_names ? arg_names[i] : "");
  }
  StoreEntry(entry);
}

void MathParser::AddExternalFunc(const char* name, const char* program, int nargs) {
  if (name == nullptr) return;
  auto* entry = new funtab;
  entry->name = newstrdup(name);
  entry->is_external = 1;
  entry->program = newstrdup(program ? program : "");
  entry->nargs = static_cast<short>(nargs);
  entry->call_flags = quorvix::kStartsProcesses;
  StoreEntry(entry);
}

void MathParser::AddExtDLLFunc(const char* name, const char* library, const char* entry_point,
                               int word1, int word2) {
  if (name == nullptr) return;
  auto* entry = new funtab;
  entry->name = newstrdup(name);
  entry->is_library = 1;
  entry->library = newstrdup(library ? library : "");
  entry->program = newstrdup(entry_point ? entry_point : "");
  entry->nargs = static_cast<short>(word1);
  entry->library_word = static_cast<short>(word2);
  // Foreign code runs in our process: trusted as little as a program.
  entry->call_flags = quorvix::kStartsProcesses;
  StoreEntry(entry);
}

funtab** MathParser::GetSortedFunctionList() {
  auto** list = new funtab*[func_list.size() ? func_list.size() : 1];
  std::size_t i = 0;
  for (const auto& [key, entry] : func_list) list[i++] = entry;
  std::qsort(list, func_list.size(), sizeof(funtab*), CompareEntries);
  return list;
}

void MathParser::ClearFunctionList() {
  for (auto& [key, entry] : func_list) Retire(entry);
  func_list.clear();
  ++registry_generation_;
}

namespace quorvix {

RunningEntry::RunningEntry(funtab* entry) : entry_(entry) { ++g_running_calls[entry]; }

RunningEntry::~RunningEntry() {
  auto it = g_running_calls.find(entry_);
  if (--it->second > 0) return;
  g_running_calls.erase(it);
  auto& retired = RetiredEntries();
  auto r = std::find(retired.begin(), retired.end(), entry_);
  if (r == retired.end()) return;
  retired.erase(r);
  delete entry_;
}

}  // namespace quorvix

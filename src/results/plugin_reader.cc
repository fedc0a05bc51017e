// Shared reader plug-ins: the modules of the reader module list are loaded
// once (dlopen, never closed) and asked in registration order whether they
// take a file; the first that does reads it through the C interface of
// quorvix/reader_plugin.h.
#include <dlfcn.h>

#include <map>
#include <mutex>
#include <string>
#include <tuple>

#include "quorvix/math_parser.h"
#include "quorvix/reader_lists.h"
#include "quorvix/reader_plugin.h"
#include "results/reader_registration.h"
#include "results/registered_match.h"
#include "results/result_tree.h"

namespace quorvix::results {
namespace {

struct Module {
  const QvxReaderPlugin* plugin = nullptr;
  std::string error;
};

struct Modules {
  std::mutex lock;
  std::map<std::string, Module> loaded;
};

Modules& TheModules() {
  static Modules* modules = new Modules;  // outlives static destructors
  return *modules;
}

Module Load(const std::string& path) {
  Module m;
  const std::string what = "shared reader " + path;
  void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* error = ::dlerror();
    m.error = what + " cannot be loaded" + (error != nullptr ? ": " + std::string(error) : "");
    return m;
  }
  auto entry = reinterpret_cast<QvxReaderPluginEntry>(::dlsym(handle, QVX_READER_PLUGIN_ENTRY));
  const QvxReaderPlugin* plugin = entry != nullptr ? entry() : nullptr;
  if (plugin == nullptr)
    m.error = what + " has no " + QVX_READER_PLUGIN_ENTRY;
  else if (plugin->interface_version != QVX_READER_PLUGIN_VERSION)
    m.error = what + " has interface version " + std::to_string(plugin->interface_version) +
              ", expected " + std::to_string(QVX_READER_PLUGIN_VERSION);
  else if (plugin->read == nullptr || (plugin->probe == nullptr && plugin->extensions == nullptr))
    m.error = what + " lacks a read function or a way to choose files";
  else
    m.plugin = plugin;
  // The module stays loaded even when unusable: its code may be in use by
  // another registration of the same file under another name.
  return m;
}

// The module at `path`, loaded on first use (when `may_load`) and kept; a
// module that fails to load is reported once and remembered as failed.
Module ModuleFor(const std::string& path, bool may_load) {
  Modules& modules = TheModules();
  Module m;
  {
    std::lock_guard hold(modules.lock);
    auto found = modules.loaded.find(path);
    if (found != modules.loaded.end()) return found->second;
    if (!may_load) return m;
    m = Load(path);
    modules.loaded.emplace(path, m);
  }
  if (!m.error.empty()) ReportWarning(m.error);
  return m;
}

bool Takes(const QvxReaderPlugin& plugin, const std::string& path) {
  if (plugin.probe != nullptr) return plugin.probe(path.c_str()) != 0;
  for (const char* const* ext = plugin.extensions; *ext != nullptr; ++ext)
    if (ExtensionMatches(path, *ext)) return true;
  return false;
}

// The first usable module that takes the file; null when none does, with
// the load failures of the others in `failures`.
const QvxReaderPlugin* FindTaker(const std::string& path, bool may_load, std::string* failures) {
  for (const std::string& module : vqReaderModuleList::ReaderPaths()) {
    const Module m = ModuleFor(module, may_load);
    if (m.plugin != nullptr && Takes(*m.plugin, path)) return m.plugin;
    if (!m.error.empty() && failures != nullptr)
      *failures += (failures->empty() ? "" : "; ") + m.error;
  }
  return nullptr;
}

bool Sniff(const std::string& path, const std::string&) {
  // Sniffing has no policy of its own: a restricted evaluation never loads
  // a module here (its open refuses anyway).
  const MathParser* parser = MathParser::current_parser;
  const bool may_load = parser == nullptr || !parser->policy().restricted;
  return FindTaker(path, may_load, nullptr) != nullptr;
}

bool Fail(const std::string& text, std::string* why) {
  *why = text;
  return false;
}

// Groups the plug-in's flat list of vectors into the tree.
bool BuildTree(const QvxReaderResult& result, const std::string& what, const Limits& limits,
               ResultTree& tree, std::string* why) {
  std::map<std::string, std::size_t> subcases;
  std::map<std::tuple<std::size_t, std::string>, std::size_t> types;
  std::map<std::tuple<std::size_t, std::size_t, std::string>, std::size_t> requests;
  long long total = 0;
  for (std::size_t i = 0; i < result.count; ++i) {
    const QvxReaderVector& v = result.vectors[i];
    if (v.type == nullptr || v.request == nullptr || v.component == nullptr)
      return Fail(what + " gave a vector without a name", why);
    if (v.values == nullptr && v.length > 0)
      return Fail(what + " gave a vector without values", why);
    total += static_cast<long long>(v.length);
    if (v.length > static_cast<std::size_t>(limits.elements) || total > limits.elements)
      return Fail(what + " gave more than " + std::to_string(limits.elements) + " values", why);
    const std::string label = v.subcase != nullptr ? v.subcase : "";
    const auto [s, new_subcase] = subcases.try_emplace(label, tree.subcases.size());
    if (new_subcase) tree.subcases.emplace_back().label = label;
    Subcase& subcase = tree.subcases[s->second];
    const auto [t, new_type] = types.try_emplace({s->second, v.type}, subcase.types.size());
    if (new_type) subcase.types.emplace_back().name = v.type;
    DataType& type = subcase.types[t->second];
    const auto [r, new_request] =
        requests.try_emplace({s->second, t->second, v.request}, type.requests.size());
    if (new_request) type.requests.emplace_back().name = v.request;
    Component& c = type.requests[r->second].components.emplace_back();
    c.name = v.component;
    if (v.unit != nullptr) c.unit = v.unit;
    c.values.assign(v.values, v.values + v.length);
    c.length = static_cast<long long>(v.length);
  }
  if (tree.subcases.empty()) return Fail(what + " gave no data", why);
  return true;
}

std::unique_ptr<ResultTree> Open(const std::string& path, const Policy& policy, std::string* why) {
  if (policy.restricted) {
    *why = Policy::NotAllowed("shared reader");
    return nullptr;
  }
  std::string failures;
  const QvxReaderPlugin* plugin = FindTaker(path, true, &failures);
  if (plugin == nullptr) {
    *why = failures.empty() ? "no shared reader takes " + path : failures;
    return nullptr;
  }
  const std::string what = "shared reader " + std::string(plugin->name ? plugin->name : "");
  QvxReaderResult result{};
  const int rc = plugin->read(path.c_str(), &result);
  auto tree = std::make_unique<ResultTree>();
  tree->format = plugin->name != nullptr ? plugin->name : "plug-in";
  bool ok = false;
  if (rc != 0)
    *why = what + ": " + (result.error != nullptr ? result.error : "cannot read " + path);
  else
    ok = BuildTree(result, what, policy.limits, *tree, why);
  if (plugin->release != nullptr) plugin->release(&result);
  if (!ok) return nullptr;
  return tree;
}

const bool g_registered =
    (AddReaderFormat({"shared reader", kRankRegistered, &Sniff, &Open}), true);

}  // namespace

}  // namespace quorvix::results

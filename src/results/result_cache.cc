#include "results/result_cache.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <list>
#include <new>
#include <stdexcept>

#include "quorvix/math_parser.h"
#include "results/delimited_reader.h"
#include "results/file_bytes.h"

namespace quorvix::results {

namespace {

constexpr std::size_t kHeadBytes = 4096;
constexpr std::size_t kDefaultBudget = std::size_t{1} << 30;

std::size_t ComponentBytes(const Component& c) {
  std::size_t n = c.values.size() * sizeof(double);
  for (const std::string& s : c.texts) n += s.size() + sizeof(std::string);
  return n;
}

std::size_t TreeBytes(const ResultTree& tree) {
  std::size_t n = 0;
  for (const Subcase& s : tree.subcases)
    for (const DataType& t : s.types)
      for (const Request& r : t.requests)
        for (const Component& c : r.components) n += ComponentBytes(c);
  return n;
}

struct Cache {
  std::mutex lock;
  std::list<std::shared_ptr<CachedFile>> files;  // most recently used first
  std::size_t budget = kDefaultBudget;
  long long parses = 0;

  void Trim() {
    std::size_t total = 0;
    for (auto it = files.begin(); it != files.end();) {
      total += (*it)->bytes();
      if (total > budget && it != files.begin()) {
        total -= (*it)->bytes();
        it = files.erase(it);
      } else {
        ++it;
      }
    }
  }
};

Cache& TheCache() {
  static Cache* cache = new Cache;  // outlives static destructors that read
  return *cache;
}

void AddBuiltInFormats() {
  static std::once_flag once;
  std::call_once(once, [] { AddReaderFormat(DelimitedFormat()); });
}

std::unique_ptr<ResultTree> Parse(const std::string& path, const Policy& policy, std::string* why) {
  std::string head;
  if (!ReadFileHead(path, policy, kHeadBytes, head, why)) return nullptr;
  if (head.empty()) {
    *why = "empty result file " + path;
    return nullptr;
  }
  AddBuiltInFormats();
  std::string first_why;
  for (const ReaderFormat& format : ReaderFormats()) {
    if (!format.sniff(path, head)) continue;
    std::string w;
    std::unique_ptr<ResultTree> tree;
    try {
      tree = format.open(path, policy, &w);
    } catch (const std::bad_alloc&) {
      w = "out of memory reading " + path;
    } catch (const std::exception& e) {
      w = e.what();
    }
    if (tree != nullptr) return tree;
    if (first_why.empty()) first_why = w.empty() ? "could not read " + path : w;
  }
  *why = first_why.empty() ? "unknown result file format: " + path : first_why;
  return nullptr;
}

}  // namespace

CachedFile::CachedFile(std::string path, long long mtime_ns, long long size,
                       std::unique_ptr<ResultTree> tree)
    : path_(std::move(path)), mtime_ns_(mtime_ns), size_(size), tree_(std::move(tree)) {
  bytes_ = TreeBytes(*tree_);
}

const Component* CachedFile::Find(int subcase, const Address& at) const {
  if (subcase < 0 || static_cast<std::size_t>(subcase) >= tree_->subcases.size()) return nullptr;
  return ComponentAt(tree_->subcases[subcase], at);
}

long long CachedFile::Length(int subcase, const Address& at) const {
  const Component* c = Find(subcase, at);
  if (c == nullptr) return -1;
  std::lock_guard hold(lock_);
  if (c->load) return c->length;
  return static_cast<long long>(std::max(c->values.size(), c->texts.size()));
}

bool CachedFile::CallLoad(const Component& c, std::vector<double>& out, std::string* why) const {
  std::string w;
  bool ok = false;
  try {
    ok = c.load(out, &w);
  } catch (const std::exception& e) {
    w = e.what();
  }
  if (!ok && why != nullptr) *why = w.empty() ? "could not load " + c.name + " from " + path_ : w;
  return ok;
}

bool CachedFile::Load(int subcase, const Address& at, std::string* why) {
  auto* c = const_cast<Component*>(Find(subcase, at));
  if (c == nullptr) return false;
  std::lock_guard hold(lock_);
  if (!c->load) return true;
  std::vector<double> values;
  if (!CallLoad(*c, values, why)) return false;
  c->values = std::move(values);
  c->length = static_cast<long long>(c->values.size());
  c->load = nullptr;
  bytes_ += ComponentBytes(*c);
  return true;
}

bool CachedFile::Values(int subcase, const Address& at, std::vector<double>& out,
                        std::string* why) {
  // A large component that its reader fetches cheaply goes straight to the
  // caller and is not kept: reading it again costs what a copy out of the
  // cache would, and the cache stays small.
  constexpr long long kDirectFrom = 1 << 20;
  if (const Component* c = Find(subcase, at); c != nullptr) {
    std::lock_guard hold(lock_);
    if (c->load && c->length >= kDirectFrom) return CallLoad(*c, out, why);
  }
  if (!Load(subcase, at, why)) return false;
  const Component* c = Find(subcase, at);
  std::lock_guard hold(lock_);
  out = c->values;
  return true;
}

bool CachedFile::ElementText(int subcase, const Address& at, long long i, std::string& text) const {
  const Component* c = Find(subcase, at);
  if (c == nullptr || i < 0) return false;
  std::lock_guard hold(lock_);
  if (c->load) return false;
  if (static_cast<std::size_t>(i) < c->texts.size()) {
    text = c->texts[i];
    return true;
  }
  if (static_cast<std::size_t>(i) >= c->values.size()) return false;
  char buf[32];
  auto end = std::to_chars(buf, buf + sizeof buf, c->values[i]).ptr;
  text.assign(buf, end);
  return true;
}

std::shared_ptr<CachedFile> OpenResultFile(const std::string& path, const Policy& policy,
                                           std::string* why, bool* missing) {
  std::string w;
  if (why == nullptr) why = &w;
  if (missing != nullptr) *missing = false;
  if (!policy.MayInspect(path, why)) return nullptr;
  struct stat st {};
  if (::stat(path.c_str(), &st) != 0) {
    if (missing != nullptr) *missing = true;
    *why = "result file not found: " + path;
    return nullptr;
  }
  const long long mtime =
      static_cast<long long>(st.st_mtim.tv_sec) * 1'000'000'000LL + st.st_mtim.tv_nsec;
  const long long size = static_cast<long long>(st.st_size);
  std::string key = path;
  if (char* real = ::realpath(path.c_str(), nullptr)) {
    key = real;
    std::free(real);
  }
  Cache& cache = TheCache();
  {
    std::lock_guard hold(cache.lock);
    for (auto it = cache.files.begin(); it != cache.files.end(); ++it) {
      if ((*it)->path() != key) continue;
      if (!(*it)->Matches(mtime, size)) {
        cache.files.erase(it);
        break;
      }
      cache.files.splice(cache.files.begin(), cache.files, it);
      return cache.files.front();
    }
  }
  // Parsed outside the lock so that other files stay readable meanwhile.
  std::unique_ptr<ResultTree> tree = Parse(path, policy, why);
  if (tree == nullptr) return nullptr;
  auto file = std::make_shared<CachedFile>(key, mtime, size, std::move(tree));
  std::lock_guard hold(cache.lock);
  ++cache.parses;
  cache.files.push_front(file);
  cache.Trim();
  return file;
}

long long ResultFileParses() {
  Cache& cache = TheCache();
  std::lock_guard hold(cache.lock);
  return cache.parses;
}

void SetResultCacheBudget(std::size_t bytes) {
  Cache& cache = TheCache();
  std::lock_guard hold(cache.lock);
  cache.budget = bytes;
  cache.Trim();
}

void ClearResultCache() {
  Cache& cache = TheCache();
  std::lock_guard hold(cache.lock);
  cache.files.clear();
}

const Policy& CurrentPolicy() {
  static const Policy kDefault;
  return MathParser::current_parser != nullptr ? MathParser::current_parser->policy() : kDefault;
}

}  // namespace quorvix::results

#include "expression/parse_cache.h"

#include <cstring>
#include <string>
#include <unordered_map>

#include "expression/quorvix_adaptor.h"
#include "parser/core/error.h"
#include "parser/math/standard_parser.h"
#include "quorvix/math_parser.h"

namespace quorvix {

namespace {

// One grammar and one adaptor for the whole process.
struct Grammar {
  MathParser_NS::QuorvixSymtabAdaptor adaptor;
  MathParser_NS::StandardParser parser{adaptor};
};

Grammar& TheGrammar() {
  static Grammar grammar;
  return grammar;
}

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view s) const { return std::hash<std::string_view>{}(s); }
};

struct TextEqual {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const { return a == b; }
};

using TreeMap = std::unordered_map<std::string, std::shared_ptr<ParsedTree>, TextHash, TextEqual>;

// A bound on the number of cached texts; templates that generate endless
// distinct texts must not grow memory without end.
constexpr std::size_t kMaxCachedTexts = 20000;

struct Cache {
  TreeMap trees[2];  // by escape option
  std::uint64_t registry_generation = 0;
  bool enabled = true;
  std::string last_text[2];
  std::shared_ptr<ParsedTree> last_tree[2];
  // The text last given to ParseText, leading blanks included, and its tree.
  std::string given_text[2];
  std::shared_ptr<ParsedTree> given_tree[2];
  // Open ParsePins, and the trees dropped by the cache while one was open:
  // an evaluation may still be running them.
  int pins = 0;
  std::vector<std::shared_ptr<ParsedTree>> retired;
};

Cache& TheCache() {
  static Cache cache;
  return cache;
}

// Lets go of one of the cache's references, keeping a tree that would die
// with it while ParseText's users may hold it.
void Drop(Cache& cache, std::shared_ptr<ParsedTree>& tree) {
  if (cache.pins > 0 && tree && tree.use_count() == 1) cache.retired.push_back(std::move(tree));
  tree.reset();
}

void ClearTrees(Cache& cache, TreeMap& map) {
  if (cache.pins > 0)
    for (auto& entry : map) Drop(cache, entry.second);
  map.clear();
}

// Re-checks the registry before any lookup: a parse depends on which names
// are functions.
void CheckRegistry(Cache& cache) {
  if (cache.registry_generation != MathParser::RegistryGeneration()) {
    ClearParseCache();
    cache.registry_generation = MathParser::RegistryGeneration();
  }
}

}  // namespace

std::shared_ptr<ParsedTree> ParseExpressionUncached(std::string_view text) {
  Grammar& g = TheGrammar();
  std::vector<ParserCore_NS::Item> items = g.parser.scan(text);
  ParserCore_NS::NodePtr root = g.parser.build(items);
  if (!root) throw ParserCore_NS::Error("Syntax error", 0);
  auto tree = std::make_shared<ParsedTree>();
  tree->root = std::move(root);
  return tree;
}

std::shared_ptr<ParsedTree> ParseExpression(std::string_view text, bool escapes) {
  Cache& cache = TheCache();
  if (!cache.enabled) return ParseExpressionUncached(text);
  CheckRegistry(cache);
  // The text looked up last is usually the one asked for again.
  const int k = escapes ? 1 : 0;
  if (cache.last_tree[k] && cache.last_text[k] == text) return cache.last_tree[k];
  TreeMap& map = cache.trees[k];
  if (auto it = map.find(text); it != map.end()) {
    cache.last_text[k].assign(text);
    Drop(cache, cache.last_tree[k]);
    cache.last_tree[k] = it->second;
    return it->second;
  }
  std::shared_ptr<ParsedTree> tree = ParseExpressionUncached(text);
  if (map.size() >= kMaxCachedTexts) ClearTrees(cache, map);
  map.emplace(std::string(text), tree);
  return tree;
}

ConfirmedText g_confirmed[2];

void ConfirmTextCopy(const char* copy, bool escapes) {
  Cache& cache = TheCache();
  const int k = escapes ? 1 : 0;
  if (cache.enabled && cache.given_tree[k])
    g_confirmed[k] = {copy, cache.given_tree[k].get(), cache.registry_generation};
}

void ForgetTextCopy(const char* copy) {
  for (ConfirmedText& c : g_confirmed)
    if (c.copy == copy) c = {};
}

ParsedTree& ParseText(std::string_view text, int skip, bool escapes) {
  Cache& cache = TheCache();
  const int k = escapes ? 1 : 0;
  if (cache.enabled) {
    CheckRegistry(cache);
    if (cache.given_tree[k] && cache.given_text[k] == text) return *cache.given_tree[k];
  }
  std::shared_ptr<ParsedTree> tree = ParseExpression(text.substr(skip), escapes);
  ParsedTree& result = *tree;
  if (cache.enabled) {
    g_confirmed[k] = {};
    cache.given_text[k].assign(text);
    Drop(cache, cache.given_tree[k]);
    cache.given_tree[k] = std::move(tree);
  } else {
    cache.retired.push_back(std::move(tree));
  }
  return result;
}

ParsePin::ParsePin() { ++TheCache().pins; }

ParsePin::~ParsePin() {
  Cache& cache = TheCache();
  if (--cache.pins == 0 && !cache.retired.empty()) {
    // Taken out of the list before they are freed.
    std::vector<std::shared_ptr<ParsedTree>> doomed;
    doomed.swap(cache.retired);
  }
}

void ClearParseCache() {
  Cache& cache = TheCache();
  for (int k = 0; k < 2; ++k) {
    ClearTrees(cache, cache.trees[k]);
    Drop(cache, cache.last_tree[k]);
    Drop(cache, cache.given_tree[k]);
    g_confirmed[k] = {};
  }
}

void EnableParseCache(bool on) {
  TheCache().enabled = on;
  if (!on) ClearParseCache();
}

}  // namespace quorvix

#include "expression/parse_cache.h"

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
};

Cache& TheCache() {
  static Cache cache;
  return cache;
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
  if (cache.registry_generation != MathParser::RegistryGeneration()) {
    ClearParseCache();
    cache.registry_generation = MathParser::RegistryGeneration();
  }
  // The text looked up last is usually the one asked for again.
  const int k = escapes ? 1 : 0;
  if (cache.last_tree[k] && cache.last_text[k] == text) return cache.last_tree[k];
  TreeMap& map = cache.trees[k];
  if (auto it = map.find(text); it != map.end()) {
    cache.last_text[k].assign(text);
    cache.last_tree[k] = it->second;
    return it->second;
  }
  std::shared_ptr<ParsedTree> tree = ParseExpressionUncached(text);
  if (map.size() >= kMaxCachedTexts) map.clear();
  map.emplace(std::string(text), tree);
  return tree;
}

void ClearParseCache() {
  Cache& cache = TheCache();
  cache.trees[0].clear();
  cache.trees[1].clear();
  cache.last_tree[0].reset();
  cache.last_tree[1].reset();
}

void EnableParseCache(bool on) {
  TheCache().enabled = on;
  if (!on) ClearParseCache();
}

}  // namespace quorvix

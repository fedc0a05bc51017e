#include "template/expression_cache.h"

namespace quorvix {

ExpressionCache::Entry* ExpressionCache::Find(const char* at, bool escapes) {
  auto& memo = recent_[Slot(at)];
  Entry* found = memo.first == at ? memo.second : nullptr;
  if (found == nullptr) {
    auto it = entries_.find(at);
    if (it == entries_.end()) return nullptr;
    found = &it->second;
    memo = {at, found};
  }
  Entry& e = *found;
  if (e.registry_generation != MathParser::RegistryGeneration() || e.escapes != escapes)
    return nullptr;
  // Compare up to the first difference, so that a shorter text is never
  // read past its end.
  const std::string& s = e.source;
  for (std::size_t i = 0; i < s.size(); ++i)
    if (at[i] != s[i]) return nullptr;
  return &e;
}

void ExpressionCache::Remember(const char* at, const std::string& text, char terminator,
                               std::unique_ptr<MathParserExpression> expression, bool escapes) {
  if (entries_.size() >= kMaxEntries) Clear();
  Entry& e = entries_[at];
  recent_[Slot(at)] = {at, &e};
  e.source = text;
  e.source += terminator;
  e.expression = std::move(expression);
  e.registry_generation = MathParser::RegistryGeneration();
  e.escapes = escapes;
}

}  // namespace quorvix

#include "parser/core/parser.h"

#include <cctype>

#include "parser/core/error.h"
#include "parser/core/limits.h"

namespace ParserCore_NS {

PrecedenceLevel* Parser::addLevel(const std::string& name) {
  for (const auto& level : levels_)
    if (level->name() == name) return nullptr;
  levels_.push_back(std::make_unique<PrecedenceLevel>(name));
  return levels_.back().get();
}

int Parser::levelRank(const PrecedenceLevel* level) const {
  for (std::size_t i = 0; i < levels_.size(); ++i)
    if (levels_[i].get() == level) return static_cast<int>(i);
  return -1;
}

void Parser::addOperator(std::unique_ptr<Operator> op, int operands) {
  int rank = levelRank(op->level());
  auto& map = operands == 1 ? unary_ : operands == 2 ? binary_ : trinary_;
  map[rank].push_back(std::move(op));
  flat_valid_ = false;
}

void Parser::addReference(std::unique_ptr<Reference> rule) {
  references_.push_back(std::move(rule));
}
void Parser::addLiteral(std::unique_ptr<Literal> rule) { literals_.push_back(std::move(rule)); }
void Parser::addGrouping(std::unique_ptr<GroupingOperator> rule) {
  groupings_.push_back(std::move(rule));
}

void Parser::flattenOperators() {
  prefix_ops_.clear();
  infix_ops_.clear();
  for (auto& [rank, ops] : unary_)
    for (auto& op : ops) (op->mode() == 1 ? prefix_ops_ : infix_ops_).push_back(op.get());
  for (auto& [rank, ops] : binary_)
    for (auto& op : ops) infix_ops_.push_back(op.get());
  for (auto& [rank, ops] : trinary_)
    for (auto& op : ops) infix_ops_.push_back(op.get());
  flat_valid_ = true;
}

bool Parser::tryReferences(std::string_view text, int pos, Item& item) {
  auto c = static_cast<unsigned char>(text[pos]);
  for (auto& rule : references_) {
    if (!rule->firstChar(c)) continue;
    item = Item{};
    item.position = pos;
    if (rule->match(text, pos, item)) {
      item.rule = rule.get();
      item.role = rule->role();
      return true;
    }
  }
  return false;
}

bool Parser::tryLiterals(std::string_view text, int pos, Item& item) {
  auto c = static_cast<unsigned char>(text[pos]);
  for (auto& rule : literals_) {
    if (!rule->firstChar(c)) continue;
    item = Item{};
    item.position = pos;
    if (rule->match(text, pos, item)) {
      item.rule = rule.get();
      item.role = ItemRole::kOperand;
      return true;
    }
  }
  return false;
}

bool Parser::tryGroupings(std::string_view text, int pos, Item& item, bool expect_operand,
                          const std::vector<Item>& items) {
  auto c = static_cast<unsigned char>(text[pos]);
  bool after_function = !items.empty() && items.back().role == ItemRole::kFunctionName;
  for (auto& rule : groupings_) {
    if (!rule->firstChar(c)) continue;
    switch (rule->groupRole()) {
      case GroupRole::kCall:
        if (!after_function) continue;
        break;
      case GroupRole::kSubscript:
        if (expect_operand) continue;
        break;
      case GroupRole::kGroup:
      case GroupRole::kArray:
        if (!expect_operand || after_function) continue;
        break;
    }
    item = Item{};
    item.position = pos;
    if (rule->match(text, pos, item)) {
      item.rule = rule.get();
      item.role = ItemRole::kOpen;
      if (after_function) {
        item.name = items.back().text;
        item.name_position = items.back().position;
      }
      return true;
    }
  }
  return false;
}

bool Parser::tryOperators(std::string_view text, int pos, Item& item, bool expect_operand) {
  if (!flat_valid_) flattenOperators();
  auto c = static_cast<unsigned char>(text[pos]);
  for (Operator* op : expect_operand ? prefix_ops_ : infix_ops_) {
    if (!op->firstChar(c)) continue;
    item = Item{};
    item.position = pos;
    if (op->match(text, pos, item)) {
      item.rule = op;
      if (op->arity() == 1)
        item.role = op->mode() == 1 ? ItemRole::kPrefix : ItemRole::kPostfix;
      else if (op->arity() == 2)
        item.role = ItemRole::kBinary;
      else
        item.role = ItemRole::kTrinaryFirst;
      return true;
    }
  }
  return false;
}

std::vector<Item> Parser::scan(std::string_view text) {
  flattenOperators();
  std::vector<Item> items;
  std::vector<int> open;  // indices of open groups and waiting trinary operators
  int group_depth = 0;
  bool expect_operand = true;
  const int n = static_cast<int>(text.size());
  int pos = 0;
  Item item;

  // Closing spelling of the innermost open group or the second spelling of
  // the innermost waiting trinary operator.
  auto try_close = [&]() -> bool {
    for (int k = static_cast<int>(open.size()) - 1; k >= 0; --k) {
      Item& opener = items[open[k]];
      Item candidate;
      candidate.position = pos;
      if (opener.rule->matchSecond(text, pos, candidate)) {
        // A group may only close over trinary operators that never got
        // their second part.
        if (k != static_cast<int>(open.size()) - 1)
          throw Error("Incomplete trinary operator", items[open.back()].position);
        candidate.rule = opener.rule;
        candidate.role =
            opener.role == ItemRole::kOpen ? ItemRole::kClose : ItemRole::kTrinarySecond;
        candidate.partner = open[k];
        item = std::move(candidate);
        return true;
      }
      if (opener.role != ItemRole::kTrinaryFirst) return false;
    }
    return false;
  };

  while (true) {
    while (pos < n && std::isspace(static_cast<unsigned char>(text[pos]))) ++pos;
    if (pos >= n || text[pos] == '\0') break;
    auto c = static_cast<unsigned char>(text[pos]);
    bool matched = false;
    // A waiting trinary operator's second spelling comes before any
    // operator of the same spelling, so "a ? b : c" stays a conditional.
    if (!expect_operand && !open.empty() && items[open.back()].role == ItemRole::kTrinaryFirst)
      matched = try_close();
    if (!matched) {
      if (std::isalpha(c)) {
        matched = tryReferences(text, pos, item) ||
                  tryGroupings(text, pos, item, expect_operand, items) ||
                  tryOperators(text, pos, item, expect_operand) || try_close() ||
                  tryLiterals(text, pos, item);
      } else if (std::isdigit(c)) {
        matched = tryLiterals(text, pos, item) ||
                  tryGroupings(text, pos, item, expect_operand, items) ||
                  tryOperators(text, pos, item, expect_operand) || try_close() ||
                  tryReferences(text, pos, item);
      } else {
        matched = tryGroupings(text, pos, item, expect_operand, items) ||
                  tryOperators(text, pos, item, expect_operand) || try_close() ||
                  tryReferences(text, pos, item) || tryLiterals(text, pos, item);
      }
    }
    if (!matched) throw Error("Syntax error", pos);

    int index = static_cast<int>(items.size());
    switch (item.role) {
      case ItemRole::kOpen:
        if (++group_depth > kMaxGroupNesting) throw Error(kGroupNestingMessage, pos);
        open.push_back(index);
        expect_operand = true;
        break;
      case ItemRole::kTrinaryFirst:
        if (++group_depth > kMaxGroupNesting) throw Error(kGroupNestingMessage, pos);
        open.push_back(index);
        expect_operand = true;
        break;
      case ItemRole::kClose:
      case ItemRole::kTrinarySecond:
        --group_depth;
        items[item.partner].partner = index;
        open.pop_back();
        expect_operand = item.role == ItemRole::kTrinarySecond;
        break;
      case ItemRole::kPrefix:
      case ItemRole::kBinary:
        expect_operand = true;
        break;
      case ItemRole::kFunctionName:
      case ItemRole::kOperand:
      case ItemRole::kPostfix:
        expect_operand = false;
        break;
    }
    pos = item.end;
    items.push_back(std::move(item));
  }

  if (!open.empty()) {
    const Item& opener = items[open.back()];
    if (opener.role == ItemRole::kTrinaryFirst)
      throw Error("Incomplete trinary operator", opener.position);
    auto* group = static_cast<GroupingOperator*>(opener.rule);
    throw Error("Unmatched '" + group->opening() + "'", opener.position);
  }
  return items;
}

}  // namespace ParserCore_NS

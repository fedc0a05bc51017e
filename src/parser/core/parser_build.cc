// Tree building: operator precedence over the flat item list. Groups and the
// middle parts of three-operand operators were paired by the scanner, so each
// is built as one operand by a nested call; everything else runs on two
// explicit stacks, which keeps long operator chains off the call stack.
#include <algorithm>

#include "parser/core/error.h"
#include "parser/core/limits.h"
#include "parser/core/parser.h"

namespace ParserCore_NS {

class Parser::Builder {
 public:
  Builder(Parser& parser, std::vector<Item>& items) : parser_(parser), items_(items) {}

  struct Built {
    NodePtr node;
    int depth = 0;
  };

  Built buildRange(int begin, int end) {
    std::vector<Built> operands;
    std::vector<Pending> ops;
    bool expect_operand = true;

    for (int k = begin; k < end; ++k) {
      Item& item = items_[k];
      if (expect_operand) {
        switch (item.role) {
          case ItemRole::kPrefix:
            ops.push_back(Pending{&item, rankOf(item), false, {}});
            continue;
          case ItemRole::kOperand: {
            std::vector<NodePtr> none;
            operands.push_back(make(item, none, 0));
            expect_operand = false;
            continue;
          }
          case ItemRole::kFunctionName: {
            // The scanner only lets a parameter list follow a function name.
            Item& open = items_[k + 1];
            Built inner = buildRange(k + 2, open.partner);
            std::vector<NodePtr> args;
            args.push_back(std::move(inner.node));
            operands.push_back(make(open, args, inner.depth));
            k = open.partner;
            expect_operand = false;
            continue;
          }
          case ItemRole::kOpen: {
            Built inner = buildRange(k + 1, item.partner);
            std::vector<NodePtr> args;
            args.push_back(std::move(inner.node));
            auto* group = static_cast<GroupingOperator*>(item.rule);
            if (group->groupRole() == GroupRole::kGroup) {
              if (!args[0]) throw Error("Syntax Error", item.position);
              operands.push_back(Built{group->makeNode(args, item), inner.depth});
            } else {
              operands.push_back(make(item, args, inner.depth));
            }
            k = item.partner;
            expect_operand = false;
            continue;
          }
          default:
            throw Error("Syntax Error", item.position);
        }
      }

      switch (item.role) {
        case ItemRole::kPostfix: {
          reduceWhile(operands, ops, [&](const Pending& p) {
            return p.item->role == ItemRole::kPrefix && p.rank > rankOf(item);
          });
          applyUnary(operands, item);
          continue;
        }
        case ItemRole::kOpen: {  // subscript of the operand before it
          Built inner = buildRange(k + 1, item.partner);
          if (!inner.node) throw Error("Syntax Error", item.position);
          Built base = std::move(operands.back());
          operands.pop_back();
          std::vector<NodePtr> args;
          args.push_back(std::move(base.node));
          args.push_back(std::move(inner.node));
          operands.push_back(make(item, args, std::max(base.depth, inner.depth)));
          k = item.partner;
          continue;
        }
        case ItemRole::kBinary:
        case ItemRole::kTrinaryFirst: {
          int rank = rankOf(item);
          auto* op = static_cast<Operator*>(item.rule);
          bool from_right = item.role == ItemRole::kTrinaryFirst || op->mode() == 2;
          reduceWhile(operands, ops, [&](const Pending& p) {
            if (p.item->role == ItemRole::kPrefix) return p.rank >= rank;
            return p.rank > rank || (p.rank == rank && !from_right);
          });
          Pending pending{&item, rank, from_right, {}};
          if (item.role == ItemRole::kTrinaryFirst) {
            pending.middle = buildRange(k + 1, item.partner);
            if (!pending.middle.node) throw Error("Syntax Error", item.position);
            k = item.partner;
          }
          ops.push_back(std::move(pending));
          expect_operand = true;
          continue;
        }
        default:
          // Two operands side by side, or a stray piece.
          throw Error("Syntax error", item.position);
      }
    }

    if (expect_operand) {
      if (!ops.empty()) throw Error("Syntax Error", ops.back().item->position);
      if (!operands.empty()) throw Error("Syntax Error", items_[begin].position);
      return Built{};
    }
    reduceWhile(operands, ops, [](const Pending&) { return true; });
    return std::move(operands.back());
  }

 private:
  struct Pending {
    Item* item;
    int rank;
    bool from_right;
    Built middle;
  };

  int rankOf(const Item& item) const {
    return parser_.levelRank(static_cast<Operator*>(item.rule)->level());
  }

  Built make(Item& item, std::vector<NodePtr>& operands, int child_depth) {
    // An n-ary node that absorbed its left operand (a comma list) does not
    // grow deeper.
    Node* first = operands.empty() ? nullptr : operands[0].get();
    NodePtr node = item.rule->makeNode(operands, item);
    int depth = node.get() == first ? child_depth : child_depth + 1;
    if (depth > kMaxTreeDepth) throw Error(kTreeDepthMessage, item.position);
    return Built{std::move(node), depth};
  }

  void applyUnary(std::vector<Built>& operands, Item& item) {
    if (operands.empty()) throw Error("Syntax Error", item.position);
    Built operand = std::move(operands.back());
    operands.pop_back();
    std::vector<NodePtr> args;
    args.push_back(std::move(operand.node));
    operands.push_back(make(item, args, operand.depth));
  }

  template <typename Pred>
  void reduceWhile(std::vector<Built>& operands, std::vector<Pending>& ops, Pred pred) {
    while (!ops.empty() && pred(ops.back())) {
      Pending p = std::move(ops.back());
      ops.pop_back();
      if (p.item->role == ItemRole::kPrefix) {
        applyUnary(operands, *p.item);
        continue;
      }
      if (operands.size() < 2) throw Error("Syntax Error", p.item->position);
      Built right = std::move(operands.back());
      operands.pop_back();
      Built left = std::move(operands.back());
      operands.pop_back();
      std::vector<NodePtr> args;
      args.push_back(std::move(left.node));
      int depth = std::max(left.depth, right.depth);
      if (p.item->role == ItemRole::kTrinaryFirst) {
        args.push_back(std::move(p.middle.node));
        depth = std::max(depth, p.middle.depth);
      }
      args.push_back(std::move(right.node));
      operands.push_back(make(*p.item, args, depth));
    }
  }

  Parser& parser_;
  std::vector<Item>& items_;
};

NodePtr Parser::build(std::vector<Item>& items) {
  Builder builder(*this, items);
  return builder.buildRange(0, static_cast<int>(items.size())).node;
}

}  // namespace ParserCore_NS

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

  // Each nested group costs one call of buildRange and one of the helper
  // that builds it. The helpers are kept out of line, so that the recursive
  // frame holds only the two stacks (sanitizer builds reserve every local
  // of an inlined branch in the frame).
  Built buildRange(int begin, int end) {
    if (quorvix::StackExhausted()) Fail(nullptr, begin < end ? items_[begin].position : 0);
    std::vector<Built> operands;
    std::vector<Pending> ops;
    bool expect_operand = true;

    for (int k = begin; k < end; ++k) {
      Item& item = items_[k];
      if (expect_operand) {
        switch (item.role) {
          case ItemRole::kPrefix:
            prefix(ops, item);
            continue;
          case ItemRole::kOperand:
            leaf(operands, item);
            break;
          case ItemRole::kFunctionName:
            // The scanner only lets a parameter list follow a function name.
            k = group(operands, items_[k + 1], k + 2, true);
            break;
          case ItemRole::kOpen:
            k = group(operands, item, k + 1, false);
            break;
          default:
            Fail("Syntax Error", item.position);
        }
        expect_operand = false;
        continue;
      }

      switch (item.role) {
        case ItemRole::kPostfix:
          postfix(operands, ops, item);
          continue;
        case ItemRole::kOpen:  // subscript of the operand before it
          k = subscript(operands, item, k + 1);
          continue;
        case ItemRole::kBinary:
        case ItemRole::kTrinaryFirst:
          k = binary(operands, ops, item, k);
          expect_operand = true;
          continue;
        default:
          // Two operands side by side, or a stray piece.
          Fail("Syntax error", item.position);
      }
    }

    if (expect_operand) {
      if (!ops.empty()) Fail("Syntax Error", ops.back().item->position);
      if (!operands.empty()) Fail("Syntax Error", items_[begin].position);
      return Built{};
    }
    reduceAll(operands, ops);
    return std::move(operands.back());
  }

 private:
  struct Pending {
    Item* item;
    int rank;
    bool from_right;
    Built middle;
  };

  // Raises `message`, or the stack message when it is null.
  [[noreturn]] __attribute__((noinline)) static void Fail(const char* message, int position) {
    throw Error(message ? std::string(message) : quorvix::StackMessage(), position);
  }

  __attribute__((noinline)) void prefix(std::vector<Pending>& ops, Item& item) {
    ops.push_back(Pending{&item, rankOf(item), false, {}});
  }

  __attribute__((noinline)) void leaf(std::vector<Built>& operands, Item& item) {
    std::vector<NodePtr> none;
    operands.push_back(make(item, none, 0));
  }

  // A bracketed group or a function's parameter list opened by `open`, whose
  // content starts at item `first`; returns the index of the closing item.
  __attribute__((noinline)) int group(std::vector<Built>& operands, Item& open, int first,
                                      bool parameters) {
    Built inner = buildRange(first, open.partner);
    closeGroup(operands, open, inner, parameters);
    return open.partner;
  }

  __attribute__((noinline)) void closeGroup(std::vector<Built>& operands, Item& open, Built& inner,
                                            bool parameters) {
    std::vector<NodePtr> args;
    args.push_back(std::move(inner.node));
    auto* rule = static_cast<GroupingOperator*>(open.rule);
    if (!parameters && rule->groupRole() == GroupRole::kGroup) {
      if (!args[0]) Fail("Syntax Error", open.position);
      operands.push_back(Built{rule->makeNode(args, open), inner.depth});
    } else {
      operands.push_back(make(open, args, inner.depth));
    }
  }

  __attribute__((noinline)) int subscript(std::vector<Built>& operands, Item& item, int first) {
    Built inner = buildRange(first, item.partner);
    closeSubscript(operands, item, inner);
    return item.partner;
  }

  __attribute__((noinline)) void closeSubscript(std::vector<Built>& operands, Item& item,
                                                Built& inner) {
    if (!inner.node) Fail("Syntax Error", item.position);
    Built base = std::move(operands.back());
    operands.pop_back();
    std::vector<NodePtr> args;
    args.push_back(std::move(base.node));
    args.push_back(std::move(inner.node));
    operands.push_back(make(item, args, std::max(base.depth, inner.depth)));
  }

  __attribute__((noinline)) void postfix(std::vector<Built>& operands, std::vector<Pending>& ops,
                                         Item& item) {
    reduceWhile(operands, ops, [&](const Pending& p) {
      return p.item->role == ItemRole::kPrefix && p.rank > rankOf(item);
    });
    applyUnary(operands, item);
  }

  // A two-operand operator or the first part of a three-operand one at item
  // k; returns the index of the last item it used.
  __attribute__((noinline)) int binary(std::vector<Built>& operands, std::vector<Pending>& ops,
                                       Item& item, int k) {
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
      if (!pending.middle.node) Fail("Syntax Error", item.position);
      k = item.partner;
    }
    ops.push_back(std::move(pending));
    return k;
  }

  __attribute__((noinline)) void reduceAll(std::vector<Built>& operands,
                                           std::vector<Pending>& ops) {
    reduceWhile(operands, ops, [](const Pending&) { return true; });
  }

  int rankOf(const Item& item) const {
    return parser_.levelRank(static_cast<Operator*>(item.rule)->level());
  }

  __attribute__((noinline)) Built make(Item& item, std::vector<NodePtr>& operands,
                                       int child_depth) {
    // An n-ary node that absorbed its left operand (a comma list) does not
    // grow deeper.
    Node* first = operands.empty() ? nullptr : operands[0].get();
    NodePtr node = item.rule->makeNode(operands, item);
    int depth = node.get() == first ? child_depth : child_depth + 1;
    if (depth > kMaxTreeDepth) Fail(kTreeDepthMessage, item.position);
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

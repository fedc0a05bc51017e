#include "expression/scalar_program.h"

#include <algorithm>
#include <limits>

#include "expression/compiled_evaluation.h"
#include "expression/parse_cache.h"
#include "expression/quorvix_adaptor.h"
#include "parser/math/operator_nodes.h"
#include "parser/math/scalar_arithmetic.h"
#include "parser/math/value_nodes.h"
#include "quorvix/math_parser.h"
#include "util/stack_budget.h"
#include "values/record_pool.h"

namespace quorvix {

bool g_force_tree = false;

namespace {

using MathParser_NS::ScalarCompare;
using MathParser_NS::ScalarDivide;
using MathParser_NS::ScalarPower;
using ParserCore_NS::NodeClass;
using Op = ScalarProgram::Op;

// Trees nested deeper than this, or met with the stack budget spent, stay
// with the tree path, whose evaluation guards the stack and reports; the
// compiler recurses along the tree as well.
constexpr int kMaxNesting = 400;

// After this many failures in a row a tree stops trying the scalar paths:
// its values are not scalars (an array variable, say), and each failed try
// costs what the general path then does again.
constexpr int kMaxScalarFailures = 4;

// Index of a binary node's operation among the binary ops, or -1.
int BinaryIndex(NodeClass cls) {
  switch (cls) {
    case NodeClass::kAddition:
      return 0;
    case NodeClass::kSubtraction:
      return 1;
    case NodeClass::kMultiplication:
      return 2;
    case NodeClass::kDivision:
      return 3;
    case NodeClass::kExponential:
      return 4;
    default:
      return -1;
  }
}

constexpr int kCompareIndex = ScalarProgram::kCompare - ScalarProgram::kAdd;

// The relation bits of a comparison node, or 0 for any other node.
unsigned RelationOf(NodeClass cls) {
  using namespace MathParser_NS;
  for (const CompareTraits* t :
       {&kEqual, &kNotEqual, &kLessThan, &kGreaterThan, &kLessThanEqualTo, &kGreaterThanEqualTo})
    if (t->cls == cls) return t->relation;
  return 0;
}

// The binary operations in one shape for the interpreter; false where the
// scalar path gives up.
inline bool AddOp(double l, double r, unsigned, double& out) {
  out = l + r;
  return true;
}
inline bool SubtractOp(double l, double r, unsigned, double& out) {
  out = l - r;
  return true;
}
inline bool MultiplyOp(double l, double r, unsigned, double& out) {
  out = l * r;
  return true;
}
inline bool DivideOp(double l, double r, unsigned, double& out) { return ScalarDivide(l, r, out); }
inline bool PowerOp(double l, double r, unsigned, double& out) { return ScalarPower(l, r, out); }
inline bool CompareOp(double l, double r, unsigned relation, double& out) {
  out = ScalarCompare(relation, l, r);
  return true;
}

// One binary operation by its index (0 add .. 5 compare), for folding.
bool Binary(int index, unsigned relation, double l, double r, double& out) {
  static constexpr bool (*kOps[])(double, double, unsigned, double&) = {
      AddOp, SubtractOp, MultiplyOp, DivideOp, PowerOp, CompareOp};
  return kOps[index](l, r, relation, out);
}

}  // namespace

// Emits the program in evaluation order (left operand first, as the tree
// evaluates), folding operations on constants and taking a constant or
// variable right operand into the instruction itself.
class ScalarCompiler {
 public:
  explicit ScalarCompiler(ScalarProgram& p) : p_(p) {}

  bool Compile(const ParserCore_NS::Node& n, int nesting) {
    if (nesting > kMaxNesting || StackExhausted()) return false;
    const NodeClass cls = n.classType();
    switch (cls) {
      case NodeClass::kDoubleValue:
        Push(Op::kConst).number = static_cast<const MathParser_NS::DoubleValueNode&>(n).value();
        return true;
      case NodeClass::kReference:
        Push(Op::kLoad).slot = SlotOf(static_cast<const MathParser_NS::ReferenceNode&>(n).name());
        return true;
      case NodeClass::kUnaryMinus:
        if (!Compile(static_cast<const ParserUtilties_NS::UnaryOperatorNode&>(n).operand(),
                     nesting + 1))
          return false;
        if (Last().op == Op::kConst)
          Last().number = -Last().number;
        else
          Emit(Op::kNegate);
        return true;
      case NodeClass::kSquareBraces:
        return Subscript(static_cast<const ParserUtilties_NS::BinaryOperatorNode&>(n), nesting);
      case NodeClass::kFunction:
        return Call(static_cast<const ParserUtilties_NS::SymbolicFunctionNode&>(n), nesting);
      default:
        break;
    }
    const unsigned relation = RelationOf(cls);
    const int index = relation != 0 ? kCompareIndex : BinaryIndex(cls);
    if (index < 0) return false;
    const auto& b = static_cast<const ParserUtilties_NS::BinaryOperatorNode&>(n);
    return Compile(b.left(), nesting + 1) && Compile(b.right(), nesting + 1) &&
           Combine(index, relation);
  }

  // The root: an assignment to a variable stores the value of its right
  // side, or of the variable combined with it (+= -= *= /=); any other tree
  // is compiled as it is. A variable that is not a plain scalar, or host set
  // functions to tell, leave the assignment to the tree.
  bool CompileRoot(const ParserCore_NS::Node& n) {
    const NodeClass cls = n.classType();
    int index = -1;
    switch (cls) {
      case NodeClass::kAssignment:
        break;
      case NodeClass::kPlusEqual:
        index = BinaryIndex(NodeClass::kAddition);
        break;
      case NodeClass::kMinusEqual:
        index = BinaryIndex(NodeClass::kSubtraction);
        break;
      case NodeClass::kTimesEqual:
        index = BinaryIndex(NodeClass::kMultiplication);
        break;
      case NodeClass::kDivEqual:
        index = BinaryIndex(NodeClass::kDivision);
        break;
      default:
        return Compile(n, 0);
    }
    const auto& a = static_cast<const ParserUtilties_NS::BinaryOperatorNode&>(n);
    if (a.left().classType() != NodeClass::kReference) return false;
    const std::uint32_t slot =
        SlotOf(static_cast<const MathParser_NS::ReferenceNode&>(a.left()).name());
    if (index >= 0) {
      Push(Op::kLoad).slot = slot;
      if (!Compile(a.right(), 1) || !Combine(index, 0)) return false;
    } else if (!Compile(a.right(), 1)) {
      return false;
    }
    p_.store_slot_ = static_cast<int>(slot);
    return true;
  }

  void Finish() {
    // An assignment ends in its store, so that a run needs nothing of the
    // program but its instructions.
    if (p_.store_slot_ >= 0)
      Emit(Op::kEndStore).slot = static_cast<std::uint32_t>(p_.store_slot_);
    else
      Emit(Op::kEnd);
    p_.stack_.assign(static_cast<std::size_t>(max_depth_) + 1, 0.0);
    p_.records_.assign(p_.names_.size(), nullptr);
  }

 private:
  using Instruction = ScalarProgram::Instruction;

  Instruction& Last() { return p_.code_.back(); }

  Instruction& Emit(Op op) {
    Instruction i;
    i.op = op;
    p_.code_.push_back(i);
    return p_.code_.back();
  }

  // An instruction that leaves one more value.
  Instruction& Push(Op op) {
    max_depth_ = std::max(max_depth_, ++depth_);
    return Emit(op);
  }

  std::uint32_t SlotOf(const std::string& name) {
    auto it = std::find(p_.names_.begin(), p_.names_.end(), name);
    if (it == p_.names_.end()) it = p_.names_.insert(it, name);
    return static_cast<std::uint32_t>(it - p_.names_.begin());
  }

  // A call of one argument to a built-in with a pure kernel: the only calls
  // the scalar path makes without the registry's general call.
  bool Call(const ParserUtilties_NS::SymbolicFunctionNode& f, int nesting) {
    if (f.args().size() != 1) return false;
    double (*kernel)(double) = MathParser_NS::PureKernel(MathParser::FunLook(f.name().c_str()));
    if (kernel == nullptr || !Compile(*f.args()[0], nesting + 1)) return false;
    if (Last().op == Op::kConst) {
      Last().number = kernel(Last().number);
    } else if (Last().op == Op::kLoad) {
      Last().op = Op::kCallVariable;
      Last().kernel = kernel;
    } else {
      Emit(Op::kCall).kernel = kernel;
    }
    return true;
  }

  // v[i] on a variable: the index replaces itself with the element. A matrix
  // element m[i][j], a range or a list of subscripts stays with the tree.
  bool Subscript(const ParserUtilties_NS::BinaryOperatorNode& s, int nesting) {
    if (s.left().classType() != NodeClass::kReference || !Compile(s.right(), nesting + 1))
      return false;
    Emit(Op::kSubscript).slot =
        SlotOf(static_cast<const MathParser_NS::ReferenceNode&>(s.left()).name());
    return true;
  }

  // The binary operation on the last two values. An operand that is one
  // constant or variable is taken into the instruction.
  bool Combine(int index, unsigned relation) {
    --depth_;
    std::vector<Instruction>& code = p_.code_;
    const Instruction right = code.back();
    const Op left = code[code.size() - 2].op;
    const bool square = right.op == Op::kConst && right.number == 2.0 &&
                        index == BinaryIndex(NodeClass::kExponential);
    Op op;
    if (right.op == Op::kConst && left == Op::kConst) {
      double v;
      // A straight-line program with a failing constant operation would
      // never succeed: the tree keeps such an expression.
      if (!Binary(index, relation, code[code.size() - 2].number, right.number, v)) return false;
      code.pop_back();
      code.back().number = v;
      return true;
    } else if (right.op == Op::kConst && left == Op::kLoad) {
      code.pop_back();
      code.back().number = right.number;
      op = square ? Op::kSquareVariable : static_cast<Op>(Op::kAddVariableConst + index);
    } else if (right.op == Op::kLoad && left == Op::kConst) {
      code.pop_back();
      code.back().slot = right.slot;
      op = static_cast<Op>(Op::kAddConstVariable + index);
    } else if (right.op == Op::kConst) {
      op = square ? Op::kSquare : static_cast<Op>(Op::kAddConst + index);
    } else if (right.op == Op::kLoad) {
      op = static_cast<Op>(Op::kAddVariable + index);
    } else {
      Emit(static_cast<Op>(Op::kAdd + index));
      op = static_cast<Op>(Op::kAdd + index);
    }
    code.back().op = op;
    code.back().relation = static_cast<std::uint8_t>(relation);
    return true;
  }

  ScalarProgram& p_;
  int depth_ = 0;
  int max_depth_ = 0;
};

std::unique_ptr<ScalarProgram> ScalarProgram::Compile(const ParserCore_NS::Node& root) {
  std::unique_ptr<ScalarProgram> p(new ScalarProgram);
  ScalarCompiler compiler(*p);
  if (!compiler.CompileRoot(root)) return nullptr;
  compiler.Finish();
  return p;
}

// Records stay where they are until the table's generation changes (a
// variable removed or replaced, another parser).
inline bool ScalarProgram::IsBoundTo(const MathParser& parser) const {
  return &parser == bound_to_ && parser.VariablesGeneration() == bound_generation_;
}

bool ScalarProgram::Bind(const MathParser& parser) {
  bound_to_ = nullptr;
  // Without assignments the tree reads no table records either. The switch
  // moves the table's generation, so a binding never outlives it.
  if (!names_.empty() && !parser.AllowAssign()) return false;
  const auto& table = parser.Variables();
  for (std::size_t i = 0; i < names_.size(); ++i) {
    auto it = table.find(names_[i]);
    if (it == table.end()) return false;
    records_[i] = it->second;
  }
  bound_to_ = &parser;
  bound_generation_ = parser.VariablesGeneration();
  return true;
}

namespace {

// A variable's value when it is a plain scalar; a record of any other kind
// (undefined, array, strings) leaves the work to the tree.
inline bool Read(const symtab* record, double& v) {
  if (record->type != SYM_SCALAR) return false;
  v = record->value;
  return true;
}

// The element of a vector variable at a subscript, by the tree's rules: the
// subscript is cut toward zero, and one that is negative, NaN or past the
// end (as every other record kind) leaves the work to the tree.
inline bool Element(const symtab* record, double subscript, double& v) {
  if (record->type != SYM_ARRAY || record->data == nullptr ||
      (record->rows != 1 && record->cols != 1) || !(subscript > -1.0) || subscript >= 4294967296.0)
    return false;
  const auto i = static_cast<unsigned>(subscript);
  if (i >= static_cast<unsigned>(record->rows * record->cols)) return false;
  v = record->data[i];
  return true;
}

}  // namespace

// Threaded dispatch: each instruction jumps straight to the next one's code
// (GNU labels as values), which keeps the per-instruction cost to a load and
// an indirect jump that the processor predicts per site.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
double ScalarProgram::Run(const MathParser& parser) {
  constexpr double kGiveUp = std::numeric_limits<double>::quiet_NaN();
  if (!IsBoundTo(parser) && !Bind(parser)) return kGiveUp;
#define QUORVIX_BINARY_TARGETS(form) \
  &&add##form, &&subtract##form, &&multiply##form, &&divide##form, &&power##form, &&compare##form
  static const void* const kTargets[] = {
      &&end,
      &&end_store,
      &&constant,
      &&load,
      &&negate,
      &&call,
      &&call_v,
      &&square,
      &&square_v,
      &&subscript,
      QUORVIX_BINARY_TARGETS(),
      QUORVIX_BINARY_TARGETS(_c),
      QUORVIX_BINARY_TARGETS(_v),
      QUORVIX_BINARY_TARGETS(_cv),
      QUORVIX_BINARY_TARGETS(_vc),
  };
#undef QUORVIX_BINARY_TARGETS
  static_assert(sizeof kTargets / sizeof kTargets[0] == kCompareVariableConst + 1);
  const symtab* const* vars = records_.data();
  double* sp = stack_.data();  // the values below the top
  double top = 0.0;
  double l, r;
  const Instruction* ip = code_.data();
#define QUORVIX_NEXT goto* kTargets[(++ip)->op]
// The five forms of one binary operation `fn` (see Op).
// clang-format off
#define QUORVIX_BINARY(name, fn)                                                       \
  name:                                                                                \
    r = top;                                                                           \
    if (!fn(*--sp, r, ip->relation, top)) return kGiveUp;                                \
    QUORVIX_NEXT;                                                                      \
  name##_c:                                                                            \
    if (!fn(top, ip->number, ip->relation, top)) return kGiveUp;                         \
    QUORVIX_NEXT;                                                                      \
  name##_v:                                                                            \
    if (!Read(vars[ip->slot], r) || !fn(top, r, ip->relation, top)) return kGiveUp;      \
    QUORVIX_NEXT;                                                                      \
  name##_cv:                                                                           \
    *sp++ = top;                                                                       \
    if (!Read(vars[ip->slot], r) || !fn(ip->number, r, ip->relation, top)) return kGiveUp; \
    QUORVIX_NEXT;                                                                      \
  name##_vc:                                                                           \
    *sp++ = top;                                                                       \
    if (!Read(vars[ip->slot], l) || !fn(l, ip->number, ip->relation, top)) return kGiveUp; \
    QUORVIX_NEXT;
  // clang-format on

  goto* kTargets[ip->op];
end:
  // Which NaN an operation on two NaNs gives (its sign shows in the output)
  // depends on the order in which the compiler placed the operands, so a
  // NaN result is left to the tree.
  return top;
end_store:
  // What the tree's store does to a scalar variable, done only once the
  // value is known.
  if (top != top) return top;
  {
    symtab* target = const_cast<symtab*>(vars[ip->slot]);
    if (target->type != SYM_SCALAR || parser.NumSetFuncs() != 0) return kGiveUp;
    target->value = top;
    target->frozen = 0;
    target->shared = 1;
  }
  return top;
constant:
  *sp++ = top;
  top = ip->number;
  QUORVIX_NEXT;
load:
  *sp++ = top;
  if (!Read(vars[ip->slot], top)) return kGiveUp;
  QUORVIX_NEXT;
negate:
  top = -top;
  QUORVIX_NEXT;
call:
  top = ip->kernel(top);
  QUORVIX_NEXT;
call_v:
  *sp++ = top;
  if (!Read(vars[ip->slot], r)) return kGiveUp;
  top = ip->kernel(r);
  QUORVIX_NEXT;
square:
  top = top * top;
  QUORVIX_NEXT;
square_v:
  *sp++ = top;
  if (!Read(vars[ip->slot], r)) return kGiveUp;
  top = r * r;
  QUORVIX_NEXT;
subscript:
  if (!Element(vars[ip->slot], top, top)) return kGiveUp;
  QUORVIX_NEXT;
  QUORVIX_BINARY(add, AddOp)
  QUORVIX_BINARY(subtract, SubtractOp)
  QUORVIX_BINARY(multiply, MultiplyOp)
  QUORVIX_BINARY(divide, DivideOp)
  QUORVIX_BINARY(power, PowerOp)
  QUORVIX_BINARY(compare, CompareOp)
#undef QUORVIX_BINARY
#undef QUORVIX_NEXT
}
#pragma GCC diagnostic pop

namespace {

// Offers the program to the compiled entry, unless it has failed too often
// in a row; the tree's own scalar path keeps counting for it.
void Arm(ParsedTree& tree) {
  tree.runnable = tree.scalar_failures < kMaxScalarFailures ? tree.program.get() : nullptr;
}

bool RunProgram(ParsedTree& tree, const MathParser& parser, double& out) {
  if (!tree.program || g_force_tree || tree.scalar_failures >= kMaxScalarFailures) return false;
  out = tree.program->Run(parser);
  const bool ran = out == out;
  tree.scalar_failures = ran ? 0 : tree.scalar_failures + 1;
  return ran;
}

}  // namespace

// The evaluation that follows a failed compiled run (through the parser's
// Evaluate, whichever caller tried the program) must not run the program
// again: it is withdrawn until that evaluation's slow path offers it again.
void CountCompiledFailure(ParsedTree& tree) {
  ++tree.scalar_failures;
  tree.runnable = nullptr;
}

bool EvaluateScalar(ParsedTree& tree, const MathParser& parser, bool tried, double& out) {
  bool ran = false;
  if (!tried) {
    if (!ProgramCurrent(tree)) {
      tree.program = ScalarProgram::Compile(*tree.root);
      tree.program_generation = MathParser::RegistryGeneration();
    }
    // An assignment's value is no scalar: the tree makes it this time.
    if (!tree.program || !tree.program->assigns()) ran = RunProgram(tree, parser, out);
  }
  Arm(tree);
  if (ran) return true;
  if (tree.program || g_force_tree || tree.scalar_failures >= kMaxScalarFailures) return false;
  if (tree.root->evaluateScalar(out) && out == out) {  // a NaN as in Run
    tree.scalar_failures = 0;
    return true;
  }
  ++tree.scalar_failures;
  return false;
}

void ForceTreeEvaluation(bool on) { g_force_tree = on; }
bool TreeEvaluationForced() { return g_force_tree; }

}  // namespace quorvix

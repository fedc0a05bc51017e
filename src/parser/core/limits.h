// Bounds that keep deep or huge input from exhausting the stack. Parsing,
// evaluation, printing and destruction all recurse along the tree, so its
// depth and the nesting of brackets are capped when the tree is built.
#ifndef QUORVIX_PARSER_CORE_LIMITS_H
#define QUORVIX_PARSER_CORE_LIMITS_H

namespace ParserCore_NS {

inline constexpr int kMaxGroupNesting = 200;
inline constexpr int kMaxTreeDepth = 1000;

inline constexpr const char* kGroupNestingMessage = "brackets nested too deeply (limit 200)";
inline constexpr const char* kTreeDepthMessage = "expression nested too deeply (limit 1000)";

}  // namespace ParserCore_NS

#endif

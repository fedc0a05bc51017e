// Records the template engine keeps on its stacks: the saved state of a text
// source (with a loop's control data) and a macro definition.
#ifndef QUORVIX_TEMPLATE_ENGINE_TYPES_H
#define QUORVIX_TEMPLATE_ENGINE_TYPES_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace quorvix {

// A loop's step or condition, parsed once: the loop's text lives as long as
// its frame, so only the registry and the escape option can make it stale.
struct LoopExpression {
  std::unique_ptr<MathParserExpression> parsed;
  std::size_t length = 0;
  std::uint64_t registry_generation = 0;
  bool escapes = true;
};

struct SourceFrame {
  char* saved_read_pos = nullptr;  // for a loop: the body start
  char* saved_buffer_start = nullptr;
  char* saved_file_start = nullptr;
  // The text the outer source owns (null when it reads a text of another).
  std::unique_ptr<char[]> saved_buffer;
  char* loop_condition = nullptr;  // points into the body's text
  char* loop_step = nullptr;
  LoopExpression parsed_condition;
  LoopExpression parsed_step;
  symtab* loop_array = nullptr;  // owned
  std::string saved_source_name;
  std::string loop_variable;
  int is_loop = 0;
  int loop_index = 0;
  int loop_count = 0;
  int saved_false_depth = 0;
  int saved_condition_depth = 0;
  int saved_condition_entry = 0;
  int saved_resume_brace = 0;
  bool saved_break_pending = false;
  bool saved_continue_pending = false;

  ~SourceFrame() {
    if (loop_array != nullptr) loop_array->Delete();
  }
};

struct MacroParameter {
  std::string name;
  std::string argument;  // text of the current call
};

struct Macro {
  std::vector<MacroParameter> parameters;
  std::string body;  // protected form
};

// Limits that end a fill with a message instead of exhausting memory or the
// stack; the numbers come from the parser's policy, except the fixed depth of
// the condition stack.
// The error text of one fill keeps this many bytes; a loop that fails on
// every pass would otherwise grow it without end.
inline constexpr std::size_t kMaxErrorText = 1u << 20;
inline constexpr const char* kFillDepthPrefix = "fills nested too deeply";
inline std::string SourceDepthMessage(int limit) {
  return "sources nested too deeply (limit " + std::to_string(limit) + ")";
}
inline std::string FillDepthMessage(int limit) {
  return std::string(kFillDepthPrefix) + " (limit " + std::to_string(limit) + ")";
}
inline constexpr const char* kConditionDepthMessage = "conditions nested too deeply (limit 1024)";

}  // namespace quorvix

#endif

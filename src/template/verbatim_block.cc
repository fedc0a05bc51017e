// Verbatim blocks: "quorvix_off" ... "quorvix_on" copies the text between
// them as it stands, brace groups and nested blocks included.
#include <cstring>

#include "template/engine.h"
#include "template/text_scan.h"
#include "util/output_stream.h"

namespace quorvix {

namespace {

constexpr char kMarker[] = "quorvix_o";
constexpr std::size_t kMarkerLength = sizeof kMarker - 1;

// The text after "{" and blanks at `p` when it names a block statement:
// "ff" for a nested block, "n" for an end; null otherwise.
const char* BlockMarker(const char* p) {
  ++p;
  while (IsBlank(*p) || *p == '\n' || *p == '\r') ++p;
  return std::strncmp(p, kMarker, kMarkerLength) == 0 ? p + kMarkerLength : nullptr;
}

const char* PastGroup(const char* p) {
  while (*p != '\0' && *p != '}') ++p;
  return *p == '}' ? p + 1 : p;
}

}  // namespace

int Engine::st_quorvix_off() {
  read_pos_ = const_cast<char*>(PastGroup(read_pos_));
  if (!line_has_output_) {
    if (read_pos_[0] == '\r' && read_pos_[1] == '\n') ++read_pos_;
    if (*read_pos_ == '\n') ++read_pos_;
  }
  const char* start = read_pos_;
  const char* p = start;
  const char* end = nullptr;  // the '{' of the closing group
  int depth = 1;
  int has_output = line_has_output_;
  while (*p != '\0') {
    if (*p == '{') {
      if (const char* m = BlockMarker(p)) {
        if (m[0] == 'f' && m[1] == 'f') {
          ++depth;
          has_output = 1;
          const char* after = PastGroup(m);
          p = after;
          continue;
        }
        if (m[0] == 'n' && --depth == 0) {
          end = p;
          break;
        }
      }
    }
    has_output = *p == '\n' ? 0 : 1;
    ++p;
  }
  if (end == nullptr) end = p;
  if (IsFalse() == 0) {
    if (end > start) {
      WriteDeferredSpaces();
      current_output_->write(start, static_cast<std::size_t>(end - start));
      line_has_output_ = has_output;
    }
    line_has_statement_ = 1;
  }
  read_pos_ = const_cast<char*>(*end == '{' ? PastGroup(end) : end);
  // Reading goes on in plain text after the closing group.
  leave_group_ = true;
  return 0;
}

int Engine::st_quorvix_on() {
  return SyntaxError("QUORVIX_ON without matching QUORVIX_OFF statement");
}

}  // namespace quorvix

// The one exception of the expression language: a message and the offset of
// the offending token in the expression text.
#ifndef QUORVIX_PARSER_CORE_ERROR_H
#define QUORVIX_PARSER_CORE_ERROR_H

#include <string>
#include <utility>

namespace ParserCore_NS {

class Error {
 public:
  static constexpr int kNoPosition = -1;

  explicit Error(std::string message, int position = kNoPosition)
      : message_(std::move(message)), position_(position) {}

  const std::string& message() const { return message_; }
  int position() const { return position_; }

 private:
  std::string message_;
  int position_;
};

}  // namespace ParserCore_NS

#endif

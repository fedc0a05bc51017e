// Writing values as text with the template engine's formats: a number format
// with its letter, a string format and a layout style for arrays.
#ifndef QUORVIX_VALUE_FORMAT_H
#define QUORVIX_VALUE_FORMAT_H

#include <string>

#include "quorvix/symtab.h"

namespace quorvix {

enum class FormatStyle { kList = 1, kArray = 2, kMatrix = 3 };

struct ValueFormat {
  std::string number_format = "%g";
  std::string string_format = "%s";
  char letter = 'g';  // of the number format
  FormatStyle style = FormatStyle::kList;
  // When positive, list and array layouts start a new line after a
  // separator once the output line is longer than this; `column` is the
  // length of the line before the value.
  int margin = -1;
  std::size_t column = 0;
};

// Formats one number with a printf format whose conversion letter is
// `letter`: e/f/g as a double, d/i/o/x/X as the integer part, c as its low
// byte. Returns false for any other letter.
bool FormatDouble(double value, const char* format, char letter, std::string& out);

// Quotes are escaped and the text cut at 255 characters.
std::string SafeString(const char* text);

// Appends the text of a value; returns false for a value that has no text
// (kind 0) or an unusable format letter.
bool FormatValue(const symtab& value, const ValueFormat& format, std::string& out);

}  // namespace quorvix

#endif

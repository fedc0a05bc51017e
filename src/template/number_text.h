// A number written by a template format straight into the caller's
// memory, for the output path: FormatDouble's bytes without a string in
// between, for the conversions that need no printf.
#ifndef QUORVIX_TEMPLATE_NUMBER_TEXT_H
#define QUORVIX_TEMPLATE_NUMBER_TEXT_H

#include <cstddef>

namespace quorvix {

// What FormatNumberTo may write at `buf`.
inline constexpr std::size_t kNumberTextRoom = 192;

// Writes `value` as FormatDouble(value, format, letter, ...) would and
// returns the end of the text; null, with nothing promised about `buf`,
// when the conversion needs printf or more than the room.
char* FormatNumberTo(double value, const char* format, char letter, char* buf);

}  // namespace quorvix

#endif

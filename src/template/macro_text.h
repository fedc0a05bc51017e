// Text transformations of macro bodies. A body is stored protected: every
// character outside brace groups, and inside string literals within them,
// carries bit 7, so that parameter substitution can only touch the
// expression text of the body. 8-bit characters are first escaped into a
// 7-bit form so that bit 7 is free for the mark.
#ifndef QUORVIX_TEMPLATE_MACRO_TEXT_H
#define QUORVIX_TEMPLATE_MACRO_TEXT_H

#include <cstddef>
#include <string>

#include "template/engine_types.h"

namespace quorvix {

std::string str8to7(const std::string& text);
std::string str7to8(const std::string& text);
std::string prevent_brace(const std::string& text);
std::string restore_brace(const std::string& text);

// The body with each parameter name replaced by its argument text where the
// name stands alone (not after a letter, digit, '_' or '.', nor before a
// letter, digit or '_'), in `out`. False as soon as the text would pass
// `limit` bytes (`out` is then unspecified).
bool SubstituteParameters(const Macro& macro, std::size_t limit, std::string& out);
std::string MacroSizeMessage(std::size_t limit);

}  // namespace quorvix

#endif

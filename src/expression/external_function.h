// External functions: a registered program called with the arguments of an
// expression, and the lookup that `extern` uses.
#ifndef QUORVIX_EXPRESSION_EXTERNAL_FUNCTION_H
#define QUORVIX_EXPRESSION_EXTERNAL_FUNCTION_H

#include <string>

#include "quorvix/symtab.h"

namespace quorvix {

// Sends args[first..] to `program` and returns its result: a column vector
// or a string. Null with the error reported through MathParser::Error: an
// argument of another kind ("Argument N is an invalid type", N counted
// over the whole list), the program's own error text, the time-out, or
// the transport code's text.
symtab* CallExternalProgram(const std::string& program, sym_list* args, int first);

// The program `extern` calls for `name`: the first alias of exactly that
// name, else the program of a registered external function; empty when
// there is neither.
std::string ExternProgram(const char* name);

}  // namespace quorvix

#endif  // QUORVIX_EXPRESSION_EXTERNAL_FUNCTION_H

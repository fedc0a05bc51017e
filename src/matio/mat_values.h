// What a MATLAB variable (as matio hands it over) holds for the result tree:
// which of its kinds we read, its element count, and its numbers or texts.
#ifndef QUORVIX_MATIO_MAT_VALUES_H
#define QUORVIX_MATIO_MAT_VALUES_H

#include <matio.h>

#include <cstddef>
#include <string>
#include <vector>

namespace quorvix::matfile {

enum class LeafKind {
  kNumeric,  // real numbers of any numeric or logical class
  kText,     // a char array or a cell array of char arrays
  kStruct,   // fields to walk into
  kRefused,  // a class or form we do not read; the reason says which
};

// The kind of `var` from its header alone (data need not be read). For
// kRefused, `reason` gets the text that follows "mat variable <name>: ".
LeafKind Classify(const matvar_t& var, std::string* reason);

// The product of the dimensions; false when it overflows.
bool ElementCount(const matvar_t& var, std::size_t* count);
// Rows and columns as a matrix: the first dimension and the product of the
// others (1 x 1 for rank 0).
void MatrixShape(const matvar_t& var, std::size_t* rows, std::size_t* columns);

// The numbers of a read numeric variable in column-major order, or of one
// column (0-based) when `column` is not negative. False with `why` set when
// the data are missing or of a type we do not convert.
bool NumericValues(const matvar_t& var, long long column, std::vector<double>& out,
                   std::string* why);

// The strings of a read char array (one per row) or cell array of char
// arrays (one per cell, column-major; a cell of several rows joins them
// with newlines), UTF-8 encoded. False with `why` set otherwise.
bool TextValues(const matvar_t& var, std::vector<std::string>& out, std::string* why);

}  // namespace quorvix::matfile

#endif  // QUORVIX_MATIO_MAT_VALUES_H

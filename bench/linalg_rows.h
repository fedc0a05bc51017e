// The linear-algebra rows of the comparison table: inverse and determinant
// of a 500 x 500 matrix against numpy (LAPACK through its BLAS, one thread).
#ifndef QUORVIX_BENCH_LINALG_ROWS_H
#define QUORVIX_BENCH_LINALG_ROWS_H

#include <string>

namespace bench {

// Times the rows, prints them in the table's columns (label number
// `number`) with their note; `python` empty skips the peer. False when the
// results disagree.
bool LinalgRows(int number, const std::string& python, const std::string& script, int runs);

}  // namespace bench

#endif

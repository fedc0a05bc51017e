// The interpolation and fitting rows of the comparison table: spline against
// scipy's CubicSpline and polyfit against numpy.polyfit.
#ifndef QUORVIX_BENCH_FITTING_ROWS_H
#define QUORVIX_BENCH_FITTING_ROWS_H

#include <string>

namespace bench {

// Times the rows, prints them in the table's columns (first label number
// `number`) and their notes; `python` empty skips the peers. False when a
// result disagrees with the peer's.
bool FittingRows(int number, const std::string& python, const std::string& script, int runs);

}  // namespace bench

#endif

// The resampling row of the comparison table: resamprevs of a run-up record
// against the same algorithm written with numpy and scipy.
#ifndef QUORVIX_BENCH_RESAMPLING_ROWS_H
#define QUORVIX_BENCH_RESAMPLING_ROWS_H

#include <string>

namespace bench {

// Times the row, prints it in the table's columns (label number `number`)
// with its note; `python` empty skips the peer. False when the results
// disagree with the peer's.
bool ResamplingRows(int number, const std::string& python, const std::string& script, int runs);

}  // namespace bench

#endif

// The short-time row of the comparison table: stft of a run-up record
// against scipy.signal.stft with the same window and overlap.
#ifndef QUORVIX_BENCH_SHORT_TIME_ROWS_H
#define QUORVIX_BENCH_SHORT_TIME_ROWS_H

#include <string>

namespace bench {

// Times the row, prints it in the table's columns (label number `number`)
// with its note; `python` empty skips the peer. False when the maps
// disagree with the peer's.
bool ShortTimeRows(int number, const std::string& python, const std::string& script, int runs);

}  // namespace bench

#endif

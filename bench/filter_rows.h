// The filter row of the comparison table: irfilter of a 4th-order IIR
// against scipy.signal.lfilter.
#ifndef QUORVIX_BENCH_FILTER_ROWS_H
#define QUORVIX_BENCH_FILTER_ROWS_H

#include <string>

namespace bench {

// Times the row, prints it in the table's columns (label number `number`)
// with its note; `python` empty skips the peer. False when the filtered
// signals disagree.
bool FilterRows(int number, const std::string& python, const std::string& script, int runs);

}  // namespace bench

#endif

// The resampling row of the comparison table: resamprevs of a run-up record
// against the same algorithm written with numpy and scipy.
#ifndef QUORVIX_BENCH_RESAMPLING_ROWS_H
#define QUORVIX_BENCH_RESAMPLING_ROWS_H

#include <map>
#include <string>
#include <vector>

namespace bench {

// A 60-second run-up from 600 to 6000 rpm sampled at 51.2 kHz: orders 2 and
// 7.5 of the shaft and a little noise. Shared by the rows that time the
// signal families on it.
struct RunUpRecord {
  std::vector<double> t, y, rpm;
};
RunUpRecord MakeRunUpRecord();

// Runs a peer script with the record written to raw float64 files t, y and
// rpm in a temporary directory; its key=value lines, empty on failure.
std::map<std::string, std::string> RunRecordPeer(const std::string& python,
                                                 const std::string& script, const RunUpRecord& r,
                                                 int runs);

// Times the row, prints it in the table's columns (label number `number`)
// with its note; `python` empty skips the peer. False when the results
// disagree with the peer's.
bool ResamplingRows(int number, const std::string& python, const std::string& script, int runs);

}  // namespace bench

#endif

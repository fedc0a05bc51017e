// What the rows timed against one scripted peer share: running the peer
// script on the same inputs, and printing the row.
#ifndef QUORVIX_BENCH_PEER_H
#define QUORVIX_BENCH_PEER_H

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace bench {

// Inputs handed to a peer script: file name and the doubles it holds.
using PeerFiles = std::vector<std::pair<std::string, const std::vector<double>*>>;

// Writes each input as raw doubles into a fresh temporary directory, runs
// `python script DIR runs` and returns the key=value lines it prints; empty
// when anything fails. The directory is removed afterwards.
std::map<std::string, std::string> RunPeerScript(const std::string& python,
                                                 const std::string& script, const PeerFiles& files,
                                                 int runs);

// One row of the side-by-side table: our time, the peer's, the ratio and the
// verdict. Times in milliseconds; a peer time <= 0 means the peer did not
// run, a target <= 0 that the row has none.
void PrintPeerRow(const std::string& label, const char* peer_name, double ours_ms, double peer_ms,
                  double target);

}  // namespace bench

#endif  // QUORVIX_BENCH_PEER_H

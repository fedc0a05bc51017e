// What every result-file reader delivers: a file's data as a tree of
// subcases, data types, requests and components, each component one vector
// of numbers. The functions that read results (read, readsubcase, getvalue)
// and `quorvix inspect` see files only through this tree, whatever the
// format.
//
// A reader builds the tree when a file is opened; the numbers of a
// component may come later: a reader that can fetch one vector cheaply
// (MATLAB, HDF5) leaves `values` empty and sets `load`, which is called the
// first time the vector is asked for.
#ifndef QUORVIX_RESULTS_RESULT_TREE_H
#define QUORVIX_RESULTS_RESULT_TREE_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "quorvix/policy.h"

namespace quorvix::results {

struct Component {
  std::string name;
  std::string unit;  // empty when the file gives none
  // The numbers, once loaded. Loaded when `load` is empty.
  std::vector<double> values;
  // Fills `out` with the numbers; false with `why` set when the file no
  // longer gives them. Called at most once per successful load.
  std::function<bool(std::vector<double>& out, std::string* why)> load;
  // Element count when known before loading (for inspect); -1 when not.
  long long length = -1;
  // A component of text (a cell array of strings, a text column) has its
  // strings here and no numbers.
  std::vector<std::string> texts;
};

struct Request {
  std::string name;
  std::vector<Component> components;
};

struct DataType {
  std::string name;
  std::vector<Request> requests;
};

struct Subcase {
  std::string label;
  std::vector<DataType> types;
};

struct ResultTree {
  std::string format;  // "csv", "mat", "hdf5", ... for inspect and messages
  std::vector<Subcase> subcases;
};

// Ranks of the kinds of readers.
inline constexpr int kRankRegistered = 0;  // registered by the host or a template
inline constexpr int kRankBinary = 10;     // formats with a signature (MATLAB, HDF5)
inline constexpr int kRankText = 20;       // delimited text, known by content
inline constexpr int kRankFallback = 100;  // by extension alone

// A reader of one file format.
struct ReaderFormat {
  const char* name;
  // Formats are tried in rising rank: the readers the host or templates
  // registered (external programs, import templates, plug-ins) before the
  // built-in ones.
  int rank;
  // True when the file looks like this format: `head` is its first bytes
  // (up to 4 KiB), `path` its name (for the extension). Content first,
  // the extension only where the content says nothing.
  bool (*sniff)(const std::string& path, const std::string& head);
  // Builds the tree; null with `why` set when the file cannot be read as
  // this format. `policy` is the reading parser's: a reader that starts a
  // program, fills a template or loads a plug-in asks it first (restricted
  // mode refuses), and files are opened through it.
  std::unique_ptr<ResultTree> (*open)(const std::string& path, const Policy& policy,
                                      std::string* why);
};

// Adds a format: the built-in ones at load, the optional modules (MATLAB,
// HDF5) and the registered-reader kinds when they are linked in.
void AddReaderFormat(const ReaderFormat& format);
// The formats added so far, by rising rank (equal ranks in the order added).
std::vector<ReaderFormat> ReaderFormats();

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_RESULT_TREE_H

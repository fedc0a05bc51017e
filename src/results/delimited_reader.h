// Delimited text as a result file: CSV, TSV, semicolon and whitespace
// columns. Also the reader of what external reader programs and import
// templates write, which is delimited text as well.
//
// The tree: one subcase labelled "1", one data type "columns", one request
// "data", one component per column named by the header row (col1, col2, ...
// without one) with the unit row's cells as units.
#ifndef QUORVIX_RESULTS_DELIMITED_READER_H
#define QUORVIX_RESULTS_DELIMITED_READER_H

#include <memory>
#include <string>
#include <string_view>

#include "results/result_tree.h"

namespace quorvix::results {

// Parses `text`; `source` names it in messages ("<source> line N"). At most
// `max_cells` numbers are kept. Null with `why` set on malformed text.
std::unique_ptr<ResultTree> ParseDelimited(std::string_view text, const std::string& source,
                                           long long max_cells, std::string* why);

// True when `head` (a file's first bytes) looks like delimited text.
bool LooksDelimited(std::string_view head);

// The delimited-text format, for the list of reader formats.
ReaderFormat DelimitedFormat();

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_DELIMITED_READER_H

// Delimited text held in memory, as the registered readers get it from a
// program's standard output or a filled import template.
#ifndef QUORVIX_RESULTS_DELIMITED_TEXT_H
#define QUORVIX_RESULTS_DELIMITED_TEXT_H

#include <memory>
#include <string>
#include <string_view>

#include "results/result_tree.h"

namespace quorvix::results {

// Builds the tree of `text`; null with `why` set when it is not delimited
// text of numbers. `name` stands for the text in messages.
std::unique_ptr<ResultTree> ParseDelimitedText(std::string_view text, const std::string& name,
                                               std::string* why);

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_DELIMITED_TEXT_H

#include "failure.h"

#include <algorithm>
#include <vector>

namespace quorvix::python {

namespace {

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    if (end == text.size()) break;
    start = end + 1;
  }
  return lines;
}

// A caret line: blanks, then '^' and nothing else.
std::optional<int> CaretColumn(std::string_view line) {
  const std::size_t caret = line.find_first_not_of(' ');
  if (caret == std::string_view::npos || line[caret] != '^' || caret + 1 != line.size())
    return std::nullopt;
  return static_cast<int>(caret) + 1;
}

}  // namespace

void LocateOffset(std::string_view text, int offset, Failure& failure) {
  if (offset < 0) offset = 0;
  const std::size_t end = std::min(static_cast<std::size_t>(offset), text.size());
  int line = 1;
  std::size_t line_start = 0;
  for (std::size_t i = 0; i < end; ++i) {
    if (text[i] == '\n') {
      ++line;
      line_start = i + 1;
    }
  }
  failure.line = line;
  failure.column = static_cast<int>(end - line_start) + 1;
}

void LocateReport(std::string_view report, std::string_view source, const char* source_file,
                  Failure& failure) {
  constexpr std::string_view kInFile = "in file:  ";
  failure.report = std::string(report);
  const std::vector<std::string_view> lines = Lines(report);
  std::optional<std::string_view> quoted;
  std::size_t message_start = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].substr(0, kInFile.size()) == kInFile) {
      failure.file = std::string(lines[i].substr(kInFile.size()));
    } else if (auto column = CaretColumn(lines[i]); column && i > 0) {
      failure.column = column;
      quoted = lines[i - 1];
      message_start = i + 1;
    }
  }
  std::string message;
  for (std::size_t i = message_start; i < lines.size(); ++i) {
    if (lines[i].empty()) continue;
    if (!message.empty()) message += '\n';
    message += lines[i];
  }
  if (!message.empty()) failure.message = std::move(message);
  if (!quoted) return;
  if (failure.file && (source_file == nullptr || *failure.file != source_file)) return;
  if (!failure.file && source_file != nullptr) failure.file = source_file;
  const std::vector<std::string_view> source_lines = Lines(source);
  for (std::size_t i = 0; i < source_lines.size(); ++i) {
    if (source_lines[i] == *quoted) {
      failure.line = static_cast<int>(i) + 1;
      return;
    }
  }
}

}  // namespace quorvix::python

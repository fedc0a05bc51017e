// Destinations that a fill streams its output to as it goes, so that a fill
// writing gigabytes never holds them in memory.
#ifndef QUORVIX_OUTPUT_SINK_H
#define QUORVIX_OUTPUT_SINK_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace quorvix {

class OutputSink {
 public:
  virtual ~OutputSink() = default;
  // Takes the next `n` bytes of output. False when they could not be
  // written; the rest of the output is then dropped, and the fill's error
  // text ends with "output write failed".
  virtual bool Write(const char* data, std::size_t n) = 0;
  // Called once at the end of the fill; false as for Write.
  virtual bool Finish() { return true; }
};

// Writes to a stdio stream that the caller owns. With `lf_line_ends` every
// CR LF pair becomes LF (a pair split across two writes included).
class FileSink : public OutputSink {
 public:
  explicit FileSink(std::FILE* file, bool lf_line_ends = false) : file_(file), lf_(lf_line_ends) {}
  bool Write(const char* data, std::size_t n) override;
  bool Finish() override;

 private:
  std::FILE* file_;
  bool lf_;
  bool held_cr_ = false;  // a CR at the end of the last write, not yet written
};

// `text` with every CR LF pair turned into LF (a lone CR stays), as
// FileSink writes it: for a host that collects a fill's output or error
// report whole.
std::string WithLfLineEnds(std::string_view text);

}  // namespace quorvix

#endif  // QUORVIX_OUTPUT_SINK_H

// The in-memory stream of a whole fill's output. The text is kept in
// chunks instead of one growing string, so a big deck is not copied again
// every time the string doubles, and the chunks of one fill are kept for
// the next, so repeated fills write into memory that is already mapped.
#ifndef QUORVIX_UTIL_CHUNKED_OUTPUT_H
#define QUORVIX_UTIL_CHUNKED_OUTPUT_H

#include <vector>

#include "util/output_stream.h"

class ochunkedstream_fast : public ostrstream_fast {
 public:
  ochunkedstream_fast();
  ~ochunkedstream_fast() override;
  ochunkedstream_fast(const ochunkedstream_fast&) = delete;
  ochunkedstream_fast& operator=(const ochunkedstream_fast&) = delete;

  // Hands over everything written as one new[] zero-terminated string and
  // empties the stream.
  char* str();

 protected:
  // Moves the complete lines of the buffer into a chunk; the last, open
  // line stays, so that line_length() still sees all of it.
  void spill() override;

 private:
  std::vector<TextBuffer> chunks_;
};

#endif

// The fill's output stream: text of any size comes back whole and in order,
// and the open line is measured in full across chunk boundaries.
#include "util/chunked_output.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

namespace {

TEST(ChunkedOutputTest, EverythingWrittenComesBackInOrderAcrossChunks) {
  for (int round = 0; round < 2; ++round) {  // the second reuses the chunks
    ochunkedstream_fast out;
    std::string expected;
    for (int i = 0; i < 60000; ++i) {
      const std::string line = "line " + std::to_string(i) + "\r\n";
      if (i % 2 == 0) {
        out.write(line.data(), line.size());
      } else {  // written in place, as numbers are
        char* at = out.reserve(64);
        std::memcpy(at, line.data(), line.size());
        out.commit(at + line.size());
      }
      expected += line;
    }
    // One line longer than a chunk, then an open line.
    out.write(std::string(300000, 'x') + "\r\nopen");
    expected += std::string(300000, 'x') + "\r\nopen";
    EXPECT_EQ(out.line_length(), 4u);
    EXPECT_EQ(out.written(), expected.size());
    std::unique_ptr<char[]> text(out.str());
    EXPECT_EQ(std::string(text.get()), expected);
    EXPECT_EQ(out.written(), 0u);
  }
}

TEST(ChunkedOutputTest, OpenLineIsMeasuredFromItsStartAfterASpill) {
  ochunkedstream_fast out;
  const std::string lines(400000, '\n');
  out.write(lines);
  const std::string open(1000, 'y');
  out.write(open);
  EXPECT_EQ(out.line_length(), 1000u);
  out.write(std::string(300000, 'z'));  // passes the next spill point without a line end
  EXPECT_EQ(out.line_length(), 301000u);
}

}  // namespace

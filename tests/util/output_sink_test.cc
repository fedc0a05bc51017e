#include "quorvix/output_sink.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string Through(bool lf, const std::vector<std::string>& pieces) {
  std::FILE* f = std::tmpfile();
  quorvix::FileSink sink(f, lf);
  for (const std::string& p : pieces) EXPECT_TRUE(sink.Write(p.data(), p.size()));
  EXPECT_TRUE(sink.Finish());
  std::string out(static_cast<std::size_t>(std::ftell(f)), '\0');
  std::rewind(f);
  EXPECT_EQ(std::fread(out.data(), 1, out.size(), f), out.size());
  std::fclose(f);
  return out;
}

TEST(FileSinkTest, LineEndsConvertAcrossWrites) {
  struct Row {
    std::vector<std::string> pieces;
    std::string lf, kept;
  } rows[] = {
      {{"a\r\nb\r\n"}, "a\nb\n", "a\r\nb\r\n"},
      // A pair split between two writes, a lone CR in the middle and at the end.
      {{"a\r", "\nb\r", "x\r"}, "a\nb\rx\r", "a\r\nb\rx\r"},
      {{"\r", "\r", "\n", ""}, "\r\n", "\r\r\n"},
  };
  for (const Row& r : rows) {
    EXPECT_EQ(Through(true, r.pieces), r.lf);
    EXPECT_EQ(Through(false, r.pieces), r.kept);
    // The whole text at once, as a binding converts what it collected.
    EXPECT_EQ(quorvix::WithLfLineEnds(r.kept), r.lf);
  }
}

}  // namespace

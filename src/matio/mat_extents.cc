#include "matio/mat_extents.h"

#include <cstdint>

namespace quorvix::matfile {

namespace {

bool ReadAt(std::FILE* file, long long at, unsigned char* out, std::size_t n) {
  return std::fseek(file, static_cast<long>(at), SEEK_SET) == 0 && std::fread(out, 1, n, file) == n;
}

std::uint32_t Word(const unsigned char* p, bool big_endian) {
  return big_endian ? (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) |
                          (std::uint32_t{p[2]} << 8) | p[3]
                    : (std::uint32_t{p[3]} << 24) | (std::uint32_t{p[2]} << 16) |
                          (std::uint32_t{p[1]} << 8) | p[0];
}

// Version 5: after the header, each variable is a tag (type, byte count)
// and its bytes, padded to 8 unless compressed.
std::vector<bool> WalkV5(std::FILE* file, long long size, bool big_endian) {
  constexpr std::uint32_t kCompressed = 15;
  std::vector<bool> cut;
  long long at = 128;
  unsigned char tag[8];
  while (at + 8 <= size && ReadAt(file, at, tag, 8)) {
    const long long bytes = Word(tag + 4, big_endian);
    const bool padded = Word(tag, big_endian) != kCompressed;
    at += 8 + (padded ? (bytes + 7) / 8 * 8 : bytes);
    cut.push_back(at - (padded ? (8 - bytes % 8) % 8 : 0) > size);
    if (cut.back()) break;
  }
  return cut;
}

// Version 4: a 20-byte header (type MOPT, rows, columns, imaginary flag,
// name length), the name, then the real and imaginary parts.
std::vector<bool> WalkV4(std::FILE* file, long long size) {
  constexpr int kPrecisionBytes[] = {8, 4, 4, 2, 2, 1};
  std::vector<bool> cut;
  long long at = 0;
  unsigned char head[20];
  while (at + 20 <= size && ReadAt(file, at, head, 20)) {
    const bool big_endian = Word(head, false) > 0xFFFF;
    const std::uint32_t type = Word(head, big_endian);
    const unsigned precision = type / 10 % 10;
    if (precision > 5) break;
    const long long rows = Word(head + 4, big_endian), columns = Word(head + 8, big_endian);
    const long long parts = Word(head + 12, big_endian) ? 2 : 1;
    if (rows != 0 && columns > size / rows) {
      cut.push_back(true);
      break;
    }
    at += 20 + Word(head + 16, big_endian) + rows * columns * parts * kPrecisionBytes[precision];
    cut.push_back(at > size);
    if (cut.back()) break;
  }
  return cut;
}

}  // namespace

std::vector<bool> CutShort(std::FILE* file, long long size, bool version5) {
  if (!version5) return WalkV4(file, size);
  // The byte-order mark "MI" reads back as "IM" when written little-endian.
  unsigned char header[128];
  if (size < 128 || !ReadAt(file, 0, header, 128)) return {};
  return WalkV5(file, size, header[126] == 'M');
}

}  // namespace quorvix::matfile

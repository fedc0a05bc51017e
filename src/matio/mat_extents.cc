#include "matio/mat_extents.h"

#include <zlib.h>

#include <algorithm>
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

// The start of a variable: its tag, the array flags' tag and flags (class in
// the low byte), the dimensions' tag and the dimensions.
unsigned long long ContainerElements(const unsigned char* head, std::size_t n, bool big_endian) {
  constexpr unsigned kCell = 1, kStruct = 2, kObject = 3;
  if (n < 32) return 0;
  const unsigned klass = Word(head + 16, big_endian) & 0xFF;
  if (klass != kCell && klass != kStruct && klass != kObject) return 0;
  const std::size_t dims = std::min<std::size_t>(Word(head + 28, big_endian) / 4, 8);
  unsigned long long elements = 1;
  for (std::size_t i = 0; i < dims && 32 + 4 * i + 4 <= n; ++i) {
    const unsigned long long d = Word(head + 32 + 4 * i, big_endian);
    elements = d != 0 && elements > (1ull << 62) / d ? 1ull << 62 : elements * d;
  }
  return elements;
}

// The first bytes of a compressed variable, inflated.
std::size_t Inflated(std::FILE* file, long long at, long long bytes, unsigned char* out,
                     std::size_t n) {
  unsigned char in[256];
  const std::size_t take = static_cast<std::size_t>(std::min<long long>(bytes, sizeof in));
  if (!ReadAt(file, at, in, take)) return 0;
  z_stream z{};
  if (inflateInit(&z) != Z_OK) return 0;
  z.next_in = in;
  z.avail_in = static_cast<uInt>(take);
  z.next_out = out;
  z.avail_out = static_cast<uInt>(n);
  inflate(&z, Z_SYNC_FLUSH);
  const std::size_t got = n - z.avail_out;
  inflateEnd(&z);
  return got;
}

// Version 5: after the header, each variable is a tag (type, byte count)
// and its bytes, padded to 8 unless compressed.
std::vector<Extent> WalkV5(std::FILE* file, long long size, bool big_endian) {
  constexpr std::uint32_t kCompressed = 15;
  std::vector<Extent> extents;
  long long at = 128;
  unsigned char tag[8];
  unsigned char head[64];
  while (at + 8 <= size && ReadAt(file, at, tag, 8)) {
    const long long bytes = Word(tag + 4, big_endian);
    const bool padded = Word(tag, big_endian) != kCompressed;
    Extent& e = extents.emplace_back();
    if (padded) {
      std::copy(tag, tag + 8, head);
      const std::size_t n = ReadAt(file, at + 8, head + 8, 56) ? 64 : 0;
      e.container_elements = ContainerElements(head, n, big_endian);
    } else {
      e.container_elements =
          ContainerElements(head, Inflated(file, at + 8, bytes, head, sizeof head), big_endian);
    }
    at += 8 + (padded ? (bytes + 7) / 8 * 8 : bytes);
    e.cut_short = at - (padded ? (8 - bytes % 8) % 8 : 0) > size;
    if (e.cut_short) break;
  }
  return extents;
}

// Version 4: a 20-byte header (type MOPT, rows, columns, imaginary flag,
// name length), the name, then the real and imaginary parts.
std::vector<Extent> WalkV4(std::FILE* file, long long size) {
  constexpr int kPrecisionBytes[] = {8, 4, 4, 2, 2, 1};
  std::vector<Extent> cut;
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
      cut.push_back({true, 0});
      break;
    }
    at += 20 + Word(head + 16, big_endian) + rows * columns * parts * kPrecisionBytes[precision];
    cut.push_back({at > size, 0});
    if (cut.back().cut_short) break;
  }
  return cut;
}

}  // namespace

std::vector<Extent> Extents(std::FILE* file, long long size, bool version5) {
  if (!version5) return WalkV4(file, size);
  // The byte-order mark "MI" reads back as "IM" when written little-endian.
  unsigned char header[128];
  if (size < 128 || !ReadAt(file, 0, header, 128)) return {};
  return WalkV5(file, size, header[126] == 'M');
}

}  // namespace quorvix::matfile

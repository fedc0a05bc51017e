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

// The bytes of one variable, read in order: straight from the file, or
// inflated from a compressed variable. Read and Skip fail at the end of the
// data, which ends the check (matio finds no more there either).
class Source {
 public:
  virtual ~Source() = default;
  virtual bool Read(unsigned char* out, std::size_t n) = 0;
  virtual bool Skip(unsigned long long n) = 0;
};

class FileSource : public Source {
 public:
  FileSource(std::FILE* file, long long at, long long end) : file_(file), at_(at), end_(end) {}
  bool Read(unsigned char* out, std::size_t n) override {
    if (at_ + static_cast<long long>(n) > end_ || !ReadAt(file_, at_, out, n)) return false;
    at_ += static_cast<long long>(n);
    return true;
  }
  bool Skip(unsigned long long n) override {
    if (n > static_cast<unsigned long long>(end_ - at_)) return false;
    at_ += static_cast<long long>(n);
    return true;
  }

 private:
  std::FILE* file_;
  long long at_, end_;
};

class InflateSource : public Source {
 public:
  InflateSource(std::FILE* file, long long at, long long bytes)
      : file_(file), at_(at), end_(at + bytes) {
    started_ = inflateInit(&z_) == Z_OK;
    ok_ = started_;
  }
  ~InflateSource() override {
    if (started_) inflateEnd(&z_);
  }
  InflateSource(const InflateSource&) = delete;
  InflateSource& operator=(const InflateSource&) = delete;

  bool Read(unsigned char* out, std::size_t n) override {
    z_.next_out = out;
    z_.avail_out = static_cast<uInt>(n);
    while (ok_ && z_.avail_out > 0) {
      if (z_.avail_in == 0) {
        const std::size_t take =
            static_cast<std::size_t>(std::min<long long>(end_ - at_, sizeof in_));
        if (take == 0 || !ReadAt(file_, at_, in_, take)) return ok_ = false;
        at_ += static_cast<long long>(take);
        z_.next_in = in_;
        z_.avail_in = static_cast<uInt>(take);
      }
      const int status = inflate(&z_, Z_NO_FLUSH);
      if (status == Z_STREAM_END && z_.avail_out > 0) return ok_ = false;
      if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) return ok_ = false;
    }
    return ok_;
  }
  bool Skip(unsigned long long n) override {
    unsigned char scratch[16384];
    for (; n > 0;) {
      const std::size_t step =
          static_cast<std::size_t>(std::min<unsigned long long>(n, sizeof scratch));
      if (!Read(scratch, step)) return false;
      n -= step;
    }
    return true;
  }

 private:
  std::FILE* file_;
  long long at_, end_;
  unsigned char in_[16384];
  z_stream z_{};
  bool started_ = false;
  bool ok_ = false;  // false from the first failure on
};

// Walks the header of one variable and every cell and struct field inside
// it, as matio will, checking each announced count before matio sees it.
class HeaderCheck {
 public:
  HeaderCheck(Source& source, bool big_endian, unsigned long long max_elements)
      : source_(source), big_endian_(big_endian), max_elements_(max_elements) {}

  // The contents of a matrix element of `budget` bytes (`beyond` more are
  // announced past the end of the file); false when the walk ends (the data
  // end, or damage was found).
  bool Matrix(unsigned long long budget, int depth, unsigned long long beyond = 0) {
    constexpr unsigned kCell = 1, kStruct = 2, kObject = 3;
    constexpr int kMaxNesting = 64;
    // matio reads a variable's header (and sizes its text by the data tag)
    // whatever byte count the variable announces: a header that does not fit
    // that count is read from the bytes after it. Only an empty cell or
    // field is passed over, and a variable cut short by the end of the file
    // ends there for matio too.
    const bool cut = depth == 0 && beyond > 0;
    if (budget == 0) return depth == 0 && !cut ? Damaged(kHeaderDamaged) : true;
    if (depth > kMaxNesting) return Damaged("a variable is nested too deeply");
    Element flags, dims, name;
    if (!Next(budget, flags, cut) || !Next(budget, dims, cut) || !Next(budget, name, cut))
      return false;
    // matio reads the flags as two words whatever their tag says, and the
    // dimensions as whole words: any other length parts its reading from ours.
    if (flags.bytes != 8 || dims.bytes % 4 != 0) return Damaged(kHeaderDamaged);
    const unsigned klass = flags.data.size() >= 4 ? Word(flags.data.data(), big_endian_) & 0xFF : 0;
    if (klass != kCell && klass != kStruct && klass != kObject) {
      // matio sizes some data (text in UTF-8, say) by the data's own tag.
      unsigned char tag[8];
      if (budget < 8) return !cut && Damaged(kHeaderDamaged);
      if (!source_.Read(tag, 8)) return false;
      const std::uint32_t type = Word(tag, big_endian_);
      const unsigned long long bytes = type >> 16 != 0 ? type >> 16 : Word(tag + 4, big_endian_);
      if (bytes > budget - 8 + beyond) return Damaged(kHeaderDamaged);
      return depth == 0 || source_.Skip(budget - 8);
    }
    unsigned long long count = 1;
    for (std::size_t i = 0; i + 4 <= dims.data.size(); i += 4)
      count = Times(count, Word(dims.data.data() + i, big_endian_));
    if (klass != kCell) {
      Element class_name, length, names;
      if (klass == kObject && !Next(budget, class_name, cut)) return false;
      if (!Next(budget, length, cut) || !Next(budget, names, cut)) return false;
      const unsigned long long each =
          length.data.size() >= 4 ? Word(length.data.data(), big_endian_) : 0;
      count = Times(count, each != 0 ? names.bytes / each : 0);
    }
    // Every cell or field takes a tag of 8 bytes at least.
    if (count > budget / 8)
      return Damaged("a variable announces more elements than the file holds");
    // matio makes a record for every cell and field at every level.
    total_ += count;
    if (total_ > max_elements_) return Damaged("a variable announces more elements than allowed");
    for (unsigned long long i = 0; i < count; ++i) {
      unsigned char tag[8];
      if (budget < 8 || !source_.Read(tag, 8)) return false;
      budget -= 8;
      const unsigned long long bytes = Word(tag + 4, big_endian_);
      if (Word(tag, big_endian_) != kMatrix || bytes > budget) return Damaged(kHeaderDamaged);
      budget -= bytes;
      if (!Matrix(bytes, depth + 1)) return false;
    }
    return depth == 0 || source_.Skip(budget);
  }

  const std::string& damage() const { return damage_; }

 private:
  static constexpr std::uint32_t kMatrix = 14;
  static constexpr const char* kHeaderDamaged = "a variable's header is damaged";

  struct Element {
    unsigned long long bytes = 0;
    std::vector<unsigned char> data;  // the first bytes, up to 64
  };

  static unsigned long long Times(unsigned long long a, unsigned long long b) {
    constexpr unsigned long long kMost = 1ull << 62;
    return b != 0 && a > kMost / b ? kMost : a * b;
  }

  bool Damaged(const char* why) {
    damage_ = why;
    return false;
  }

  // The next element inside a matrix: its tag (the small form keeps up to
  // 4 bytes in the tag itself), its first bytes, the rest skipped with the
  // padding to 8. A tag past the matrix's byte count is damage unless the
  // matrix is `cut` short by the end of the file.
  bool Next(unsigned long long& budget, Element& e, bool cut) {
    unsigned char tag[8];
    if (budget < 8) return !cut && Damaged(kHeaderDamaged);
    if (!source_.Read(tag, 8)) return false;
    budget -= 8;
    const std::uint32_t type = Word(tag, big_endian_);
    if (type >> 16 != 0) {
      e.bytes = std::min<unsigned long long>(type >> 16, 4);
      e.data.assign(tag + 4, tag + 4 + e.bytes);
      return true;
    }
    e.bytes = Word(tag + 4, big_endian_);
    if (e.bytes > budget) return Damaged(kHeaderDamaged);
    const unsigned long long padded = std::min(budget, (e.bytes + 7) / 8 * 8);
    const std::size_t keep = static_cast<std::size_t>(std::min<unsigned long long>(e.bytes, 64));
    e.data.resize(keep);
    if (!source_.Read(e.data.data(), keep) || !source_.Skip(padded - keep)) return false;
    budget -= padded;
    return true;
  }

  Source& source_;
  bool big_endian_;
  unsigned long long max_elements_;
  unsigned long long total_ = 0;  // cells and fields announced so far
  std::string damage_;
};

// Version 5: after the header, each variable is a tag (type, byte count)
// and its bytes, padded to 8 unless compressed.
std::vector<Extent> WalkV5(std::FILE* file, long long size, bool big_endian,
                           unsigned long long max_elements) {
  constexpr std::uint32_t kCompressed = 15, kMatrix = 14;
  // zlib inflates at most about 1032:1.
  constexpr unsigned long long kMaxInflation = 1100;
  std::vector<Extent> extents;
  long long at = 128;
  unsigned char tag[8];
  while (at + 8 <= size && ReadAt(file, at, tag, 8)) {
    const long long bytes = Word(tag + 4, big_endian);
    const std::uint32_t type = Word(tag, big_endian);
    const bool padded = type != kCompressed;
    const long long in_file = std::min(bytes, size - at - 8);
    Extent& e = extents.emplace_back();
    if (type == kMatrix) {
      FileSource source(file, at + 8, at + 8 + in_file);
      HeaderCheck check(source, big_endian, max_elements);
      check.Matrix(static_cast<unsigned long long>(in_file), 0,
                   static_cast<unsigned long long>(bytes - in_file));
      e.damage = check.damage();
    } else if (!padded) {
      InflateSource source(file, at + 8, in_file);
      unsigned char inner[8];
      if (source.Read(inner, 8) && Word(inner, big_endian) == kMatrix) {
        const unsigned long long most = static_cast<unsigned long long>(in_file) * kMaxInflation;
        HeaderCheck check(source, big_endian, max_elements);
        check.Matrix(std::min<unsigned long long>(Word(inner + 4, big_endian), most), 0);
        e.damage = check.damage();
      }
    }
    at += 8 + (padded ? (bytes + 7) / 8 * 8 : bytes);
    e.cut_short = at - (padded ? (8 - bytes % 8) % 8 : 0) > size;
    if (e.cut_short || !e.damage.empty()) break;
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
    // matio allocates the name's announced length before reading it.
    if (Word(head + 16, big_endian) > size - at - 20) {
      cut.push_back({false, "a variable's header is damaged"});
      break;
    }
    if (rows != 0 && columns > size / rows) {
      cut.push_back({true, {}});
      break;
    }
    at += 20 + Word(head + 16, big_endian) + rows * columns * parts * kPrecisionBytes[precision];
    cut.push_back({at > size, {}});
    if (cut.back().cut_short) break;
  }
  return cut;
}

}  // namespace

std::vector<Extent> Extents(std::FILE* file, long long size, bool version5,
                            unsigned long long max_elements) {
  if (!version5) return WalkV4(file, size);
  // The byte-order mark "MI" reads back as "IM" when written little-endian.
  unsigned char header[128];
  if (size < 128 || !ReadAt(file, 0, header, 128)) return {};
  return WalkV5(file, size, header[126] == 'M', max_elements);
}

}  // namespace quorvix::matfile

#include "hdf5/hdf5_listing.h"

#include <cstdint>
#include <cstring>

namespace quorvix::hdf5 {

namespace {

void PutNumber(std::string& out, std::uint64_t n) {
  char bytes[sizeof n];
  std::memcpy(bytes, &n, sizeof n);
  out.append(bytes, sizeof n);
}

void PutText(std::string& out, std::string_view text) {
  PutNumber(out, text.size());
  out.append(text);
}

// Takes from the front of the bytes; every take checks what is left.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : rest_(bytes) {}
  bool Number(std::uint64_t& n) {
    if (rest_.size() < sizeof n) return false;
    std::memcpy(&n, rest_.data(), sizeof n);
    rest_.remove_prefix(sizeof n);
    return true;
  }
  bool Signed(long long& n) {
    std::uint64_t u = 0;
    if (!Number(u)) return false;
    n = static_cast<long long>(u);
    return true;
  }
  bool Text(std::string& text) {
    std::uint64_t n = 0;
    if (!Number(n) || n > rest_.size()) return false;
    text.assign(rest_.substr(0, n));
    rest_.remove_prefix(n);
    return true;
  }
  // A count of items that each take at least `least` bytes.
  bool Count(std::uint64_t& n, std::size_t least) { return Number(n) && n <= rest_.size() / least; }
  bool done() const { return rest_.empty(); }

 private:
  std::string_view rest_;
};

}  // namespace

std::string Encode(const Listing& listing) {
  std::string out(1, static_cast<char>(listing.status));
  PutNumber(out, listing.datasets.size());
  for (const DatasetInfo& d : listing.datasets) {
    PutText(out, d.path);
    PutText(out, d.refusal);
    PutNumber(out, static_cast<std::uint64_t>(d.rows));
    PutNumber(out, static_cast<std::uint64_t>(d.columns));
    PutText(out, d.unit);
    PutNumber(out, d.text ? 1 : 0);
    PutNumber(out, d.texts.size());
    for (const std::string& t : d.texts) PutText(out, t);
  }
  return out;
}

bool Decode(std::string_view bytes, Listing& listing) {
  if (bytes.empty()) return false;
  listing.status = static_cast<WalkStatus>(bytes.front());
  Reader in(bytes.substr(1));
  std::uint64_t count = 0;
  if (!in.Count(count, 7 * sizeof count)) return false;
  listing.datasets.resize(count);
  for (DatasetInfo& d : listing.datasets) {
    std::uint64_t text = 0, texts = 0;
    if (!in.Text(d.path) || !in.Text(d.refusal) || !in.Signed(d.rows) || !in.Signed(d.columns) ||
        !in.Text(d.unit) || !in.Number(text) || !in.Count(texts, sizeof texts))
      return false;
    d.text = text != 0;
    d.texts.resize(texts);
    for (std::string& t : d.texts)
      if (!in.Text(t)) return false;
  }
  return in.done();
}

}  // namespace quorvix::hdf5

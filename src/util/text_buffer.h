// The character buffer under the output streams. An append that fits is a
// room check and an inline copy; only growing calls out of line. The
// output path appends a few bytes at a time (a text run, a number, a line
// end), where std::string::append's call and bookkeeping cost more than
// the copy itself.
#ifndef QUORVIX_UTIL_TEXT_BUFFER_H
#define QUORVIX_UTIL_TEXT_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

class TextBuffer {
 public:
  TextBuffer() = default;
  ~TextBuffer();
  TextBuffer(TextBuffer&& other) noexcept
      : data_(other.data_), size_(other.size_), capacity_(other.capacity_) {
    other.data_ = nullptr;
    other.size_ = other.capacity_ = 0;
  }
  TextBuffer& operator=(TextBuffer&& other) noexcept;
  TextBuffer(const TextBuffer&) = delete;
  TextBuffer& operator=(const TextBuffer&) = delete;

  const char* data() const { return data_; }
  std::size_t size() const { return size_; }
  std::size_t capacity() const { return capacity_; }
  bool empty() const { return size_ == 0; }
  std::string_view view() const { return {data_, size_}; }
  // The position of the last `c`, or npos.
  std::size_t find_last(char c) const {
    for (std::size_t i = size_; i > 0; --i)
      if (data_[i - 1] == c) return i - 1;
    return npos;
  }

  void clear() { size_ = 0; }
  // Keeps the first `n` characters (n at most size()).
  void truncate(std::size_t n) { size_ = n; }
  void reserve(std::size_t n) {
    if (n > capacity_) Grow(n - size_);
  }

  void push_back(char c) {
    if (size_ == capacity_) Grow(1);
    data_[size_++] = c;
  }
  void append(const char* s, std::size_t n) {
    if (n > capacity_ - size_) Grow(n);
    Copy(data_ + size_, s, n);
    size_ += n;
  }
  void append(std::string_view s) { append(s.data(), s.size()); }

  // Room for `n` characters after the text, to be written in place and
  // then taken in by commit(end) (end at most n past the old end).
  char* room(std::size_t n) {
    if (n > capacity_ - size_) Grow(n);
    return data_ + size_;
  }
  void commit(const char* end) { size_ = static_cast<std::size_t>(end - data_); }

  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

 private:
  // Makes room for `n` more characters, at least doubling the capacity.
  void Grow(std::size_t n);

  // Up to 16 bytes as two overlapping loads and stores, without a call.
  static void Copy(char* d, const char* s, std::size_t n) {
    if (n >= 8) {
      if (n > 16) {
        std::memcpy(d, s, n);
        return;
      }
      std::uint64_t a, b;
      std::memcpy(&a, s, 8);
      std::memcpy(&b, s + n - 8, 8);
      std::memcpy(d, &a, 8);
      std::memcpy(d + n - 8, &b, 8);
    } else if (n >= 4) {
      std::uint32_t a, b;
      std::memcpy(&a, s, 4);
      std::memcpy(&b, s + n - 4, 4);
      std::memcpy(d, &a, 4);
      std::memcpy(d + n - 4, &b, 4);
    } else if (n > 0) {
      d[0] = s[0];
      d[n / 2] = s[n / 2];
      d[n - 1] = s[n - 1];
    }
  }

  char* data_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

#endif

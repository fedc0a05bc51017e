#include "util/text_buffer.h"

#include <cstdlib>
#include <new>
#include <utility>

TextBuffer::~TextBuffer() { std::free(data_); }

TextBuffer& TextBuffer::operator=(TextBuffer&& other) noexcept {
  if (this != &other) {
    std::free(data_);
    data_ = std::exchange(other.data_, nullptr);
    size_ = std::exchange(other.size_, 0);
    capacity_ = std::exchange(other.capacity_, 0);
  }
  return *this;
}

void TextBuffer::Grow(std::size_t n) {
  if (n > static_cast<std::size_t>(-1) / 2 - size_) throw std::bad_alloc();
  std::size_t capacity = capacity_ < 32 ? 64 : 2 * capacity_;
  if (capacity < size_ + n) capacity = size_ + n;
  // realloc may extend the block in place; a big buffer is then not copied.
  void* grown = std::realloc(data_, capacity);
  if (grown == nullptr) throw std::bad_alloc();
  data_ = static_cast<char*>(grown);
  capacity_ = capacity;
}

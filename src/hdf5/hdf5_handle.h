// Owning handles on HDF5 identifiers and the guard every use of the library
// runs under.
#ifndef QUORVIX_HDF5_HDF5_HANDLE_H
#define QUORVIX_HDF5_HDF5_HANDLE_H

#include <hdf5.h>

#include <mutex>
#include <utility>

namespace quorvix::hdf5 {

// An identifier closed with its own close function when the handle goes.
// Invalid (negative) identifiers are held without closing.
class Handle {
 public:
  using Closer = herr_t (*)(hid_t);
  Handle() = default;
  Handle(hid_t id, Closer close) : id_(id), close_(close) {}
  Handle(Handle&& other) noexcept
      : id_(std::exchange(other.id_, H5I_INVALID_HID)), close_(other.close_) {}
  Handle& operator=(Handle&& other) noexcept {
    if (this != &other) {
      Reset();
      id_ = std::exchange(other.id_, H5I_INVALID_HID);
      close_ = other.close_;
    }
    return *this;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Reset(); }

  hid_t get() const { return id_; }
  bool valid() const { return id_ >= 0; }

 private:
  void Reset() {
    if (id_ >= 0 && close_) close_(id_);
    id_ = H5I_INVALID_HID;
  }
  hid_t id_ = H5I_INVALID_HID;
  Closer close_ = nullptr;
};

// Serialises use of the library (the serial build is not thread-safe) and
// keeps its own error printing quiet while we hold it; failures become our
// messages. The host's error handler is given back afterwards, so a host
// that uses HDF5 itself keeps its settings.
class LibraryGuard {
 public:
  LibraryGuard() : hold_(Mutex()) {
    H5Eget_auto2(H5E_DEFAULT, &saved_func_, &saved_data_);
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  }
  ~LibraryGuard() { H5Eset_auto2(H5E_DEFAULT, saved_func_, saved_data_); }
  LibraryGuard(const LibraryGuard&) = delete;
  LibraryGuard& operator=(const LibraryGuard&) = delete;

 private:
  static std::recursive_mutex& Mutex() {
    static std::recursive_mutex mutex;
    return mutex;
  }
  std::lock_guard<std::recursive_mutex> hold_;
  H5E_auto2_t saved_func_ = nullptr;
  void* saved_data_ = nullptr;
};

}  // namespace quorvix::hdf5

#endif  // QUORVIX_HDF5_HDF5_HANDLE_H

// Values between the library's records and Python objects.
//
// Into the library: a number (anything with __float__) is a scalar, a str
// one string, a list or tuple of str a string list, and a numpy array (or
// anything numpy turns into one) of up to two dimensions a numeric array;
// a 1-D array of n elements is a 1 x n row. Numbers are copied once, into
// storage the record owns; other dtypes are converted to float64 on the way.
// Out of the library: a scalar is a quorvix.Scalar (a float), one string a
// str, several a list of str, and a numeric array a float64 numpy array that
// takes the record's storage without a copy (a 1 x n row is 1-D).
//
// Both directions run under the library guard: records come from the
// library's process-wide pool.
#ifndef QUORVIX_PYTHON_CONVERT_H
#define QUORVIX_PYTHON_CONVERT_H

#include <pybind11/pybind11.h>

#include <string>

#include "quorvix/symtab.h"

namespace quorvix::python {

// The class of scalars (quorvix.Scalar, a float subclass without fields of
// its own), set once when the package loads.
void SetScalarClass(pybind11::object scalar_class);

// Takes `record` (owned; freed here) and returns its Python value.
pybind11::object ToPython(symtab* record);

// Fills `out` (anonymous, kind 0) from `value`; throws pybind11 TypeError
// or ValueError naming `what` when the value cannot be converted.
void FromPython(pybind11::handle value, symtab& out, const std::string& what);

// The UTF-8 bytes of a str argument, undecodable bytes kept
// (surrogateescape): Python's own UTF-8 copy of the str where it has one,
// valid while the str lives. Throws TypeError naming `what` for anything
// but a str and ValueError when the text holds a NUL character.
class TextView {
 public:
  TextView(pybind11::handle text, const std::string& what);
  const char* c_str() const { return data_; }
  std::string str() const { return std::string(data_, size_); }

 private:
  const char* data_ = nullptr;
  std::size_t size_ = 0;
  pybind11::object encoded_;  // holds the bytes of the surrogateescape path
};

inline std::string TextArgument(pybind11::handle text, const std::string& what) {
  return TextView(text, what).str();
}

}  // namespace quorvix::python

#endif

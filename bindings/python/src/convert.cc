#include "convert.h"

#include <pybind11/numpy.h>

#include <climits>
#include <cstring>
#include <exception>
#include <memory>
#include <vector>

namespace quorvix::python {

namespace py = pybind11;

namespace {

// Kept for the life of the process: a static py::object would be released
// after the interpreter has gone.
py::object& ScalarClass() {
  static auto* scalar_class = new py::object();
  return *scalar_class;
}

struct RecordDeleter {
  void operator()(symtab* record) const { record->Delete(); }
};
using OwnedRecord = std::unique_ptr<symtab, RecordDeleter>;

py::str Decode(const char* text) {
  PyObject* decoded =
      PyUnicode_DecodeUTF8(text, static_cast<Py_ssize_t>(std::strlen(text)), "surrogateescape");
  if (decoded == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(decoded);
}

py::object StringsOf(const symtab& record) {
  auto text = [&record](int i) {
    return Decode(record.str_list[i] != nullptr ? record.str_list[i] : "");
  };
  if (record.num_strings == 1) return text(0);
  py::list list(record.num_strings);
  for (int i = 0; i < record.num_strings; ++i) list[static_cast<std::size_t>(i)] = text(i);
  return list;
}

// The array takes the record's storage: no copy of the elements.
py::object ArrayOf(symtab& record) {
  std::vector<py::ssize_t> shape{record.rows, record.cols};
  if (record.rows == 1) shape.erase(shape.begin());
  if (record.data == nullptr || record.rows == 0 || record.cols == 0)
    return py::array_t<double>(shape);
  std::unique_ptr<double[]> storage(record.data);
  record.data = nullptr;
  double* data = storage.get();
  py::capsule owner(data, [](void* p) { delete[] static_cast<double*>(p); });
  storage.release();
  return py::array_t<double>(shape, data, owner);
}

bool IsSequence(py::handle value) {
  return PyList_Check(value.ptr()) || PyTuple_Check(value.ptr());
}

bool AllText(py::handle sequence) {
  py::sequence items = py::reinterpret_borrow<py::sequence>(sequence);
  if (items.size() == 0) return false;
  for (py::handle item : items)
    if (!py::isinstance<py::str>(item)) return false;
  return true;
}

void StringsFrom(py::handle sequence, symtab& out, const std::string& what) {
  py::sequence items = py::reinterpret_borrow<py::sequence>(sequence);
  std::vector<std::string> texts;
  texts.reserve(items.size());
  for (py::handle item : items) texts.push_back(TextArgument(item, what));
  if (texts.size() > static_cast<std::size_t>(INT_MAX))
    throw py::value_error(what + ": too many strings");
  const int n = static_cast<int>(texts.size());
  auto list = std::make_unique<char*[]>(static_cast<std::size_t>(n));
  for (int i = 0; i < n; ++i) list[i] = newstrdup(texts[static_cast<std::size_t>(i)].c_str());
  out.SetStrings(list.release(), n);
}

void ArrayFrom(py::handle value, symtab& out, const std::string& what) {
  py::array array = py::isinstance<py::array>(value)
                        ? py::reinterpret_borrow<py::array>(value)
                        : py::array(py::module_::import("numpy").attr("asarray")(value));
  const char kind = array.dtype().kind();
  if (kind != 'f' && kind != 'i' && kind != 'u' && kind != 'b')
    throw py::type_error(what + ": numpy arrays of dtype " +
                         py::str(array.dtype()).cast<std::string>() +
                         " are not supported (numbers only)");
  if (array.ndim() > 2)
    throw py::value_error(what + ": arrays of more than 2 dimensions are not supported");
  // float64 in C order is used as it is; anything else is converted first.
  auto doubles = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(array);
  if (!doubles) throw py::error_already_set();
  if (doubles.ndim() == 0) {
    out.SetScalar(*doubles.data());
    return;
  }
  const py::ssize_t rows = doubles.ndim() == 2 ? doubles.shape(0) : 1;
  const py::ssize_t cols = doubles.ndim() == 2 ? doubles.shape(1) : doubles.shape(0);
  if (rows > INT_MAX || cols > INT_MAX || (cols != 0 && rows > INT_MAX / cols))
    throw py::value_error(what + ": too many elements");
  try {
    double* data = out.SetArray(static_cast<int>(rows), static_cast<int>(cols));
    if (rows * cols > 0)
      std::memcpy(data, doubles.data(), static_cast<std::size_t>(rows * cols) * sizeof(double));
  } catch (const std::exception& e) {
    throw py::value_error(what + ": " + e.what());
  }
}

}  // namespace

void SetScalarClass(py::object scalar_class) {
  // Scalars are made as floats of this type (see ToPython): it must have a
  // float's layout.
  auto* type = reinterpret_cast<PyTypeObject*>(scalar_class.ptr());
  if (!PyType_Check(scalar_class.ptr()) || !PyType_IsSubtype(type, &PyFloat_Type) ||
      type->tp_basicsize != PyFloat_Type.tp_basicsize)
    throw py::type_error("the scalar class must be a float subclass without fields");
  ScalarClass() = std::move(scalar_class);
}

py::object ToPython(symtab* record) {
  OwnedRecord owned(record);
  if (record == nullptr) return py::none();
  switch (record->type) {
    case SYM_SCALAR: {
      // Made directly rather than through a call of the class: a scalar
      // result is the common case and the call costs more than the rest.
      auto* type = reinterpret_cast<PyTypeObject*>(ScalarClass().ptr());
      PyObject* scalar = type->tp_alloc(type, 0);
      if (scalar == nullptr) throw py::error_already_set();
      reinterpret_cast<PyFloatObject*>(scalar)->ob_fval = record->value;
      return py::reinterpret_steal<py::object>(scalar);
    }
    case SYM_ARRAY:
      return ArrayOf(*record);
    case SYM_STRINGS:
      return StringsOf(*record);
    default:
      return py::none();
  }
}

void FromPython(py::handle value, symtab& out, const std::string& what) {
  if (py::isinstance<py::str>(value)) {
    out.SetString(TextArgument(value, what).c_str());
  } else if (IsSequence(value) && AllText(value)) {
    StringsFrom(value, out, what);
  } else if (IsSequence(value) || py::isinstance<py::array>(value)) {
    ArrayFrom(value, out, what);
  } else if (PyFloat_Check(value.ptr()) || PyLong_Check(value.ptr()) ||
             PyObject_HasAttrString(value.ptr(), "__float__")) {
    const double number = PyFloat_AsDouble(value.ptr());
    if (number == -1.0 && PyErr_Occurred()) throw py::error_already_set();
    out.SetScalar(number);
  } else {
    throw py::type_error(what + ": cannot convert " +
                         py::str(py::type::handle_of(value).attr("__name__")).cast<std::string>() +
                         " to a quorvix value");
  }
}

TextView::TextView(py::handle text, const std::string& what) {
  if (!py::isinstance<py::str>(text)) throw py::type_error(what + " must be a str");
  Py_ssize_t size = 0;
  data_ = PyUnicode_AsUTF8AndSize(text.ptr(), &size);
  if (data_ == nullptr) {
    // Lone surrogates (bytes that came in undecodable) have no UTF-8 form.
    PyErr_Clear();
    PyObject* bytes = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape");
    if (bytes == nullptr) throw py::error_already_set();
    encoded_ = py::reinterpret_steal<py::object>(bytes);
    data_ = PyBytes_AS_STRING(bytes);
    size = PyBytes_GET_SIZE(bytes);
  }
  size_ = static_cast<std::size_t>(size);
  if (std::memchr(data_, '\0', size_) != nullptr)
    throw py::value_error(what + " contains a NUL character");
}

}  // namespace quorvix::python

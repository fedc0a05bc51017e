#include "matio/mat_values.h"

#include <cstdint>
#include <cstring>

namespace quorvix::matfile {

namespace {

struct RefusedClass {
  matio_classes klass;
  const char* reason;
};

constexpr RefusedClass kRefusedClasses[] = {
    {MAT_C_SPARSE, "sparse matrices are not read"},
    {MAT_C_FUNCTION, "function handles are not read"},
    {MAT_C_OBJECT, "objects are not read"},
    {MAT_C_OPAQUE, "objects are not read"},
};

// matio reads numeric data in the variable's own class.
template <typename T>
void Append(const void* data, std::size_t first, std::size_t count, std::vector<double>& out) {
  const T* from = static_cast<const T*>(data) + first;
  out.reserve(out.size() + count);
  for (std::size_t i = 0; i < count; ++i) out.push_back(static_cast<double>(from[i]));
}

using Converter = void (*)(const void*, std::size_t, std::size_t, std::vector<double>&);

struct NumericClass {
  matio_classes klass;
  std::size_t size;
  Converter convert;
};

constexpr NumericClass kNumericClasses[] = {
    {MAT_C_DOUBLE, sizeof(double), &Append<double>}, {MAT_C_SINGLE, sizeof(float), &Append<float>},
    {MAT_C_INT8, 1, &Append<std::int8_t>},           {MAT_C_UINT8, 1, &Append<std::uint8_t>},
    {MAT_C_INT16, 2, &Append<std::int16_t>},         {MAT_C_UINT16, 2, &Append<std::uint16_t>},
    {MAT_C_INT32, 4, &Append<std::int32_t>},         {MAT_C_UINT32, 4, &Append<std::uint32_t>},
    {MAT_C_INT64, 8, &Append<std::int64_t>},         {MAT_C_UINT64, 8, &Append<std::uint64_t>},
};

const NumericClass* FindNumeric(matio_classes klass) {
  for (const NumericClass& c : kNumericClasses)
    if (c.klass == klass) return &c;
  return nullptr;
}

void AppendUtf8(std::uint32_t code, std::string& out) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | ((code >> 18) & 0x07));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

// One character of a char array: stored UTF-8 bytes pass as they are, other
// code units are code points.
std::uint32_t CodeUnit(const void* data, std::size_t width, std::size_t at) {
  if (width == 1) return static_cast<const std::uint8_t*>(data)[at];
  if (width == 2) return static_cast<const std::uint16_t*>(data)[at];
  return static_cast<const std::uint32_t*>(data)[at];
}

bool CharRows(const matvar_t& var, std::vector<std::string>& out, std::string* why) {
  std::size_t rows = 0, columns = 0, count = 0;
  MatrixShape(var, &rows, &columns);
  if (!ElementCount(var, &count)) return *why = "text too large", false;
  if (count == 0) {
    if (rows > 0 || columns > 0) out.resize(out.size() + rows);
    return true;
  }
  const std::size_t width = Mat_SizeOf(var.data_type);
  if (var.data == nullptr || (width != 1 && width != 2 && width != 4) || var.nbytes / width < count)
    return *why = "text could not be read", false;
  for (std::size_t r = 0; r < rows; ++r) {
    std::string row;
    row.reserve(columns);
    for (std::size_t c = 0; c < columns; ++c) {
      std::uint32_t code = CodeUnit(var.data, width, r + c * rows);
      if (var.data_type == MAT_T_UTF8)
        row += static_cast<char>(code);
      else
        AppendUtf8(code, row);
    }
    out.push_back(std::move(row));
  }
  return true;
}

}  // namespace

bool ElementCount(const matvar_t& var, std::size_t* count) {
  std::size_t n = 1;
  for (int i = 0; i < var.rank; ++i) {
    std::size_t d = var.dims ? var.dims[i] : 0;
    if (d != 0 && n > SIZE_MAX / d) return false;
    n *= d;
  }
  *count = var.rank > 0 ? n : 0;
  return true;
}

void MatrixShape(const matvar_t& var, std::size_t* rows, std::size_t* columns) {
  *rows = var.rank > 0 && var.dims ? var.dims[0] : 1;
  std::size_t c = 1;
  for (int i = 1; i < var.rank && var.dims; ++i) c *= var.dims[i];
  *columns = c;
}

LeafKind Classify(const matvar_t& var, std::string* reason) {
  for (const RefusedClass& r : kRefusedClasses)
    if (var.class_type == r.klass) return *reason = r.reason, LeafKind::kRefused;
  if (var.isComplex) return *reason = "complex values are not read", LeafKind::kRefused;
  if (var.class_type == MAT_C_STRUCT) return LeafKind::kStruct;
  if (var.class_type == MAT_C_CHAR) return LeafKind::kText;
  if (var.class_type == MAT_C_EMPTY || FindNumeric(var.class_type)) return LeafKind::kNumeric;
  if (var.class_type == MAT_C_CELL) {
    std::size_t count = 0;
    // matio indexes the cells without looking at the pointer.
    bool all_text = ElementCount(var, &count) && (count == 0 || var.data != nullptr);
    for (std::size_t i = 0; all_text && i < count; ++i) {
      const matvar_t* cell = Mat_VarGetCell(const_cast<matvar_t*>(&var), static_cast<int>(i));
      all_text = cell && cell->class_type == MAT_C_CHAR;
    }
    if (all_text) return LeafKind::kText;
    *reason = "a cell array that is not all text is not read";
    return LeafKind::kRefused;
  }
  *reason = "this class is not read";
  return LeafKind::kRefused;
}

bool NumericValues(const matvar_t& var, long long column, std::vector<double>& out,
                   std::string* why) {
  std::size_t count = 0, rows = 0, columns = 0;
  if (!ElementCount(var, &count)) return *why = "too many elements", false;
  MatrixShape(var, &rows, &columns);
  std::size_t first = 0;
  if (column >= 0) {
    if (static_cast<std::size_t>(column) >= columns) return *why = "no such column", false;
    first = static_cast<std::size_t>(column) * rows;
    count = rows;
  }
  out.clear();
  if (count == 0) return true;
  const NumericClass* klass = FindNumeric(var.class_type);
  if (klass == nullptr) return *why = "not numeric", false;
  // The data must hold what the dimensions announce.
  if (var.data == nullptr || var.nbytes / klass->size < first + count)
    return *why = "the values could not be read", false;
  klass->convert(var.data, first, count, out);
  return true;
}

bool TextValues(const matvar_t& var, std::vector<std::string>& out, std::string* why) {
  out.clear();
  if (var.class_type == MAT_C_CHAR) return CharRows(var, out, why);
  std::size_t count = 0;
  if (var.class_type != MAT_C_CELL || !ElementCount(var, &count)) return *why = "not text", false;
  for (std::size_t i = 0; i < count; ++i) {
    const matvar_t* cell = Mat_VarGetCell(const_cast<matvar_t*>(&var), static_cast<int>(i));
    if (cell == nullptr || cell->class_type != MAT_C_CHAR)
      return *why = "a cell array that is not all text is not read", false;
    std::vector<std::string> rows;
    if (!CharRows(*cell, rows, why)) return false;
    std::string joined;
    for (std::size_t r = 0; r < rows.size(); ++r) joined += (r ? "\n" : "") + rows[r];
    out.push_back(std::move(joined));
  }
  return true;
}

}  // namespace quorvix::matfile

#include "template/value_format.h"

#include <cstdio>

namespace quorvix {

namespace {

// printf into a string without a fixed buffer limit.
template <typename T>
void Print(std::string& out, const char* format, T value) {
  char buf[128];
  int n = std::snprintf(buf, sizeof buf, format, value);
  if (n < 0) return;
  if (static_cast<std::size_t>(n) < sizeof buf) {
    out.append(buf, static_cast<std::size_t>(n));
    return;
  }
  std::string big(static_cast<std::size_t>(n) + 1, '\0');
  std::snprintf(big.data(), big.size(), format, value);
  big.resize(static_cast<std::size_t>(n));
  out += big;
}

// Integer part of a double, saturated so that the conversion is defined.
long long Truncate(double v) {
  if (!(v == v)) return 0;
  if (v >= 9.2e18) return 9'200'000'000'000'000'000LL;
  if (v <= -9.2e18) return -9'200'000'000'000'000'000LL;
  return static_cast<long long>(v);
}

}  // namespace

bool FormatDouble(double value, const char* format, char letter, std::string& out) {
  switch (letter) {
    case 'e': case 'f': case 'g': case 'E': case 'F': case 'G':
      Print(out, format, value);
      return true;
    case 'd': case 'i': case 'o': case 'x': case 'X': {
      // The format's conversion takes an int; widen it to long long.
      std::string wide(format);
      std::size_t at = wide.find_last_of("diouxX");
      if (at != std::string::npos) {
        std::size_t l = at;
        while (l > 0 && wide[l - 1] == 'l') --l;
        wide.replace(l, at - l, "ll");
      }
      Print(out, wide.c_str(), Truncate(value));
      return true;
    }
    case 'c':
      Print(out, format, static_cast<int>(static_cast<unsigned char>(Truncate(value) & 0xff)));
      return true;
    default:
      return false;
  }
}

std::string SafeString(const char* text) {
  std::string out;
  if (text == nullptr) return out;
  for (int i = 0; text[i] != '\0' && i < 255; ++i) {
    if (text[i] == '"') out += '\\';
    out += text[i];
  }
  return out;
}

bool FormatValue(const symtab& value, const ValueFormat& f, std::string& out) {
  const char* nf = f.number_format.c_str();
  switch (value.type) {
    case SYM_SCALAR:
      return FormatDouble(value.value, nf, f.letter, out);
    case SYM_ARRAY: {
      const int rows = value.rows, cols = value.cols;
      const bool vector = rows == 1 || cols == 1;
      if (f.style == FormatStyle::kMatrix) {
        for (int r = 0; r < rows; ++r) {
          if (r) out += "\r\n";
          out += "|   ";
          for (int c = 0; c < cols; ++c) {
            if (c) out += "   ";
            if (!FormatDouble(value.data[r * cols + c], nf, f.letter, out)) return false;
          }
          out += "   |";
        }
        return true;
      }
      const bool array = f.style == FormatStyle::kArray;
      if (vector) {
        if (array) out += "{ ";
        for (int i = 0; i < rows * cols; ++i) {
          if (i) out += ", ";
          if (!FormatDouble(value.data[i], nf, f.letter, out)) return false;
        }
        if (array) out += " }";
        return true;
      }
      if (array) out += "{ ";
      for (int r = 0; r < rows; ++r) {
        out += "{ ";
        for (int c = 0; c < cols; ++c) {
          if (c) out += ", ";
          if (!FormatDouble(value.data[r * cols + c], nf, f.letter, out)) return false;
        }
        out += r + 1 < rows ? " }, " : " }";
      }
      if (array) out += " }";
      return true;
    }
    case SYM_STRINGS: {
      if (value.num_strings == 1) {
        std::string s(value.str_list[0] ? value.str_list[0] : "");
        if (s.size() > 16383) s.resize(16383);
        Print(out, f.string_format.c_str(), s.c_str());
        return true;
      }
      if (value.num_strings <= 0) return true;
      out += "{ ";
      for (int i = 0; i < value.num_strings; ++i) {
        const char* s = value.str_list && value.str_list[i] ? value.str_list[i] : "";
        out += '"';
        out += i + 1 < value.num_strings ? SafeString(s) : std::string(s);
        out += i + 1 < value.num_strings ? "\", " : "\" }";
      }
      return true;
    }
    default:
      return false;
  }
}

}  // namespace quorvix

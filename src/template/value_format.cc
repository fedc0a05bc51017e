#include "quorvix/value_format.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "template/number_text.h"

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

// "%g" (six significant digits) without printf, into `buf` (32 bytes at
// least); the end of the text, or null to leave the value to the exact path.
// The value is scaled by an exact power of ten (one correctly rounded
// operation, an error far below the rounding step); a value too close to a
// rounding tie, or beyond the exact powers, is left to the exact path.
char* FastG(double value, char* buf) {
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  const bool negative = (bits >> 63) != 0;
  const int biased = static_cast<int>(bits >> 52 & 0x7ff);
  if (biased == 0x7ff) return nullptr;  // NaN, infinities
  char* p = buf;
  if (negative) *p++ = '-';
  if (value == 0.0) {
    *p++ = '0';
    return p;
  }
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const double a = std::fabs(value);
  // The binary exponent times log10(2), rounded down (78913 / 2^18 is close
  // enough over the exponents that can pass the range test below); the
  // loop corrects an estimate one off either way. Subnormals fail the test.
  int exponent = ((biased - 1023) * 78913) >> 18;
  std::uint32_t d = 0;
  for (int attempt = 0;; ++attempt) {
    if (attempt == 3) return nullptr;
    const int shift = exponent - 5;
    if (shift < -22 || shift > 22) return nullptr;
    const double scaled = shift >= 0 ? a / kPowers[shift] : a * kPowers[-shift];
    // Six digits before the point: the exponent is the value's own. (Taking
    // 99999.5 as the bound instead would round 99999.9x to 100000 at this
    // exponent, where the one below gives 999999.x and so other digits.)
    if (scaled < 100000.0) {
      --exponent;
      continue;
    }
    if (scaled >= 1000000.0) {
      ++exponent;
      continue;
    }
    d = static_cast<std::uint32_t>(scaled);  // the floor: scaled is positive
    const double fraction = scaled - d;
    if (std::fabs(fraction - 0.5) < 1e-6) return nullptr;
    if (fraction > 0.5 && ++d == 1000000) {  // rounded up to the next power
      d = 100000;
      ++exponent;
    }
    break;
  }
  // The six digits, two at a time, then without their trailing zeros.
  static constexpr char kPairs[] =
      "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
      "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";
  char digits[16];
  const std::uint32_t high = d / 10000, low = d % 10000;
  std::memcpy(digits, kPairs + 2 * high, 2);
  std::memcpy(digits + 2, kPairs + 2 * (low / 100), 2);
  std::memcpy(digits + 4, kPairs + 2 * (low % 100), 2);
  int n = 6;
  while (digits[n - 1] == '0') --n;  // d has a leading digit other than 0
  // Copies of 8 bytes whatever the count: `buf` and `digits` have the room.
  if (exponent >= 0 && exponent < 6) {
    std::memcpy(p, digits, 8);
    p += exponent + 1;
    if (n > exponent + 1) {
      *p++ = '.';
      std::memcpy(p, digits + exponent + 1, 8);
      p += n - exponent - 1;
    }
  } else if (exponent < 0 && exponent >= -4) {
    std::memcpy(p, "0.000000", 8);
    p += 1 - exponent;
    std::memcpy(p, digits, 8);
    p += n;
  } else {
    *p++ = digits[0];
    if (n > 1) {
      *p++ = '.';
      std::memcpy(p, digits + 1, 8);
      p += n - 1;
    }
    *p++ = 'e';
    *p++ = exponent < 0 ? '-' : '+';
    const int x = exponent < 0 ? -exponent : exponent;
    if (x >= 100) *p++ = static_cast<char>('0' + x / 100);
    std::memcpy(p, kPairs + 2 * (x % 100), 2);
    p += 2;
  }
  return p;
}

// A printf conversion that to_chars can write byte for byte: optional '-'
// flag, optional width, optional precision, then e, f, g (either case) or
// d/i without a precision. Anything else (other flags, a '0' flag with a
// width, length modifiers, trailing text) is left to printf.
struct SimpleConversion {
  bool left = false;
  int width = 0;
  int precision = -1;  // none given
  char conversion = 0;
};

bool ParseSimple(const char* f, SimpleConversion& c) {
  if (*f++ != '%') return false;
  bool zero = false;
  for (;; ++f) {
    if (*f == '-')
      c.left = true;
    else if (*f == '0')
      zero = true;
    else
      break;
  }
  auto number = [&f](int& into) {
    into = 0;
    for (; *f >= '0' && *f <= '9'; ++f) {
      into = into * 10 + (*f - '0');
      if (into > 4096) return false;
    }
    return true;
  };
  if (!number(c.width)) return false;
  if (zero && c.width > 0) return false;  // zero padding: printf
  if (*f == '.') {
    ++f;
    if (!number(c.precision)) return false;
  }
  c.conversion = *f;
  if (c.conversion == '\0' || f[1] != '\0') return false;
  switch (c.conversion) {
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
      return true;
    case 'd':
    case 'i':
      return c.precision < 0;
    default:
      return false;
  }
}

// Writes `value` by the conversion into [buf, end); null when it does not
// fit. The special values are printf's to spell.
char* ToChars(double value, const SimpleConversion& c, char* buf, char* end) {
  std::to_chars_result r{};
  const int precision = c.precision < 0 ? 6 : c.precision;
  switch (c.conversion) {
    case 'd':
    case 'i':
      r = std::to_chars(buf, end, Truncate(value));
      break;
    case 'e':
    case 'E':
      r = std::to_chars(buf, end, value, std::chars_format::scientific, precision);
      break;
    case 'f':
    case 'F':
      r = std::to_chars(buf, end, value, std::chars_format::fixed, precision);
      break;
    default:
      r = std::to_chars(buf, end, value, std::chars_format::general, precision);
      break;
  }
  if (r.ec != std::errc()) return nullptr;
  if (c.conversion == 'E' || c.conversion == 'G')
    for (char* p = buf; p < r.ptr; ++p)
      if (*p == 'e') *p = 'E';
  return r.ptr;
}

// The conversions of template output without printf: FastG for plain "%g",
// to_chars for the others, which writes exactly printf's bytes for finite
// values.

// "%g" and "%d" (or "%i"), the template's usual formats: no parsing, no
// padding. Null for any other format, or a %g value FastG leaves.
char* PlainNumber(double value, const char* format, char letter, char* buf) {
  if (format[0] != '%' || format[1] != letter || format[2] != '\0') return nullptr;
  if (letter == 'g') return FastG(value, buf);
  if (letter == 'd' || letter == 'i') return std::to_chars(buf, buf + 24, Truncate(value)).ptr;
  return nullptr;
}

// A conversion ParseSimple takes, without its padding, which `c` tells;
// null when printf must write the value.
char* SimpleNumber(double value, const char* format, char letter, char* buf, SimpleConversion& c) {
  if (!ParseSimple(format, c) || c.conversion != letter) return nullptr;
  const bool integral = c.conversion == 'd' || c.conversion == 'i';
  if (!integral && !std::isfinite(value)) return nullptr;
  return ToChars(value, c, buf, buf + 160);
}

std::size_t Padding(const SimpleConversion& c, std::size_t n) {
  return static_cast<std::size_t>(c.width) > n ? c.width - n : 0;
}

bool FastFormat(double value, const char* format, char letter, std::string& out) {
  char buf[kNumberTextRoom];
  if (const char* end = PlainNumber(value, format, letter, buf)) {
    out.append(buf, static_cast<std::size_t>(end - buf));
    return true;
  }
  SimpleConversion c;
  const char* end = SimpleNumber(value, format, letter, buf, c);
  if (end == nullptr) return false;
  const auto n = static_cast<std::size_t>(end - buf);
  const std::size_t pad = Padding(c, n);
  if (!c.left) out.append(pad, ' ');
  out.append(buf, n);
  if (c.left) out.append(pad, ' ');
  return true;
}

}  // namespace

char* FormatNumberTo(double value, const char* format, char letter, char* buf) {
  if (char* end = PlainNumber(value, format, letter, buf)) return end;
  SimpleConversion c;
  char* end = SimpleNumber(value, format, letter, buf, c);
  if (end == nullptr) return nullptr;
  const auto n = static_cast<std::size_t>(end - buf);
  const std::size_t pad = Padding(c, n);
  if (pad == 0) return end;
  // A width beyond the room is left to the string path.
  if (n + pad > kNumberTextRoom) return nullptr;
  if (c.left) {
    std::memset(end, ' ', pad);
  } else {
    std::memmove(buf + pad, buf, n);
    std::memset(buf, ' ', pad);
  }
  return buf + n + pad;
}

bool FormatDouble(double value, const char* format, char letter, std::string& out) {
  if (FastFormat(value, format, letter, out)) return true;
  switch (letter) {
    case 'e':
    case 'f':
    case 'g':
    case 'E':
    case 'F':
    case 'G':
      Print(out, format, value);
      return true;
    case 'd':
    case 'i':
    case 'o':
    case 'x':
    case 'X': {
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
  // Writes a separator, and a line end after it when the line has grown
  // past the margin. Numbers hold no line ends, so the line starts where
  // the value does or at the last line end written here.
  std::size_t line_start = out.size();
  std::size_t line_before = f.column;
  auto separate = [&](const char* separator) {
    out += separator;
    if (f.margin > 0 &&
        line_before + out.size() - line_start > static_cast<std::size_t>(f.margin)) {
      out += "\r\n";
      line_start = out.size();
      line_before = 0;
    }
  };
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
          if (i) separate(", ");
          if (!FormatDouble(value.data[i], nf, f.letter, out)) return false;
        }
        if (array) out += " }";
        return true;
      }
      if (array) out += "{ ";
      for (int r = 0; r < rows; ++r) {
        out += "{ ";
        for (int c = 0; c < cols; ++c) {
          if (c) separate(", ");
          if (!FormatDouble(value.data[r * cols + c], nf, f.letter, out)) return false;
        }
        if (r + 1 < rows)
          separate(" }, ");
        else
          out += " }";
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

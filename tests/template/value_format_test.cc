// Number formatting without printf must write exactly printf's bytes: every
// value of the table through every format, against snprintf.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "quorvix/value_format.h"
#include "template/number_text.h"

namespace {

// FormatDouble's text; the output path's in-place writer, where it takes
// the value, must write the same.
std::string Format(double v, const char* format, char letter) {
  std::string out;
  EXPECT_TRUE(quorvix::FormatDouble(v, format, letter, out)) << format;
  char buf[quorvix::kNumberTextRoom];
  if (const char* end = quorvix::FormatNumberTo(v, format, letter, buf)) {
    EXPECT_EQ(std::string(buf, static_cast<std::size_t>(end - buf)), out) << format << " " << v;
  }
  return out;
}

std::string Printf(const char* format, double v) {
  char buf[512];
  std::snprintf(buf, sizeof buf, format, v);
  return buf;
}

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(ValueFormatTest, FloatingFormatsWritePrintfBytes) {
  const double values[] = {0.0, -0.0, 1e-5, 1e21, 0.5, 1.5, 2.5, 0.125, 0.375, -0.0625, 1e-300,
                           5e-324, 1.7976931348623157e308, 123456.5, 999999.5, 9999995.0,
                           1.234565e-5, 1e15, 1e16, -1234.5678, 100000.0, 1e6, 3.14159265358979,
                           0.1, 2.0 / 3.0,
                           // Around the decimal exponent that %g estimates
                           // from the binary one, and the ends of its range.
                           9.999994e-5, 9.999996e-5, 0x1p-40, 0x1p40, 999999.4, 1e22, 4e-17, 3e27,
                           // Six digits that round below the next power from
                           // an estimate one too high, and that round up to it.
                           9.9999949999e-17, -9.99999499e-14, 9.9999949e-2, 99999.94, 99999.96,
                           9.9999951e-5, NAN, -NAN, kInf, -kInf};
  const char* formats[] = {"%g",     "%.0g",   "%.1g",   "%.3g",    "%.17g", "%12g",   "%-12g",
                           "%12.4g", "%G",     "%e",     "%.0e",    "%.3E",  "%15.8e", "%f",
                           "%.0f",   "%.2f",   "%10.3f", "%-10.3f", "%0.3f", "%F",     "%.30f",
                           "%+g",    "%08.3f", "%#g",    "% e",     "%5.f",  "%200.3f"};
  for (const char* f : formats) {
    const char letter = f[std::char_traits<char>::length(f) - 1];
    for (double v : values) EXPECT_EQ(Format(v, f, letter), Printf(f, v)) << f << " " << v;
  }
}

TEST(ValueFormatTest, TiesAndSpecialValuesAsPrintfWritesThem) {
  EXPECT_EQ(Format(0.125, "%.2f", 'f'), "0.12");
  EXPECT_EQ(Format(2.5, "%.0f", 'f'), "2");
  EXPECT_EQ(Format(1e21, "%g", 'g'), "1e+21");
  EXPECT_EQ(Format(-0.0, "%g", 'g'), "-0");
  EXPECT_EQ(Format(NAN, "%g", 'g'), "nan");
  EXPECT_EQ(Format(-kInf, "%8.2f", 'f'), "    -inf");
  EXPECT_EQ(Format(kInf, "%-5E", 'E'), "INF  ");
}

TEST(ValueFormatTest, IntegerFormatsWriteTheTruncatedValue) {
  const double values[] = {0.0, -0.0, 2.9, -2.9, 1e10, -2147483649.5, 123456789.0};
  for (const char* f : {"%d", "%8d", "%-8d", "%i", "%.3d", "%+d"}) {
    std::string wide(f);
    wide.insert(wide.size() - 1, "ll");
    for (double v : values) {
      char buf[64];
      std::snprintf(buf, sizeof buf, wide.c_str(), static_cast<long long>(v));
      EXPECT_EQ(Format(v, f, f[std::char_traits<char>::length(f) - 1]), buf) << f << " " << v;
    }
  }
  EXPECT_EQ(Format(NAN, "%d", 'd'), "0");
}

}  // namespace

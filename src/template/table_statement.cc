// The "table" statement: one text row per index, the columns of values side
// by side, laid out by a printf-like format.
#include <cctype>
#include <cstdio>
#include <string>
#include <vector>

#include "builtins/builtin_support.h"
#include "quorvix/value_format.h"
#include "template/engine.h"
#include "template/text_scan.h"
#include "util/output_stream.h"

namespace quorvix {

namespace {

constexpr const char* kCommaExpected = "',' expected in TABLE statement";
constexpr const char* kIllegalFormat = "illegal formatting string in TABLE statement";
// Widths and precisions are bounded: a huge one would write gigabytes a row.
constexpr long kMaxWidth = 1000;

// Frees the collected values however the statement ends.
struct Values {
  std::vector<symtab*> items;
  ~Values() {
    for (symtab* v : items) v->Delete();
  }
};

// Reads one conversion at `p` (just after '%'): blanks, a run of digits,
// '+' and '-', an optional '.' and another run, an optional 'l' and a
// letter. Returns the conversion's end, or null when it is malformed.
const char* ReadConversion(const char* p, char& letter) {
  while (*p == ' ') ++p;
  auto run = [&p]() {
    long value = 0;
    while (std::isdigit(static_cast<unsigned char>(*p)) || *p == '+' || *p == '-') {
      if (std::isdigit(static_cast<unsigned char>(*p)) && value <= kMaxWidth)
        value = value * 10 + (*p - '0');
      ++p;
    }
    return value <= kMaxWidth;
  };
  bool ok = run();
  if (*p == '.') {
    ++p;
    ok = run() && ok;
  }
  const bool has_length = *p == 'l';
  if (has_length) ++p;
  // A length modifier would make printf read a string as a wide one.
  if (!ok || !IsAlpha(*p) || (has_length && (*p == 's' || *p == 'c'))) return nullptr;
  letter = *p;
  return p + 1;
}

void PrintString(std::string& out, const std::string& format, const char* s) {
  const int n = std::snprintf(nullptr, 0, format.c_str(), s);
  if (n <= 0) return;
  const std::size_t at = out.size();
  out.resize(at + static_cast<std::size_t>(n) + 1);
  std::snprintf(out.data() + at, static_cast<std::size_t>(n) + 1, format.c_str(), s);
  out.resize(at + static_cast<std::size_t>(n));
}

// The text of one conversion for row `row` of `column`; nothing for a
// combination of column and letter that has no text.
void Convert(const std::string& conversion, char letter, const symtab& column, long long row,
             std::string& out) {
  if (column.type == SYM_ARRAY) {
    const long long count = static_cast<long long>(column.rows) * column.cols;
    const bool present = row >= 0 && row < count;
    const std::size_t at = out.size();
    // An integer letter prints the element's integer part; FormatDouble
    // does that for d and i and refuses letters printf cannot take a number
    // for.
    if (!FormatDouble(present ? column.data[row] : 1.0, conversion.c_str(), letter, out)) return;
    // A short column leaves a blank field as wide as a value would be.
    if (!present)
      for (std::size_t i = at; i < out.size(); ++i) out[i] = ' ';
  } else if (column.type == SYM_STRINGS && letter == 's') {
    const bool present = row >= 0 && row < column.num_strings && column.str_list[row] != nullptr;
    PrintString(out, conversion, present ? column.str_list[row] : "");
  }
}

}  // namespace

bool Engine::WriteTableRow(const std::string& format, const std::vector<symtab*>& columns,
                           long long row) {
  std::string line;
  std::size_t next = 0;
  const char* p = format.c_str();
  while (*p != '\0') {
    if (*p != '%') {
      line += *p++;
      continue;
    }
    char letter = 0;
    const char* end = ReadConversion(p + 1, letter);
    if (end == nullptr) {
      SyntaxError(kIllegalFormat);
      return false;
    }
    // A conversion beyond the last column writes nothing.
    if (next < columns.size()) {
      std::string conversion(p, static_cast<std::size_t>(end - p));
      if (letter == 'S') conversion.back() = letter = 's';
      Convert(conversion, letter, *columns[next], row, line);
    }
    ++next;
    p = end;
  }
  current_output_->write(line);
  current_output_->endl();
  line_has_output_ = 0;
  return true;
}

int Engine::st_table() {
  if (!Expect('(')) return SyntaxError("'(' expected in TABLE statement");
  if (IsFalse() != 0) {
    // Passed over unevaluated, so that a false branch has no effect.
    while (true) {
      SkipBlanks();
      BalanceText(&read_pos_);
      if (*read_pos_ != ',') break;
      ++read_pos_;
    }
    if (*read_pos_ == ')') ++read_pos_;
    return 0;
  }

  Values values;
  long long first = 0;
  while (true) {
    SkipBlanks();
    symtab* v = nullptr;
    if (!ReadExpression(&read_pos_, v)) return 1;
    if (!Expect(',')) {
      v->Delete();
      return SyntaxError(kCommaExpected);
    }
    if (v->type == SYM_SCALAR) {
      first = builtins::TruncateToInteger(v->value);
      v->Delete();
      break;
    }
    values.items.push_back(v);
  }
  SkipBlanks();
  symtab* v = nullptr;
  if (!ReadExpression(&read_pos_, v)) return 1;
  const bool scalar = v->type == SYM_SCALAR;
  const long long last = scalar ? builtins::TruncateToInteger(v->value) : 0;
  v->Delete();
  if (!scalar) return SyntaxError("numeric value expected in TABLE statement");
  if (values.items.empty() || values.items.back()->type != SYM_STRINGS ||
      values.items.back()->num_strings < 1 || values.items.back()->str_list[0] == nullptr)
    return SyntaxError("formatting string expected in TABLE statement");
  const std::string format = values.items.back()->str_list[0];
  values.items.back()->Delete();
  values.items.pop_back();

  WriteDeferredSpaces();
  line_has_output_ = 1;
  for (long long row = first; row <= last; ++row) {
    // Every row is work: a huge range must meet the fill's budgets.
    if (!SpendWork() || !WithinOutputLimit()) return 1;
    if (!WriteTableRow(format, values.items, row)) return 1;
  }
  if (!Expect(')')) return SyntaxError(kCommaExpected);
  return 0;
}

}  // namespace quorvix

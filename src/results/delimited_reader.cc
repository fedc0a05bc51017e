#include "results/delimited_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "results/file_bytes.h"

namespace quorvix::results {

namespace {

constexpr std::size_t kSampleLines = 20;
constexpr std::size_t kCellInMessage = 32;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The separators tried, in order of preference; ' ' stands for runs of
// blanks and tabs, '\0' for one column a line.
constexpr char kWhitespace = ' ';
constexpr char kSingleColumn = '\0';

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

struct Line {
  const char* begin;
  const char* end;  // without the line end
  long long number;
};

// The lines that hold data: blank lines and comment lines (#, %, !, //)
// are passed over.
class LineCursor {
 public:
  explicit LineCursor(std::string_view text) : p_(text.data()), end_(text.data() + text.size()) {
    if (end_ - p_ >= 3 && std::memcmp(p_, "\xEF\xBB\xBF", 3) == 0) p_ += 3;
  }

  bool Next(Line& line) {
    while (p_ < end_) {
      const char* b = p_;
      const char* e = static_cast<const char*>(std::memchr(p_, '\n', end_ - p_));
      if (e == nullptr) e = end_;
      p_ = e < end_ ? e + 1 : end_;
      ++number_;
      if (e > b && e[-1] == '\r') --e;
      const char* s = b;
      while (s < e && IsBlank(*s)) ++s;
      if (s == e || IsComment(s, e)) continue;
      line = {b, e, number_};
      return true;
    }
    return false;
  }

  std::size_t Remaining() const { return static_cast<std::size_t>(end_ - p_); }

 private:
  static bool IsComment(const char* s, const char* e) {
    return *s == '#' || *s == '%' || *s == '!' || (*s == '/' && e - s > 1 && s[1] == '/');
  }

  const char* p_;
  const char* end_;
  long long number_ = 0;
};

struct Field {
  std::string_view text;  // without the quotes and the blanks around
  bool quoted = false;
};

// Splits a line at `sep` outside double quotes ("" inside quotes is one
// quote and stays doubled in `text`). False for an unterminated quote.
bool SplitFields(const Line& line, char sep, std::vector<Field>& fields) {
  fields.clear();
  const char* p = line.begin;
  const char* e = line.end;
  if (sep == kSingleColumn) {
    while (p < e && IsBlank(*p)) ++p;
    const char* q = e;
    while (q > p && IsBlank(q[-1])) --q;
    if (q - p >= 2 && *p == '"' && q[-1] == '"') {
      fields.push_back({{p + 1, static_cast<std::size_t>(q - p - 2)}, true});
    } else {
      fields.push_back({{p, static_cast<std::size_t>(q - p)}, false});
    }
    return true;
  }
  const bool blank_sep = sep == kWhitespace;
  auto skip_blanks = [&] {
    while (p < e && (*p == ' ' || (*p == '\t' && sep != '\t'))) ++p;
  };
  skip_blanks();
  while (true) {
    Field f;
    if (p < e && *p == '"') {
      const char* q = p + 1;
      while (true) {
        q = static_cast<const char*>(std::memchr(q, '"', e - q));
        if (q == nullptr) return false;
        if (q + 1 < e && q[1] == '"') {
          q += 2;
          continue;
        }
        break;
      }
      f = {{p + 1, static_cast<std::size_t>(q - p - 1)}, true};
      p = q + 1;
      // Text glued to a closing quote belongs to the field's raw end.
      while (p < e && *p != sep && !(blank_sep && IsBlank(*p))) ++p;
    } else {
      const char* q = p;
      if (blank_sep) {
        while (q < e && !IsBlank(*q)) ++q;
      } else {
        q = static_cast<const char*>(std::memchr(p, sep, e - p));
        if (q == nullptr) q = e;
      }
      const char* t = q;
      while (t > p && IsBlank(t[-1])) --t;
      f = {{p, static_cast<std::size_t>(t - p)}, false};
      p = q;
    }
    fields.push_back(f);
    if (blank_sep) {
      skip_blanks();
      if (p >= e) return true;
      continue;
    }
    if (p >= e) return true;
    ++p;  // the separator
    skip_blanks();
  }
}

// A number taking the whole text: from_chars, with a leading '+' and
// out-of-range magnitudes (which strtod turns into inf or 0) allowed.
bool ParseNumber(std::string_view s, double& x) {
  const char* b = s.data();
  const char* e = b + s.size();
  if (b < e && *b == '+' && e - b > 1 && b[1] != '-' && b[1] != '+') ++b;
  if (b == e) return false;
  auto [ptr, ec] = std::from_chars(b, e, x);
  if (ptr != e) return false;
  if (ec == std::errc::result_out_of_range) {
    std::string copy(b, e);
    x = std::strtod(copy.c_str(), nullptr);
    return true;
  }
  return ec == std::errc();
}

// "1,5" or "-0,25": a number written with a decimal comma.
bool LooksDecimalComma(std::string_view s) {
  std::size_t comma = s.find(',');
  if (comma == std::string_view::npos || comma == 0 || comma + 1 >= s.size()) return false;
  if (s.find(',', comma + 1) != std::string_view::npos) return false;
  std::string dotted(s);
  dotted[comma] = '.';
  double x;
  return ParseNumber(dotted, x);
}

bool IsNumberCell(const Field& f) {
  double x;
  return f.text.empty() || ParseNumber(f.text, x);
}

std::size_t CountFields(const Line& line, char sep, std::vector<Field>& scratch) {
  return SplitFields(line, sep, scratch) ? scratch.size() : 0;
}

// The separator the sample is written with: the first of tab, semicolon,
// comma giving every sampled line the same count of fields above one;
// whitespace columns where blanks do so (and before the comma when the
// cells look like decimal commas, so that those are reported); else the
// candidate splitting the first line most, else one column.
char ChooseSeparator(const std::vector<Line>& sample) {
  std::vector<Field> fields;
  auto consistent = [&](char sep) {
    std::size_t n = CountFields(sample[0], sep, fields);
    if (n < 2) return false;
    for (const Line& l : sample)
      if (CountFields(l, sep, fields) != n) return false;
    return true;
  };
  auto decimal_commas = [&] {
    for (const Line& l : sample) {
      SplitFields(l, kWhitespace, fields);
      for (const Field& f : fields)
        if (LooksDecimalComma(f.text)) return true;
    }
    return false;
  };
  if (consistent('\t')) return '\t';
  if (consistent(';')) return ';';
  const bool blanks = consistent(kWhitespace);
  if (blanks && decimal_commas()) return kWhitespace;
  if (consistent(',')) return ',';
  if (blanks) return kWhitespace;
  char best = kSingleColumn;
  std::size_t most = 1;
  for (char sep : {'\t', ';', ',', kWhitespace}) {
    std::size_t n = CountFields(sample[0], sep, fields);
    if (n > most) most = n, best = sep;
  }
  return best;
}

const char* FormatName(char sep) {
  switch (sep) {
    case ',':
      return "csv";
    case '\t':
      return "tsv";
    case ';':
      return "csv (semicolon)";
    case kWhitespace:
      return "whitespace columns";
    default:
      return "single column";
  }
}

std::string Unescaped(const Field& f) {
  std::string s(f.text);
  if (f.quoted)
    for (std::size_t at = s.find("\"\""); at != std::string::npos; at = s.find("\"\"", at + 1))
      s.erase(at, 1);
  return s;
}

// "[m/s]" and "(m/s)" are written for m/s.
std::string CleanUnit(std::string unit) {
  if (unit.size() >= 2 &&
      ((unit.front() == '[' && unit.back() == ']') || (unit.front() == '(' && unit.back() == ')')))
    unit = unit.substr(1, unit.size() - 2);
  return unit;
}

std::string LineRef(const std::string& source, long long line) {
  return source + " line " + std::to_string(line);
}

// One data row, the common way: unquoted numbers and separators. False
// for anything else, which the careful path reads (or reports).
bool ParseRowFast(const Line& line, char sep, double* out, std::size_t n) {
  const char* p = line.begin;
  const char* e = line.end;
  if (sep == kSingleColumn) n = 1;
  for (std::size_t i = 0; i < n; ++i) {
    while (p < e && IsBlank(*p)) ++p;
    if (e - p > 1 && *p == '+' && p[1] != '-' && p[1] != '+') ++p;
    auto [ptr, ec] = std::from_chars(p, e, out[i]);
    if (ec != std::errc() || ptr == p) return false;
    p = ptr;
    if (sep == kWhitespace) {
      if (p < e && !IsBlank(*p)) return false;
      continue;
    }
    while (p < e && IsBlank(*p)) ++p;
    if (i + 1 < n) {
      if (p >= e || *p != sep) return false;
      ++p;
    }
  }
  while (p < e && IsBlank(*p)) ++p;
  return p == e;
}

class Parser {
 public:
  Parser(const std::string& source, long long max_cells, std::string* why)
      : source_(source), max_cells_(max_cells), why_(why) {}

  std::unique_ptr<ResultTree> Parse(std::string_view text) {
    LineCursor cursor(text);
    std::vector<Line> sample;
    Line line;
    while (sample.size() < kSampleLines && cursor.Next(line)) sample.push_back(line);
    if (sample.empty()) return Fail("no data in " + source_);
    sep_ = ChooseSeparator(sample);

    std::size_t first_data = 0;
    if (!Split(sample[0])) return nullptr;
    std::size_t ncols = fields_.size();
    std::vector<std::string> names(ncols), units(ncols);
    if (!std::all_of(fields_.begin(), fields_.end(), IsNumberCell)) {
      for (std::size_t c = 0; c < ncols; ++c) names[c] = Unescaped(fields_[c]);
      first_data = 1;
      if (sample.size() > 1) {
        if (!Split(sample[1])) return nullptr;
        bool all_text = fields_.size() == ncols &&
                        std::none_of(fields_.begin(), fields_.end(), [](const Field& f) {
                          double x;
                          return ParseNumber(f.text, x) || LooksDecimalComma(f.text);
                        });
        bool any = std::any_of(fields_.begin(), fields_.end(),
                               [](const Field& f) { return !f.text.empty(); });
        if (all_text && any) {
          for (std::size_t c = 0; c < ncols; ++c) units[c] = CleanUnit(Unescaped(fields_[c]));
          first_data = 2;
        }
      }
    }

    columns_.assign(ncols, {});
    if (first_data < sample.size()) {
      std::size_t width = std::max<std::size_t>(
          1, static_cast<std::size_t>(sample[first_data].end - sample[first_data].begin) + 1);
      std::size_t guess = sample.size() + cursor.Remaining() / width + 16;
      guess = std::min<std::size_t>(guess, static_cast<std::size_t>(max_cells_ / ncols) + 1);
      for (auto& col : columns_) col.reserve(guess);
    }
    row_.resize(ncols);
    for (std::size_t i = first_data; i < sample.size(); ++i)
      if (!Row(sample[i])) return nullptr;
    while (cursor.Next(line))
      if (!Row(line)) return nullptr;

    auto tree = std::make_unique<ResultTree>();
    tree->format = FormatName(sep_);
    Request request;
    request.name = "data";
    request.components.resize(ncols);
    for (std::size_t c = 0; c < ncols; ++c) {
      Component& comp = request.components[c];
      comp.name = names[c].empty() ? "col" + std::to_string(c + 1) : std::move(names[c]);
      comp.unit = std::move(units[c]);
      comp.length = static_cast<long long>(columns_[c].size());
      comp.values = std::move(columns_[c]);
    }
    // Built by moves: a braced list would copy every column.
    Subcase& subcase = tree->subcases.emplace_back();
    subcase.label = "1";
    DataType& type = subcase.types.emplace_back();
    type.name = "columns";
    type.requests.push_back(std::move(request));
    return tree;
  }

 private:
  std::unique_ptr<ResultTree> Fail(std::string message) {
    if (why_ != nullptr) *why_ = std::move(message);
    return nullptr;
  }

  bool Split(const Line& line) {
    if (SplitFields(line, sep_, fields_)) return true;
    Fail("unterminated quote in " + LineRef(source_, line.number));
    return false;
  }

  bool Row(const Line& line) {
    const std::size_t n = columns_.size();
    if (static_cast<long long>((rows_ + 1) * n) > max_cells_) {
      Fail("result file " + source_ + " holds more than " + std::to_string(max_cells_) +
           " numbers");
      return false;
    }
    if (!ParseRowFast(line, sep_, row_.data(), n) && !RowCareful(line)) return false;
    for (std::size_t c = 0; c < n; ++c) columns_[c].push_back(row_[c]);
    ++rows_;
    return true;
  }

  bool RowCareful(const Line& line) {
    if (!Split(line)) return false;
    const std::size_t n = columns_.size();
    if (fields_.size() != n) {
      Fail("ragged row in " + LineRef(source_, line.number) + ": " +
           std::to_string(fields_.size()) + " fields, expected " + std::to_string(n));
      return false;
    }
    for (std::size_t c = 0; c < n; ++c) {
      const std::string_view cell = fields_[c].text;
      if (cell.empty()) {
        row_[c] = kNaN;
        continue;
      }
      if (ParseNumber(cell, row_[c])) continue;
      if (LooksDecimalComma(cell)) {
        Fail("decimal comma in " + LineRef(source_, line.number) + ": not supported");
      } else {
        std::string shown(cell.substr(0, kCellInMessage));
        Fail("non-numeric cell \"" + shown + "\" in " + LineRef(source_, line.number) + " column " +
             std::to_string(c + 1));
      }
      return false;
    }
    return true;
  }

  const std::string& source_;
  long long max_cells_;
  std::string* why_;
  char sep_ = ',';
  std::vector<Field> fields_;
  std::vector<std::vector<double>> columns_;
  std::vector<double> row_;
  std::size_t rows_ = 0;
};

bool SniffDelimited(const std::string&, const std::string& head) { return LooksDelimited(head); }

std::unique_ptr<ResultTree> OpenDelimited(const std::string& path, const Policy& policy,
                                          std::string* why) {
  MappedFile file;
  if (!file.Open(path, policy, why)) return nullptr;
  return ParseDelimited(file.bytes(), path, policy.limits.elements, why);
}

}  // namespace

std::unique_ptr<ResultTree> ParseDelimited(std::string_view text, const std::string& source,
                                           long long max_cells, std::string* why) {
  try {
    return Parser(source, std::max<long long>(max_cells, 1), why).Parse(text);
  } catch (const std::bad_alloc&) {
    if (why != nullptr) *why = "out of memory reading " + source;
    return nullptr;
  }
}

bool LooksDelimited(std::string_view head) {
  if (head.empty()) return false;
  std::size_t odd = 0;
  for (unsigned char c : head) {
    if (c == 0) return false;
    if (c < 32 && c != '\n' && c != '\r' && c != '\t' && c != '\f') ++odd;
  }
  return odd * 100 <= head.size();
}

ReaderFormat DelimitedFormat() {
  return {"delimited text", kRankText, SniffDelimited, OpenDelimited};
}

}  // namespace quorvix::results

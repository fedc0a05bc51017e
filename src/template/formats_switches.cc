// Formats and switches: the "format" statement, the format reader shared
// with expression statements, and the keyword-only switches.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "template/engine.h"
#include "template/statement_table.h"
#include "template/text_scan.h"
#include "util/output_stream.h"

namespace quorvix {

namespace {

constexpr long kMaxFormatWidth = 1000;
constexpr const char* kFormatWidthMessage = "format width too large (limit 1000)";

}  // namespace

std::span<const StatementRow> FormatAndSwitchStatements() {
  static const StatementRow kRows[] = {
      {"format", &Engine::st_format},
      {"safe_quotes_on", &Engine::st_safe_quotes_on},
      {"safe_quotes_off", &Engine::st_safe_quotes_off},
      {"max_compatibility_on", &Engine::st_max_compatibility_on},
      {"max_compatibility_off", &Engine::st_max_compatibility_off},
      {"escape_characters_on", &Engine::st_escape_characters_on},
      {"escape_characters_off", &Engine::st_escape_characters_off},
  };
  return kRows;
}

bool Engine::ReadFormat(std::string& format, char& letter, int& style, bool set_defaults) {
  char* save = read_pos_;
  SkipBlanks();
  if (*read_pos_ == ',') {
    ++read_pos_;
  } else if (!set_defaults && !in_format_statement_) {
    read_pos_ = save;
    return true;
  }
  SkipBlanks();
  const char* p = read_pos_;
  // Widths and precisions are bounded: a huge one would write gigabytes.
  bool too_wide = false;
  auto run = [&p, &too_wide]() {
    long value = 0;
    while (std::isdigit(static_cast<unsigned char>(*p)) || *p == '+' || *p == '-') {
      if (std::isdigit(static_cast<unsigned char>(*p)))
        value = std::min(value * 10 + (*p - '0'), 1000000L);
      ++p;
    }
    if (value > kMaxFormatWidth) too_wide = true;
  };
  auto width_error = [&]() {
    read_pos_ = const_cast<char*>(p);
    error();
    error_stream_->puts(kFormatWidthMessage);
    error_stream_->endl();
    recover();
    return false;
  };
  if (*p == '%') {
    ++p;
    while (*p == ' ') ++p;
    run();
    if (*p == '.') ++p;
    run();
    if (too_wide) return width_error();
    const bool has_length = *p == 'l';
    if (has_length) ++p;
    // With a length modifier printf would read a string as a wide one.
    const bool wide = has_length && (*p == 's' || *p == 'S' || *p == 'c' || *p == 'C');
    if (!IsAlpha(*p) || wide) {
      read_pos_ = const_cast<char*>(p);
      error();
      error_stream_->puts("illegal format specifier '");
      if (*p != '\0') error_stream_->put(*p);
      error_stream_->puts("'");
      error_stream_->endl();
      recover();
      return false;
    }
    char l = *p == 'S' ? 's' : *p == 'C' ? 'c' : *p;
    std::string text(read_pos_, static_cast<std::size_t>(p - read_pos_));
    text += l;
    ++p;
    letter = l;
    if (set_defaults) {
      if (l == 's')
        string_format_ = text;
      else
        number_format_ = text;
      format_letter_ = static_cast<char>(std::tolower(static_cast<unsigned char>(l)));
    } else {
      format = text;
      if (l == 's') style = 1;
    }
    read_pos_ = const_cast<char*>(p);
  } else if (IsAlpha(*p)) {
    // A style keyword where the format belongs sets the style alone.
    for (const auto& [word, value] : {std::pair{"list", 1}, {"array", 2}, {"matrix", 3}}) {
      if (in_format_statement_ && MatchKeyword(p, word)) {
        if (set_defaults) format_style_ = value;
        read_pos_ = const_cast<char*>(p + std::strlen(word));
        return true;
      }
    }
    char l = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
    ++p;
    const char* wstart = p;
    run();
    bool has_width = p != wstart && std::isdigit(static_cast<unsigned char>(p[-1]));
    int width = has_width ? -std::atoi(wstart) : 0;
    bool has_prec = false;
    int prec = 0;
    if (*p == '.') {
      ++p;
      const char* pstart = p;
      while (std::isdigit(static_cast<unsigned char>(*p))) ++p;
      has_prec = p != pstart;
      if (has_prec && (p - pstart > 7 || std::atoi(pstart) > kMaxFormatWidth)) too_wide = true;
      prec = has_prec && !too_wide ? std::atoi(pstart) : 0;
    }
    if (too_wide) return width_error();
    auto floating = [&](char conv) {
      char buf[64];
      if (has_width && has_prec)
        std::snprintf(buf, sizeof buf, "%%%d.%d%c", width, prec, conv);
      else if (has_width)
        std::snprintf(buf, sizeof buf, "%%%d%c", width, conv);
      else if (has_prec)
        std::snprintf(buf, sizeof buf, "%%0.%d%c", prec, conv);
      else
        std::snprintf(buf, sizeof buf, "%%%c", conv);
      return std::string(buf);
    };
    auto integral = [&](char conv, char plain) {
      char buf[64];
      if (has_width)
        std::snprintf(buf, sizeof buf, "%%%d%c", width, conv);
      else
        std::snprintf(buf, sizeof buf, "%%%c", plain);
      return std::string(buf);
    };
    std::string text;
    char new_letter = l;
    bool is_string = false;
    bool ok = true;
    if (in_format_statement_) {
      switch (l) {
        case 'a':
          text = integral('s', 's');
          new_letter = 's';
          is_string = true;
          break;
        case 'd':
        case 'f':
          text = floating('f');
          new_letter = 'f';
          break;
        case 'e':
        case 'g':
          text = floating(l);
          break;
        default:
          ok = false;
      }
    } else {
      switch (l) {
        case 'e':
        case 'f':
        case 'g':
          text = floating(l);
          break;
        case 'd':
        case 'i':
          text = integral('d', 'd');
          break;
        case 'o':
          text = integral('o', 'd');
          break;
        case 'x':
          text = integral('x', 'd');
          break;
        case 'a':
          text = integral('s', 's');
          new_letter = 's';
          is_string = true;
          break;
        default:
          ok = false;
      }
    }
    if (!ok) {
      read_pos_ = const_cast<char*>(p - 1);
      error();
      error_stream_->puts("illegal format specifier '");
      error_stream_->put(l);
      error_stream_->puts("'");
      error_stream_->endl();
      recover();
      return false;
    }
    read_pos_ = const_cast<char*>(p);
    if (set_defaults) {
      if (is_string)
        string_format_ = text;
      else
        number_format_ = text;
      format_letter_ = new_letter;
    } else {
      format = text;
      letter = new_letter;
      if (is_string) style = 1;
    }
  } else {
    read_pos_ = const_cast<char*>(p);
    error();
    error_stream_->puts("illegal format specifier '");
    if (*p) error_stream_->put(*p);
    error_stream_->puts("'");
    error_stream_->endl();
    recover();
    return false;
  }

  save = read_pos_;
  SkipBlanks();
  if (*read_pos_ != ',') {
    read_pos_ = save;
    return true;
  }
  ++read_pos_;
  SkipBlanks();
  for (const auto& [word, value] : {std::pair{"list", 1}, {"array", 2}, {"matrix", 3}}) {
    if (MatchKeyword(read_pos_, word)) {
      if (set_defaults)
        format_style_ = value;
      else
        style = value;
      read_pos_ += std::strlen(word);
      return true;
    }
  }
  error();
  error_stream_->puts("illegal format specifier");
  error_stream_->endl();
  recover();
  return false;
}

int Engine::st_format() {
  std::string unused;
  char letter = format_letter_;
  int style = format_style_;
  // The comma after the keyword is optional here.
  in_format_statement_ = true;
  const bool ok = ReadFormat(unused, letter, style, IsFalse() == 0);
  in_format_statement_ = false;
  return ok ? 0 : 1;
}

void Engine::Switch(int& field, int value) {
  if (IsFalse() == 0) field = value;
}

int Engine::st_safe_quotes_on() {
  Switch(safe_quotes_, 1);
  return 0;
}
int Engine::st_safe_quotes_off() {
  Switch(safe_quotes_, 0);
  return 0;
}
int Engine::st_max_compatibility_on() {
  Switch(max_compatibility_, 1);
  return 0;
}
int Engine::st_max_compatibility_off() {
  Switch(max_compatibility_, 0);
  return 0;
}

int Engine::st_escape_characters_on() {
  if (IsFalse() == 0) parser_->AllowEscapeCharactersInStrings(true);
  return 0;
}

int Engine::st_escape_characters_off() {
  if (IsFalse() == 0) parser_->AllowEscapeCharactersInStrings(false);
  return 0;
}

}  // namespace quorvix

#include "template/macro_text.h"

#include "template/text_scan.h"

namespace quorvix {

namespace {

constexpr char kEscape = '\x01';
constexpr const char* kHex = "0123456789abcdef";

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

std::string str8to7(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (unsigned char c : text) {
    if (c >= 0x80 || c == static_cast<unsigned char>(kEscape)) {
      out += kEscape;
      out += kHex[c >> 4];
      out += kHex[c & 15];
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

std::string str7to8(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == kEscape && i + 2 < text.size() + 0 && HexValue(text[i + 1]) >= 0 &&
        HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

std::string prevent_brace(const std::string& text) {
  std::string out = str8to7(text);
  int depth = 0;
  bool in_string = false;
  for (std::size_t i = 0; i < out.size(); ++i) {
    char& c = out[i];
    if (depth == 0) {
      if (c == '{') {
        ++depth;
        continue;
      }
      c = static_cast<char>(static_cast<unsigned char>(c) | 0x80);
      continue;
    }
    if (in_string) {
      if (c == '\\' && i + 1 < out.size()) {
        ++i;  // the escaped character stays as it is
        continue;
      }
      if (c == '"') {
        in_string = false;
        continue;
      }
      c = static_cast<char>(static_cast<unsigned char>(c) | 0x80);
      continue;
    }
    if (c == '"') {
      in_string = true;
    } else if (c == '{') {
      ++depth;
    } else if (c == '}') {
      --depth;
    }
  }
  return out;
}

std::string restore_brace(const std::string& text) {
  std::string out = text;
  for (char& c : out) c = static_cast<char>(static_cast<unsigned char>(c) & 0x7f);
  return str7to8(out);
}

bool SubstituteParameters(const Macro& macro, std::size_t limit, std::string& out) {
  out = macro.body;
  if (out.size() > limit) return false;
  std::string next;
  // One pass per parameter, in order: a later parameter's name is replaced
  // inside the arguments substituted before it too. Each pass copies once,
  // so a body that names a parameter many times costs linear time.
  for (const MacroParameter& param : macro.parameters) {
    if (param.name.empty()) continue;
    // Arguments join the protected text in 7-bit form.
    const std::string argument = str8to7(param.argument);
    const std::string& body = out;
    next.clear();
    std::size_t copied = 0, pos = 0;
    while ((pos = body.find(param.name, pos)) != std::string::npos) {
      const std::size_t end = pos + param.name.size();
      const bool before_ok = pos == 0 || !(IsWordChar(body[pos - 1]) || body[pos - 1] == '.');
      const bool after_ok = end >= body.size() || !IsWordChar(body[end]);
      if (!(before_ok && after_ok)) {
        pos = end;
        continue;
      }
      if (next.size() + (pos - copied) + argument.size() > limit) return false;
      next.append(body, copied, pos - copied).append(argument);
      pos = copied = end;
    }
    if (next.size() + (body.size() - copied) > limit) return false;
    next.append(body, copied, std::string::npos);
    out.swap(next);
  }
  return true;
}

std::string MacroSizeMessage(std::size_t limit) {
  return "macro expansion too large (limit " + std::to_string(limit) + " bytes)";
}

}  // namespace quorvix

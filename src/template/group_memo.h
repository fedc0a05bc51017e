// Brace groups that only write one expression's value, `{expr [, format
// [, style]]}`, remembered by their place in the template text. A loop body
// is read again on every pass; such a group is then run without the
// statement lookup, the expression scan and the format parse. An entry is
// used only once the text there is checked to be the same (buffers of ended
// sources may be reused for other text).
#ifndef QUORVIX_TEMPLATE_GROUP_MEMO_H
#define QUORVIX_TEMPLATE_GROUP_MEMO_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "quorvix/math_parser.h"

namespace quorvix {

// What the ", format [, style]" of an expression group sets; what it leaves
// unset comes from the defaults of the moment (the "format" statement may
// change them between passes).
struct GroupFormat {
  std::string format;  // empty: the default number or string format
  char letter = 0;     // with `format`
  int style = 0;       // 0: the default style
};

struct RememberedGroup {
  std::string source;  // the group from behind its '{' through its '}'
  std::unique_ptr<MathParserExpression> expression;
  // Offsets into `source`: where the expression starts (after blanks) and
  // how long it is, and where its format ends.
  std::size_t expression_start = 0;
  std::size_t expression_length = 0;
  std::size_t format_end = 0;
  GroupFormat format;
  std::uint64_t registry_generation = 0;
  bool escapes = true;
};

class GroupMemo {
 public:
  using Entry = RememberedGroup;

  // The entry for the group whose text starts at `at`, or null. The text
  // there is compared with the entry's unless it was found the same while
  // the engine's texts were those of `texts` (see Engine::text_generation_).
  const Entry* Find(const char* at, bool escapes, std::uint64_t texts) const {
    const Slotted* e = slots_[Slot(at)].get();
    if (e == nullptr || e->at != at || e->escapes != escapes ||
        e->registry_generation != MathParser::RegistryGeneration())
      return nullptr;
    if (e->checked_in == texts) return e;
    // Compare up to the first difference, so that a shorter text is never
    // read past its end.
    const char* s = e->source.data();
    for (std::size_t i = 0, n = e->source.size(); i < n; ++i)
      if (at[i] != s[i]) return nullptr;
    e->checked_in = texts;
    return e;
  }
  // A fresh entry for `at`, read from the texts of generation `texts`,
  // replacing whatever its slot held.
  Entry& Add(const char* at, std::uint64_t texts) {
    auto& slot = slots_[Slot(at)];
    slot = std::make_unique<Slotted>();
    slot->at = at;
    slot->checked_in = texts;
    return *slot;
  }
  void Clear() {
    for (auto& slot : slots_) slot.reset();
  }

 private:
  struct Slotted : Entry {
    const char* at = nullptr;
    mutable std::uint64_t checked_in = 0;
  };
  static constexpr std::size_t kSlots = 256;
  static std::size_t Slot(const char* at) {
    return reinterpret_cast<std::uintptr_t>(at) & (kSlots - 1);
  }
  std::array<std::unique_ptr<Slotted>, kSlots> slots_{};
};

// Makes every brace group and loop end take the general path, without the
// remembered groups, statements and loop expressions (off by default). For the
// test that compares the paths and for measurements; not for hosts.
void ForceGeneralGroups(bool on);
bool GeneralGroupsForced();

}  // namespace quorvix

#endif

// The value record, the argument list and the function-table entry: what
// each owns, what a copy takes along, and the kind predicates.
#include "quorvix/symtab.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

symtab Strings(std::vector<std::string> texts) {
  symtab s;
  char** list = new char*[texts.size()];
  for (std::size_t i = 0; i < texts.size(); ++i) list[i] = newstrdup(texts[i].c_str());
  s.SetStrings(list, static_cast<int>(texts.size()));
  return s;
}

symtab Array(int rows, int cols, std::vector<double> values) {
  symtab s;
  double* d = s.SetArray(rows, cols);
  for (std::size_t i = 0; i < values.size(); ++i) d[i] = values[i];
  return s;
}

symtab Scalar(double v) {
  symtab s;
  s.SetScalar(v);
  return s;
}

TEST(SymtabTest, FreshRecordAndFunctionEntryAreEmpty) {
  symtab s;
  EXPECT_EQ(s.name, nullptr);
  EXPECT_EQ(s.str_list, nullptr);
  EXPECT_EQ(s.data, nullptr);
  EXPECT_EQ(s.value, 0.0);
  EXPECT_EQ(s.type, SYM_UNDEFINED);
  EXPECT_EQ(s.rows | s.cols | s.num_strings | s.shared | s.frozen, 0);
  funtab f;
  EXPECT_EQ(f.nargs | f.is_external | f.is_user | f.is_library | f.library_word | f.has_context, 0);
  for (const void* ptr : {(const void*)f.name, (const void*)f.handler, (const void*)f.program,
                          (const void*)f.body, (const void*)f.arg_names, (const void*)f.library,
                          (const void*)f.context_handler, (const void*)f.context})
    EXPECT_EQ(ptr, nullptr);
}

TEST(SymtabTest, CopiesOwnTheirDataNameAndStrings) {
  symtab a = Array(2, 2, {1, 2, 3, 4});
  a.SetName("m");
  a.frozen = 1;
  symtab b(a);
  ASSERT_NE(b.data, a.data);
  ASSERT_NE(b.name, a.name);
  EXPECT_EQ(b.rows * 10 + b.cols, 22);
  EXPECT_EQ(b.frozen, 1);
  a.data[3] = 40;
  a.name[0] = 'x';
  EXPECT_EQ(b.data[3], 4);
  EXPECT_STREQ(b.name, "m");

  symtab t = Strings({"one", "two"});
  symtab c = Scalar(5);
  c.SetName("old");
  c = t;
  ASSERT_EQ(c.type, SYM_STRINGS);
  ASSERT_EQ(c.num_strings, 2);
  ASSERT_NE(c.str_list, t.str_list);
  EXPECT_NE(c.str_list[0], t.str_list[0]);
  EXPECT_EQ(c.name, nullptr);
  t.str_list[1][0] = 'T';
  EXPECT_STREQ(c.str_list[1], "two");

  symtab u;
  u.SetName("x");
  symtab d;
  d = u;
  EXPECT_EQ(d.type, SYM_UNDEFINED);
  EXPECT_STREQ(d.name, "x");
  EXPECT_NE(d.name, u.name);
}

TEST(SymtabTest, MoveTakesPayloadAndNameAndLeavesTheSourceEmpty) {
  symtab a = Array(1, 3, {1, 2, 3});
  a.SetName("v");
  double* data = a.data;
  symtab b(std::move(a));
  EXPECT_EQ(b.data, data);
  EXPECT_STREQ(b.name, "v");
  EXPECT_EQ(a.type, SYM_UNDEFINED);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(a.data, nullptr);
  EXPECT_EQ(a.name, nullptr);
}

TEST(SymtabTest, ClearFreesThePayloadButKeepsTheNameAndTheStringCount) {
  auto* s = new symtab(Strings({"a", "b", "c"}));
  s->SetName("s");
  s->Clear();
  EXPECT_EQ(s->str_list, nullptr);
  EXPECT_EQ(s->num_strings, 3);
  EXPECT_STREQ(s->name, "s");
  symtab copy(*s);  // a cleared string record can be copied and deleted
  EXPECT_EQ(copy.str_list, nullptr);
  s->Delete();

  symtab m = Array(2, 3, {1, 2, 3, 4, 5, 6});
  m.Clear();
  EXPECT_EQ(m.data, nullptr);
  EXPECT_EQ(m.rows | m.cols, 0);

  // A string record without strings is legal too.
  s = new symtab;
  s->type = SYM_STRINGS;
  EXPECT_EQ(s->NumElements(), 0);
  EXPECT_FALSE(s->IsString());
  EXPECT_TRUE(s->IsStringList());
  s->Delete();
}

TEST(SymtabTest, ElementIsANewAnonymousRecord) {
  symtab m = Array(2, 2, {1, 2, 3, 4});
  m.SetName("m");
  symtab k = Scalar(7);
  k.SetName("k");
  for (auto [rec, i, want] : {std::tuple{&m, 2, 3.0}, std::tuple{&k, 0, 7.0}}) {
    symtab* e = rec->Element(i);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->type, SYM_SCALAR);
    EXPECT_EQ(e->value, want);
    EXPECT_EQ(e->name, nullptr);
    e->Delete();
  }
  symtab s = Strings({"x", "y"});
  symtab* e = s.Element(1);
  ASSERT_NE(e, nullptr);
  ASSERT_EQ(e->type, SYM_STRINGS);
  ASSERT_EQ(e->num_strings, 1);
  EXPECT_STREQ(e->str_list[0], "y");
  EXPECT_NE(e->str_list[0], s.str_list[1]);
  e->Delete();
}

struct KindRow {
  const char* what;
  symtab value;
  int elements;
  bool scalar, vector, row_vector, matrix, string, string_list;
};

TEST(SymtabTest, KindPredicatesAndElementCounts) {
  std::vector<KindRow> rows;
  rows.push_back({"scalar", Scalar(1), 1, true, false, false, false, false, false});
  rows.push_back({"1x1 array", Array(1, 1, {1}), 1, true, true, true, false, false, false});
  rows.push_back({"row vector", Array(1, 3, {1, 2, 3}), 3, false, true, true, false, false, false});
  rows.push_back({"column vector", Array(3, 1, {1, 2, 3}), 3, false, true, false, false, false, false});
  rows.push_back({"matrix", Array(2, 2, {1, 2, 3, 4}), 4, false, false, false, true, false, false});
  rows.push_back({"one string", Strings({"a"}), 1, false, false, false, false, true, true});
  rows.push_back({"two strings", Strings({"a", "b"}), 2, false, false, false, false, false, true});
  rows.push_back({"undefined", symtab(), 0, false, false, false, false, false, false});
  for (const KindRow& r : rows) {
    EXPECT_EQ(r.value.NumElements(), r.elements) << r.what;
    EXPECT_EQ(r.value.IsScalar() != 0, r.scalar) << r.what;
    EXPECT_EQ(r.value.IsVector() != 0, r.vector) << r.what;
    EXPECT_EQ(r.value.IsRowVector() != 0, r.row_vector) << r.what;
    EXPECT_EQ(r.value.IsMatrix() != 0, r.matrix) << r.what;
    EXPECT_EQ(r.value.IsString() != 0, r.string) << r.what;
    EXPECT_EQ(r.value.IsStringList() != 0, r.string_list) << r.what;
  }
}

TEST(SymtabTest, NewstrdupCopiesAndKeepsNull) {
  const char* text = "abc";
  char* copy = newstrdup(text);
  ASSERT_NE(copy, text);
  EXPECT_STREQ(copy, "abc");
  delete[] copy;
  EXPECT_EQ(newstrdup(nullptr), nullptr);
}

TEST(SymListTest, TakenRecordOutlivesTheListWhichFreesTheRest) {
  symtab* kept = nullptr;
  {
    sym_list list(3);
    EXPECT_EQ(list.count, 3);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(list.args[i], nullptr);
      list.args[i] = new symtab;
      list.args[i]->SetString("text");
    }
    kept = list.Take(1);
    EXPECT_EQ(list.args[1], nullptr);
  }
  ASSERT_EQ(kept->type, SYM_STRINGS);
  EXPECT_STREQ(kept->str_list[0], "text");
  kept->Delete();
}

}  // namespace

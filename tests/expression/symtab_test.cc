// The value record and the argument list: what each owns, what a copy takes
// along, and the kind predicates.
#include "quorvix/symtab.h"

#include <string>
#include <tuple>
#include <vector>

#include "support/support.h"

namespace {

using qt::Array;
using qt::Scalar;
using qt::Strings;

TEST(SymtabTest, CopiesOwnTheirDataNameAndStrings) {
  symtab a = Array(2, 2, {1, 2, 3, 4});
  a.SetName("m");
  a.frozen = 1;
  symtab b(a);
  a.data[3] = 40;
  a.name[0] = 'x';
  EXPECT_EQ(qt::Text(b), "{ 1, 2 }, { 3, 4 }");
  EXPECT_STREQ(b.name, "m");
  EXPECT_EQ(b.frozen, 1);

  symtab t = Strings({"one", "two"});
  symtab c = Scalar(5);
  c.SetName("old");
  c = t;
  EXPECT_EQ(c.name, nullptr);
  t.str_list[1][0] = 'T';
  EXPECT_EQ(qt::Text(c), "{ \"one\", \"two\" }");

  symtab u;
  u.SetName("x");
  symtab d;
  d = u;
  EXPECT_EQ(d.type, SYM_UNDEFINED);
  EXPECT_STREQ(d.name, "x");
  EXPECT_NE(d.name, u.name);

  // A move takes payload and name and leaves the source empty.
  double* data = b.data;
  symtab e(std::move(b));
  EXPECT_EQ(e.data, data);
  EXPECT_STREQ(e.name, "m");
  EXPECT_EQ(b.type, SYM_UNDEFINED);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(b.data, nullptr);
  EXPECT_EQ(b.name, nullptr);
}

TEST(SymtabTest, ClearFreesThePayloadButKeepsTheNameAndTheStringCount) {
  auto* s = qt::New(Strings({"a", "b", "c"}));
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
  symtab s = Strings({"x", "y"});
  for (auto [rec, i, want] :
       {std::tuple{&m, 2, "3"}, std::tuple{&k, 0, "7"}, std::tuple{&s, 1, "y"}}) {
    symtab* e = rec->Element(i);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(qt::Text(*e), want);
    EXPECT_EQ(e->name, nullptr);
    if (e->type == SYM_STRINGS) {
      EXPECT_NE(e->str_list[0], s.str_list[1]);
    }
    e->Delete();
  }
}

TEST(SymtabTest, KindPredicatesAndElementCounts) {
  struct Row {
    const char* what;
    symtab value;
    int elements;
    bool scalar, vector, row_vector, matrix, string, string_list;
  };
  std::vector<Row> rows;
  rows.push_back({"scalar", Scalar(1), 1, true, false, false, false, false, false});
  rows.push_back({"1x1 array", Array(1, 1, {1}), 1, true, true, true, false, false, false});
  rows.push_back({"row", Array(1, 3, {1, 2, 3}), 3, false, true, true, false, false, false});
  rows.push_back({"column", Array(3, 1, {1, 2, 3}), 3, false, true, false, false, false, false});
  rows.push_back({"matrix", Array(2, 2, {1, 2, 3, 4}), 4, false, false, false, true, false, false});
  rows.push_back({"one string", Strings({"a"}), 1, false, false, false, false, true, true});
  rows.push_back({"two strings", Strings({"a", "b"}), 2, false, false, false, false, false, true});
  rows.push_back({"undefined", symtab(), 0, false, false, false, false, false, false});
  for (const Row& r : rows) {
    EXPECT_EQ(r.value.NumElements(), r.elements) << r.what;
    EXPECT_EQ(r.value.IsScalar() != 0, r.scalar) << r.what;
    EXPECT_EQ(r.value.IsVector() != 0, r.vector) << r.what;
    EXPECT_EQ(r.value.IsRowVector() != 0, r.row_vector) << r.what;
    EXPECT_EQ(r.value.IsMatrix() != 0, r.matrix) << r.what;
    EXPECT_EQ(r.value.IsString() != 0, r.string) << r.what;
    EXPECT_EQ(r.value.IsStringList() != 0, r.string_list) << r.what;
  }
}

#if !defined(QUORVIX_SANITIZE) && !defined(__SANITIZE_ADDRESS__)
// A large array freed by a record is the storage of the next array of the
// same size, whether made by SetArray or by a copy; other sizes get their own.
TEST(SymtabTest, FreedLargeArraysAreReusedForTheSameSize) {
  auto* first = new symtab;
  double* storage = first->SetArray(100, 100);
  first->Delete();
  symtab same;
  EXPECT_EQ(same.SetArray(10, 1000), storage);
  symtab other;
  EXPECT_NE(other.SetArray(1, 10001), storage);
  same.Clear();
  symtab copy(other);
  other = symtab();
  EXPECT_NE(copy.data, storage);
  symtab again;
  EXPECT_EQ(again.SetArray(1, 10000), storage);
}
#endif

TEST(SymListTest, TakenRecordOutlivesTheListWhichFreesTheRest) {
  symtab* kept = nullptr;
  {
    sym_list list(3);
    for (int i = 0; i < 3; ++i) list.args[i] = qt::New(Strings({"text"}));
    kept = list.Take(1);
    EXPECT_EQ(list.args[1], nullptr);
  }
  EXPECT_EQ(qt::Text(*kept), "text");
  kept->Delete();
}

}  // namespace

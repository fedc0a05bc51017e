// The MATLAB reader on files written here with matio (versions 4, 5 plain
// and compressed, 7.3 when matio has HDF5): the tree, the lazily loaded
// values and texts, and damaged or refused files.
#ifdef QUORVIX_HAVE_MATIO
#include <matio.h>
#include <zlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "results/result_tree.h"
#include "support/support.h"

namespace {

using quorvix::results::Component;
using quorvix::results::ResultTree;

const quorvix::results::ReaderFormat* MatFormat() {
  static const std::vector<quorvix::results::ReaderFormat> formats =
      quorvix::results::ReaderFormats();
  for (const auto& f : formats)
    if (std::strcmp(f.name, "mat") == 0) return &f;
  return nullptr;
}

// Writes variables with matio; each Add takes a variable it then frees.
class MatWriter {
 public:
  MatWriter(const std::string& path, mat_ft version, matio_compression compression)
      : mat_(Mat_CreateVer(path.c_str(), nullptr, version)), compression_(compression) {}
  ~MatWriter() {
    if (mat_) Mat_Close(mat_);
  }
  bool ok() const { return mat_ != nullptr; }
  void Add(matvar_t* var) {
    Mat_VarWrite(mat_, var, compression_);
    Mat_VarFree(var);
  }

 private:
  mat_t* mat_;
  matio_compression compression_;
};

matvar_t* Matrix(const char* name, std::vector<size_t> dims, std::vector<double> data) {
  return Mat_VarCreate(name, MAT_C_DOUBLE, MAT_T_DOUBLE, static_cast<int>(dims.size()), dims.data(),
                       data.data(), 0);
}

template <typename T>
matvar_t* Vector(const char* name, matio_classes klass, matio_types type, std::vector<T> data) {
  size_t dims[2] = {1, data.size()};
  return Mat_VarCreate(name, klass, type, 2, dims, data.data(), 0);
}

matvar_t* Text(const char* name, const std::string& text) {
  size_t dims[2] = {1, text.size()};
  return Mat_VarCreate(name, MAT_C_CHAR, MAT_T_UINT8, 2, dims, const_cast<char*>(text.data()), 0);
}

struct Version {
  const char* label;
  mat_ft version;
  matio_compression compression;
};

class MatReaderFileTest : public TempDirTest {
 protected:
  std::unique_ptr<ResultTree> Open(const std::string& path, std::string* why,
                                   const quorvix::Policy& policy = quorvix::Policy()) {
    return MatFormat()->open(path, policy, why);
  }
  static const Component& Find(const ResultTree& tree, const std::string& type, size_t c = 0) {
    for (const auto& t : tree.subcases.at(0).types)
      if (t.name == type) return t.requests.at(0).components.at(c);
    throw std::runtime_error("no type " + type);
  }
  static std::vector<double> Load(const Component& c, std::string* why = nullptr) {
    std::vector<double> out;
    std::string ignored;
    EXPECT_TRUE(c.values.empty());
    if (!c.load(out, why ? why : &ignored)) out.assign(1, -999.0);
    return out;
  }
  static std::vector<std::string> TypeNames(const ResultTree& tree) {
    std::vector<std::string> names;
    for (const auto& t : tree.subcases.at(0).types) names.push_back(t.name);
    return names;
  }
  // A file of one double vector v = 1..3.
  std::string SmallV5(const std::string& name, mat_ft version = MAT_FT_MAT5,
                      matio_compression compression = MAT_COMPRESSION_NONE) {
    const std::string path = (dir_ / name).string();
    MatWriter w(path, version, compression);
    w.Add(Vector<double>("v", MAT_C_DOUBLE, MAT_T_DOUBLE, {1, 2, 3}));
    return path;
  }
};

class MatReaderTest : public MatReaderFileTest, public testing::WithParamInterface<Version> {};

TEST_P(MatReaderTest, MatricesStructsAndTextsMapOntoTheTree) {
  const Version version = GetParam();
  const bool v4 = version.version == MAT_FT_MAT4;
  const std::string path = (dir_ / "r.mat").string();
  {
    MatWriter w(path, version.version, version.compression);
    if (!w.ok()) GTEST_SKIP() << "matio cannot write " << version.label;
    w.Add(Matrix("M", {2, 3}, {1, 4, 2, 5, 3, 6}));  // [1 2 3; 4 5 6]
    w.Add(Text("t", "hi"));
    if (!v4) {
      w.Add(Vector<int16_t>("v", MAT_C_INT16, MAT_T_INT16, {-3, 7, 9}));
      size_t one[2] = {1, 1};
      const char* outer_fields[] = {"f", "g", nullptr};
      const char* inner_fields[] = {"h", nullptr};
      matvar_t* s = Mat_VarCreateStruct2("s", 2, one, outer_fields);
      matvar_t* g = Mat_VarCreateStruct2(nullptr, 2, one, inner_fields);
      Mat_VarSetStructFieldByName(g, "h", 0,
                                  Vector<uint8_t>(nullptr, MAT_C_UINT8, MAT_T_UINT8, {200}));
      Mat_VarSetStructFieldByName(s, "f", 0,
                                  Vector<float>(nullptr, MAT_C_SINGLE, MAT_T_SINGLE, {0.5f, -2}));
      Mat_VarSetStructFieldByName(s, "g", 0, g);
      w.Add(s);
      size_t two[2] = {2, 1};
      matvar_t* c = Mat_VarCreate("c", MAT_C_CELL, MAT_T_CELL, 2, two, nullptr, 0);
      Mat_VarSetCell(c, 0, Text(nullptr, "ab"));
      Mat_VarSetCell(c, 1, Text(nullptr, "xyz"));
      w.Add(c);
    }
  }
  std::string why;
  auto tree = Open(path, &why);
  ASSERT_TRUE(tree) << why;
  EXPECT_EQ(tree->format, "mat");
  ASSERT_EQ(tree->subcases.size(), 1u);
  EXPECT_EQ(tree->subcases[0].label, "1");
  // In the file's order; version 7.3 lists its variables by name.
  const std::vector<std::string> expected_types =
      v4 ? std::vector<std::string>{"M", "t"}
      : version.version == MAT_FT_MAT73
          ? std::vector<std::string>{"M", "c", "s.f", "s.g.h", "t", "v"}
          : std::vector<std::string>{"M", "t", "v", "s.f", "s.g.h", "c"};
  EXPECT_EQ(TypeNames(*tree), expected_types);

  const auto& m = tree->subcases[0].types[0].requests.at(0);
  EXPECT_EQ(m.name, "data");
  ASSERT_EQ(m.components.size(), 4u);
  EXPECT_EQ(m.components[0].name, "all");
  EXPECT_EQ(m.components[0].length, 6);
  EXPECT_EQ(m.components[2].name, "2");
  EXPECT_EQ(m.components[2].length, 2);
  EXPECT_EQ(Load(m.components[0]), (std::vector<double>{1, 4, 2, 5, 3, 6}));
  EXPECT_EQ(Load(m.components[2]), (std::vector<double>{2, 5}));
  EXPECT_EQ(Load(m.components[3]), (std::vector<double>{3, 6}));
  EXPECT_EQ(Find(*tree, "t").texts, (std::vector<std::string>{"hi"}));
  if (v4) return;
  EXPECT_EQ(Load(Find(*tree, "v")), (std::vector<double>{-3, 7, 9}));
  EXPECT_EQ(Load(Find(*tree, "s.f")), (std::vector<double>{0.5, -2}));
  EXPECT_EQ(Load(Find(*tree, "s.g.h")), (std::vector<double>{200}));
  EXPECT_EQ(Find(*tree, "c").texts, (std::vector<std::string>{"ab", "xyz"}));
  EXPECT_EQ(Find(*tree, "c").length, 2);
}

INSTANTIATE_TEST_SUITE_P(Versions, MatReaderTest,
                         testing::Values(Version{"v4", MAT_FT_MAT4, MAT_COMPRESSION_NONE},
                                         Version{"v5", MAT_FT_MAT5, MAT_COMPRESSION_NONE},
                                         Version{"v5z", MAT_FT_MAT5, MAT_COMPRESSION_ZLIB},
                                         Version{"v73", MAT_FT_MAT73, MAT_COMPRESSION_NONE}),
                         [](const testing::TestParamInfo<Version>& info) {
                           return std::string(info.param.label);
                         });

TEST_F(MatReaderFileTest, SniffsByContentAndTheExtensionForVersion4) {
  const std::string v5 = SmallV5("data.bin");
  const std::string v4 = (dir_ / "old.mat").string();
  { MatWriter(v4, MAT_FT_MAT4, MAT_COMPRESSION_NONE).Add(Matrix("x", {1, 1}, {2})); }
  const std::string v4_bytes = qt::ReadFile(v4);
  auto sniff = MatFormat()->sniff;
  EXPECT_TRUE(sniff(v5, qt::ReadFile(v5)));
  EXPECT_TRUE(sniff(v4, v4_bytes));
  EXPECT_FALSE(sniff("old.txt", v4_bytes));
  EXPECT_FALSE(sniff("a.mat", "time,x\n0,1\n"));
  EXPECT_TRUE(sniff("short.dat", "MATLAB 5.0 MAT-file"));
}

TEST_F(MatReaderFileTest, RefusedVariablesSayWhyWhenRead) {
  const std::string path = (dir_ / "refused.mat").string();
  {
    MatWriter w(path, MAT_FT_MAT5, MAT_COMPRESSION_NONE);
    double re[] = {1, 2}, im[] = {3, 4};
    mat_complex_split_t z = {re, im};
    size_t dims[2] = {1, 2};
    w.Add(Mat_VarCreate("z", MAT_C_DOUBLE, MAT_T_DOUBLE, 2, dims, &z, MAT_F_COMPLEX));
    matvar_t* k = Mat_VarCreate("k", MAT_C_CELL, MAT_T_CELL, 2, dims, nullptr, 0);
    Mat_VarSetCell(k, 0, Text(nullptr, "a"));
    Mat_VarSetCell(k, 1, Matrix(nullptr, {1, 1}, {5}));
    w.Add(k);
  }
  std::string why;
  auto tree = Open(path, &why);
  ASSERT_TRUE(tree) << why;
  EXPECT_EQ(Load(Find(*tree, "z"), &why), std::vector<double>{-999});
  EXPECT_EQ(why, "mat variable z: complex values are not read");
  EXPECT_EQ(Load(Find(*tree, "k"), &why), std::vector<double>{-999});
  EXPECT_EQ(why, "mat variable k: a cell array that is not all text is not read");
}

TEST_F(MatReaderFileTest, DamagedFilesGiveAMessageAndNothingOnStandardError) {
  std::string why;
  testing::internal::CaptureStderr();
  const std::string empty = Write("empty.mat", "");
  EXPECT_FALSE(Open(empty, &why));
  EXPECT_EQ(why, "not a MAT file: " + empty);
  const std::string garbage =
      Write("garbage.mat", "MATLAB 5.0 MAT-file" + std::string(300, '\x7f'));
  EXPECT_FALSE(Open(garbage, &why));
  EXPECT_EQ(why, "not a MAT file: " + garbage);

  // Cut inside the data: the header still lists the variable, its values fail.
  for (auto [version, compression] :
       {std::pair{MAT_FT_MAT4, MAT_COMPRESSION_NONE}, std::pair{MAT_FT_MAT5, MAT_COMPRESSION_NONE},
        std::pair{MAT_FT_MAT5, MAT_COMPRESSION_ZLIB}}) {
    const std::string cut = SmallV5("cut.mat", version, compression);
    std::filesystem::resize_file(cut, std::filesystem::file_size(cut) - 12);
    auto tree = Open(cut, &why);
    ASSERT_TRUE(tree) << why;
    EXPECT_EQ(Load(Find(*tree, "v"), &why), std::vector<double>{-999});
    EXPECT_EQ(why, "mat variable v: the file is cut short") << version << compression;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(MatReaderFileTest, AnnouncedSizesAreCheckedBeforeReading) {
  // Dimensions of 2^31-1 x 2^31-1 patched into the header (offset 160: the
  // 128-byte file header, the matrix tag, the array flags and the dims tag).
  const std::string huge = SmallV5("huge.mat");
  std::string bytes = qt::ReadFile(huge);
  ASSERT_EQ(bytes.substr(160, 8), std::string("\1\0\0\0\3\0\0\0", 8));
  bytes.replace(160, 8, std::string("\xff\xff\xff\x7f\xff\xff\xff\x7f", 8));
  std::ofstream(huge, std::ios::binary) << bytes;
  std::string why;
  auto tree = Open(huge, &why);
  ASSERT_TRUE(tree) << why;
  EXPECT_EQ(Load(Find(*tree, "v"), &why), std::vector<double>{-999});
  EXPECT_EQ(why, "mat variable v: its size exceeds what the file holds");

  // A cell array announcing that many cells is refused before matio reads it.
  const std::string cells = (dir_ / "cells.mat").string();
  {
    MatWriter w(cells, MAT_FT_MAT5, MAT_COMPRESSION_NONE);
    size_t dims[2] = {1, 1};
    matvar_t* c = Mat_VarCreate("c", MAT_C_CELL, MAT_T_CELL, 2, dims, nullptr, 0);
    Mat_VarSetCell(c, 0, Text(nullptr, "a"));
    w.Add(c);
  }
  bytes = qt::ReadFile(cells);
  ASSERT_EQ(bytes.substr(160, 8), std::string("\1\0\0\0\1\0\0\0", 8));
  bytes.replace(160, 8, std::string("\xff\xff\xff\x7f\xff\xff\xff\x7f", 8));
  std::ofstream(cells, std::ios::binary) << bytes;
  EXPECT_FALSE(Open(cells, &why));
  EXPECT_EQ(why, "mat file " + cells + ": a variable announces more elements than the file holds");

  // The same inside a struct, plain and compressed: s.c announces 2^62 cells.
  const std::string nested = (dir_ / "nested.mat").string();
  {
    MatWriter w(nested, MAT_FT_MAT5, MAT_COMPRESSION_NONE);
    size_t dims[2] = {1, 1};
    const char* fields[] = {"c", nullptr};
    matvar_t* s = Mat_VarCreateStruct2("s", 2, dims, fields);
    matvar_t* c = Mat_VarCreate(nullptr, MAT_C_CELL, MAT_T_CELL, 2, dims, nullptr, 0);
    Mat_VarSetCell(c, 0, Text(nullptr, "a"));
    Mat_VarSetStructFieldByName(s, "c", 0, c);
    w.Add(s);
  }
  bytes = qt::ReadFile(nested);
  const std::size_t inner = bytes.find(std::string("\1\0\0\0\1\0\0\0", 8), 168);
  ASSERT_NE(inner, std::string::npos);
  bytes.replace(inner, 8, std::string("\xff\xff\xff\x7f\xff\xff\xff\x7f", 8));
  std::ofstream(nested, std::ios::binary) << bytes;
  EXPECT_FALSE(Open(nested, &why));
  EXPECT_EQ(why, "mat file " + nested + ": a variable announces more elements than the file holds");
  // Compressed: a tag of type 15 and the deflated variable after the header.
  std::string deflated(compressBound(bytes.size() - 128), '\0');
  uLongf length = deflated.size();
  ASSERT_EQ(compress(reinterpret_cast<Bytef*>(deflated.data()), &length,
                     reinterpret_cast<const Bytef*>(bytes.data() + 128), bytes.size() - 128),
            Z_OK);
  const std::uint32_t tag[2] = {15, static_cast<std::uint32_t>(length)};
  const std::string zipped = Write(
      "nested_z.mat", bytes.substr(0, 128) + std::string(reinterpret_cast<const char*>(tag), 8) +
                          deflated.substr(0, length));
  EXPECT_FALSE(Open(zipped, &why));
  EXPECT_EQ(why, "mat file " + zipped + ": a variable announces more elements than the file holds");

  // A header that does not fit the variable's own byte count: matio reads it
  // from the bytes after it (here a dims tag announcing 4 GB of dimensions).
  for (const std::uint32_t announced : {0u, 16u}) {
    bytes = qt::ReadFile(SmallV5("short.mat"));
    std::memcpy(bytes.data() + 132, &announced, 4);
    const std::string path = Write("short" + std::to_string(announced) + ".mat", bytes);
    EXPECT_FALSE(Open(path, &why)) << announced;
    EXPECT_EQ(why, "mat file " + path + ": a variable's header is damaged");
  }

  quorvix::Policy two;
  two.limits.elements = 2;
  tree = Open(SmallV5("three.mat"), &why, two);
  ASSERT_TRUE(tree) << why;
  EXPECT_EQ(Load(Find(*tree, "v"), &why), std::vector<double>{-999});
  EXPECT_EQ(why, "mat variable v: more elements than allowed");
}

TEST_F(MatReaderFileTest, RestrictedModeReadsOnlyInsideTheAllowedDirectories) {
  const std::string path = SmallV5("v.mat");
  quorvix::Policy restricted;
  restricted.restricted = true;
  std::string why;
  EXPECT_FALSE(Open(path, &why, restricted));
  EXPECT_EQ(why, "reading " + path + " is not allowed in restricted mode");
  restricted.read_dirs = {dir_.string()};
  auto tree = Open(path, &why, restricted);
  ASSERT_TRUE(tree) << why;
  EXPECT_EQ(Load(Find(*tree, "v")), (std::vector<double>{1, 2, 3}));
}

// Through the read built-in: a variable by its name, a struct field as s.f,
// a column by the request and component names, a refused variable as 1.
class MatThroughRead : public qt::ParserTest {
 protected:
  qt::TempDir temp_;
};

TEST_F(MatThroughRead, VariablesFieldsAndColumns) {
  const std::string path = (temp_.path() / "e2e.mat").string();
  {
    MatWriter w(path, MAT_FT_MAT5, MAT_COMPRESSION_ZLIB);
    w.Add(Matrix("M", {2, 3}, {1, 4, 2, 5, 3, 6}));
    size_t one[2] = {1, 1};
    const char* fields[] = {"f", nullptr};
    matvar_t* s = Mat_VarCreateStruct2("s", 2, one, fields);
    Mat_VarSetStructFieldByName(s, "f", 0,
                                Vector<int32_t>(nullptr, MAT_C_INT32, MAT_T_INT32, {-7, 8}));
    w.Add(s);
    double re[] = {1}, im[] = {2};
    mat_complex_split_t z = {re, im};
    w.Add(Mat_VarCreate("z", MAT_C_DOUBLE, MAT_T_DOUBLE, 2, one, &z, MAT_F_COMPLEX));
    // Named like M's components: the variables win.
    w.Add(Vector<double>("all", MAT_C_DOUBLE, MAT_T_DOUBLE, {9}));
    w.Add(Vector<double>("1", MAT_C_DOUBLE, MAT_T_DOUBLE, {5, 6}));
  }
  const std::string file = "read(\"" + path + "\", ";
  EXPECT_EQ(Eval(file + "\"s.f\")"), "-7, 8");
  EXPECT_EQ(Eval(file + "\"M\")"), "1, 4, 2, 5, 3, 6");
  EXPECT_EQ(Eval(file + "\"M\", \"data\", \"3\")"), "3, 6");
  EXPECT_EQ(Eval(file + "0, 0, 2)"), "2, 5");
  EXPECT_EQ(Eval(file + "\"z\")"), "1");
  EXPECT_EQ(Eval(file + "\"all\")"), "9");
  EXPECT_EQ(Eval(file + "\"1\")"), "5, 6");
}

}  // namespace
#endif  // QUORVIX_HAVE_MATIO

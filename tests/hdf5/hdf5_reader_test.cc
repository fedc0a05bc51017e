// The HDF5 reader on files written here with the HDF5 library: the tree and
// its lazy values, units, text, what is listed but refused, and bad files.
#include <hdf5.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "results/result_tree.h"
#include "support/support.h"

namespace {

using quorvix::results::Component;
using quorvix::results::ResultTree;

const quorvix::results::ReaderFormat* Hdf5Format() {
  static const auto formats = quorvix::results::ReaderFormats();
  for (const auto& f : formats)
    if (std::string(f.name) == "hdf5") return &f;
  return nullptr;
}

// Writes one dataset of `file_type` from `data` (given in `memory_type`).
void Put(hid_t loc, const char* name, hid_t file_type, hid_t memory_type,
         const std::vector<hsize_t>& dims, const void* data) {
  const hid_t space = H5Screate_simple(static_cast<int>(dims.size()), dims.data(), nullptr);
  const hid_t ds = H5Dcreate2(loc, name, file_type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
  ASSERT_GE(ds, 0) << name;
  if (data) H5Dwrite(ds, memory_type, H5S_ALL, H5S_ALL, H5P_DEFAULT, data);
  H5Dclose(ds);
  H5Sclose(space);
}

// A chunked dataset with nothing written: its size costs no room.
void Unwritten(hid_t loc, const char* name, hid_t type, const std::vector<hsize_t>& dims,
               const std::vector<hsize_t>& chunk) {
  const hid_t create = H5Pcreate(H5P_DATASET_CREATE);
  H5Pset_chunk(create, static_cast<int>(chunk.size()), chunk.data());
  const hid_t space = H5Screate_simple(static_cast<int>(dims.size()), dims.data(), nullptr);
  H5Dclose(H5Dcreate2(loc, name, type, space, H5P_DEFAULT, create, H5P_DEFAULT));
  H5Sclose(space);
  H5Pclose(create);
}

// A string attribute, variable-length or of fixed size.
void PutText(hid_t loc, const char* obj, const char* name, const char* text, bool variable) {
  const hid_t type = H5Tcopy(H5T_C_S1);
  H5Tset_size(type, variable ? H5T_VARIABLE : std::strlen(text));
  const hid_t space = H5Screate(H5S_SCALAR);
  const hid_t attr =
      H5Acreate_by_name(loc, obj, name, type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
  H5Awrite(attr, type, variable ? static_cast<const void*>(&text) : text);
  H5Aclose(attr);
  H5Sclose(space);
  H5Tclose(type);
}

class Hdf5ReaderTest : public TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    ASSERT_NE(Hdf5Format(), nullptr);
  }
  std::unique_ptr<ResultTree> Open(const std::string& path, std::string* why) {
    return Hdf5Format()->open(path, policy_, why);
  }
  // The values of `c`, loaded; the message when the load fails.
  static std::string Load(Component& c, std::vector<double>& out) {
    std::string why;
    if (!c.values.empty() || !c.load) return "not lazy";
    return c.load(out, &why) ? "" : why;
  }
  std::string Sample() {
    const std::string path = (dir_ / "sample.h5").string();
    const hid_t f = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    const double t[] = {0, 0.5, 1, 1.5, 2};
    Put(f, "t", H5T_IEEE_F64LE, H5T_NATIVE_DOUBLE, {5}, t);
    PutText(f, "t", "unit", "s", true);
    const hid_t g = H5Gcreate2(f, "g", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    const int i[] = {1, -2, 3};
    Put(g, "i", H5T_STD_I32BE, H5T_NATIVE_INT, {3}, i);
    PutText(g, "i", "units", "mm", false);
    const float m[] = {1, 2, 3, 4, 5, 6};
    Put(g, "m", H5T_IEEE_F32LE, H5T_NATIVE_FLOAT, {3, 2}, m);
    const short row[] = {7, 8, 9, 10};
    Put(g, "row", H5T_STD_I16LE, H5T_NATIVE_SHORT, {1, 4}, row);
    Put(g, "cube", H5T_IEEE_F64LE, H5T_NATIVE_DOUBLE, {2, 1, 2}, t);
    const hid_t cmp = H5Tcreate(H5T_COMPOUND, 8);
    H5Tinsert(cmp, "a", 0, H5T_NATIVE_DOUBLE);
    Put(g, "cmp", cmp, cmp, {1}, t);
    H5Tclose(cmp);
    const char* names[] = {"alpha", "b"};
    const hid_t vstr = H5Tcopy(H5T_C_S1);
    H5Tset_size(vstr, H5T_VARIABLE);
    Put(g, "names", vstr, vstr, {2}, names);
    H5Tclose(vstr);
    const hid_t fstr = H5Tcopy(H5T_C_S1);
    H5Tset_size(fstr, 4);
    H5Tset_strpad(fstr, H5T_STR_SPACEPAD);
    Put(g, "pads", fstr, fstr, {2}, "ab  xyzw");
    H5Tclose(fstr);
    // Huge announced sizes that take no room: chunked and never written.
    const hid_t vstr_type = H5Tcopy(H5T_C_S1);
    H5Tset_size(vstr_type, H5T_VARIABLE);
    Unwritten(g, "huge", H5T_IEEE_F64LE, {1'000'000'000'000ULL}, {1});
    Unwritten(g, "texts", vstr_type, {2'000'000}, {1});
    Unwritten(g, "wide", H5T_IEEE_F64LE, {2, 20000}, {1, 1});
    Unwritten(f, "u", H5T_IEEE_F64LE, {1'000'000'000}, {100'000'000});
    H5Tclose(vstr_type);
    H5Lcreate_soft("/t", g, "soft", H5P_DEFAULT, H5P_DEFAULT);
    H5Lcreate_external("other.h5", "/x", f, "ext", H5P_DEFAULT, H5P_DEFAULT);
    H5Gclose(g);
    H5Fclose(f);
    return path;
  }
  quorvix::Policy policy_;
};

TEST_F(Hdf5ReaderTest, EveryDatasetIsATypeNamedByItsPath) {
  std::string why;
  auto tree = Open(Sample(), &why);
  ASSERT_TRUE(tree) << why;
  EXPECT_EQ(tree->format, "hdf5");
  ASSERT_EQ(tree->subcases.size(), 1u);
  std::vector<std::string> types, shapes;
  for (const auto& type : tree->subcases[0].types) {
    types.push_back(type.name);
    ASSERT_EQ(type.requests.size(), 1u);
    std::string shape = type.requests[0].name + ":";
    for (const Component& c : type.requests[0].components)
      shape += " " + c.name + "=" + std::to_string(c.length) + c.unit;
    shapes.push_back(shape);
  }
  // Links other than hard ones are not followed.
  EXPECT_EQ(types,
            (std::vector<std::string>{"/g/cmp", "/g/cube", "/g/huge", "/g/i", "/g/m", "/g/names",
                                      "/g/pads", "/g/row", "/g/texts", "/g/wide", "/t", "/u"}));
  EXPECT_EQ(shapes[3], "i: i=3mm");
  EXPECT_EQ(shapes[4], "m: 1=3 2=3");
  EXPECT_EQ(shapes[7], "row: row=4");
  EXPECT_EQ(shapes[10], "t: t=5s");
  // Text is read at opening, so its count has a bound of its own.
  std::vector<double> out;
  EXPECT_EQ(Load(tree->subcases[0].types[8].requests[0].components[0], out),
            "hdf5 dataset /g/texts: 2000000 strings, more than 1000000");
}

TEST_F(Hdf5ReaderTest, NumbersAreReadWhenAskedForAsDoubles) {
  auto tree = Open(Sample(), nullptr);
  ASSERT_TRUE(tree);
  auto& types = tree->subcases[0].types;
  auto values = [&](int type, int component) {
    std::vector<double> out;
    const std::string why = Load(types[type].requests[0].components[component], out);
    EXPECT_EQ(why, "");
    return out;
  };
  EXPECT_EQ(values(10, 0), (std::vector<double>{0, 0.5, 1, 1.5, 2}));
  EXPECT_EQ(values(3, 0), (std::vector<double>{1, -2, 3}));
  // A table: one component per column.
  EXPECT_EQ(values(4, 0), (std::vector<double>{1, 3, 5}));
  EXPECT_EQ(values(4, 1), (std::vector<double>{2, 4, 6}));
  EXPECT_EQ(values(7, 0), (std::vector<double>{7, 8, 9, 10}));
  // Text is there at once.
  EXPECT_EQ(types[5].requests[0].components[0].texts, (std::vector<std::string>{"alpha", "b"}));
  EXPECT_EQ(types[6].requests[0].components[0].texts, (std::vector<std::string>{"ab", "xyzw"}));
}

TEST_F(Hdf5ReaderTest, DataWeDoNotReadAreListedAndRefused) {
  policy_.limits.elements = 4;
  auto tree = Open(Sample(), nullptr);
  ASSERT_TRUE(tree);
  auto& types = tree->subcases[0].types;
  auto refusal = [&](int type) {
    std::vector<double> out;
    return Load(types[type].requests[0].components[0], out);
  };
  EXPECT_EQ(refusal(0), "hdf5 dataset /g/cmp: compound data cannot be read");
  EXPECT_EQ(refusal(1), "hdf5 dataset /g/cube: 3-D data cannot be read");
  EXPECT_EQ(refusal(2), "hdf5 dataset /g/huge: more elements than the limit of 4");
  EXPECT_EQ(refusal(9), "hdf5 dataset /g/wide: 20000 columns, more than 10000");
  EXPECT_EQ(refusal(10), "hdf5 dataset /t: more elements than the limit of 4");
  EXPECT_EQ(refusal(11), "hdf5 dataset /u: chunks of more than 268435456 bytes");
  EXPECT_EQ(refusal(7), "");
}

TEST_F(Hdf5ReaderTest, KnownBySignatureEvenBehindAUserBlock) {
  const std::string sig("\x89HDF\r\n\x1a\n", 8);
  const auto* f = Hdf5Format();
  EXPECT_TRUE(f->sniff("a.dat", sig + "rest"));
  EXPECT_TRUE(f->sniff("a.dat", std::string(512, 'u') + sig));
  EXPECT_FALSE(f->sniff("a.h5", std::string(100, 'u') + sig));
  EXPECT_FALSE(f->sniff("a.mat", "MATLAB 7.3 MAT-file" + std::string(493, ' ') + sig));
  EXPECT_FALSE(f->sniff("a.h5", "\x89HDF"));

  const std::string path = (dir_ / "ub.h5").string();
  const hid_t create = H5Pcreate(H5P_FILE_CREATE);
  H5Pset_userblock(create, 1024);
  const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, create, H5P_DEFAULT);
  const double x[] = {4, 2};
  Put(file, "x", H5T_IEEE_F64LE, H5T_NATIVE_DOUBLE, {2}, x);
  H5Fclose(file);
  H5Pclose(create);
  const std::string head = qt::ReadFile(path).substr(0, 4096);
  EXPECT_TRUE(f->sniff(path, head));
  auto tree = Open(path, nullptr);
  ASSERT_TRUE(tree);
  std::vector<double> out;
  EXPECT_EQ(Load(tree->subcases[0].types[0].requests[0].components[0], out), "");
  EXPECT_EQ(out, (std::vector<double>{4, 2}));
}

TEST_F(Hdf5ReaderTest, BadFilesGiveAMessage) {
  const std::string sig("\x89HDF\r\n\x1a\n", 8);
  std::string why;
  const std::string garbage = Write("garbage.h5", sig + std::string(3000, '\xff'));
  EXPECT_FALSE(Open(garbage, &why));
  EXPECT_EQ(why, "could not read " + garbage + " as an HDF5 file");
  const std::string empty = Write("empty.h5", "");
  EXPECT_FALSE(Open(empty, &why));
  EXPECT_EQ(why, "could not read " + empty + " as an HDF5 file");
  // Cut short inside the data.
  const std::string path = Sample();
  std::filesystem::resize_file(path, std::filesystem::file_size(path) - 100);
  EXPECT_FALSE(Open(path, &why));
  EXPECT_EQ(why, "could not read " + path + " as an HDF5 file");
  // A unit whose text in the global heap claims a megabyte: HDF5 crashes on
  // it, in the child that walks the file, and the host lives on.
  const std::string heap = (dir_ / "heap.h5").string();
  const hid_t f = H5Fcreate(heap.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
  const double t[] = {1, 2};
  Put(f, "t", H5T_IEEE_F64LE, H5T_NATIVE_DOUBLE, {2}, t);
  PutText(f, "t", "unit", "s", true);
  H5Fclose(f);
  std::string bytes = qt::ReadFile(heap);
  // "GCOL", version, 3 reserved, the collection's size (8), then the first
  // object: index (2), references (2), reserved (4), size (8).
  const std::size_t collection = bytes.find("GCOL");
  ASSERT_NE(collection, std::string::npos);
  bytes.replace(collection + 24, 8, std::string("\0\0\x10\0\0\0\0\0", 8));
  Write("heap.h5", bytes);
  EXPECT_FALSE(Open(heap, &why));
  EXPECT_EQ(why, "could not read " + heap + ": the HDF5 file is damaged");
  EXPECT_FALSE(Open((dir_ / "missing.h5").string(), &why));
  EXPECT_EQ(why, "could not open " + (dir_ / "missing.h5").string());
}

TEST_F(Hdf5ReaderTest, RestrictedModeReadsOnlyInsideTheAllowedDirectories) {
  const std::string path = Sample();
  policy_.restricted = true;
  policy_.read_dirs = {(dir_ / "elsewhere").string()};
  std::string why;
  EXPECT_FALSE(Open(path, &why));
  EXPECT_EQ(why, quorvix::Policy::NotAllowed("reading " + path));
  policy_.read_dirs = {dir_.string()};
  EXPECT_TRUE(Open(path, &why)) << why;
}

}  // namespace

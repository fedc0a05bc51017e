// Writes the seed files of the MAT and HDF5 fuzz targets: small files of
// every layout the readers know, written with matio and the HDF5 library
// so that no binary seed is kept without its source.
//
//   result_seeds DIR    writes DIR/mat/* and DIR/hdf5/*
#include <sys/stat.h>

#include <cstdio>
#include <string>
#include <vector>

#ifdef QUORVIX_HAVE_MATIO
#include <matio.h>
#endif
#ifdef QUORVIX_HAVE_HDF5
#include <hdf5.h>
#endif

namespace {

#ifdef QUORVIX_HAVE_MATIO
matvar_t* Doubles(const char* name, std::size_t rows, std::size_t columns,
                  std::vector<double> values) {
  std::size_t dims[2] = {rows, columns};
  return Mat_VarCreate(name, MAT_C_DOUBLE, MAT_T_DOUBLE, 2, dims, values.data(), 0);
}

matvar_t* Chars(const char* name, std::string text) {
  std::size_t dims[2] = {1, text.size()};
  return Mat_VarCreate(name, MAT_C_CHAR, MAT_T_UINT8, 2, dims, text.data(), 0);
}

// Every kind of variable the reader lists: a matrix, text, integers, a
// struct holding a struct, a struct array, a cell array of strings.
void WriteMat(const std::string& path, mat_ft version, matio_compression compression) {
  mat_t* mat = Mat_CreateVer(path.c_str(), nullptr, version);
  if (mat == nullptr) return;
  auto add = [&](matvar_t* var) {
    Mat_VarWrite(mat, var, compression);
    Mat_VarFree(var);
  };
  add(Doubles("M", 2, 3, {1, 4, 2, 5, 3, 6}));
  add(Chars("t", "hi"));
  if (version != MAT_FT_MAT4) {
    std::size_t one[2] = {1, 1}, two[2] = {1, 2};
    std::vector<short> shorts{-3, 7, 9};
    std::size_t three[2] = {1, 3};
    add(Mat_VarCreate("v", MAT_C_INT16, MAT_T_INT16, 2, three, shorts.data(), 0));
    const char* outer[] = {"f", "g"};
    const char* inner[] = {"h"};
    matvar_t* s = Mat_VarCreateStruct("s", 2, one, outer, 2);
    matvar_t* g = Mat_VarCreateStruct(nullptr, 2, one, inner, 1);
    Mat_VarSetStructFieldByName(g, "h", 0, Doubles(nullptr, 1, 1, {200}));
    Mat_VarSetStructFieldByName(s, "f", 0, Doubles(nullptr, 1, 2, {0.5, -2}));
    Mat_VarSetStructFieldByName(s, "g", 0, g);
    add(s);
    matvar_t* a = Mat_VarCreateStruct("a", 2, two, inner, 1);
    Mat_VarSetStructFieldByName(a, "h", 0, Doubles(nullptr, 1, 1, {1}));
    Mat_VarSetStructFieldByName(a, "h", 1, Doubles(nullptr, 1, 2, {2, 3}));
    add(a);
    matvar_t* c = Mat_VarCreate("c", MAT_C_CELL, MAT_T_CELL, 2, two, nullptr, 0);
    Mat_VarSetCell(c, 0, Chars(nullptr, "ab"));
    Mat_VarSetCell(c, 1, Chars(nullptr, "xyz"));
    add(c);
  }
  Mat_Close(mat);
}
#endif

#ifdef QUORVIX_HAVE_HDF5
void Attribute(hid_t object, const char* name, const char* text, bool variable) {
  hid_t type = H5Tcopy(H5T_C_S1);
  H5Tset_size(type, variable ? H5T_VARIABLE : std::string(text).size());
  hid_t space = H5Screate(H5S_SCALAR);
  hid_t attribute = H5Acreate2(object, name, type, space, H5P_DEFAULT, H5P_DEFAULT);
  if (variable)
    H5Awrite(attribute, type, &text);
  else
    H5Awrite(attribute, type, text);
  H5Aclose(attribute);
  H5Sclose(space);
  H5Tclose(type);
}

// Datasets of one and two dimensions, numbers and text, units in both kinds
// of string attribute, a group; `latest` uses the newer file layout,
// `chunked` stores the numbers in compressed chunks.
void WriteHdf5(const std::string& path, bool latest, bool chunked) {
  hid_t access = H5Pcreate(H5P_FILE_ACCESS);
  if (latest) H5Pset_libver_bounds(access, H5F_LIBVER_LATEST, H5F_LIBVER_LATEST);
  // Metadata packed tight: small seeds make fast fuzzing.
  H5Pset_meta_block_size(access, 0);
  H5Pset_small_data_block_size(access, 0);
  hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access);
  H5Pclose(access);
  if (file < 0) return;
  hid_t create = H5Pcreate(H5P_DATASET_CREATE);
  const hsize_t series[1] = {5};
  if (chunked) {
    H5Pset_chunk(create, 1, series);
    H5Pset_deflate(create, 1);
  }
  const double t[5] = {0, 0.1, 0.2, 0.3, 0.4};
  hid_t space = H5Screate_simple(1, series, nullptr);
  hid_t set = H5Dcreate2(file, "t", H5T_IEEE_F64LE, space, H5P_DEFAULT, create, H5P_DEFAULT);
  H5Dwrite(set, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, t);
  Attribute(set, "unit", "s", true);
  H5Dclose(set);
  H5Sclose(space);
  H5Pclose(create);

  hid_t group = H5Gcreate2(file, "g", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
  const hsize_t table[2] = {3, 2};
  const int acc[6] = {1, -1, 2, -2, 3, -3};
  space = H5Screate_simple(2, table, nullptr);
  set = H5Dcreate2(group, "acc", H5T_STD_I32LE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
  H5Dwrite(set, H5T_NATIVE_INT, H5S_ALL, H5S_ALL, H5P_DEFAULT, acc);
  Attribute(set, "units", "m/s2", false);
  H5Dclose(set);
  H5Sclose(space);
  H5Gclose(group);

  const hsize_t two[1] = {2};
  const char* names[2] = {"ab", "xyz"};
  hid_t text = H5Tcopy(H5T_C_S1);
  H5Tset_size(text, H5T_VARIABLE);
  space = H5Screate_simple(1, two, nullptr);
  set = H5Dcreate2(file, "names", text, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
  H5Dwrite(set, text, H5S_ALL, H5S_ALL, H5P_DEFAULT, names);
  H5Dclose(set);
  H5Tclose(text);
  H5Sclose(space);
  H5Fclose(file);
}
#endif

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: result_seeds DIR\n");
    return 2;
  }
  const std::string dir = argv[1];
  ::mkdir(dir.c_str(), 0755);
#ifdef QUORVIX_HAVE_MATIO
  ::mkdir((dir + "/mat").c_str(), 0755);
  WriteMat(dir + "/mat/v4", MAT_FT_MAT4, MAT_COMPRESSION_NONE);
  WriteMat(dir + "/mat/v5", MAT_FT_MAT5, MAT_COMPRESSION_NONE);
  WriteMat(dir + "/mat/v5z", MAT_FT_MAT5, MAT_COMPRESSION_ZLIB);
  WriteMat(dir + "/mat/v73", MAT_FT_MAT73, MAT_COMPRESSION_NONE);
#endif
#ifdef QUORVIX_HAVE_HDF5
  ::mkdir((dir + "/hdf5").c_str(), 0755);
  WriteHdf5(dir + "/hdf5/plain", false, false);
  WriteHdf5(dir + "/hdf5/latest", true, false);
  WriteHdf5(dir + "/hdf5/chunked", false, true);
#endif
  return 0;
}

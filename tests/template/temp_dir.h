// A test fixture owning a fresh temporary directory, removed afterwards.
#ifndef QUORVIX_TESTS_TEMPLATE_TEMP_DIR_H_
#define QUORVIX_TESTS_TEMPLATE_TEMP_DIR_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

class TempDirTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "quorvix_test_XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = std::filesystem::canonical(pattern);
  }
  void TearDown() override {
    std::error_code ec;
    std::filesystem::remove_all(dir_, ec);
  }
  // Writes `text` to `name` (which may hold subdirectories) in the directory;
  // returns the file's path.
  std::string Write(const std::string& name, const std::string& text) {
    const std::filesystem::path path = dir_ / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  std::filesystem::path dir_;
};

#endif  // QUORVIX_TESTS_TEMPLATE_TEMP_DIR_H_

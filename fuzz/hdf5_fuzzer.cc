// libFuzzer target: any bytes read as an HDF5 file through the path `read`
// takes give a tree or a message; loading every dataset gives numbers or a
// message, never a crash, a runaway allocation or a sanitizer report.
#include <cstddef>
#include <cstdint>

#include "result_file_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return quorvix::fuzz::FuzzResultFile(data, size, ".h5");
}

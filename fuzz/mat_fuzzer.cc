// libFuzzer target: any bytes read as a MATLAB file (version 4, 5 or 7.3)
// through the path `read` takes give a tree or a message; loading every
// component gives numbers or a message, never a crash, a runaway
// allocation or a sanitizer report.
#include <cstddef>
#include <cstdint>

#include "result_file_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return quorvix::fuzz::FuzzResultFile(data, size, ".mat");
}

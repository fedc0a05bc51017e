#include <iostream>

#include "commands.h"
#include "quorvix/message_service.h"

namespace quorvix::cli {
namespace {

// Messages that are not output (fit reports, and later echo and the lines
// of external programs) go to standard error, one a line, so that standard
// output carries only the result.
class StderrMessages : public MessageServiceBase {
 public:
  std::ostream& Stream() override { return std::cerr; }
};

}  // namespace

void SendMessagesToStandardError(Policy& policy) {
  static StderrMessages service;
  policy.messages = &service;
}

}  // namespace quorvix::cli

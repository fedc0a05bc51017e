// The exchange with an external-function program: start it with the two
// pipe descriptors as its arguments, send the request text, read the
// replies. One call, one process, reaped before the call returns.
#ifndef QUORVIX_EXPRESSION_EXTERNAL_TRANSPORT_H
#define QUORVIX_EXPRESSION_EXTERNAL_TRANSPORT_H

#include <string>
#include <vector>

#include "quorvix/policy.h"

class MessageServiceBase;

namespace quorvix {

// The transport's codes; their texts are the program's vocabulary of
// failures.
enum TransportCode {
  kTransportSuccess = 0,
  kTransportWriteFailed = 1,
  kTransportReadFailed = 2,
  kTransportAllocationFailed = 3,
  kTransportChildFailedExec = 8,
  kTransportPipeFailed = 10,
  kTransportBadHeader = 11,
};

// "Success", "IPC write failed", ...; the last row for a code out of range.
const char* TransportMessage(int code);

struct ExternalReply {
  bool is_string = false;
  std::vector<double> numbers;  // numeric result
  std::string text;             // string result
  bool has_error_text = false;  // the program sent a type 2 reply
  std::string error_text;
  // A failure that is not a transport code: a refusal of the policy or the
  // time-out, already worded.
  std::string failure;
};

struct ExternalRequest {
  std::string program;
  std::string text;                        // every request line
  const Policy* policy = nullptr;          // starts the process, bounds the reply
  MessageServiceBase* messages = nullptr;  // type 1 replies; null: standard output
  std::ostream* errors = nullptr;          // transport errors; null: standard error
};

// Runs one exchange. Returns the transport code; on success `reply` holds
// the result. A code other than 0 with `reply.failure` set failed for that
// reason instead.
int RunExternalProgram(const ExternalRequest& request, ExternalReply& reply);

}  // namespace quorvix

#endif  // QUORVIX_EXPRESSION_EXTERNAL_TRANSPORT_H

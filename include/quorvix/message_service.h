// Message services: where a host wants messages (and the output of external
// functions) to go. MathParser keeps them under keys chosen by the host; the
// active one is the service stored under the key that MathParser::app_func
// returns.
#ifndef QUORVIX_MESSAGE_SERVICE_H
#define QUORVIX_MESSAGE_SERVICE_H

#include <ostream>

class MessageServiceBase {
 public:
  virtual ~MessageServiceBase() = default;
  // The stream that messages are written to.
  virtual std::ostream& Stream() = 0;
  // A one-line message; the default writes it and a line end to Stream().
  virtual void Message(const char* text) { Stream() << text << '\n'; }
};

#endif

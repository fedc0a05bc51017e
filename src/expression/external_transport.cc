#include "expression/external_transport.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <iostream>

#include "quorvix/message_service.h"
#include "util/child_process.h"
#include "values/value_limits.h"

namespace quorvix {

const char* TransportMessage(int code) {
  static constexpr const char* kMessages[] = {
      "Success",
      "IPC write failed",
      "IPC read failed",
      "IPC allocation failed",
      "IPC wrong type",
      "IPC child closed pipe",
      "IPC sendbuff too small",
      "IPC child failed dup",
      "IPC child failed exec",
      "IPC failed signal handler",
      "IPC failed sigpipe",
      "IPC bad header",
      "IPC failed fork",
  };
  constexpr int kCount = static_cast<int>(std::size(kMessages));
  return kMessages[code >= 0 && code < kCount ? code : kCount - 1];
}

namespace {

// A type 3 reply is one line of at most this many bytes.
constexpr std::size_t kStringReplyBytes = 1024;

// Both pipes at once: the request is written while replies are read, so a
// program that talks before it has read everything cannot deadlock with us.
class Channel {
 public:
  Channel(int to_child, int from_child, std::string out, const Deadline& deadline)
      : to_child_(to_child), from_child_(from_child), out_(std::move(out)), deadline_(deadline) {
    const int flags = ::fcntl(to_child_, F_GETFL);
    if (flags >= 0) ::fcntl(to_child_, F_SETFL, flags | O_NONBLOCK);
    if (out_.empty()) CloseOut();
  }
  ~Channel() { CloseOut(); }

  // The next byte, or -1 at the end of the replies (EOF, a failure or the
  // deadline).
  int Get() {
    if (pos_ == in_.size() && !Fill()) return -1;
    return static_cast<unsigned char>(in_[pos_++]);
  }
  int Peek() {
    if (pos_ == in_.size() && !Fill()) return -1;
    return static_cast<unsigned char>(in_[pos_]);
  }
  bool write_failed() const { return write_failed_; }
  bool timed_out() const { return timed_out_; }

 private:
  void CloseOut() {
    if (to_child_ >= 0) ::close(to_child_);
    to_child_ = -1;
  }

  void WriteSome() {
    const ssize_t n = ::write(to_child_, out_.data() + sent_, out_.size() - sent_);
    if (n < 0) {
      if (errno == EAGAIN || errno == EINTR) return;
      write_failed_ = true;  // the program has gone away (EPIPE)
      CloseOut();
      return;
    }
    sent_ += static_cast<std::size_t>(n);
    // The end of the request is an end of file for the program.
    if (sent_ == out_.size()) CloseOut();
  }

  bool Fill() {
    in_.erase(0, pos_);
    pos_ = 0;
    while (!eof_) {
      pollfd fds[2] = {{from_child_, POLLIN, 0}, {to_child_, POLLOUT, 0}};
      const int r = ::poll(fds, to_child_ >= 0 ? 2 : 1, deadline_.RemainingMs());
      if (r < 0) {
        if (errno == EINTR) continue;
        eof_ = true;
        break;
      }
      if (r == 0) {
        timed_out_ = eof_ = true;
        break;
      }
      if (to_child_ >= 0 && fds[1].revents != 0) WriteSome();
      if (fds[0].revents == 0) continue;
      const ssize_t n = ReadChunk(from_child_, in_);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        eof_ = true;
        break;
      }
      return true;
    }
    return false;
  }

  int to_child_;
  int from_child_;
  std::string out_;
  std::size_t sent_ = 0;
  const Deadline& deadline_;
  std::string in_;
  std::size_t pos_ = 0;
  bool eof_ = false;
  bool write_failed_ = false;
  bool timed_out_ = false;
};

bool IsSpace(int c) { return c >= 0 && std::isspace(c) != 0; }

// The reply grammar over the channel.
class ReplyReader {
 public:
  ReplyReader(Channel& channel, const Limits& limits) : in_(channel), limits_(limits) {}

  void SkipSpace() {
    while (IsSpace(in_.Peek())) in_.Get();
  }

  // A decimal integer after white space; saturates far beyond any limit.
  bool Integer(long long* value) {
    SkipSpace();
    bool negative = false;
    if (in_.Peek() == '-' || in_.Peek() == '+') negative = in_.Get() == '-';
    if (!std::isdigit(in_.Peek())) return false;
    constexpr long long kCap = 1LL << 60;
    long long v = 0;
    while (in_.Peek() >= 0 && std::isdigit(in_.Peek())) {
      const int digit = in_.Get() - '0';
      v = v >= kCap / 10 ? kCap : v * 10 + digit;
    }
    *value = negative ? -v : v;
    return true;
  }

  // A number as the C library reads one, ending at white space; a token
  // longer than any number's spelling fails.
  bool Number(double* value) {
    SkipSpace();
    token_.clear();
    while (token_.size() < kNumberBytes && in_.Peek() >= 0 && !IsSpace(in_.Peek()))
      token_.push_back(static_cast<char>(in_.Get()));
    if (token_.empty() || (in_.Peek() >= 0 && !IsSpace(in_.Peek()))) return false;
    char* end = nullptr;
    *value = std::strtod(token_.c_str(), &end);
    return *end == '\0';
  }

  // A text of types 1 and 2: its length, one separator, that many bytes.
  int Text(std::string* text) {
    long long length = 0;
    if (!Integer(&length) || length < 0) return kTransportReadFailed;
    if (static_cast<unsigned long long>(length) > limits_.string_bytes)
      return kTransportAllocationFailed;
    if (in_.Get() < 0) return kTransportReadFailed;
    text->clear();
    for (long long i = 0; i < length; ++i) {
      const int c = in_.Get();
      if (c < 0) return kTransportReadFailed;
      text->push_back(static_cast<char>(c));
    }
    return kTransportSuccess;
  }

  int Numbers(std::vector<double>* numbers) {
    long long count = 0;
    if (!Integer(&count) || count < 0) return kTransportReadFailed;
    // Only what arrives is stored: an announced count allocates nothing.
    if (count > std::min<long long>(limits_.elements, ElementLimit()))
      return kTransportAllocationFailed;
    numbers->reserve(static_cast<std::size_t>(std::min(count, 4096LL)));
    for (long long i = 0; i < count; ++i) {
      double x = 0;
      if (!Number(&x)) return kTransportReadFailed;
      numbers->push_back(x);
    }
    return kTransportSuccess;
  }

  // The rest of the line after one separator; EOF reads as an empty line.
  void Line(std::string* text) {
    text->clear();
    if (in_.Get() == '\n') return;
    for (int c = in_.Get(); c >= 0 && c != '\n'; c = in_.Get())
      if (c != '\r' && text->size() < kStringReplyBytes) text->push_back(static_cast<char>(c));
  }

 private:
  static constexpr std::size_t kNumberBytes = 1024;
  Channel& in_;
  const Limits& limits_;
  std::string token_;
};

void WriteMessage(MessageServiceBase* messages, const std::string& text) {
  if (messages != nullptr) {
    messages->Message(text.c_str());
  } else {
    std::cout << text << '\n';
    std::cout.flush();
  }
}

// Reads replies until a result, an error or a failure.
int ReadReplies(ReplyReader& reader, const ExternalRequest& request, ExternalReply& reply,
                Channel& channel) {
  for (;;) {
    long long type = -1;
    reader.SkipSpace();
    if (channel.Peek() < 0) return kTransportReadFailed;
    if (!reader.Integer(&type) || (channel.Peek() >= 0 && !IsSpace(channel.Peek()))) type = -1;
    switch (type) {
      case 0:
        return reader.Numbers(&reply.numbers);
      case 1: {
        std::string text;
        if (const int code = reader.Text(&text); code != kTransportSuccess) return code;
        WriteMessage(request.messages, text);
        continue;
      }
      case 2: {
        const int code = reader.Text(&reply.error_text);
        if (code != kTransportSuccess) return code;
        reply.has_error_text = true;
        return kTransportReadFailed;
      }
      case 3:
        reply.is_string = true;
        reader.Line(&reply.text);
        return kTransportSuccess;
      default:
        (request.errors != nullptr ? *request.errors : std::cerr)
            << TransportMessage(kTransportBadHeader) << '\n';
        return kTransportBadHeader;
    }
  }
}

}  // namespace

int RunExternalProgram(const ExternalRequest& request, ExternalReply& reply) {
  static const Policy kDefault;
  const Policy& policy = request.policy != nullptr ? *request.policy : kDefault;
  Pipe to_child, from_child;
  if (!to_child.Open() || !from_child.Open()) {
    (request.errors != nullptr ? *request.errors : std::cerr)
        << TransportMessage(kTransportPipeFailed) << '\n';
    return kTransportPipeFailed;
  }
  const std::string path = ProgramPath(request.program);
  // Whatever the program prints on its own standard output would land in
  // the middle of a fill written to ours: it goes where messages go.
  ProcessRequest process{{path, std::to_string(to_child.read), std::to_string(from_child.write)},
                         -1,
                         STDERR_FILENO,
                         {to_child.read, from_child.write}};
  std::string why;
  const Deadline deadline = Deadline::FromProcessTimeout();
  const pid_t pid = policy.StartProcess(process, &why);
  if (pid < 0) {
    if (Policy::IsRefusal(why)) reply.failure = why;
    return kTransportChildFailedExec;
  }
  to_child.CloseRead();
  from_child.CloseWrite();
  int code = kTransportReadFailed;
  bool timed_out = false;
  {
    SigpipeBlock no_sigpipe;
    Channel channel(to_child.write, from_child.read, request.text, deadline);
    to_child.write = -1;  // the channel closes it when the request is sent
    ReplyReader reader(channel, policy.limits);
    code = ReadReplies(reader, request, reply, channel);
    timed_out = channel.timed_out();
    // A program that went away before it took the whole request has
    // failed on our side unless it answered all the same.
    if (code != kTransportSuccess && !reply.has_error_text && channel.write_failed())
      code = kTransportWriteFailed;
  }
  from_child.CloseRead();
  if (code == kTransportSuccess) {
    timed_out = !ReapChild(pid, deadline);
  } else {
    KillChild(pid);
  }
  if (timed_out) {
    reply.failure = TimedOutMessage(request.program, deadline.seconds());
    return code == kTransportSuccess ? kTransportReadFailed : code;
  }
  return code;
}

}  // namespace quorvix

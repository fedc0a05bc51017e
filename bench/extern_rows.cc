#include "extern_rows.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "peer.h"
#include "quorvix/math_parser.h"

extern char** environ;

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

// The same program started by posix_spawn and reaped by waitpid, its two
// descriptors pointed at /dev/null: what any way of running it costs.
bool SpawnAndWait(const std::string& program, int null_fd) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, null_fd, 0);
  posix_spawn_file_actions_adddup2(&actions, null_fd, 1);
  char* argv[] = {const_cast<char*>(program.c_str()), const_cast<char*>("0"),
                  const_cast<char*>("1"), nullptr};
  pid_t pid = -1;
  const int rc = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return rc == 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

}  // namespace

bool ExternRows(int number, const std::string& program, int calls, int runs) {
  MathParser p;
  MathParser::AddExternalFunc("responder", program.c_str(), 1);
  // One numeric argument of one element: "1\n0\n0\n1\n" and the number.
  const char* text = "responder(2)";
  std::unique_ptr<MathParserExpression> e(p.CreateExpression(text));
  const int null_fd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  double call_best = 1e300, spawn_best = 1e300;
  bool ok = e != nullptr && null_fd >= 0;
  for (int r = 0; ok && r <= runs; ++r) {  // the first run warms up
    auto t0 = Clock::now();
    for (int i = 0; ok && i < calls; ++i) {
      symtab* v = p.Evaluate(e.get());
      ok = v != nullptr && v->type == SYM_ARRAY && v->rows == 1 && v->data[0] == 24;
      if (v != nullptr) v->Delete();
    }
    auto t1 = Clock::now();
    for (int i = 0; ok && i < calls; ++i) ok = SpawnAndWait(program, null_fd);
    auto t2 = Clock::now();
    if (r == 0) continue;
    call_best = std::min(call_best, std::chrono::duration<double>(t1 - t0).count() * 1e3 / calls);
    spawn_best = std::min(spawn_best, std::chrono::duration<double>(t2 - t1).count() * 1e3 / calls);
  }
  if (null_fd >= 0) ::close(null_fd);
  if (!ok) {
    std::printf("MISMATCH external call of %s failed: %s\n", program.c_str(),
                MathParser::ErrorText().c_str());
    return false;
  }
  PrintPeerRow(std::to_string(number) + " external call", "spawn+wait", call_best, spawn_best, 0);
  std::printf(
      "%d: one call of an external function (a small C program: start, request, reply,\n"
      "   reap) against posix_spawn and waitpid of the same program with nothing to say\n",
      number);
  return true;
}

}  // namespace bench

// Runs jobs in child processes forked from this one, a few at a time. The
// library's state (registries, the include path, the current fill) is
// process-wide, so each job starts from this process's state and leaves no
// trace in it or in the jobs after it.
#ifndef QUORVIX_TOOLS_RUN_POOL_H
#define QUORVIX_TOOLS_RUN_POOL_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace quorvix::cli {

struct JobResult {
  bool ok = false;
  std::string text;  // what the job wrote to its descriptor, then why it died
};

// Runs job(i, fd) for every i below `count` in a child of its own, at most
// `parallel` at a time. The job writes its report to `fd` and returns the
// child's exit status (0: success). `done` gets each result in job order,
// as soon as it and every result before it are in.
void RunInChildren(std::size_t count, int parallel,
                   const std::function<int(std::size_t index, int fd)>& job,
                   const std::function<void(std::size_t index, const JobResult& result)>& done);

// Writes all of `text` to `fd`; false when it could not.
bool WriteAll(int fd, const std::string& text);

}  // namespace quorvix::cli

#endif  // QUORVIX_TOOLS_RUN_POOL_H

// Runs the quorvix command-line program as a separate process.
#ifndef QUORVIX_TESTS_CLI_RUN_CLI_H_
#define QUORVIX_TESTS_CLI_RUN_CLI_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace cli_test {

struct Outcome {
  int status = -1;  // exit status, or -1 when the program did not exit normally
  std::string out;
  std::string err;
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

// Runs the program with `args`, standard input read from `in_path`, in the
// directory `cwd` (the current one when empty). Standard output and error go
// to files that are read afterwards, so that neither pipe can fill up.
inline Outcome RunCli(const std::vector<std::string>& args,
                      const std::string& in_path = "/dev/null", const std::string& cwd = "") {
  Outcome result;
  char out_path[] = "/tmp/quorvix_cli_out_XXXXXX";
  char err_path[] = "/tmp/quorvix_cli_err_XXXXXX";
  int out_fd = mkstemp(out_path);
  int err_fd = mkstemp(err_path);
  if (out_fd < 0 || err_fd < 0) {
    ADD_FAILURE() << "mkstemp failed";
    return result;
  }
  std::vector<std::string> argv_text = {QUORVIX_CLI_PATH};
  argv_text.insert(argv_text.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : argv_text) argv.push_back(a.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, out_fd, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, err_fd, STDERR_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, in_path.c_str(), O_RDONLY, 0);
  if (!cwd.empty()) posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
  pid_t pid = 0;
  int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(out_fd);
  close(err_fd);
  if (rc == 0) {
    int status = 0;
    if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) result.status = WEXITSTATUS(status);
  } else {
    ADD_FAILURE() << "cannot start " << argv[0];
  }
  result.out = ReadFile(out_path);
  result.err = ReadFile(err_path);
  unlink(out_path);
  unlink(err_path);
  return result;
}

}  // namespace cli_test

#endif  // QUORVIX_TESTS_CLI_RUN_CLI_H_

#include "quorvix/policy.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "support/support.h"

namespace {

using quorvix::FileMode;
using quorvix::Policy;

class PolicyTest : public TempDirTest {
 protected:
  std::string path() const { return dir_.string(); }
};

TEST_F(PolicyTest, OnlyRegularFilesAreRead) {
  std::string fifo = path() + "/fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  Policy policy;
  std::string text, why;
  // Each would block or read as nothing; none may be taken for a template.
  for (const std::string& p : {fifo, path(), std::string("/dev/zero"), path() + "/missing"}) {
    EXPECT_FALSE(policy.ReadFile(p, text, &why)) << p;
    EXPECT_EQ(why, "could not open " + p);
  }
  Write("plain.txt", std::string("a\0b", 3));
  ASSERT_TRUE(policy.ReadFile(path() + "/plain.txt", text, &why));
  EXPECT_EQ(text, std::string("a\0b", 3));
  // Files whose size stat reports as 0 are read to their end all the same.
  ASSERT_TRUE(policy.ReadFile("/proc/self/status", text, &why));
  EXPECT_NE(text.find("Pid:"), std::string::npos);
}

TEST_F(PolicyTest, RestrictedModeReadsOnlyInsideTheAllowedDirectories) {
  Write("in/a.txt", "inside");
  Write("out.txt", "outside");
  ASSERT_EQ(::symlink((path() + "/out.txt").c_str(), (path() + "/in/link").c_str()), 0);
  Policy policy;
  policy.restricted = true;
  policy.read_dirs = {path() + "/in"};
  std::string text, why;
  EXPECT_TRUE(policy.ReadFile(path() + "/in/a.txt", text, &why));
  EXPECT_TRUE(policy.ReadFile(path() + "/in/../in/a.txt", text, &why));
  // Neither a path outside nor a link that leads outside is read.
  for (const std::string& p :
       {path() + "/out.txt", path() + "/in/link", path() + "/in/../out.txt"}) {
    EXPECT_FALSE(policy.ReadFile(p, text, &why)) << p;
    EXPECT_EQ(why, "reading " + p + " is not allowed in restricted mode");
  }
  EXPECT_EQ(policy.OpenFile(path() + "/in/new.txt", FileMode::kWrite, &why), nullptr);
  EXPECT_EQ(why, "writing " + path() + "/in/new.txt is not allowed in restricted mode");
}

TEST(PolicyFlagsTest, CallFlagsRefusedInRestrictedMode) {
  Policy policy;
  std::string why;
  EXPECT_TRUE(policy.AllowsCall("system", quorvix::kStartsProcesses, &why));
  policy.restricted = true;
  EXPECT_TRUE(policy.AllowsCall("sin", 0, &why));
  EXPECT_TRUE(policy.AllowsCall("filereadstring", quorvix::kReadsFiles, &why));
  EXPECT_FALSE(policy.AllowsCall("system", quorvix::kStartsProcesses, &why));
  EXPECT_EQ(why, "system is not allowed in restricted mode");
  EXPECT_FALSE(policy.AllowsCall("fileopen", quorvix::kReadsFiles | quorvix::kWritesFiles, &why));
  EXPECT_EQ(why, "fileopen is not allowed in restricted mode");
}

TEST(PolicyTrustTest, RestrictedModeBoundsWhatTheHostLeavesOpen) {
  struct Row {
    bool restricted;
    long long max_elements, max_output;
    long long elements;
    std::size_t output_bytes;
  } rows[] = {
      {false, 0, 0, 100'000'000, 0},
      {true, 0, 0, 10'000'000, 100'000'000},
      {true, 5, 7, 5, 7},
      {false, 5, 0, 5, 0},
      {true, 0, 200'000'000, 10'000'000, 200'000'000},
  };
  for (const Row& r : rows) {
    Policy policy;
    policy.SetTrust(r.restricted, {"HOME"}, r.max_elements, r.max_output);
    EXPECT_EQ(policy.restricted, r.restricted);
    EXPECT_EQ(policy.allowed_env, std::vector<std::string>{"HOME"});
    EXPECT_EQ(policy.limits.elements, r.elements) << r.restricted << r.max_elements;
    EXPECT_EQ(policy.limits.output_bytes, r.output_bytes) << r.restricted << r.max_output;
  }
}

TEST(PolicyProcessTest, ProcessesStartThroughTheLauncher) {
  Policy policy;
  std::string why;
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  pid_t pid = policy.StartProcess({{"sh", "-c", "echo hi; exit 3"}, -1, fds[1], {}}, &why);
  ::close(fds[1]);
  ASSERT_GT(pid, 0) << why;
  char buf[16] = {};
  EXPECT_EQ(::read(fds[0], buf, sizeof buf), 3);
  ::close(fds[0]);
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  EXPECT_EQ(WEXITSTATUS(status), 3);
  EXPECT_STREQ(buf, "hi\n");

  EXPECT_EQ(policy.StartProcess({{"no-such-program-quorvix"}, -1, -1, {}}, &why), -1);
  EXPECT_EQ(why.rfind("could not start no-such-program-quorvix: ", 0), 0u) << why;

  std::vector<std::string> seen;
  policy.launcher = [&](const quorvix::ProcessRequest& request, std::string*) {
    seen = request.argv;
    return pid_t{42};
  };
  EXPECT_EQ(policy.StartProcess({{"prog", "1", "2"}, -1, -1, {}}, &why), 42);
  EXPECT_EQ(seen, (std::vector<std::string>{"prog", "1", "2"}));
  policy.restricted = true;
  EXPECT_EQ(policy.StartProcess({{"prog"}, -1, -1, {}}, &why), -1);
  EXPECT_EQ(why, "prog is not allowed in restricted mode");
}

}  // namespace

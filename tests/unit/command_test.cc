// Starting tools: output read back within its bound, and background sequences that run in
// order after their caller moved on and hold none of its descriptors (hung, flooding and
// child-leaving tools are tests/robustness/tools.sh's; hostile arguments the end-to-end
// cases' write-hostile-serial and power-hostile-*). The programs here are
// small sh scripts standing in for the router's tools; none of them can change the machine.
#include "platform/command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "support.h"

namespace tavio {
namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kAmple{5000};

Command sh(const std::string& script, CommandOutput output = CommandOutput::kCapture,
           milliseconds deadline = kAmple) {
  return Command{"sh", {"-c", script}, deadline, output};
}

TEST(Command, OutcomesOfWaitedTools) {
  const struct {
    const char* what;
    Command command;
    std::optional<std::string> expected;
  } cases[] = {
      {"output read back", sh("printf 'answer'"), "answer"},
      {"output discarded", sh("printf 'answer'", CommandOutput::kDiscard), ""},
      {"non-zero exit", sh("printf 'answer'; exit 3"), std::nullopt},
      {"killed by a signal", sh("kill -9 $$"), std::nullopt},
      {"missing from PATH", Command{"tavio-no-such-tool", {}, kAmple, CommandOutput::kCapture},
       std::nullopt},
      {"standard input is empty", sh("cat"), ""},
      {"output at the reply bound", sh("head -c 1048576 /dev/zero"), std::string(1048576, '\0')},
      {"output past the reply bound", sh("head -c 1048577 /dev/zero"), std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(run_command(c.command), c.expected);
  }
}

class CommandTest : public TempRootTest {};

// The program run is the one the PATH of the moment finds: a changed PATH is searched again.
TEST_F(CommandTest, ChangedPathIsSearchedAgain) {
  const Command probe{"tavio-probe", {}, kAmple, CommandOutput::kCapture};
  stand_in("tavio-probe", "#!/bin/sh\nprintf first\n");
  EXPECT_EQ(run_command(probe), "first");
  write("/other-bin/tavio-probe", "#!/bin/sh\nprintf second\n");
  std::filesystem::permissions(host("/other-bin/tavio-probe"), std::filesystem::perms::owner_all);
  ::setenv("PATH", (host("/other-bin") + ":" + std::getenv("PATH")).c_str(), 1);
  EXPECT_EQ(run_command(probe), "second");
}

// A step that outlives its deadline is killed with its group, and the sequence goes on.
TEST_F(CommandTest, DetachedStepsRunInOrderAfterTheCallerMovedOn) {
  const std::string log = host("/steps.log");
  // A descriptor the caller holds open: the detached process must not keep it.
  int watch[2];
  ASSERT_EQ(::pipe(watch), 0);
  const Clock::time_point start = Clock::now();
  run_detached({
      {"sh", {"-c", "sleep 0.3; echo one >> " + log}, kAmple},
      {"sh", {"-c", "sleep 60; echo never >> " + log}, milliseconds(300)},
      {"sh", {"-c", "echo two >> " + log}, kAmple},
  });
  EXPECT_LT(Clock::now() - start, milliseconds(250)) << "the caller waited for the steps";
  ::close(watch[1]);
  char byte = 0;
  EXPECT_EQ(::read(watch[0], &byte, 1), 0) << "the detached process kept a descriptor";
  ::close(watch[0]);
  for (int i = 0; i < 300 && read("/steps.log") != "one\ntwo\n"; ++i) {
    std::this_thread::sleep_for(milliseconds(10));
  }
  EXPECT_EQ(read("/steps.log"), "one\ntwo\n");
}

}  // namespace
}  // namespace tavio

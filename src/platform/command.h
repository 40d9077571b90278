// Starting the router's tools: a command is a record (program, arguments, where its output
// goes, its deadline), never a shell line, and only this module starts a process.
//
// A program named without a '/' is the file a shell would run: the first PATH entry holding
// an executable regular file. If that file cannot be executed the call fails, as the shell's
// would; no later entry is tried.
//
// Every tool runs in a process group of its own with a deadline; when the deadline passes,
// the group is killed and reaped and the call fails as when the tool fails. The exchange as a
// whole has a budget: once it is spent no further waited tool is started, so one exchange
// never keeps the panel waiting much longer than the budget plus one deadline. A watch
// process kills the group of the tool being waited for if tavio itself is killed outright.
#ifndef TAVIO_PLATFORM_COMMAND_H
#define TAVIO_PLATFORM_COMMAND_H

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavio {

/// Where a command's standard output goes.
enum class CommandOutput {
  kDiscard,  ///< nowhere: standard input, output and error are /dev/null
  kCapture,  ///< read back by tavio through a pipe, up to kMaxReplyBytes; errors stay tavio's
};

/// One run of a router tool. Whether tavio waits for it is the door it goes through:
/// run_command waits, run_detached never does; either way it ends by its deadline.
struct Command {
  Command(std::string program_name, std::vector<std::string> arguments,
          std::chrono::milliseconds time_allowed, CommandOutput where = CommandOutput::kDiscard)
      : program(std::move(program_name)),
        args(std::move(arguments)),
        output(where),
        deadline(time_allowed) {}

  std::string program;                 ///< looked up through PATH as the shell does, or a path
  std::vector<std::string> args;       ///< the arguments behind the program name, each one word
  CommandOutput output;                ///< waited commands only
  std::chrono::milliseconds deadline;  ///< after this the tool and its process group are killed
};

/// The router's programs that write its flash (saveconfig, activate, restoreconfig, reboot,
/// the password reset) run in the background; a large configuration takes them well under a
/// minute even on slow flash, so one still running after five is stuck, not slow.
constexpr std::chrono::seconds kFlashToolDeadline{300};

/// The time after tavio's start past which no further tool is started: a panel that asks
/// every few seconds gets an answer, late or partial, rather than a run that never ends.
constexpr std::chrono::seconds kExchangeBudget{20};
/// The longest deadline of a tool tavio waits for (the local API's fetch tool); each tool's
/// own deadline is checked against it where it is named.
constexpr std::chrono::seconds kLongestWaitedDeadline{12};
/// The longest an exchange can last: the last tool may start just before the budget ends.
/// A temporary file younger than this may belong to a run that is still going.
constexpr std::chrono::seconds kLongestExchange = kExchangeBudget + kLongestWaitedDeadline;
/// True once the exchange's budget is spent: nothing further is asked of the router.
[[nodiscard]] bool exchange_budget_spent();

/// Starts the exchange's clock; call once, first thing in a run.
void start_exchange_clock();

/// Runs a command and waits for it. The standard output read back ("" unless
/// kCapture) when the tool ended with exit status 0 within its deadline and the reply bound;
/// nothing when it could not start (missing from PATH, budget spent), failed, or ran past its
/// deadline or the bound (then it and its process group are killed and reaped first).
[[nodiscard]] std::optional<std::string> run_command(const Command& command);

/// Starts steps one after another, each after the previous one ended or was killed for its
/// deadline, in a detached process of its own session that keeps none of tavio's
/// descriptors; returns at once. Nobody waits for the outcome: a step that cannot start
/// counts as a failed step, and when the detached process itself cannot be made nothing runs.
void run_detached(const std::vector<Command>& steps);

/// What starts commands: the operating system, or a test harness that answers them itself.
struct CommandRunner {
  std::optional<std::string> (*run)(const Command& command);
  void (*detach)(const std::vector<Command>& steps);
};
/// Lets a test harness answer every command (a fuzz target serves the tools' replies from its
/// input); null puts the operating system back. tavio itself always uses the system.
void replace_command_runner(const CommandRunner* runner);

}  // namespace tavio

#endif

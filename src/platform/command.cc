#include "platform/command.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "platform/text_buffer.h"

namespace tavio {
namespace {

using Clock = std::chrono::steady_clock;

std::optional<Clock::time_point> g_exchange_started;

bool budget_spent() {
  if (!g_exchange_started) {
    g_exchange_started = Clock::now();
  }
  return Clock::now() - *g_exchange_started >= kExchangeBudget;
}

// SIGCHLD writes a byte into this pipe, so the wait for a tool's end is one poll() on the
// pipe and the tool's output together, with the deadline as its time-out: no busy loop, no
// process descriptors (which the routers' kernels lack).
int g_child_ended[2] = {-1, -1};
// The process group of the tool being waited for, so a termination signal can kill it.
volatile sig_atomic_t g_waited_group = 0;
// SIGPIPE as tavio found it, handed on to the tools unchanged.
struct sigaction g_original_sigpipe {};
bool g_sigpipe_changed = false;

void on_child_ended(int /*signal*/) {
  const int saved = errno;
  const ssize_t ignored = ::write(g_child_ended[1], "x", 1);
  static_cast<void>(ignored);
  errno = saved;
}

void on_termination(int signal_number) {
  if (g_waited_group > 0) {
    ::kill(-static_cast<pid_t>(g_waited_group), SIGKILL);
  }
  ::signal(signal_number, SIG_DFL);
  ::raise(signal_number);
}

bool set_flags(int fd, int fd_flags, int status_flags) {
  return ::fcntl(fd, F_SETFD, fd_flags) == 0 &&
         ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | status_flags) == 0;
}

bool watch_child_ends() {
  if (g_child_ended[0] >= 0) {
    return true;
  }
  int ends[2];
  if (::pipe(ends) != 0) {
    return false;
  }
  if (!set_flags(ends[0], FD_CLOEXEC, O_NONBLOCK) || !set_flags(ends[1], FD_CLOEXEC, O_NONBLOCK)) {
    ::close(ends[0]);
    ::close(ends[1]);
    return false;
  }
  g_child_ended[0] = ends[0];
  g_child_ended[1] = ends[1];
  struct sigaction action {};
  action.sa_handler = on_child_ended;
  action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
  sigemptyset(&action.sa_mask);
  return ::sigaction(SIGCHLD, &action, nullptr) == 0;
}

void drain(int fd) {
  char bytes[64];
  while (::read(fd, bytes, sizeof bytes) > 0) {
  }
}

// The argument vector execvp takes; it points into command.
std::vector<char*> argument_vector(const Command& command) {
  std::vector<char*> argv;
  argv.reserve(command.args.size() + 2);
  argv.push_back(const_cast<char*>(command.program.c_str()));
  for (const std::string& arg : command.args) {
    argv.push_back(const_cast<char*>(arg.c_str()));
  }
  argv.push_back(nullptr);
  return argv;
}

// In a child before exec: the signal state a tool would get from a shell started by tavio,
// the signal mask given (tavio's own).
void restore_tool_signals(const sigset_t& mask) {
  struct sigaction standard {};
  standard.sa_handler = SIG_DFL;
  sigemptyset(&standard.sa_mask);
  for (const int signal_number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
    struct sigaction current {};
    if (::sigaction(signal_number, nullptr, &current) == 0 && current.sa_handler != SIG_IGN) {
      ::sigaction(signal_number, &standard, nullptr);
    }
  }
  if (g_sigpipe_changed) {
    ::sigaction(SIGPIPE, &g_original_sigpipe, nullptr);
  }
  ::sigprocmask(SIG_SETMASK, &mask, nullptr);
}

bool redirect(int fd, const char* path, int flags) {
  const int opened = ::open(path, flags);
  if (opened < 0) {
    return false;
  }
  const bool ok = opened == fd || ::dup2(opened, fd) == fd;
  if (opened != fd) {
    ::close(opened);
  }
  return ok;
}

// In the child of a waited tool, which shares tavio's memory until it execs (vfork): only
// system calls here, nothing that allocates or touches tavio's state. Never returns.
[[noreturn]] void exec_waited(const Command& command, char* const* argv, pid_t parent,
                              int output_fd, const sigset_t& mask) {
  ::setpgid(0, 0);
#ifdef __linux__
  // A tavio killed outright (SIGKILL) takes its tool with it.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) {
    ::_exit(127);
  }
#else
  static_cast<void>(parent);
#endif
  restore_tool_signals(mask);
  bool ok = redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
  if (command.output == CommandOutput::kCapture) {
    ok = ok && ::dup2(output_fd, STDOUT_FILENO) == STDOUT_FILENO;
  } else {
    ok = ok && redirect(STDOUT_FILENO, "/dev/null", O_WRONLY) &&
         ::dup2(STDOUT_FILENO, STDERR_FILENO) == STDERR_FILENO;
  }
  if (ok) {
    ::execvp(argv[0], argv);
  }
  ::_exit(127);  // as the shell reports a command it cannot run
}

// How a waited tool ended.
struct ToolEnd {
  int status = 0;          // its wait status
  bool cut_short = false;  // killed for its deadline or its reply bound
};

int milliseconds_until(Clock::time_point moment) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(moment - Clock::now());
  return left.count() <= 0 ? 0 : static_cast<int>(std::min<long long>(left.count(), 60000));
}

// Kills the tool's group while its leader is still unreaped (so the group's id cannot have
// been taken by another process), then reaps the leader.
ToolEnd kill_and_reap(pid_t pid, bool cut_short) {
  ToolEnd end;
  end.cut_short = cut_short;
  ::kill(-pid, SIGKILL);
  while (::waitpid(pid, &end.status, 0) < 0 && errno == EINTR) {
  }
  return end;
}

enum class PipeRead { kOpen, kEnded, kPastBound };

// Reads what the tool's output pipe holds now into output.
PipeRead read_available(int fd, std::string& output) {
  char buffer[4096];
  while (true) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n > 0) {
      if (output.size() + static_cast<std::size_t>(n) > kMaxReplyBytes) {
        return PipeRead::kPastBound;
      }
      output.append(buffer, static_cast<std::size_t>(n));
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else {
      return n < 0 && errno == EAGAIN ? PipeRead::kOpen : PipeRead::kEnded;
    }
  }
}

// Waits for the tool until it ends, its deadline passes or its output outgrows the bound;
// reads its output meanwhile (output_fd -1: none to read).
ToolEnd await_tool(pid_t pid, int output_fd, Clock::time_point deadline, std::string& output) {
  bool output_open = output_fd >= 0;
  while (true) {
    siginfo_t info{};
    // WNOWAIT leaves the ended tool unreaped until the rest of its group is killed.
    if (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        info.si_pid == pid) {
      // What the tool wrote before it ended is still in the pipe; anything it left running
      // in its group goes with it, so no orphan keeps the pipe open.
      const bool past_bound =
          output_open && read_available(output_fd, output) == PipeRead::kPastBound;
      return kill_and_reap(pid, past_bound);
    }
    const int wait_ms = milliseconds_until(deadline);
    if (wait_ms == 0) {
      return kill_and_reap(pid, true);
    }
    pollfd watched[2] = {{g_child_ended[0], POLLIN, 0}, {output_fd, POLLIN, 0}};
    const int ready = ::poll(watched, output_open ? 2 : 1, wait_ms);
    if (ready < 0 && errno != EINTR) {
      return kill_and_reap(pid, true);
    }
    if (ready > 0 && (watched[0].revents & POLLIN) != 0) {
      drain(g_child_ended[0]);
    }
    if (ready > 0 && output_open && watched[1].revents != 0) {
      const PipeRead read = read_available(output_fd, output);
      if (read == PipeRead::kPastBound) {
        return kill_and_reap(pid, true);  // a tool that writes without end stops here
      }
      output_open = read == PipeRead::kOpen;
    }
  }
}

std::optional<std::string> system_run(const Command& command) {
  if (!watch_child_ends()) {
    return std::nullopt;
  }
  const Clock::time_point deadline = Clock::now() + command.deadline;
  int output[2] = {-1, -1};
  if (command.output == CommandOutput::kCapture) {
    if (::pipe(output) != 0) {
      return std::nullopt;
    }
    // Both ends close on exec: the tool gets the write end as its standard output only.
    if (!set_flags(output[0], FD_CLOEXEC, O_NONBLOCK) || !set_flags(output[1], FD_CLOEXEC, 0)) {
      ::close(output[0]);
      ::close(output[1]);
      return std::nullopt;
    }
  }
  const std::vector<char*> argv = argument_vector(command);
  const pid_t parent = ::getpid();
  // vfork: on the router's small CPU, copying tavio's page tables for every tool costs more
  // than the tool's own start. No signal handler may run in the child before it has put the
  // tool's signal state in place, so every signal waits until then.
  sigset_t all;
  sigset_t own;
  sigfillset(&all);
  ::sigprocmask(SIG_SETMASK, &all, &own);
  const pid_t pid = ::vfork();
  if (pid == 0) {
    exec_waited(command, argv.data(), parent, output[1], own);
  }
  ::sigprocmask(SIG_SETMASK, &own, nullptr);
  if (output[1] >= 0) {
    ::close(output[1]);
  }
  if (pid < 0) {
    if (output[0] >= 0) {
      ::close(output[0]);
    }
    return std::nullopt;
  }
  ::setpgid(pid, pid);  // also here, so the group exists before any kill of it
  g_waited_group = pid;
  std::string text;
  const ToolEnd end = await_tool(pid, output[0], deadline, text);
  g_waited_group = 0;
  if (output[0] >= 0) {
    ::close(output[0]);
  }
  if (end.cut_short || !WIFEXITED(end.status) || WEXITSTATUS(end.status) != 0) {
    return std::nullopt;
  }
  return text;
}

// Closes every descriptor above standard error (a detached sequence keeps none of tavio's).
void close_inherited_descriptors() {
  if (DIR* dir = ::opendir("/proc/self/fd")) {
    std::vector<int> open_fds;
    const int own = ::dirfd(dir);
    while (const dirent* entry = ::readdir(dir)) {
      const int fd = std::atoi(entry->d_name);
      if (fd > STDERR_FILENO && fd != own) {
        open_fds.push_back(fd);
      }
    }
    ::closedir(dir);
    for (const int fd : open_fds) {
      ::close(fd);
    }
    return;
  }
  rlimit limit{};
  const rlim_t most = ::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY
                          ? std::min<rlim_t>(limit.rlim_cur, 65536)
                          : 1024;
  for (int fd = STDERR_FILENO + 1; fd < static_cast<int>(most); ++fd) {
    ::close(fd);
  }
}

// The detached process: runs each step to its end, in order, then ends.
[[noreturn]] void run_steps(const std::vector<Command>& steps) {
  sigset_t own;
  ::sigprocmask(SIG_SETMASK, nullptr, &own);
  restore_tool_signals(own);
  close_inherited_descriptors();
  const bool quiet = redirect(STDIN_FILENO, "/dev/null", O_RDONLY) &&
                     redirect(STDOUT_FILENO, "/dev/null", O_WRONLY) &&
                     ::dup2(STDOUT_FILENO, STDERR_FILENO) == STDERR_FILENO;
  if (!quiet) {
    ::_exit(1);
  }
  for (const Command& step : steps) {
    const std::vector<char*> argv = argument_vector(step);
    const pid_t pid = ::vfork();
    if (pid == 0) {
      ::execvp(argv[0], argv.data());
      ::_exit(127);
    }
    int status = 0;
    while (pid > 0 && ::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
  }
  ::_exit(0);
}

// A copy of this process, as fork makes one: the clone system call with nothing shared. The C
// library's own fork wrapper is passed by because its child crashes under the user-mode
// emulators the router builds are tested in; tavio has one thread, so the wrapper's other work
// (fork handlers, locks of other threads) has nothing to do.
pid_t copy_process() { return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0)); }

bool system_detach(const std::vector<Command>& steps) {
  if (steps.empty()) {
    return false;
  }
  const pid_t pid = copy_process();
  if (pid == 0) {
    // A session of its own, and a second copy so the sequence is nobody's child: tavio never
    // waits for it and leaves no zombie behind.
    ::setsid();
    if (copy_process() == 0) {
      run_steps(steps);
    }
    ::_exit(0);
  }
  if (pid < 0) {
    return false;
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

const CommandRunner kSystemRunner = {system_run, system_detach};
const CommandRunner* g_runner = &kSystemRunner;

}  // namespace

void start_exchange_clock() { g_exchange_started = Clock::now(); }

bool exchange_budget_spent() { return budget_spent(); }

std::optional<std::string> run_command(const Command& command) {
  if (budget_spent()) {
    return std::nullopt;
  }
  return g_runner->run(command);
}

bool run_detached(const std::vector<Command>& steps) { return g_runner->detach(steps); }

void replace_command_runner(const CommandRunner* runner) {
  g_runner = runner == nullptr ? &kSystemRunner : runner;
}

void install_run_signals() {
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigemptyset(&ignore.sa_mask);
  g_sigpipe_changed = ::sigaction(SIGPIPE, &ignore, &g_original_sigpipe) == 0;
  struct sigaction terminate {};
  terminate.sa_handler = on_termination;
  sigemptyset(&terminate.sa_mask);
  for (const int signal_number : {SIGTERM, SIGINT, SIGHUP}) {
    struct sigaction current {};
    // A signal ignored by whoever started tavio stays ignored.
    if (::sigaction(signal_number, nullptr, &current) == 0 && current.sa_handler != SIG_IGN) {
      ::sigaction(signal_number, &terminate, nullptr);
    }
  }
}

}  // namespace tavio

#include "platform/command.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif
#if defined(__has_include)
#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#endif
#endif

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "platform/process_state.h"
#include "platform/sanitizers.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

using Clock = std::chrono::steady_clock;

std::optional<Clock::time_point> g_exchange_started;

// SIGCHLD writes a byte into this pipe, so the wait for a tool's end is one poll() on the
// pipe and the tool's output together, with the deadline as its time-out: no busy loop, no
// process descriptors (which the routers' kernels lack).
int g_child_ended[2] = {-1, -1};
// The write end of the watch process's pipe (-1: no watch): each waited tool writes its
// process group into it before it starts, tavio writes 0 once it reaped the tool.
int g_watch = -1;

void on_child_ended(int /*signal*/) {
  const int saved = errno;
  const ssize_t ignored = ::write(g_child_ended[1], "x", 1);
  static_cast<void>(ignored);
  errno = saved;
}

// A pipe whose ends both close on exec from the start, so no tool started meanwhile inherits
// them; each end's status flags are 0 or O_NONBLOCK.
bool open_pipe(int ends[2], int read_flags, int write_flags) {
  const int shared = read_flags & write_flags;
  if (::pipe2(ends, O_CLOEXEC | shared) != 0) {
    return false;
  }
  if ((read_flags != shared && ::fcntl(ends[0], F_SETFL, read_flags) != 0) ||
      (write_flags != shared && ::fcntl(ends[1], F_SETFL, write_flags) != 0)) {
    ::close(ends[0]);
    ::close(ends[1]);
    return false;
  }
  return true;
}

bool watch_child_ends() {
  if (g_child_ended[0] >= 0) {
    return true;
  }
  int ends[2];
  if (!open_pipe(ends, O_NONBLOCK, O_NONBLOCK)) {
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

// The argument vector of a tool; it points into command.
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

// The search path when PATH is unset: the C library's own, which holds none of the folders of
// the commands that change the machine.
constexpr char kDefaultSearchPath[] = "/bin:/usr/bin";

bool runnable_file(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

// The file a shell would run for name, looked up once per run and PATH: name itself when it holds a
// '/', else the first PATH entry holding an executable regular file (an empty entry is the
// current folder). "" when there is none.
const std::string& program_file(const std::string& name) {
  static std::string searched;  // the PATH the files below were found through
  static std::vector<std::pair<std::string, std::string>> found;
  const char* path = std::getenv("PATH");
  const std::string_view entries = path != nullptr ? path : kDefaultSearchPath;
  if (entries != searched) {  // only a harness that runs tavio in its own process changes it
    searched = entries;
    found.clear();
  }
  for (const auto& known : found) {
    if (known.first == name) {
      return known.second;
    }
  }
  std::string file;
  if (name.find('/') != std::string::npos) {
    file = name;
  } else if (!name.empty()) {
    std::size_t start = 0;
    while (start <= entries.size()) {
      const std::size_t colon = std::min(entries.find(':', start), entries.size());
      std::string candidate(entries.substr(start, colon - start));
      candidate.append(candidate.empty() ? "" : "/").append(name);
      if (runnable_file(candidate)) {
        file = std::move(candidate);
        break;
      }
      start = colon + 1;
    }
  }
  found.emplace_back(name, std::move(file));
  return found.back().second;
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

// In the child of a tool, which shares tavio's memory until it execs (vfork): only system
// calls here, nothing that allocates or touches tavio's state. The tool gets a process group
// of its own and the signal state of a fresh shell; its standard output goes to output_fd
// (-1: /dev/null, with its errors). Never returns.
[[noreturn]] void exec_tool(const char* file, char* const* argv, pid_t parent, int output_fd) {
  ::setpgid(0, 0);
  if (g_watch >= 0) {
    // Before the tool starts: a tavio killed from here on takes the whole group with it.
    const pid_t group = ::getpid();
    const ssize_t ignored = ::write(g_watch, &group, sizeof group);
    static_cast<void>(ignored);
  }
#ifdef __linux__
  // Killed outright before it could tell the watch, tavio still takes the tool with it.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) {
    ::_exit(127);
  }
#else
  static_cast<void>(parent);
#endif
  give_tool_fresh_signals();
  bool ok = redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
  if (output_fd >= 0) {
    ok = ok && ::dup2(output_fd, STDOUT_FILENO) == STDOUT_FILENO;
  } else {
    ok = ok && redirect(STDOUT_FILENO, "/dev/null", O_WRONLY) &&
         ::dup2(STDOUT_FILENO, STDERR_FILENO) == STDERR_FILENO;
  }
  if (ok && file[0] != '\0') {
    ::execv(file, argv);
    ::_exit(errno == ENOENT ? 127 : 126);  // as the shell reports a file it cannot run
  }
  ::_exit(127);  // as the shell reports a command it cannot find
}

// Starts a tool with vfork: on the router's small CPU, copying tavio's page tables for every
// tool costs more than the tool's own start. No signal handler may run in the child before it
// has put the tool's signal state in place, so every signal waits until then. The tool's
// process id, which is also its group's; -1 when it could not be started.
pid_t start_tool(const Command& command, int output_fd) {
  put_back_ignored_signals();
  const std::string& file = program_file(command.program);
  const std::vector<char*> argv = argument_vector(command);
  const pid_t parent = ::getpid();
  sigset_t all;
  sigset_t own;
  sigfillset(&all);
  ::sigprocmask(SIG_SETMASK, &all, &own);
  const pid_t pid = ::vfork();
  if (pid == 0) {
    exec_tool(file.c_str(), argv.data(), parent, output_fd);
  }
  ::sigprocmask(SIG_SETMASK, &own, nullptr);
  return pid;
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

// A copy of this process, as fork makes one: the clone system call with nothing shared. The C
// library's own fork wrapper is passed by because its child crashes under the user-mode
// emulators the router builds are tested in; tavio has one thread, so the wrapper's other work
// (fork handlers, locks of other threads) has nothing to do.
pid_t copy_process() {
  put_back_ignored_signals();
  return static_cast<pid_t>(::syscall(SYS_clone, SIGCHLD, 0, 0, 0, 0));
}

// What the watch is given, set before it starts and never changed after: the watch may share
// tavio's memory and read this while tavio goes on.
struct WatchStart {
  int reader = -1;  // the watch's end of the pipe
  int writer = -1;  // tavio's end, which the watch closes in its own descriptor table
  int quiet = -1;   // /dev/null, the watch's standard input, output and error
};
WatchStart g_watch_start;

// The watch's stack when it shares tavio's memory; nothing else ever uses it.
alignas(16) char g_watch_stack[16 * 1024];

// The watch: a process that lives as long as tavio does and reads, from a pipe, the process
// group of the tool being waited for. When tavio ends in any way, even killed outright, the
// pipe's last writer is gone; the watch then kills the group it last heard of and ends.
// Without it, what a tool started in the background (a child still writing the tool's reply
// file) would outlive a killed tavio, since the kernel's parent-death signal reaches the tool
// alone. It may run beside tavio in tavio's memory, so it makes only system calls that cannot
// fail on what it is given: nothing it does touches errno or any other state of tavio's. Its
// read ends only at the end of the pipe, when tavio has left its memory behind.
[[noreturn]] void watch_tool_groups() {
  const WatchStart start = g_watch_start;
  ::close(start.writer);
  give_tool_fresh_signals();
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    ::dup2(start.quiet, fd);
  }
  ::close(start.quiet);
  pid_t group = 0;
  pid_t heard = 0;
  while (::read(start.reader, &heard, sizeof heard) == static_cast<ssize_t>(sizeof heard)) {
    group = heard;
  }
  if (group > 0) {
    ::kill(-group, SIGKILL);
  }
  ::_exit(0);
}

int run_watch(void* /*unused*/) { watch_tool_groups(); }

// Whether the watch may share tavio's memory. Valgrind runs a process that shares memory only
// as a thread, and AddressSanitizer's bookkeeping is not made for a second process in it.
bool watch_may_share_memory() {
#if TAVIO_ADDRESS_SANITIZER
  return false;
#elif defined(RUNNING_ON_VALGRIND)
  return RUNNING_ON_VALGRIND == 0;
#else
  return true;
#endif
}

// The watch process. Sharing tavio's memory spares copying tavio's page tables (and freeing
// them again) for a process that only ever reads a pipe: the copy took about a twentieth of a
// power unit menu's time. Where the system only shares memory between threads (a user-mode
// emulator answers EINVAL), the watch is a copy of tavio.
pid_t start_watch_process() {
  if (watch_may_share_memory()) {
    const pid_t pid = ::clone(run_watch, std::end(g_watch_stack), CLONE_VM | SIGCHLD, nullptr);
    if (pid >= 0) {
      return pid;
    }
  }
  const pid_t pid = copy_process();
  if (pid == 0) {
    watch_tool_groups();
  }
  return pid;
}

// Starts the watch once per run, before the first waited tool.
void start_watch() {
  if (g_watch >= 0) {
    return;
  }
  int ends[2];
  if (!open_pipe(ends, 0, 0)) {
    return;
  }
  const int quiet = ::open("/dev/null", O_RDWR | O_CLOEXEC);
  pid_t pid = -1;
  if (quiet >= 0) {
    g_watch_start = {ends[0], ends[1], quiet};
    put_back_ignored_signals();
    pid = start_watch_process();
    ::close(quiet);
  }
  ::close(ends[0]);
  if (pid < 0) {
    ::close(ends[1]);
    return;
  }
  g_watch = ends[1];
}

void tell_watch(pid_t group) {
  if (g_watch >= 0) {
    const ssize_t ignored = ::write(g_watch, &group, sizeof group);
    static_cast<void>(ignored);
  }
}

std::optional<std::string> system_run(const Command& command) {
  if (!watch_child_ends()) {
    return std::nullopt;
  }
  start_watch();
  const Clock::time_point deadline = Clock::now() + command.deadline;
  int output[2] = {-1, -1};
  if (command.output == CommandOutput::kCapture) {
    // The tool gets the write end as its standard output only.
    if (!open_pipe(output, O_NONBLOCK, 0)) {
      return std::nullopt;
    }
  }
  // The child has made its group and told the watch before vfork lets tavio go on.
  const pid_t pid = start_tool(command, output[1]);
  if (output[1] >= 0) {
    ::close(output[1]);
  }
  if (pid < 0) {
    if (output[0] >= 0) {
      ::close(output[0]);
    }
    return std::nullopt;
  }
  note_waited_group(pid);
  std::string text;
  const ToolEnd end = await_tool(pid, output[0], deadline, text);
  note_waited_group(0);
  tell_watch(0);
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

// Runs one step of a detached sequence and waits for its end, or kills its group at its
// deadline. SIGCHLD is blocked here, so its end is waited for with sigtimedwait.
void run_step(const Command& step) {
  const pid_t pid = start_tool(step, -1);
  if (pid < 0) {
    return;
  }
  const Clock::time_point deadline = Clock::now() + step.deadline;
  sigset_t child_ended;
  sigemptyset(&child_ended);
  sigaddset(&child_ended, SIGCHLD);
  while (true) {
    siginfo_t info{};
    if (::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        info.si_pid == pid) {
      break;
    }
    const int wait_ms = milliseconds_until(deadline);
    if (wait_ms == 0) {
      ::kill(-pid, SIGKILL);  // the step is unreaped, so its group's id is still its own
      break;
    }
    const timespec wait{wait_ms / 1000, static_cast<long>(wait_ms % 1000) * 1000000L};
    ::sigtimedwait(&child_ended, nullptr, &wait);
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
}

// The detached process: runs each step to its end or its deadline, in order, then ends. A
// step that was killed is one that failed: the next runs as after any failed step, since a
// sequence never looks at its steps' outcomes.
[[noreturn]] void run_steps(const std::vector<Command>& steps) {
  g_watch = -1;  // closed below; the sequence is meant to outlive tavio
  give_tool_fresh_signals();
  sigset_t child_ended;
  sigemptyset(&child_ended);
  sigaddset(&child_ended, SIGCHLD);
  ::sigprocmask(SIG_BLOCK, &child_ended, nullptr);
  close_inherited_descriptors();
  const bool quiet = redirect(STDIN_FILENO, "/dev/null", O_RDONLY) &&
                     redirect(STDOUT_FILENO, "/dev/null", O_WRONLY) &&
                     ::dup2(STDOUT_FILENO, STDERR_FILENO) == STDERR_FILENO;
  if (!quiet) {
    ::_exit(1);
  }
  for (const Command& step : steps) {
    run_step(step);
  }
  ::_exit(0);
}

void system_detach(const std::vector<Command>& steps) {
  if (steps.empty()) {
    return;
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
    return;
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
}

const CommandRunner kSystemRunner = {system_run, system_detach};
const CommandRunner* g_runner = &kSystemRunner;

}  // namespace

void start_exchange_clock() { g_exchange_started = Clock::now(); }

bool exchange_budget_spent() {
  if (!g_exchange_started) {  // a harness that never started the clock: it starts now
    g_exchange_started = Clock::now();
  }
  return Clock::now() - *g_exchange_started >= kExchangeBudget;
}

std::optional<std::string> run_command(const Command& command) {
  if (exchange_budget_spent()) {
    return std::nullopt;
  }
  return g_runner->run(command);
}

void run_detached(const std::vector<Command>& steps) { g_runner->detach(steps); }

void replace_command_runner(const CommandRunner* runner) {
  g_runner = runner == nullptr ? &kSystemRunner : runner;
}

}  // namespace tavio

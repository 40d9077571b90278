#include "platform/process_state.h"

#include <unistd.h>

#include <initializer_list>

namespace tavio {
namespace {

volatile sig_atomic_t g_waited_group = 0;
const char* volatile g_partial_file = nullptr;

void on_termination(int signal_number) {
  if (g_waited_group > 0) {
    ::kill(-static_cast<pid_t>(g_waited_group), SIGKILL);
  }
  if (const char* partial = g_partial_file) {
    ::unlink(partial);
  }
  ::signal(signal_number, SIG_DFL);
  ::raise(signal_number);
}

void set_disposition(int signal_number, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal_number, &action, nullptr);
}

// Every signal a disposition can be set for: the classic ones and the real-time ones.
#ifdef SIGRTMAX
int last_signal() { return SIGRTMAX; }
#else
int last_signal() { return NSIG - 1; }
#endif

}  // namespace

void settle_process_state() {
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
  set_disposition(SIGPIPE, SIG_IGN);
  for (const int signal_number : {SIGTERM, SIGINT, SIGHUP}) {
    set_disposition(signal_number, on_termination);
  }
}

void put_back_ignored_signals() {
  // A run that starts no process never needs this: a look at every signal is one system call
  // each, more than such a run makes for everything else.
  static bool done = false;
  if (done) {
    return;
  }
  done = true;
  // An ignored disposition is the only one exec hands on (caught ones go back to the default
  // by themselves), so putting back what the caller ignored leaves every one at its default.
  // Handlers that are already there are tavio's own or belong to whatever runs tavio in its own
  // process (a test harness), and stay.
  for (int signal_number = 1; signal_number <= last_signal(); ++signal_number) {
    struct sigaction current {};
    if (signal_number != SIGKILL && signal_number != SIGSTOP && signal_number != SIGPIPE &&
        ::sigaction(signal_number, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) {
      set_disposition(signal_number, SIG_DFL);
    }
  }
}

void give_tool_fresh_signals() {
  // The caught signals go back to the default at exec; SIGPIPE, ignored, would not.
  set_disposition(SIGPIPE, SIG_DFL);
  // A handler of tavio's must not run in a child that shares tavio's memory before exec.
  for (const int signal_number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
    set_disposition(signal_number, SIG_DFL);
  }
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

void note_waited_group(pid_t group) { g_waited_group = group; }

void note_partial_file(const char* path) { g_partial_file = path; }

}  // namespace tavio

// The process state a run relies on, set at start-up whatever the display process left: a
// caller's blocked or ignored SIGCHLD would turn every tool call into its full deadline, an
// ignored SIGPIPE or SIGINT would reach the tools, and a reader of standard output that goes away
// would kill tavio mid-write.
#ifndef TAVIO_PLATFORM_PROCESS_STATE_H
#define TAVIO_PLATFORM_PROCESS_STATE_H

#include <signal.h>
#include <sys/types.h>

namespace tavio {

/// Empties the signal mask, ignores SIGPIPE (a reader that goes away must not kill a run
/// mid-write) and handles SIGTERM, SIGINT and SIGHUP: the tool being waited for is killed and a
/// half-written file removed before tavio ends as the signal asks. Call once, first thing in a
/// run.
void settle_process_state();

/// Puts every signal the caller left ignored back to its default disposition (SIGPIPE, ignored
/// by tavio itself, stays so), once in a run: called before the first process is made, so
/// neither tavio's wait for it (an ignored SIGCHLD) nor a tool inherits what the caller
/// ignored.
void put_back_ignored_signals();

/// In a child about to exec a tool: the state a program gets when started by a fresh shell,
/// default dispositions and an empty mask. Only system calls: safe after vfork.
void give_tool_fresh_signals();

/// The process group of the tool being waited for (0: none), for the termination handler.
void note_waited_group(pid_t group);

/// The file being written that a termination must not leave behind (null: none). The text
/// must live until the note is cleared.
void note_partial_file(const char* path);

}  // namespace tavio

#endif

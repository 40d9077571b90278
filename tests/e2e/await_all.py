#!/usr/bin/env python3
"""Runs a command and waits for it and for every process it leaves running.

    await_all.py SETTLE PID_FILE COMMAND [ARGS...]

tavio's background actions run in a detached process it never waits for. As the child
subreaper of everything it starts, this process is handed each such orphan and waits for the
last one, or until SETTLE seconds after the command ended. The command's process id goes into
PID_FILE before it starts; the exit status is the command's own (128 + N for signal N).
"""
import ctypes
import os
import sys
import time

PR_SET_CHILD_SUBREAPER = 36


def main():
    settle, pid_file, command = float(sys.argv[1]), sys.argv[2], sys.argv[3:]
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        sys.exit("await_all: cannot become a subreaper")
    child = os.fork()
    if child == 0:
        try:
            with open(pid_file, "w") as out:
                out.write(f"{os.getpid()}\n")
            os.execvp(command[0], command)
        finally:
            os._exit(127)
    _, status = os.waitpid(child, 0)
    code = os.waitstatus_to_exitcode(status)
    if code < 0:
        code = 128 - code
    give_up = time.monotonic() + settle
    while time.monotonic() < give_up:
        try:
            pid, _ = os.waitpid(-1, os.WNOHANG)
        except ChildProcessError:
            break  # nothing of the run is left
        if pid == 0:
            time.sleep(0.02)
    sys.exit(code)


if __name__ == "__main__":
    main()

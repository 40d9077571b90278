/* Compiled stand-in for the router's capwap_cli, for the benchmark: prints the recorded
 * answers of the power devices exactly as sim/bin/capwap_cli does (the same answer files, exit
 * statuses and log line), but as a small compiled program, as the router's own tool is.
 *
 *   capwap_cli COMMAND [ARGS...]
 *
 * The answer is the file $TAVIO_ROOT/sim/capwap/COMMAND_ARG1_ARG2....json (arguments joined
 * with '_', any '/' in them turned into '_'), else $TAVIO_ROOT/sim/capwap/COMMAND.json,
 * written to standard output. No file: nothing printed, exit status 1, as when no device
 * answers; no command or no TAVIO_ROOT: exit status 2.
 *
 * With TAVIO_STANDIN_LOG set, the command line is appended to that file as one line, in one
 * write; an argument that is not a plain word is logged in single quotes (a quote inside as
 * '\''), so the log shows exactly which arguments arrived.
 */
#define _POSIX_C_SOURCE 200809L

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "standin_common.h"

/* Writes the answer file to standard output as "exec cat FILE" does: exit status 0, or 1 when
 * it cannot be read or written. */
static int print_answer(const char* answer) {
  const int fd = open(answer, O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    fprintf(stderr, "capwap_cli: %s: %s\n", answer, strerror(errno));
    return 1;
  }
  const int status = copy_fd(fd, STDOUT_FILENO) == 0 ? 0 : 1;
  close(fd);
  return status;
}

int main(int argc, char** argv) {
  const char* log_file = getenv("TAVIO_STANDIN_LOG");
  if (log_file != NULL && log_file[0] != '\0') {
    struct text log = {0};
    log_command_line(&log, "capwap_cli", argc, argv, LOG_QUOTED);
    log_write(log_file, &log);
  }

  if (argc < 2) {
    fputs("capwap_cli: no command\n", stderr);
    return 2;
  }
  const char* root = getenv("TAVIO_ROOT");
  if (root == NULL || root[0] == '\0') {
    fputs("capwap_cli: TAVIO_ROOT is not set\n", stderr);
    return 2;
  }

  struct text name = {0};
  for (int at = 1; at < argc; ++at) {
    if (at > 1) text_add(&name, "_", 1);
    for (const char* c = argv[at]; *c != '\0'; ++c) text_add(&name, *c == '/' ? "_" : c, 1);
  }
  text_add(&name, "", 0);

  const char* answers[2] = {join(root, "/sim/capwap/", name.data, ".json"),
                            join(root, "/sim/capwap/", argv[1], ".json")};
  for (int at = 0; at < 2; ++at) {
    struct stat info;
    if (stat(answers[at], &info) == 0 && S_ISREG(info.st_mode)) return print_answer(answers[at]);
  }
  return 1;
}

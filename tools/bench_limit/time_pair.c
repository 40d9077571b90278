/* Times one pair: an exchange, then its limit, each from its start to its end; and, when a
 * third command follows, that one after them (the same exchange by another build).
 *
 *   time_pair [-r] EXCHANGE_COMMAND... -- LIMIT_COMMAND... [-- OTHER_COMMAND...]
 *
 * With -r the limit runs first and the exchange second. Whichever of two commands runs first
 * in a pair takes longer (5 to 10% on the bench machine, timing a command against itself), so
 * the caller alternates the order and weighs the pairs of each order alike.
 *
 * Both commands (absolute paths, not looked up) start with standard input, output and error on
 * /dev/null and must exit with status 0. Prints one line: the wall time of each command, then
 * the processor time of each, in seconds. Processor
 * time is user plus system time of the command and of every process it waited for (wait4),
 * so it counts the tools too; unlike wall time it hardly changes when other work shares the
 * machine. Exit status 0, 1 when a command failed, 2 for a bad command line. The caller takes
 * pairs one after the other, so that whatever else loads the machine falls on both alike.
 */
#define _DEFAULT_SOURCE /* wait4 */

#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char** environ;

static double now(void) {
  struct timespec at;
  clock_gettime(CLOCK_MONOTONIC, &at);
  return (double)at.tv_sec + (double)at.tv_nsec / 1e9;
}

static double seconds(struct timeval time) {
  return (double)time.tv_sec + (double)time.tv_usec / 1e6;
}

/* Runs ARGV to its end and sets its wall and processor times in seconds; 0, or -1 when it
 * could not be started or did not exit with status 0. */
static int timed_run(char** argv, const posix_spawn_file_actions_t* actions, double* wall,
                     double* processor) {
  const double start = now();
  pid_t pid;
  if (posix_spawn(&pid, argv[0], actions, NULL, argv, environ) != 0) return -1;
  int status;
  struct rusage usage;
  while (wait4(pid, &status, 0, &usage) < 0) {
    if (errno != EINTR) return -1;
  }
  *wall = now() - start;
  *processor = seconds(usage.ru_utime) + seconds(usage.ru_stime);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : -1;
}

int main(int argc, char** argv) {
  enum { kMostCommands = 3 };
  char** commands[kMostCommands + 1];
  int count = 0;
  const int limit_first = argc > 1 && strcmp(argv[1], "-r") == 0;
  commands[count++] = argv + 1 + limit_first;
  for (int at = 1; at < argc && count <= kMostCommands; ++at) {
    if (strcmp(argv[at], "--") == 0) {
      argv[at] = NULL;
      commands[count++] = argv + at + 1;
    }
  }
  int usable = count >= 2 && count <= kMostCommands;
  for (int command = 0; usable && command < count; ++command) {
    usable = commands[command][0] != NULL;
  }
  if (!usable) {
    fputs("usage: time_pair [-r] EXCHANGE_COMMAND... -- LIMIT_COMMAND... [-- OTHER_COMMAND...]\n",
          stderr);
    return 2;
  }

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", O_RDWR, 0);
  }
  double wall[kMostCommands], processor[kMostCommands];
  for (int step = 0; step < count; ++step) {
    const int command = limit_first && step < 2 ? 1 - step : step;
    if (timed_run(commands[command], &actions, &wall[command], &processor[command]) != 0) {
      posix_spawn_file_actions_destroy(&actions);
      fprintf(stderr, "time_pair: command %d (%s) failed\n", command + 1, commands[command][0]);
      return 1;
    }
  }
  posix_spawn_file_actions_destroy(&actions);
  for (int command = 0; command < count; ++command) printf("%.6f ", wall[command]);
  for (int command = 0; command < count; ++command) {
    printf("%.6f%s", processor[command], command + 1 < count ? " " : "\n");
  }
  return 0;
}

/* The limit of an exchange: the tool runs one exchange of tavio made, started directly one after
 * the other by a program that does nothing else. What an exchange costs beyond this is what
 * tavio adds to the router's tools.
 *
 *   run_tools RUNS_FILE
 *
 * RUNS_FILE holds one argument vector per tool run, in order: the number of arguments in
 * decimal, then each argument, every field ended by a NUL byte. Each program is looked up
 * through PATH (posix_spawnp) and gets this program's environment; its standard input, output
 * and error are handled as tavio handles them:
 *   capwap_cli   standard output read through a pipe (and discarded here), the rest inherited;
 *   any other    (wget_https) standard input, output and error on /dev/null.
 * Each run is waited for before the next starts; their exit statuses do not matter.
 *
 * A vector "=http REQUEST" is no tool run but one request of a build that speaks HTTP to the
 * local API itself, as it sent it: REQUEST goes on one connection to 127.0.0.1:$BENCH_API_PORT
 * kept open from one request to the next (opened again only when a reply ends it), and its
 * reply is read whole before anything else happens.
 * Exit status 0 when every run was started and every request answered, 1 when one could not
 * be, 2 for a bad RUNS_FILE.
 */
#define _GNU_SOURCE /* pipe2 */

#include <errno.h>
#include <fcntl.h>
#include <spawn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "../bench_standins/http_reply.h"

extern char** environ;

/* Sends REQUEST on the kept connection (opened first when there is none) and reads the reply;
 * 0 once answered. */
static int http_request(const char* request) {
  static int connection = -1;
  if (connection < 0) {
    const char* port = getenv("BENCH_API_PORT");
    connection = connect_loopback(port != NULL ? atoi(port) : 0);
    if (connection < 0) {
      fputs("run_tools: cannot connect to the API (BENCH_API_PORT)\n", stderr);
      return -1;
    }
  }
  struct text body = {0};
  text_add(&body, "", 0);
  int status = 0, keep = 0;
  const int answered = send_all(connection, request, strlen(request)) == 0 &&
                       read_http_reply(connection, &body, &status, &keep) == 0;
  free(body.data);
  if (!answered || !keep) {
    close(connection);
    connection = -1;
  }
  if (!answered) fputs("run_tools: a request was not answered\n", stderr);
  return answered ? 0 : -1;
}

/* The whole file, NUL-terminated, or NULL. */
static char* read_file(const char* path, size_t* size) {
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  struct stat info;
  if (fd < 0 || fstat(fd, &info) != 0) return NULL;
  char* data = malloc((size_t)info.st_size + 1);
  size_t have = 0;
  while (data != NULL && have < (size_t)info.st_size) {
    const ssize_t got = read(fd, data + have, (size_t)info.st_size - have);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    have += (size_t)got;
  }
  close(fd);
  if (data == NULL || have != (size_t)info.st_size) {
    free(data);
    return NULL;
  }
  data[have] = '\0';
  *size = have;
  return data;
}

/* Starts ARGV with the descriptors tavio would give it and waits for it; 0 once it ran. */
static int run_tool(char** argv, int dev_null) {
  const char* name = strrchr(argv[0], '/') != NULL ? strrchr(argv[0], '/') + 1 : argv[0];
  const int piped = strcmp(name, "capwap_cli") == 0;
  int pipe_fds[2] = {-1, -1};
  if (piped && pipe2(pipe_fds, O_CLOEXEC) != 0) return -1;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  if (piped) {
    posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], STDOUT_FILENO);
  } else {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
      posix_spawn_file_actions_adddup2(&actions, dev_null, fd);
    }
  }
  pid_t pid;
  const int failed = posix_spawnp(&pid, argv[0], &actions, NULL, argv, environ);
  posix_spawn_file_actions_destroy(&actions);
  if (piped) {
    close(pipe_fds[1]);
    static char discard[65536];
    while (failed == 0) {
      const ssize_t got = read(pipe_fds[0], discard, sizeof discard);
      if (got == 0 || (got < 0 && errno != EINTR)) break;
    }
    close(pipe_fds[0]);
  }
  if (failed != 0) {
    fprintf(stderr, "run_tools: cannot start %s: %s\n", argv[0], strerror(failed));
    return -1;
  }
  int status;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return 0;
}

int main(int argc, char** argv) {
  size_t size = 0;
  char* data = argc == 2 ? read_file(argv[1], &size) : NULL;
  if (data == NULL) {
    fputs("usage: run_tools RUNS_FILE (a readable file of argument vectors)\n", stderr);
    return 2;
  }
  const int dev_null = open("/dev/null", O_RDWR | O_CLOEXEC);
  if (dev_null < 0) return 1;
  /* Fields are read one after the other; a vector's strings are pointers into DATA. */
  for (size_t at = 0; at < size;) {
    char* end = NULL;
    const unsigned long count = strtoul(data + at, &end, 10);
    if (end == data + at || *end != '\0' || count == 0 || count > size) return 2;
    at = (size_t)(end - data) + 1;
    char** vector = calloc(count + 1, sizeof *vector);
    if (vector == NULL) return 2;
    for (unsigned long word = 0; word < count; ++word) {
      if (at >= size) return 2;
      vector[word] = data + at;
      at += strlen(data + at) + 1;
    }
    const int http = strcmp(vector[0], "=http") == 0;
    if (http && count != 2) return 2;
    if ((http ? http_request(vector[1]) : run_tool(vector, dev_null)) != 0) return 1;
    free(vector);
  }
  return 0;
}

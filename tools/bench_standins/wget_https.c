/* Compiled stand-in for the router's wget_https, for the benchmark: answers local API calls
 * from the recorded replies exactly as sim/bin/wget_https does (the same reply files, options,
 * exit statuses and log lines), but as a small compiled program, as the router's own tool is.
 * A shell-script stand-in costs more than tavio itself and would hide what tavio adds.
 *
 *   wget_https -T SECONDS [-f BODY_FILE] -e HEADER_FILE [-O OUTPUT_FILE] URL
 *
 * URL is http://127.0.0.1:PORT/api/PATH. Replies live in $TAVIO_ROOT/sim/api/, one file per
 * PATH, named after it with '?' turned into '@', '&' into '+' and '/' into '_', plus ".json".
 * The full PATH is tried first, then PATH without its query (up to the first '?' or '&'):
 *   NAME.down exists  -> exit status 1, as when the API does not answer
 *   NAME.json exists  -> copied as it is into OUTPUT_FILE; exit status 0
 *   neither, for both -> exit status 1
 * Every call fails with exit status 4 when TAVIO_SIM_API_DOWN is non-empty or the file
 * $TAVIO_ROOT/sim/api/DOWN exists; a malformed command line is exit status 2; a reply that
 * cannot be copied is exit status 3.
 *
 * With TAVIO_STANDIN_LOG set, the command line is appended to that file as one line, then the
 * header file's lines ("  header: ...") and the body file's lines ("  body: ..."), all in one
 * write, so that stand-ins running side by side never interleave within a line.
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

/* Appends the lines of FILE to the log record as the shell stand-in does: a last line without
 * a newline is a line all the same; NUL bytes are dropped, as the shell's read drops them. */
static void log_file_lines(struct text* log, const char* label, const char* file) {
  if (file[0] == '\0') return;
  if (faccessat(AT_FDCWD, file, R_OK, AT_EACCESS) != 0) {
    text_add_all(log, "  ", label, ": (no file ", file, ")\n", NULL);
    return;
  }
  const int fd = open(file, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return;
  struct text line = {0};
  char buffer[8192];
  for (;;) {
    const ssize_t got = read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    for (ssize_t at = 0; at < got; ++at) {
      if (buffer[at] == '\n') {
        text_add_all(log, "  ", label, ": ", NULL);
        text_add(log, line.data, line.size);
        text_add(log, "\n", 1);
        line.size = 0;
      } else if (buffer[at] != '\0') {
        text_add(&line, buffer + at, 1);
      }
    }
  }
  if (line.size > 0) {
    text_add_all(log, "  ", label, ": ", NULL);
    text_add(log, line.data, line.size);
    text_add(log, "\n", 1);
  }
  free(line.data);
  close(fd);
}

/* Copies the reply into OUTPUT as "cat REPLY > OUTPUT" does: the output is created (or
 * emptied) first. Returns 0, or 3 when anything fails. */
static int copy_reply(const char* reply, const char* output) {
  const int out = open(output, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (out < 0) {
    fprintf(stderr, "wget_https: cannot create %s: %s\n", output, strerror(errno));
    return 3;
  }
  const int in = open(reply, O_RDONLY | O_CLOEXEC);
  int status = in < 0 || copy_fd(in, out) != 0 ? 3 : 0;
  if (in >= 0) close(in);
  if (close(out) != 0) status = 3;
  return status;
}

/* Whether URL is what the shell pattern http://127.0.0.1:[0-9]*\/api/?* matches; sets PATH to
 * what follows the first "/api/" after the port (the shell's ${url#http://127.0.0.1:*\/api/}). */
static int local_api_path(const char* url, const char** path) {
  static const char kPrefix[] = "http://127.0.0.1:";
  const size_t prefix = sizeof kPrefix - 1;
  if (strncmp(url, kPrefix, prefix) != 0 || url[prefix] < '0' || url[prefix] > '9') return 0;
  const char* api = strstr(url + prefix, "/api/");
  /* The first "/api/" has something after it whenever any later one does. */
  if (api == NULL || api[5] == '\0') return 0;
  *path = api + 5;
  return 1;
}

/* The reply file name of an API path (its first LENGTH bytes), without the directory. */
static char* reply_name(const char* path, size_t length) {
  struct text name = {0};
  for (size_t at = 0; at < length; ++at) {
    char c = path[at];
    switch (c) {
      case '?':
        c = '@';
        break;
      case '&':
        c = '+';
        break;
      case '/':
        c = '_';
        break;
      default:
        break;
    }
    text_add(&name, &c, 1);
  }
  text_add(&name, "", 0);
  return name.data;
}

int main(int argc, char** argv) {
  const char* log_file = getenv("TAVIO_STANDIN_LOG");
  const int logging = log_file != NULL && log_file[0] != '\0';
  struct text log = {0};
  if (logging) log_command_line(&log, "wget_https", argc, argv, LOG_PLAIN);

  const char *timeout = "", *body = "", *header = "", *output = "", *url = "";
  for (int at = 1; at < argc;) {
    const char* word = argv[at];
    const char** option = strcmp(word, "-T") == 0   ? &timeout
                          : strcmp(word, "-f") == 0 ? &body
                          : strcmp(word, "-e") == 0 ? &header
                          : strcmp(word, "-O") == 0 ? &output
                                                    : NULL;
    if (option != NULL) {
      if (at + 1 >= argc) {
        if (logging) log_write(log_file, &log);
        fprintf(stderr, "wget_https: %s needs a value\n", word);
        return 2;
      }
      *option = argv[at + 1];
      at += 2;
    } else if (word[0] == '-') {
      if (logging) log_write(log_file, &log);
      fprintf(stderr, "wget_https: unknown option %s\n", word);
      return 2;
    } else {
      if (url[0] != '\0') {
        if (logging) log_write(log_file, &log);
        fprintf(stderr, "wget_https: more than one URL\n");
        return 2;
      }
      url = word;
      ++at;
    }
  }
  if (logging) {
    log_file_lines(&log, "header", header);
    log_file_lines(&log, "body", body);
    log_write(log_file, &log);
  }

  if (timeout[0] == '\0' || strspn(timeout, "0123456789") != strlen(timeout)) {
    fprintf(stderr, "wget_https: -T needs a number of seconds\n");
    return 2;
  }
  if (header[0] == '\0') {
    fprintf(stderr, "wget_https: -e HEADER_FILE is required\n");
    return 2;
  }
  if (url[0] == '\0') {
    fprintf(stderr, "wget_https: no URL\n");
    return 2;
  }
  const char* root = getenv("TAVIO_ROOT");
  if (root == NULL || root[0] == '\0') {
    fprintf(stderr, "wget_https: TAVIO_ROOT is not set\n");
    return 2;
  }

  const char* down = getenv("TAVIO_SIM_API_DOWN");
  struct stat info;
  if ((down != NULL && down[0] != '\0') || stat(join(root, "/sim/api/DOWN", "", ""), &info) == 0) {
    return 4;
  }
  const char* path = NULL;
  if (!local_api_path(url, &path)) {
    fprintf(stderr, "wget_https: not a local API URL: %s\n", url);
    return 4;
  }

  const size_t lengths[2] = {strlen(path), strcspn(path, "?&")};
  for (int pass = 0; pass < 2; ++pass) {
    const char* name = reply_name(path, lengths[pass]);
    if (stat(join(root, "/sim/api/", name, ".down"), &info) == 0) return 1;
    const char* reply = join(root, "/sim/api/", name, ".json");
    if (stat(reply, &info) == 0 && S_ISREG(info.st_mode)) {
      return output[0] != '\0' ? copy_reply(reply, output) : 0;
    }
  }
  return 1;
}

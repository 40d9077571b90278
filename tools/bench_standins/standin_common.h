/* What the compiled stand-ins share: a growing text, the log line of a command, one-write
 * logging, copying a file and joining paths. Only libc; every failure to allocate ends the
 * stand-in with exit status 2, as a malformed call would. */
#ifndef TAVIO_BENCH_STANDIN_COMMON_H
#define TAVIO_BENCH_STANDIN_COMMON_H

#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

struct text {
  char* data;
  size_t size;
  size_t capacity;
};

/* Appends SIZE bytes; the data stays a string (text_add(t, "", 0) makes an empty one). */
static inline void text_add(struct text* text, const char* bytes, size_t size) {
  if (text->size + size + 1 > text->capacity) {
    size_t capacity = text->capacity == 0 ? 256 : text->capacity;
    while (capacity < text->size + size + 1) capacity *= 2;
    char* data = realloc(text->data, capacity);
    if (data == NULL) {
      fputs("stand-in: out of memory\n", stderr);
      exit(2);
    }
    text->data = data;
    text->capacity = capacity;
  }
  if (size > 0) memcpy(text->data + text->size, bytes, size);
  text->size += size;
  text->data[text->size] = '\0';
}

/* Appends each string up to the NULL that ends the list. */
static inline void text_add_all(struct text* text, ...) {
  va_list strings;
  va_start(strings, text);
  for (const char* s = va_arg(strings, const char*); s != NULL; s = va_arg(strings, const char*)) {
    text_add(text, s, strlen(s));
  }
  va_end(strings);
}

/* A + B + C + D as a new string (never freed: a stand-in lives for one call). */
static inline char* join(const char* a, const char* b, const char* c, const char* d) {
  struct text path = {0};
  text_add_all(&path, a, b, c, d, NULL);
  return path.data;
}

enum log_words {
  LOG_PLAIN,  /* each argument after a blank as it is (printf ' %s' "$@") */
  LOG_QUOTED, /* one that is not a plain word in single quotes, a quote inside as '\'' */
};

/* Whether WORD is logged as it is: not empty, only letters, digits and _ . : @ + , % = -. */
static inline int plain_word(const char* word) {
  static const char kPlain[] =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.:@+,%=-";
  return word[0] != '\0' && strspn(word, kPlain) == strlen(word);
}

/* The log line of a call: NAME, then each argument after a blank, then a newline. Logged
 * plainly, no arguments at all still give the one blank (printf ' %s' with nothing). */
static inline void log_command_line(struct text* log, const char* name, int argc, char** argv,
                                    enum log_words words) {
  text_add(log, name, strlen(name));
  for (int at = 1; at < argc; ++at) {
    const char* word = argv[at];
    if (words == LOG_PLAIN || plain_word(word)) {
      text_add_all(log, " ", word, NULL);
      continue;
    }
    text_add(log, " '", 2);
    for (const char* c = word; *c != '\0'; ++c) {
      if (*c == '\'') {
        text_add(log, "'\\''", 4);
      } else {
        text_add(log, c, 1);
      }
    }
    text_add(log, "'", 1);
  }
  text_add(log, "\n", 1);
}

/* Appends the whole record to FILE in one write, so that lines of stand-ins running at the
 * same time never interleave. A log that cannot be opened is named on standard error and the
 * call goes on, as the shell stand-ins do after a failed redirection. */
static inline void log_write(const char* file, const struct text* log) {
  const int fd = open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) {
    fprintf(stderr, "stand-in: cannot create %s: %s\n", file, strerror(errno));
    return;
  }
  ssize_t written;
  do {
    written = write(fd, log->data, log->size);
  } while (written < 0 && errno == EINTR);
  close(fd);
}

/* Copies everything from IN to OUT. Returns 0, or -1 on a read or write error. */
static inline int copy_fd(int in, int out) {
  char buffer[65536];
  for (;;) {
    ssize_t got = read(in, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return -1;
    if (got == 0) return 0;
    for (ssize_t done = 0; done < got;) {
      const ssize_t put = write(out, buffer + done, (size_t)(got - done));
      if (put < 0 && errno == EINTR) continue;
      if (put < 0) return -1;
      done += put;
    }
  }
}

#endif

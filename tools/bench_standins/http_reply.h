/* HTTP on the loopback interface for the benchmark's programs: connecting to a port of
 * 127.0.0.1 and reading one reply, framed by its Content-Length or by the close (what Debian's
 * nginx sends for the recorded replies). Blocking calls only; only libc. */
#ifndef TAVIO_BENCH_HTTP_REPLY_H
#define TAVIO_BENCH_HTTP_REPLY_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>

#include "standin_common.h"

/* A connected socket to 127.0.0.1:PORT, or -1. */
static inline int connect_loopback(int port) {
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  struct sockaddr_in address = {0};
  address.sin_family = AF_INET;
  address.sin_port = htons((unsigned short)port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (fd >= 0 && connect(fd, (const struct sockaddr*)&address, sizeof address) == 0) return fd;
  if (fd >= 0) close(fd);
  return -1;
}

/* Sends every byte of TEXT; 0, or -1. */
static inline int send_all(int fd, const char* text, size_t size) {
  while (size > 0) {
    const ssize_t sent = send(fd, text, size, MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return -1;
    text += sent;
    size -= (size_t)sent;
  }
  return 0;
}

/* The value of the header field NAME in HEAD (its lines, CR LF ended), or NULL. */
static inline const char* field_value(const char* head, const char* name) {
  const size_t length = strlen(name);
  for (const char* line = strstr(head, "\r\n"); line != NULL; line = strstr(line + 2, "\r\n")) {
    if (strncasecmp(line + 2, name, length) == 0 && line[2 + length] == ':') {
      const char* value = line + 3 + length;
      while (*value == ' ' || *value == '\t') ++value;
      return value;
    }
  }
  return NULL;
}

/* Reads one reply from FD: sets *STATUS, appends the body to BODY and sets *KEEP to 1 when the
 * connection may carry another request. 0, or -1 when the reply is cut short or is framed in
 * a way not read here (chunks). */
static inline int read_http_reply(int fd, struct text* body, int* status, int* keep) {
  struct text head = {0};
  char buffer[65536];
  size_t end = 0;
  while (end == 0) {
    const ssize_t got = read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return -1;
    text_add(&head, buffer, (size_t)got);
    const char* blank = strstr(head.data, "\r\n\r\n");
    if (blank != NULL) end = (size_t)(blank - head.data) + 4;
  }
  if (strncmp(head.data, "HTTP/1.", 7) != 0 || head.size < 12) return -1;
  *status = atoi(head.data + 9);
  const char saved = head.data[end - 2];
  head.data[end - 2] = '\0';
  const char* length_text = field_value(head.data, "Content-Length");
  const char* connection = field_value(head.data, "Connection");
  const int chunked = field_value(head.data, "Transfer-Encoding") != NULL;
  *keep = head.data[7] == '1' && length_text != NULL &&
          (connection == NULL || strncasecmp(connection, "close", 5) != 0);
  const long long length = length_text != NULL ? atoll(length_text) : -1;
  head.data[end - 2] = saved;
  if (chunked) return -1;
  text_add(body, head.data + end, head.size - end);
  while (length < 0 || (long long)body->size < length) {
    const ssize_t got = read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 || (got == 0 && length >= 0)) return -1;
    if (got == 0) break;
    text_add(body, buffer, (size_t)got);
  }
  free(head.data);
  return length < 0 || (long long)body->size == length ? 0 : -1;
}

#endif

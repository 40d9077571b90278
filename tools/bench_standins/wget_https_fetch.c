/* Compiled wget_https that really fetches over HTTP, for the benchmark's comparison of the two
 * transports against one server: what a build with the tool transport costs when the router's
 * tool asks the API itself, as sim/live-bin/wget_https does with curl.
 *
 *   wget_https -T SECONDS [-f BODY_FILE] -e HEADER_FILE [-O OUTPUT_FILE] URL
 *
 * URL must be http://127.0.0.1:PORT/api/PATH. The request goes on a connection of its own:
 * GET, or POST with the body file; every line of the header file is one header. A reply with a
 * 2xx status is written to OUTPUT_FILE. Exit status: 0 fetched; 2 bad options; 3 the output
 * could not be written; 4 no answer (refused, cut short) or not a local API URL; 8 a status
 * other than 2xx. No log is kept: the benchmark measures, the stand-ins of sim/bin check.
 */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>

#include "http_reply.h"

/* The whole file as a text, or an empty one when it cannot be read. */
static struct text read_all(const char* path) {
  struct text text = {0};
  text_add(&text, "", 0);
  const int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) return text;
  char buffer[8192];
  for (;;) {
    const ssize_t got = read(fd, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    text_add(&text, buffer, (size_t)got);
  }
  close(fd);
  return text;
}

int main(int argc, char** argv) {
  const char *body_file = "", *header_file = "", *output = "", *url = "";
  for (int at = 1; at < argc; ++at) {
    const char** option = strcmp(argv[at], "-f") == 0   ? &body_file
                          : strcmp(argv[at], "-e") == 0 ? &header_file
                          : strcmp(argv[at], "-O") == 0 ? &output
                                                        : NULL;
    if (strcmp(argv[at], "-T") == 0 || option != NULL) {
      if (++at >= argc) return 2;
      if (option != NULL) *option = argv[at];
    } else if (argv[at][0] == '-' || url[0] != '\0') {
      return 2;
    } else {
      url = argv[at];
    }
  }
  static const char kPrefix[] = "http://127.0.0.1:";
  char* rest = NULL;
  const long port = strncmp(url, kPrefix, sizeof kPrefix - 1) == 0
                        ? strtol(url + sizeof kPrefix - 1, &rest, 10)
                        : 0;
  if (header_file[0] == '\0') return 2;
  if (port <= 0 || rest == NULL || strncmp(rest, "/api/", 5) != 0) return 4;

  struct text request = {0};
  text_add_all(&request, body_file[0] != '\0' ? "POST " : "GET ", rest, " HTTP/1.1\r\n",
               "Host: 127.0.0.1:", NULL);
  text_add(&request, url + sizeof kPrefix - 1, (size_t)(rest - url) - (sizeof kPrefix - 1));
  text_add(&request, "\r\n", 2);
  const struct text headers = read_all(header_file);
  for (char* line = headers.data; *line != '\0';) {
    char* end = strchr(line, '\n');
    if (end != NULL) *end = '\0';
    if (line[0] != '\0') text_add_all(&request, line, "\r\n", NULL);
    line = end != NULL ? end + 1 : line + strlen(line);
  }
  struct text body = {0};
  text_add(&body, "", 0);
  if (body_file[0] != '\0') {
    body = read_all(body_file);
    char length[32];
    snprintf(length, sizeof length, "%zu", body.size);
    text_add_all(&request, "Content-Length: ", length, "\r\n", NULL);
  }
  text_add_all(&request, "Connection: close\r\n\r\n", NULL);
  text_add(&request, body.data, body.size);

  const int fd = connect_loopback((int)port);
  struct text reply = {0};
  text_add(&reply, "", 0);
  int status = 0, keep = 0;
  if (fd < 0 || send_all(fd, request.data, request.size) != 0 ||
      read_http_reply(fd, &reply, &status, &keep) != 0) {
    return 4;
  }
  close(fd);
  if (status < 200 || status > 299) return 8;
  if (output[0] == '\0') return 0;
  const int out = open(output, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (out < 0) return 3;
  int written = 1;
  for (size_t done = 0; written && done < reply.size;) {
    const ssize_t put = write(out, reply.data + done, reply.size - done);
    written = put > 0 || (put < 0 && errno == EINTR);
    done += put > 0 ? (size_t)put : 0;
  }
  return close(out) == 0 && written ? 0 : 3;
}

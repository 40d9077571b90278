// The local web API over HTTP/1.1 without a tool: what a build with the http transport uses
// instead of wget_https. Two halves:
// - the framing, pure and fed from anywhere (the unit tests and a fuzz target drive it): the
//   request text, and a reply parser that takes the server's bytes in chunks of any size;
// - the client: one connection to the API, kept alive for the whole exchange, opened again when
//   the server closes it.
#ifndef TAVIO_SOURCES_HTTP_CLIENT_H
#define TAVIO_SOURCES_HTTP_CLIENT_H

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tavio {

/// The most bytes a reply's status line and header fields take together, and a chunked
/// reply's trailer fields: the API's own take a few hundred; more is no reply of the API.
constexpr std::size_t kMaxReplyHeadBytes = std::size_t{16} * 1024;
/// The most bytes of one chunk-size line of a chunked reply, extensions included.
constexpr std::size_t kMaxChunkLineBytes = 256;

/// One request as the API client makes it.
struct HttpRequest {
  std::string_view method;        ///< "GET" or "POST"
  std::string_view target;        ///< "/api/" and the path with its query, as sent
  std::string_view header_lines;  ///< "Name: value" lines, each ended by "\n"
  std::string_view body;          ///< a post's body ("" for a GET)
};

/// The request's bytes on the wire, for the API at 127.0.0.1:port: the request line, Host,
/// the header lines and, with a body or for any POST, its Content-Length. Nothing when the target
/// or a header line holds a byte that would break the framing (a control character, a space in the
/// target, a line without a colon).
[[nodiscard]] std::optional<std::string> http_request_text(const HttpRequest& request, int port);

/// Reads one reply from the bytes the server sends, in pieces of any size. Understands what
/// RFC 9112 asks of a client for a GET or POST: a status line of HTTP/1.0 or HTTP/1.1, header
/// fields, interim 1xx replies (skipped), a body framed by Content-Length, by chunked transfer
/// coding or by the end of the connection. Anything else fails the reply, never the program.
class HttpReplyParser {
 public:
  enum class Progress { kMore, kDone, kFailed };

  /// Takes bytes of the reply; returns how many it used. It stops at the reply's end, so what
  /// is left over was sent after the reply (nothing a client that waits for each reply before
  /// the next request should get).
  std::size_t feed(std::string_view bytes);
  /// The server closed its side: completes a body that runs to the close; any other reply not
  /// yet whole fails.
  void end_of_stream();

  [[nodiscard]] Progress progress() const {
    return state_ == State::kDone     ? Progress::kDone
           : state_ == State::kFailed ? Progress::kFailed
                                      : Progress::kMore;
  }
  /// The status code, once the final status line is read (0 before).
  [[nodiscard]] int status() const { return status_; }
  /// Once done: whether the connection may carry the next request (HTTP/1.1, no
  /// "Connection: close", a body framed by its length or by chunks).
  [[nodiscard]] bool keeps_connection() const;
  /// The body read so far (de-chunked); whole once done.
  [[nodiscard]] std::string& body() { return body_; }

 private:
  enum class State {
    kStatusLine,
    kHeaderLine,
    kFixedBody,
    kBodyToClose,
    kChunkSize,
    kChunkData,
    kChunkDataEnd,
    kTrailerLine,
    kDone,
    kFailed,
  };

  std::size_t take_line(std::string_view bytes, std::size_t bound);
  void on_line(std::string_view line);
  void on_status_line(std::string_view line);
  void on_header_line(std::string_view line);
  void on_field(std::string_view name, std::string_view value);
  void on_head_end();
  void on_chunk_size(std::string_view line);
  bool add_body(std::string_view bytes);
  void fail();

  State state_ = State::kStatusLine;
  std::string line_;            // the line read so far, its end not yet seen
  std::size_t head_bytes_ = 0;  // status line and header fields of this reply
  int status_ = 0;
  bool http11_ = false;
  bool close_ = false;  // "Connection: close"
  bool chunked_ = false;
  bool has_length_ = false;
  std::size_t length_ = 0;  // Content-Length, or the chunk's size; then what is left of it
  std::string body_;
};

/// Sends one request over the exchange's connection to the API at 127.0.0.1:port, opening it
/// first when there is none or the server has closed it, and reads the reply within the
/// deadline. The body of a reply with a 2xx status; nothing on any failure, and nothing once
/// the exchange's budget is spent (then nothing is sent).
///
/// A request that fails on a connection that carried an earlier reply, before any byte of
/// its own reply came, is sent once more on a new connection when may_repeat: the server may
/// have closed the idle connection just as the request went out. Only reads may be repeated:
/// a post may have been carried out although its reply was lost.
[[nodiscard]] std::optional<std::string> http_exchange(const HttpRequest& request, int port,
                                                       std::chrono::milliseconds deadline,
                                                       bool may_repeat);
/// Closes the exchange's connection, as the end of the process does.
void http_close_connection();

}  // namespace tavio

#endif

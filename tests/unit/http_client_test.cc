// The framing of the HTTP client: the request text, and the reply parser fed the server's
// bytes split at every point and one at a time. The connection itself (reuse, reconnection,
// deadlines, a post never sent twice) is held by the end-to-end cases of the http build and
// by tests/robustness/http_faults.py.
#include "sources/http_client.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "text/text_buffer.h"

namespace tavio {
namespace {

using Progress = HttpReplyParser::Progress;

TEST(HttpRequestText, FramesTheToolsRequestOrRefuses) {
  const char* const kHeaders = "WEB-ADMIN-ACCESS-MODE: RW\nContent-Type: application/json\n";
  const struct {
    HttpRequest request;
    const char* text;  // null: refused
  } cases[] = {
      {{"GET", "/api/status.system.info&infoType=cpuLoad", "WEB-ADMIN-ACCESS-MODE: RW\n", ""},
       "GET /api/status.system.info&infoType=cpuLoad HTTP/1.1\r\nHost: 127.0.0.1:8080\r\n"
       "WEB-ADMIN-ACCESS-MODE: RW\r\n\r\n"},
      {{"POST", "/api/system.action", kHeaders, "{\"a\":1}"},
       "POST /api/system.action HTTP/1.1\r\nHost: 127.0.0.1:8080\r\n"
       "WEB-ADMIN-ACCESS-MODE: RW\r\nContent-Type: application/json\r\n"
       "Content-Length: 7\r\n\r\n{\"a\":1}"},
      {{"GET", "/api/x?id=1", "A: 1\n\nB: 2", ""},  // blank lines dropped, last line unended
       "GET /api/x?id=1 HTTP/1.1\r\nHost: 127.0.0.1:8080\r\nA: 1\r\nB: 2\r\n\r\n"},
      {{"GET", "/api/a b", "", ""}, nullptr},
      {{"GET", "/api/a\r\nX: 1", "", ""}, nullptr},
      {{"GET", "api/x", "", ""}, nullptr},
      {{"GET", "/api/x", "no colon\n", ""}, nullptr},
      {{"GET", "/api/x", "A: 1\rB: 2\n", ""}, nullptr},
      {{"GET", "/api/x", ": empty name\n", ""}, nullptr},
      {{"G T", "/api/x", "", ""}, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.request.target));
    const std::optional<std::string> text = http_request_text(c.request, 8080);
    if (c.text == nullptr) {
      EXPECT_FALSE(text);
    } else {
      EXPECT_EQ(text.value_or("(refused)"), c.text);
    }
  }
}

struct ReplyCase {
  const char* name;
  std::string bytes;   // everything the server sends
  bool server_closes;  // and then it closes its side
  Progress progress;   // what the parser makes of it
  std::string body;    // when done
  bool keeps;          // when done: the connection may carry the next request
  int status;          // when done
};

const std::string kOk = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOk + "Transfer-Encoding: chunked\r\n\r\n";
// A head of exactly the bound: the status line, a filler field and the empty line.
const std::string kFiller(kMaxReplyHeadBytes - kOk.size() - 10 - 2 - 2, 'b');
// The body's bound is the tool's reply bound, whether framed by a length, chunks or the close.
const std::string kMost(kMaxReplyBytes, 'x');
const std::string kHalfChunk = "80000\r\n" + kMost.substr(kMaxReplyBytes / 2) + "\r\n";

// A reply read whole, by default a 200 on a connection that stays.
ReplyCase done(const char* name, std::string bytes, std::string body, bool keeps = true,
               int status = 200, bool closes = false) {
  return {name, std::move(bytes), closes, Progress::kDone, std::move(body), keeps, status};
}
// A reply refused, whether or not the server then closes.
ReplyCase refused(const char* name, std::string bytes, bool closes = false) {
  return {name, std::move(bytes), closes, Progress::kFailed, "", false, 0};
}

// count trailer fields of 105 bytes each.
std::string trailer_fields(int count) {
  std::string fields;
  for (int i = 0; i < count; ++i) {
    fields += "X: " + std::string(100, 't') + "\r\n";
  }
  return fields;
}

std::vector<ReplyCase> reply_cases() {
  return {
      done("length", kOk + "Content-Length: 5\r\n\r\nhello", "hello"),
      done("length, bare line feeds", "HTTP/1.1 200 OK\nContent-length: 2\n\nok", "ok"),
      done("no reason phrase", "HTTP/1.1 200\r\nContent-Length: 0\r\n\r\n", ""),
      done("one byte", kOk + "Content-Length: 1\r\n\r\n7", "7"),
      done("chunked, extension, trailer",
           kChunked + "5\r\nhello\r\n6;name=value\r\n world\r\n0\r\nX-Sum: 1\r\n\r\n",
           "hello world"),
      done("chunked, upper-case size", kChunked + "A\r\n0123456789\r\n0\r\n\r\n", "0123456789"),
      done("chunked, lower-case size", kChunked + "f\r\n0123456789abcde\r\n0\r\n\r\n",
           "0123456789abcde"),
      done("chunked beside a length: chunks count, connection not kept",
           kOk + "Content-Length: 99\r\nTransfer-Encoding: Chunked\r\n\r\n2\r\nok\r\n0\r\n\r\n",
           "ok", false),
      done("Connection: close",
           kOk + "Connection: keep-alive, Close\r\nContent-Length: 2\r\n\r\nok", "ok", false),
      done("HTTP/1.0 with a length",
           "HTTP/1.0 200 OK\r\nConnection: keep-alive\r\nContent-Length: 2\r\n\r\nok", "ok", false),
      done("HTTP/1.0 body to the close", "HTTP/1.0 200 OK\r\n\r\n{\"a\":1}", "{\"a\":1}", false,
           200, true),
      {"body to the close, not closed yet", "HTTP/1.0 200 OK\r\n\r\n{\"a\":1}", false,
       Progress::kMore, "", false, 0},
      done("interim replies skipped",
           "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 102 Processing\r\nX: 1\r\n\r\n" + kOk +
               "Content-Length: 2\r\n\r\nok",
           "ok"),
      done("no content", "HTTP/1.1 204 No Content\r\nContent-Length: 7\r\n\r\n", "", true, 204),
      done("a failure status is read whole", "HTTP/1.1 500 Oops\r\nContent-Length: 2\r\n\r\n{}",
           "{}", true, 500),
      done("same length twice", kOk + "Content-Length: 2\r\ncontent-length: 2\r\n\r\nok", "ok"),
      done("head of exactly the bound", kOk + "X-Filler: " + kFiller + "\r\n\r\n", "", false, 200,
           true),
      done("length at the body bound",
           kOk + "Content-Length: " + std::to_string(kMaxReplyBytes) + "\r\n\r\n" + kMost, kMost),
      done("chunks at the body bound", kChunked + kHalfChunk + kHalfChunk + "0\r\n\r\n", kMost),
      refused("chunks past the body bound",
              kChunked + kHalfChunk + kHalfChunk + "1\r\nx\r\n0\r\n\r\n"),
      refused("body to the close past the bound", "HTTP/1.0 200 OK\r\n\r\n" + kMost + "x"),
      refused("closed before anything", "", true),
      refused("body cut short", kOk + "Content-Length: 10\r\n\r\nhello", true),
      refused("head cut short", kOk + "Content-Le", true),
      refused("chunks cut short", kChunked + "5\r\nhel", true),
      refused("no last chunk", kChunked + "2\r\nok\r\n", true),
      refused("garbage", "<html>busy</html>\r\n\r\n"),
      refused("HTTP/2", "HTTP/2 200 OK\r\n\r\n"),
      refused("two-digit status", "HTTP/1.1 20 OK\r\n\r\n"),
      refused("no space after status", "HTTP/1.1 200OK\r\n\r\n"),
      refused("status out of range", "HTTP/1.1 999 X\r\n\r\n"),
      refused("status below 100", "HTTP/1.1 099 X\r\n\r\n"),
      refused("switching protocols", "HTTP/1.1 101 Switching\r\n\r\n"),
      refused("head over the bound",
              kOk + "X-Filler: " + std::string(kMaxReplyHeadBytes, 'a') + "\r\n\r\n"),
      refused("head one over the bound", kOk + "X-Filler: " + kFiller + "b\r\n\r\n", true),
      refused("folded field", kOk + "X: a\r\n b\r\nContent-Length: 0\r\n\r\n"),
      refused("field without a colon", kOk + "Content-Length 2\r\n\r\nok"),
      refused("carriage return inside a field", kOk + "X: a\rb\r\nContent-Length: 0\r\n\r\n"),
      refused("NUL inside a field", kOk + std::string("X: a\0b\r\n\r\n", 10)),
      // Past the first eight bytes, where whole words of a line are checked at once.
      refused("unit separator in a long field", kOk + "X-Filler: 0123456\x1f"
                                                      "89abcdef\r\n\r\n"),
      refused("DEL in a long field", kOk + "X-Filler: 0123456\x7f"
                                           "89abcdef\r\n\r\n"),
      refused("two lengths", kOk + "Content-Length: 2\r\nContent-Length: 3\r\n\r\nok"),
      refused("length not a number", kOk + "Content-Length: 2x\r\n\r\nok"),
      refused("negative length", kOk + "Content-Length: -1\r\n\r\n"),
      refused("length past the bound", kOk + "Content-Length: 1048577\r\n\r\n"),
      refused("length that overflows", kOk + "Content-Length: 99999999999999999999999\r\n\r\n"),
      refused("a coding not asked for", kOk + "Transfer-Encoding: gzip, chunked\r\n\r\n"),
      refused("chunked twice",
              kOk + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n"),
      refused("chunk size not hex", kChunked + "zz\r\n"),
      refused("chunk size empty", kChunked + "\r\n"),
      refused("chunk size negative", kChunked + "-1\r\n"),
      refused("chunk size then junk", kChunked + "5 x\r\nhello\r\n0\r\n\r\n"),
      refused("chunk size past the bound", kChunked + "100001\r\n"),
      refused("chunk size that overflows", kChunked + "ffffffffffffffffffff1\r\n"),
      refused("chunk longer than its size", kChunked + "3\r\nhello\r\n0\r\n\r\n"),
      refused("chunk-size line over its bound",
              kChunked + "1;" + std::string(kMaxChunkLineBytes, 'e') + "\r\nx\r\n0\r\n\r\n"),
      refused("folded trailer", kChunked + "0\r\n x\r\n\r\n"),
      // Trailer fields count towards the head's bound; chunk-size lines do not.
      refused("trailer fields past the head bound",
              kChunked + "0\r\n" + trailer_fields(200) + "\r\n"),
  };
}

// Feeds the pieces in order and the end of the stream when the server closes; every byte of
// the reply must be taken, and nothing after it.
void expect_parsed(const ReplyCase& c, const std::vector<std::string_view>& pieces) {
  HttpReplyParser parser;
  std::size_t taken = 0;
  for (const std::string_view piece : pieces) {
    taken += parser.feed(piece);
  }
  if (c.server_closes) {
    parser.end_of_stream();
  }
  ASSERT_EQ(parser.progress(), c.progress);
  if (c.progress == Progress::kDone) {
    EXPECT_EQ(taken, c.bytes.size());
    EXPECT_EQ(parser.status(), c.status);
    EXPECT_EQ(parser.body(), c.body);
    EXPECT_EQ(parser.keeps_connection(), c.keeps);
  }
}

TEST(HttpReplyParser, SplitAtEveryPointAndByteByByte) {
  for (const ReplyCase& c : reply_cases()) {
    SCOPED_TRACE(c.name);
    // What follows a reply that ends by its framing is left for the next one.
    const bool framed = c.progress == Progress::kDone && !c.server_closes;
    const std::string sent = c.bytes + (framed ? kOk : "");
    const std::string_view bytes = sent;
    // Every point of a short reply; a long one at a stride.
    const std::size_t step = bytes.size() <= 512 ? 1 : bytes.size() / 257;
    for (std::size_t at = 0; at <= bytes.size(); at += step) {
      SCOPED_TRACE("split at " + std::to_string(at));
      expect_parsed(c, {bytes.substr(0, at), bytes.substr(at)});
    }
    std::vector<std::string_view> single_bytes;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
      single_bytes.push_back(bytes.substr(at, 1));
    }
    SCOPED_TRACE("byte by byte");
    expect_parsed(c, single_bytes);
  }
}

}  // namespace
}  // namespace tavio

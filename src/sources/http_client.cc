#include "sources/http_client.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "platform/command.h"
#include "platform/loopback_socket.h"
#include "text/numbers.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kNoEnd = std::string_view::npos;

bool is_space(char c) { return c == ' ' || c == '\t'; }

// What each byte may be, looked up in one step: every byte of every reply passes here.
enum ByteClass : unsigned char { kFieldByte = 1, kTokenByte = 2 };
struct ByteClasses {
  unsigned char of[256] = {};
  constexpr ByteClasses() {
    for (int byte = 0; byte < 256; ++byte) {
      // A field value's bytes: visible, blank, or beyond ASCII (obs-text).
      if ((byte >= 0x20 && byte != 0x7F) || byte == '\t') {
        of[byte] |= kFieldByte;
      }
      // A token's (a method, a field name): RFC 9110's tchar.
      if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
          (byte >= '0' && byte <= '9')) {
        of[byte] |= kTokenByte;
      }
    }
    for (const char* other = "!#$%&'*+-.^_`|~"; *other != '\0'; ++other) {
      of[static_cast<unsigned char>(*other)] |= kTokenByte;
    }
  }
};
constexpr ByteClasses kByteClasses;

bool all_of_class(std::string_view text, ByteClass wanted) {
  for (const char c : text) {
    if ((kByteClasses.of[static_cast<unsigned char>(c)] & wanted) == 0) {
      return false;
    }
  }
  return true;
}

bool is_token(std::string_view text) { return !text.empty() && all_of_class(text, kTokenByte); }

// Whether every byte of a line may stand in a field: all_of_class(text, kFieldByte), eight
// bytes to a step while none of them is a control byte or DEL (a tab goes to the table).
bool all_field_bytes(std::string_view text) {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  std::size_t at = 0;
  for (std::uint64_t eight = 0; at + sizeof eight <= text.size(); at += sizeof eight) {
    std::memcpy(&eight, text.data() + at, sizeof eight);
    const std::uint64_t below_space = (eight - kOnes * 0x20) & ~eight & kHighBits;
    const std::uint64_t not_del = eight ^ (kOnes * 0x7F);
    const std::uint64_t del = (not_del - kOnes) & ~not_del & kHighBits;
    if ((below_space | del) != 0) {
      break;
    }
  }
  return all_of_class(text.substr(at), kFieldByte);
}

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool same_ignoring_case(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) {
    return false;
  }
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lower(a[i]) != lower(b[i])) {
      return false;
    }
  }
  return true;
}

std::string_view trim(std::string_view text) {
  while (!text.empty() && is_space(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && is_space(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

}  // namespace

std::optional<std::string> http_request_text(const HttpRequest& request, int port) {
  if (!is_token(request.method) || request.target.empty() || request.target[0] != '/') {
    return std::nullopt;
  }
  for (const char c : request.target) {
    if (c <= ' ' || c == 0x7F) {  // also every byte beyond ASCII (char is signed here)
      return std::nullopt;
    }
  }
  std::string text;
  text.reserve(128 + request.header_lines.size() + request.body.size());
  text.append(request.method).append(" ").append(request.target).append(" HTTP/1.1\r\n");
  text.append("Host: 127.0.0.1:").append(std::to_string(port)).append("\r\n");
  std::string_view lines = request.header_lines;
  while (!lines.empty()) {
    const std::size_t end = lines.find('\n');
    const std::string_view line = lines.substr(0, end);
    lines.remove_prefix(end == kNoEnd ? lines.size() : end + 1);
    if (line.empty()) {
      continue;
    }
    const std::size_t colon = line.find(':');
    if (colon == kNoEnd || !is_token(line.substr(0, colon)) || !all_field_bytes(line)) {
      return std::nullopt;
    }
    text.append(line).append("\r\n");
  }
  if (!request.body.empty() || request.method == "POST") {
    text.append("Content-Length: ").append(std::to_string(request.body.size())).append("\r\n");
  }
  text.append("\r\n").append(request.body);
  return text;
}

// --- The reply parser --------------------------------------------------------------------------

void HttpReplyParser::fail() { state_ = State::kFailed; }

std::size_t HttpReplyParser::feed(std::string_view bytes) {
  std::size_t used = 0;
  while (used < bytes.size() && progress() == Progress::kMore) {
    const std::string_view rest = bytes.substr(used);
    switch (state_) {
      case State::kStatusLine:
      case State::kHeaderLine:
      case State::kTrailerLine:
        used += take_line(rest, kMaxReplyHeadBytes - head_bytes_);
        break;
      case State::kChunkSize:
      case State::kChunkDataEnd:
        used += take_line(rest, kMaxChunkLineBytes);
        break;
      case State::kFixedBody:
      case State::kChunkData: {
        const std::string_view piece = rest.substr(0, length_);
        used += piece.size();
        if (add_body(piece)) {
          length_ -= piece.size();
          if (length_ == 0) {
            state_ = state_ == State::kFixedBody ? State::kDone : State::kChunkDataEnd;
          }
        }
        break;
      }
      case State::kBodyToClose:
        used += rest.size();
        add_body(rest);
        break;
      case State::kDone:
      case State::kFailed:
        return used;
    }
  }
  return used;
}

void HttpReplyParser::end_of_stream() {
  if (state_ == State::kBodyToClose) {
    state_ = State::kDone;
  } else if (progress() == Progress::kMore) {
    fail();  // cut short
  }
}

bool HttpReplyParser::keeps_connection() const {
  return state_ == State::kDone && http11_ && !close_;
}

// Adds bytes to the line being read, up to bound bytes for the line with its end; a whole
// line goes to on_line without its CR LF (or bare LF). A line that lies whole in bytes is read
// where it lies.
std::size_t HttpReplyParser::take_line(std::string_view bytes, std::size_t bound) {
  const std::size_t end = bytes.find('\n');
  const std::size_t piece = end == kNoEnd ? bytes.size() : end + 1;
  if (line_.size() + piece > bound) {
    fail();
    return piece;
  }
  if (end == kNoEnd) {
    line_.append(bytes);
    return piece;
  }
  std::string_view line = bytes.substr(0, end);
  if (!line_.empty()) {
    line_.append(line);
    line = line_;
  }
  if (state_ == State::kStatusLine || state_ == State::kHeaderLine ||
      state_ == State::kTrailerLine) {
    head_bytes_ += line.size() + 1;
  }
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  on_line(line);
  line_.clear();
  return piece;
}

void HttpReplyParser::on_line(std::string_view line) {
  if (!all_field_bytes(line)) {  // a CR or NUL inside a line, or another control byte
    fail();
    return;
  }
  switch (state_) {
    case State::kStatusLine:
      on_status_line(line);
      break;
    case State::kHeaderLine:
      if (line.empty()) {
        on_head_end();
      } else {
        on_header_line(line);
      }
      break;
    case State::kChunkSize:
      on_chunk_size(line);
      break;
    case State::kChunkDataEnd:
      if (line.empty()) {
        state_ = State::kChunkSize;
      } else {
        fail();  // a chunk longer than its size said
      }
      break;
    case State::kTrailerLine:
      if (line.empty()) {
        state_ = State::kDone;
      } else if (is_space(line.front()) || line.find(':') == kNoEnd) {
        fail();
      }
      break;  // trailer fields say nothing tavio needs
    default:
      fail();
      break;
  }
}

// "HTTP/1.1 200 OK": the version, a space, three digits, then a reason or nothing.
void HttpReplyParser::on_status_line(std::string_view line) {
  constexpr std::string_view kVersion = "HTTP/1.";
  if (line.size() < 12 || line.substr(0, kVersion.size()) != kVersion || line[7] < '0' ||
      line[7] > '9' || line[8] != ' ' || (line.size() > 12 && line[12] != ' ')) {
    fail();
    return;
  }
  int code = 0;
  for (std::size_t i = 9; i < 12; ++i) {
    if (line[i] < '0' || line[i] > '9') {
      fail();
      return;
    }
    code = code * 10 + (line[i] - '0');
  }
  if (code < 100 || code > 599) {
    fail();
    return;
  }
  status_ = code;
  http11_ = line[7] != '0';
  close_ = chunked_ = has_length_ = false;
  length_ = 0;
  state_ = State::kHeaderLine;
}

void HttpReplyParser::on_header_line(std::string_view line) {
  const std::size_t colon = line.find(':');
  // A line that starts with a blank continues the one before (obsolete folding): refused, as
  // a field could hide in it.
  if (colon == kNoEnd || !is_token(line.substr(0, colon))) {
    fail();
    return;
  }
  on_field(line.substr(0, colon), trim(line.substr(colon + 1)));
}

void HttpReplyParser::on_field(std::string_view name, std::string_view value) {
  if (same_ignoring_case(name, "Content-Length")) {
    std::size_t length = 0;
    for (const char c : value) {
      if (c < '0' || c > '9') {
        fail();
        return;
      }
      length = length * 10 + static_cast<std::size_t>(c - '0');
      if (length > kMaxReplyBytes) {
        fail();  // larger than any reply tavio takes, and no overflow
        return;
      }
    }
    if (value.empty() || (has_length_ && length != length_)) {
      fail();
      return;
    }
    has_length_ = true;
    length_ = length;
  } else if (same_ignoring_case(name, "Transfer-Encoding")) {
    // tavio asks for no coding; a server may still chunk. Any other coding is not understood.
    if (chunked_ || !same_ignoring_case(value, "chunked")) {
      fail();
      return;
    }
    chunked_ = true;
  } else if (same_ignoring_case(name, "Connection")) {
    while (!value.empty()) {
      const std::size_t comma = value.find(',');
      if (same_ignoring_case(trim(value.substr(0, comma)), "close")) {
        close_ = true;
      }
      value.remove_prefix(comma == kNoEnd ? value.size() : comma + 1);
    }
  }
}

void HttpReplyParser::on_head_end() {
  if (status_ < 200) {
    if (status_ == 101) {
      fail();  // tavio never asks to switch protocols
      return;
    }
    state_ = State::kStatusLine;  // an interim reply: the final one follows
    status_ = 0;
    head_bytes_ = 0;
    return;
  }
  if (status_ == 204 || status_ == 304) {
    state_ = State::kDone;  // no body, whatever the fields say
  } else if (chunked_) {
    // A length beside the chunks: the chunks count, and the connection is not trusted after.
    close_ = close_ || has_length_;
    state_ = State::kChunkSize;
  } else if (has_length_) {
    body_.reserve(length_);
    state_ = length_ == 0 ? State::kDone : State::kFixedBody;
  } else {
    close_ = true;  // the body ends where the connection does
    state_ = State::kBodyToClose;
  }
}

// "1a3f" or "1a3f;name=value": the size in hex, then optional extensions, ignored.
void HttpReplyParser::on_chunk_size(std::string_view line) {
  std::size_t size = 0;
  std::size_t digits = 0;
  for (; digits < line.size() && hex_digit_value(line[digits]) >= 0; ++digits) {
    size = size * 16 + static_cast<std::size_t>(hex_digit_value(line[digits]));
    if (size > kMaxReplyBytes - body_.size()) {
      fail();  // the body would outgrow the bound, and no overflow
      return;
    }
  }
  const std::string_view rest = trim(line.substr(digits));
  if (digits == 0 || (!rest.empty() && rest.front() != ';')) {
    fail();
    return;
  }
  if (size == 0) {
    state_ = State::kTrailerLine;
    head_bytes_ = 0;
  } else {
    length_ = size;
    state_ = State::kChunkData;
  }
}

bool HttpReplyParser::add_body(std::string_view bytes) {
  if (bytes.size() > kMaxReplyBytes - body_.size()) {
    fail();
    return false;
  }
  body_.append(bytes);
  return true;
}

// --- The client --------------------------------------------------------------------------------
//
// A small client of tavio's own, not a library's. On a desktop a well-kept library such as
// libcurl would be the choice; here it cannot be linked statically from Debian's packages and
// is not on every router, while the firmware image must start with nothing but its file. What
// the API asks is narrow: a GET or a POST on the loopback interface, one at a time, a reply
// framed by length or by chunks.

namespace {

// The exchange's connection and the port it goes to. Closed when the process ends.
std::optional<LoopbackSocket> g_connection;
int g_connection_port = 0;

enum class Attempt {
  kReplied,            // a whole reply came
  kFailed,             // the call failed
  kFailedBeforeReply,  // failed on a connection before any byte of the reply came
};

// One try: the request on the kept connection (or a new one), and its reply into parser.
Attempt try_once(const std::string& text, int port, Deadline deadline, HttpReplyParser& parser,
                 bool& reused) {
  reused = g_connection && g_connection_port == port && g_connection->idle();
  if (!reused) {
    g_connection.reset();  // closed by the server, or it sent what nobody asked for
    g_connection = LoopbackSocket::connect(port, deadline);
    if (!g_connection) {
      return Attempt::kFailed;
    }
    g_connection_port = port;
  }
  if (!g_connection->send_all(text, deadline)) {
    g_connection.reset();
    return Attempt::kFailedBeforeReply;
  }
  std::string received;
  bool any_byte = false;
  bool reusable = true;
  while (parser.progress() == HttpReplyParser::Progress::kMore) {
    received.clear();
    const LoopbackSocket::Received outcome = g_connection->receive(received, deadline);
    if (outcome == LoopbackSocket::Received::kData) {
      any_byte = true;
      // Bytes after the reply were sent unasked: the connection is not trusted with another.
      reusable = parser.feed(received) == received.size();
    } else if (outcome == LoopbackSocket::Received::kClosed) {
      reusable = false;
      parser.end_of_stream();
    } else {
      g_connection.reset();
      return any_byte ? Attempt::kFailed : Attempt::kFailedBeforeReply;
    }
  }
  if (!reusable || !parser.keeps_connection()) {
    g_connection.reset();
  }
  if (parser.progress() == HttpReplyParser::Progress::kFailed) {
    return any_byte ? Attempt::kFailed : Attempt::kFailedBeforeReply;
  }
  return Attempt::kReplied;
}

}  // namespace

std::optional<std::string> http_exchange(const HttpRequest& request, int port,
                                         std::chrono::milliseconds deadline, bool may_repeat) {
  if (exchange_budget_spent()) {
    return std::nullopt;
  }
  const std::optional<std::string> text = http_request_text(request, port);
  if (!text) {
    return std::nullopt;
  }
  const Deadline until = deadline_after(deadline);
  for (int attempt = 0; attempt < 2; ++attempt) {
    HttpReplyParser parser;
    bool reused = false;
    const Attempt outcome = try_once(*text, port, until, parser, reused);
    if (outcome == Attempt::kReplied) {
      if (parser.status() < 200 || parser.status() > 299) {
        return std::nullopt;
      }
      return std::move(parser.body());
    }
    if (outcome != Attempt::kFailedBeforeReply || !reused || !may_repeat ||
        deadline_passed(until)) {
      return std::nullopt;
    }
  }
  return std::nullopt;
}

void http_close_connection() { g_connection.reset(); }

}  // namespace tavio

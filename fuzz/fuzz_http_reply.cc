// The HTTP client's reply parser, fed the bytes of a connection that the server closes after
// them, in pieces of 1 to 256 bytes (the first byte says) and whole, reply after reply while
// each ends and bytes are left: both readings agree on the outcome, and on everything of a reply
// that is done; a body stays within the reply bound; a reply that is done has a final status.
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>

#include "harness.h"
#include "sources/http_client.h"
#include "text/text_buffer.h"

namespace {

using tavio::HttpReplyParser;

struct Outcome {
  std::size_t used = 0;
  HttpReplyParser::Progress progress = HttpReplyParser::Progress::kMore;
  int status = 0;
  std::string body;
  bool keeps = false;
};

// Reads one reply from bytes in pieces of piece bytes; the stream ends after them.
Outcome read_reply(std::string_view bytes, std::size_t piece) {
  HttpReplyParser parser;
  std::size_t used = 0;
  while (used < bytes.size() && parser.progress() == HttpReplyParser::Progress::kMore) {
    const std::string_view next = bytes.substr(used, piece);
    const std::size_t taken = parser.feed(next);
    if (taken > next.size() ||
        (taken < next.size() && parser.progress() == HttpReplyParser::Progress::kMore)) {
      tavio_fuzz::fuzz_fail(
          "the parser took more bytes than it was given, or left some before the reply's end", "");
    }
    used += taken;
  }
  if (used == bytes.size()) {
    parser.end_of_stream();
  }
  const Outcome outcome{used, parser.progress(), parser.status(), parser.body(),
                        parser.keeps_connection()};
  if (outcome.body.size() > tavio::kMaxReplyBytes) {
    tavio_fuzz::fuzz_fail("a body past the reply bound", "");
  }
  if (outcome.progress == HttpReplyParser::Progress::kDone &&
      (outcome.status < 200 || outcome.status > 599)) {
    tavio_fuzz::fuzz_fail("a reply done without a final status", "");
  }
  return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::size_t piece = std::size_t{data[0]} + 1;
  std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  while (true) {
    const Outcome in_pieces = read_reply(rest, piece);
    const Outcome whole = read_reply(rest, rest.size() + 1);
    const bool done = whole.progress == HttpReplyParser::Progress::kDone;
    if (in_pieces.progress != whole.progress ||
        (done && std::tie(in_pieces.used, in_pieces.status, in_pieces.body, in_pieces.keeps) !=
                     std::tie(whole.used, whole.status, whole.body, whole.keeps))) {
      tavio_fuzz::fuzz_fail("the reply read in pieces differs from the reply read whole", "");
    }
    if (!done || whole.used == rest.size() || whole.used == 0) {
      return 0;
    }
    rest.remove_prefix(whole.used);
  }
}

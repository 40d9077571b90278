// A whole run in process: a request document or the dump, with the replies the router's tools
// give meanwhile and serials of any shape. The input (fuzz/README.md): a run byte, a line of
// serials that "$0".."$9" stand for, the body, then each reply after a line "--reply--".
#include <signal.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "app/run.h"
#include "harness.h"
#include "tavio/json_ref.h"

namespace {

using Serials = std::array<std::string, 10>;  // the panel's and nine units'
// An input whose placeholders expand past this is skipped: it only costs time.
constexpr std::size_t kMostExpandedBytes = std::size_t{256} * 1024;

// text with "$0".."$9" replaced by the serials as the contents of a JSON string.
std::string expand(std::string_view text, const Serials& serials) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '$' || i + 1 == text.size() || text[i + 1] < '0' || text[i + 1] > '9') {
      out.append(1, text[i]);
      continue;
    }
    for (const char c : serials[static_cast<std::size_t>(text[++i] - '0')]) {
      if (c == '"' || c == '\\') {
        out.append(1, '\\').append(1, c);
      } else if (static_cast<unsigned char>(c) < 0x20) {
        char escaped[8];
        std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
        out.append(escaped);
      } else {
        out.append(1, c);
      }
    }
  }
  return out;
}

// tavio with the arguments as main() runs it; the signal dispositions the run changes are put
// back after it, so that libFuzzer keeps its own.
void run(std::vector<std::string> args) {
  const int signals[] = {SIGPIPE, SIGTERM, SIGINT, SIGHUP};
  struct sigaction saved[std::size(signals)] = {};
  for (std::size_t i = 0; i < std::size(signals); ++i) {
    ::sigaction(signals[i], nullptr, &saved[i]);
  }
  std::vector<char*> argv;
  argv.reserve(args.size() + 1);
  for (std::string& arg : args) {
    argv.push_back(&arg[0]);
  }
  argv.push_back(nullptr);
  static_cast<void>(tavio::run_tavio(static_cast<int>(args.size()), argv.data()));
  std::fflush(stdout);
  for (std::size_t i = 0; i < std::size(signals); ++i) {
    ::sigaction(signals[i], &saved[i], nullptr);
  }
}

// The request answered as the display process asks: every response tavio writes is written as
// Jansson writes it, as the display reads it.
void answer_request(const std::string& request, std::uint8_t choice, const std::string& serial) {
  const std::string root(tavio_fuzz::fuzz_root());
  const std::string in = root + "/request.json", out = root + "/response.json";
  std::ofstream(in, std::ios::binary) << request;
  std::vector<std::string> args = {
      "tavio", "-x", (choice & 0x08) != 0 ? "1" : "0", "-s", serial, "-i", in, "-o", out};
  if ((choice & 0x10) != 0) {
    args.emplace_back("-K");
  }
  run(args);
  std::ifstream written_file(out, std::ios::binary);
  if (!written_file) {
    return;
  }
  const std::string written((std::istreambuf_iterator<char>(written_file)),
                            std::istreambuf_iterator<char>());
  const tavio::JsonPtr response =
      tavio::json_own(json_loadb(written.data(), written.size(), JSON_ALLOW_NUL, nullptr));
  char* text = response ? json_dumps(response.get(), JSON_COMPACT) : nullptr;
  const bool same = text != nullptr && written == text;
  std::free(text);
  if (!same) {
    tavio_fuzz::fuzz_fail("a response is not written as Jansson writes it", request);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  tavio_fuzz::init_fuzz_root();
  // The dump prints to standard output: nowhere, here.
  if (std::freopen("/dev/null", "w", stdout) == nullptr) {
    tavio_fuzz::fuzz_fail("cannot send standard output to /dev/null", "");
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::uint8_t choice = data[0];
  const std::vector<std::string_view> parts = tavio_fuzz::split_input(
      std::string_view(reinterpret_cast<const char*>(data) + 1, size - 1), "\n--reply--\n");
  const std::size_t line_end = std::min(parts.front().find('\n'), parts.front().size());
  Serials serials;
  const std::vector<std::string_view> fields =
      tavio_fuzz::split_input(parts.front().substr(0, line_end), "|");
  std::copy_n(fields.begin(), std::min(fields.size(), serials.size()), serials.begin());
  const std::string body = expand(parts.front().substr(line_end), serials);
  std::size_t expanded = body.size();
  std::vector<std::string> replies;
  for (std::size_t i = 1; i < parts.size(); ++i) {
    replies.push_back(expand(parts[i], serials));
    expanded += replies.back().size();
  }
  if (expanded > kMostExpandedBytes) {
    return 0;
  }

  const tavio_fuzz::ServedReplies served(std::move(replies));
  if ((choice & 0x03) == 1) {
    run({"tavio", "-x", (choice & 0x08) != 0 ? "1" : "0", "-d"});
  } else {
    answer_request(body, choice, serials[0]);
  }
  return 0;
}

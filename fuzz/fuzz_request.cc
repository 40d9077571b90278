// The whole of a run in process: a request document or the dump, with the
// replies the router's tools give meanwhile and serials of any shape and length.
//
// Input: one byte choosing the run, a line of serials, the body, then the replies, each
// introduced by the line "--reply--":
//
//   @PNL-IN|PMU*40
//   {"type": "valueRead", "req": {"list": [{"k": "local_pmu_status_port_$1"}]}}
//   --reply--
//   {"list": [{"sn": "$1", "prod": "RQ-CELL", "devinfo": {}}]}
//
// The run byte: bits 0-1 what runs (1: the dump, tavio -x TYPE -d, the body unused; any other:
// the body is a request document, answered as tavio -i answers it), bit 3 the power panel
// (-x 1), bit 4 a passcode keypad (-K). The seeds write it as a printable character, '@' plus
// the bits.
//
// The serials line holds the panel serial, then up to nine unit serials, '|' between them;
// "TEXT*N" stands for TEXT repeated N times, so that a short input makes a serial of any
// length. In the request document and the replies "$0" stands for the panel serial and "$1" to
// "$9" for the unit serials (as the contents of a JSON string). The n-th
// command that reads a reply gets the n-th reply (cycling); a reply "!D..." makes its command
// end with status D.
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "app/request_exchange.h"
#include "app/run.h"
#include "harness.h"
#include "panel/display_prefs.h"
#include "panel/sign_in.h"
#include "protocol/json_text.h"
#include "tavio/exchange.h"
#include "tavio/json_ref.h"
#include "text/text_buffer.h"

namespace {

constexpr std::size_t kMostSerials = 10;    // the panel's and nine units'
constexpr std::size_t kMostRepeats = 1024;  // "TEXT*N": N at most this
constexpr std::size_t kMostSerialBytes = 2048;
// An input whose placeholders expand past this is skipped: it only costs time.
constexpr std::size_t kMostExpandedBytes = std::size_t{256} * 1024;

using Serials = std::array<std::string, kMostSerials>;

// "TEXT*N" is TEXT N times; anything else is itself.
std::string expand_repeat(std::string_view field) {
  const std::size_t star = field.rfind('*');
  if (star == std::string_view::npos || star + 1 == field.size() || field.size() - star > 5) {
    return std::string(field);
  }
  std::size_t count = 0;
  for (const char c : field.substr(star + 1)) {
    if (c < '0' || c > '9') {
      return std::string(field);
    }
    count = count * 10 + static_cast<std::size_t>(c - '0');
  }
  const std::string_view text = field.substr(0, star);
  std::string serial;
  for (std::size_t i = 0; i < count && i < kMostRepeats && serial.size() < kMostSerialBytes; ++i) {
    serial.append(text);
  }
  return serial.substr(0, kMostSerialBytes);
}

Serials parse_serials(std::string_view line) {
  Serials serials;
  for (std::size_t i = 0; i < kMostSerials; ++i) {
    const std::size_t bar = line.find('|');
    serials[i] = expand_repeat(line.substr(0, bar));
    if (bar == std::string_view::npos) {
      break;
    }
    line.remove_prefix(bar + 1);
  }
  return serials;
}

// text as the contents of a JSON string.
std::string json_contents(std::string_view text) {
  std::string out;
  for (const char c : text) {
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
  return out;
}

// text with its placeholders replaced by the serials as JSON string contents. False when the
// result grows past kMostExpandedBytes.
bool expand(std::string_view text, const Serials& serials, std::string& out) {
  out.clear();
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (text[i] == '$' && next >= '0' && next <= '9') {
      const std::string& serial = serials[static_cast<std::size_t>(next - '0')];
      out.append(json_contents(serial));
      ++i;
    } else {
      out.append(1, text[i]);
    }
    if (out.size() > kMostExpandedBytes) {
      return false;
    }
  }
  return true;
}

// The exchange as tavio settles it from its command line and the panel's saved settings.
tavio::Exchange exchange_for(std::uint8_t choice, const std::string& serial) {
  const bool keycode = (choice & 0x10) != 0;
  tavio::Exchange exchange;
  exchange.serial = tavio::cut_text(serial, tavio::kSerialCapacity);
  exchange.panel_type =
      (choice & 0x08) != 0 ? tavio::PanelType::kPower : tavio::PanelType::kExternal;
  if (keycode) {
    exchange.access = tavio::panel_access_state(exchange.serial.c_str());
  }
  exchange.alternative_theme_allowed = !keycode;
  exchange.layout = tavio::load_font_settings(exchange.serial.c_str());
  exchange.layout.theme_mode =
      keycode ? tavio::ThemeMode::kDefault : tavio::load_theme_mode(exchange.serial.c_str());
  return exchange;
}

// Every response tavio builds must be writable as the display reads it.
void answer_request(std::string_view request_text, std::uint8_t choice, const Serials& serials) {
  const tavio::JsonPtr request =
      tavio::json_own(json_loadb(request_text.data(), request_text.size(), 0, nullptr));
  if (!request) {
    return;
  }
  const tavio::Exchange exchange = exchange_for(choice, serials[0]);
  const tavio::JsonPtr response = tavio::dispatch_request(request.get(), exchange);
  if (response) {
    char* text = json_dumps(response.get(), JSON_COMPACT);
    const std::optional<std::string> written = tavio::json_compact_text(response.get());
    if (text == nullptr || !written || *written != text) {
      std::free(text);
      tavio_fuzz::fuzz_fail("a response is not written as Jansson writes it", request_text);
    }
    std::free(text);
  }
}

// The signal dispositions run_tavio changes for its run, put back after it, so that
// libFuzzer keeps its own.
class SavedSignals {
 public:
  SavedSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
      ::sigaction(kSignals[i], nullptr, &saved_[i]);
    }
  }
  ~SavedSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
      ::sigaction(kSignals[i], &saved_[i], nullptr);
    }
  }
  SavedSignals(const SavedSignals&) = delete;
  SavedSignals& operator=(const SavedSignals&) = delete;

 private:
  static constexpr std::array<int, 4> kSignals = {SIGPIPE, SIGTERM, SIGINT, SIGHUP};
  std::array<struct sigaction, kSignals.size()> saved_{};
};

// Runs tavio with these arguments (the program name first) as main() would.
void run_tavio_with(std::vector<std::string> args) {
  std::vector<char*> argv;
  for (std::string& arg : args) {
    argv.push_back(&arg[0]);
  }
  argv.push_back(nullptr);
  const SavedSignals saved;
  static_cast<void>(tavio::run_tavio(static_cast<int>(args.size()), argv.data()));
  std::fflush(stdout);
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
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::vector<std::string_view> parts =
      tavio_fuzz::split_input(input, tavio_fuzz::kReplyDelimiter);
  const std::size_t line_end = parts.front().find('\n');
  const Serials serials = parse_serials(parts.front().substr(0, line_end));
  const std::string_view body =
      line_end == std::string_view::npos ? std::string_view() : parts.front().substr(line_end + 1);
  std::vector<std::string> replies;
  for (std::size_t i = 1; i < parts.size(); ++i) {
    replies.emplace_back();
    if (!expand(parts[i], serials, replies.back())) {
      return 0;
    }
  }

  tavio_fuzz::restore_fuzz_root();
  const tavio_fuzz::ServedReplies served(std::move(replies), tavio_fuzz::ReplyStatus::kFromReply);
  if ((choice & 0x03) == 1) {
    run_tavio_with({"tavio", "-x", (choice & 0x08) != 0 ? "1" : "0", "-d"});
  } else {
    std::string request;
    if (expand(body, serials, request)) {
      answer_request(request, choice, serials);
    }
  }
  return 0;
}

// The whole request path in process: a request document and the replies the router's tools
// give while it is answered.
//
// Input: one byte choosing the exchange (below), the request document, then the replies, each
// introduced by the line "--reply--":
//
//   A{"type": "valueRead", "req": {"list": [{"k": "wan_status_1"}]}}
//   --reply--
//   {"response": {"order": [1], "1": {"enable": true, "message": "Connected"}}}
//
// The n-th command that writes a file gets the n-th reply (cycling); a reply "!D..." makes its
// command end with status D. The exchange byte: bits 0-2 the panel serial (kSerials), bit 3
// the power panel (-x 1), bit 4 a passcode keypad (-K). fuzz/make_corpus writes it as a
// printable character, '@' plus the bits.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "app/request_exchange.h"
#include "harness.h"
#include "panel/display_prefs.h"
#include "panel/sign_in.h"
#include "tavio/exchange.h"
#include "tavio/json_ref.h"

namespace {

// The example router knows PNL-IN (signed in) and PNL-OUT (signed out); PNL-NEW has no files;
// two serials that must reach the tools quoted; one of the full 15 characters.
const char* const kSerials[] = {"",         "PNL-IN",          "PNL-OUT",  "PNL-NEW",
                                "a;reboot", "a'$(reboot)'`x`", "PNL-A1 x", "ABCDEFGHIJKLMNO"};

// The exchange as tavio settles it from its command line and the panel's saved settings.
tavio::Exchange exchange_for(std::uint8_t choice) {
  const bool keycode = (choice & 0x10) != 0;
  tavio::Exchange exchange;
  exchange.serial = kSerials[choice & 0x07];
  exchange.panel_type =
      (choice & 0x08) != 0 ? tavio::PanelType::kPower : tavio::PanelType::kExternal;
  if (keycode) {
    exchange.access = tavio::panel_access_state(exchange.serial.c_str());
  }
  exchange.theme_mode = keycode ? tavio::ThemeMode::kDefault : tavio::ThemeMode::kAlternative;
  exchange.layout = tavio::load_font_settings(exchange.serial.c_str());
  exchange.layout.theme_mode =
      tavio::narrow_theme_mode(exchange.serial.c_str(), exchange.theme_mode);
  return exchange;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  tavio_fuzz::init_fuzz_root();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  std::vector<std::string_view> parts = tavio_fuzz::split_input(input, tavio_fuzz::kReplyDelimiter);
  const std::string_view request_text = parts.front();
  parts.erase(parts.begin());

  tavio_fuzz::restore_fuzz_root();
  const tavio_fuzz::ServedReplies served(std::move(parts), tavio_fuzz::ReplyStatus::kFromReply);
  const tavio::JsonPtr request =
      tavio::json_own(json_loadb(request_text.data(), request_text.size(), 0, nullptr));
  if (!request) {
    return 0;
  }
  const tavio::Exchange exchange = exchange_for(data[0]);
  const tavio::JsonPtr response = tavio::dispatch_request(request.get(), exchange);
  if (response) {
    // Every response tavio builds must be writable as the display reads it.
    char* text = json_dumps(response.get(), JSON_COMPACT);
    if (text == nullptr) {
      tavio_fuzz::fuzz_fail("a response cannot be written as JSON", request_text);
    }
    std::free(text);
  }
  return 0;
}

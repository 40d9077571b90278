#include "handlers/value_write.h"

#include <chrono>
#include <cstring>

#include "layout/panel_text.h"
#include "panel/sign_in.h"
#include "platform/command.h"
#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "power/unit_commands.h"
#include "protocol/item_ids.h"
#include "protocol/json_build.h"
#include "protocol/json_get.h"
#include "settings/port_media.h"
#include "settings/remote_assist.h"
#include "sources/device_tool.h"
#include "sources/local_api.h"
#include "sources/outside_text.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr char kRebootingMessage[] = "System rebooting...";
// The router keeps its panel_reload line, "(capwap_cli panel_reload SERIAL)&", in a 64-byte
// buffer: 63 characters, 27 of them the command around the serial.
constexpr std::size_t kReloadSerialLimit = 63 - 27;

/// One answered item, built up as its action runs.
class Answer {
 public:
  Answer(const char* identifier, int chars_per_line)
      : identifier_(identifier), chars_per_line_(chars_per_line) {}

  Answer& done(const std::string& value) { return set(value, true); }
  Answer& failed(const std::string& value = "") { return set(value, false); }
  /// Done with the value an action reports, or failed when it reports none.
  Answer& outcome(const std::optional<std::string>& value) {
    return value ? done(*value) : failed();
  }
  Answer& message(const char* text) {
    message_ = cut_text(layout_wrap(text, chars_per_line_), kTextCapacity);
    return *this;
  }
  // The rebooting message goes through the long text buffer, then the message buffer, each
  // time wrapped for the grid: the display shows it as the reboot screens lay it out.
  Answer& rebooting_message() {
    const std::string once =
        cut_text(layout_wrap(kRebootingMessage, chars_per_line_), kLongTextCapacity);
    message_ = cut_text(layout_wrap(once, chars_per_line_), kTextCapacity);
    return *this;
  }
  Answer& action_status(const char* word) {
    action_status_ = word;
    return *this;
  }

  [[nodiscard]] JsonPtr entry() const {
    JsonObjectBuilder entry;
    entry.text("k", identifier_).text("v", value_).text("status", ok_ ? "ok" : "failed");
    if (!message_.empty()) {
      entry.text("msg", message_);
    }
    if (action_status_ != nullptr) {
      entry.text("action_status", action_status_);
    }
    return entry.done();
  }

 private:
  Answer& set(const std::string& value, bool ok) {
    value_ = value;
    ok_ = ok;
    return *this;
  }

  const char* identifier_;
  int chars_per_line_;
  std::string value_;
  bool ok_ = false;
  std::string message_;
  const char* action_status_ = nullptr;
};

/// What an action works with.
struct WriteRequest {
  const Exchange& exchange;
  const char* value;
  const ItemArgs& args;
  Answer& answer;
};

bool is_yes(const char* value) { return std::strcmp(value, "Yes") == 0; }

// Asks the display process, in the background, to reload the panel's screens; a serial
// refused as an argument asks nothing.
void panel_reload(const std::string& serial) {
  if (!outside_argument_fits(serial, kReloadSerialLimit)) {
    return;
  }
  // An empty serial is no argument at all.
  Command reload{"capwap_cli", {"panel_reload"}, kDeviceToolDeadline};
  if (!serial.empty()) {
    reload.args.push_back(serial);
  }
  run_detached({reload});
}

// The pause before a reset, so the response reaches the panel first; its deadline is the
// pause and a margin.
constexpr std::chrono::seconds kPauseDeadline{5};
Command pause_before_reset() { return {"sleep", {"3"}, kPauseDeadline}; }

void restore_factory(const WriteRequest& write) {
  if (!is_yes(write.value)) {
    write.answer.done("No");
    return;
  }
  run_detached({{"restoreconfig", {}, kFlashToolDeadline},
                pause_before_reset(),
                {"reboot", {}, kFlashToolDeadline}});
  write.answer.done("Yes").rebooting_message();
}

void reboot(const WriteRequest& write) {
  if (!is_yes(write.value)) {
    write.answer.done("No");
    return;
  }
  api_post_no_reply("cmd.system.reboot", "{\"enable\":true}");
  write.answer.done("Yes").rebooting_message().action_status("rebooting");
}

void reset_admin_password(const WriteRequest& write) {
  if (!is_yes(write.value)) {
    write.answer.done("No");
    return;
  }
  run_detached({pause_before_reset(),
                {HostPath::system(kRecoverPasswordTool).str(), {}, kFlashToolDeadline}});
  write.answer.done("Yes");
}

void remote_assist(const WriteRequest& write) {
  write.answer.outcome(set_remote_assist(std::strcmp(write.value, "On") == 0));
}

void port_speed(const WriteRequest& write, int port) {
  write.answer.outcome(set_port_media(port, write.value));
}

void lan_port_speed(const WriteRequest& write) { port_speed(write, 0); }
void wan_port_speed(const WriteRequest& write) { port_speed(write, write.args.number); }

void panel_passcode(const WriteRequest& write) {
  const std::string& serial = write.exchange.serial;
  const SignInResult result = panel_sign_in(serial.c_str(), write.value);
  if (result == SignInResult::kSignedIn) {
    write.answer.done("success").message("Login success.");
  } else {
    write.answer.failed("fail").message("Login fail.");
  }
  if (result != SignInResult::kNoConfiguration) {
    panel_reload(serial);
  }
}

void panel_logout(const WriteRequest& write) {
  if (!is_yes(write.value)) {
    write.answer.failed();
    return;
  }
  const std::string& serial = write.exchange.serial;
  if (panel_access_clear(serial.c_str())) {
    write.answer.done("Yes").message("Lock screen").action_status("panel_logout");
  } else {
    write.answer.failed();
  }
  panel_reload(serial);
}

// Only "ON" switches on; the answer is the state the unit confirms.
void power_port_switch(const WriteRequest& write) {
  write.answer.outcome(
      devcmd_port_set(write.args.unit, write.args.number, std::strcmp(write.value, "ON") == 0));
}

struct ActionRow {
  ItemKey key;
  void (*perform)(const WriteRequest& write);
};

// Tried strictly in this order; the first row that matches decides.
const ActionRow kActionRows[] = {
    {item::kRestoreFactory, restore_factory},
    {item::kReboot, reboot},
    {item::kResetAdminPassword, reset_admin_password},
    {item::kRemoteAssist, remote_assist},
    {item::kLanPortSpeed, lan_port_speed},
    {item::kWanPortSpeed, wan_port_speed},
    {item::kPanelPasscode, panel_passcode},
    {item::kPanelLogout, panel_logout},
    {item::kPortControl, power_port_switch},
};

// Performs one written item and answers it: {"k", "v", "status"} and, where due, "msg" and
// "action_status". Null only for an empty identifier.
JsonPtr perform_value_action(const Exchange& exchange, const char* identifier, const char* value) {
  if (identifier == nullptr || identifier[0] == '\0' || value == nullptr) {
    return nullptr;
  }
  Answer answer(identifier, exchange.layout.chars_per_line);
  std::optional<ItemArgs> args;
  const ActionRow* row = match_item_row(kActionRows, identifier, &args);
  if (row == nullptr || !args) {
    answer.failed();
  } else {
    row->perform(WriteRequest{exchange, value, *args, answer});
  }
  return answer.entry();
}

}  // namespace

JsonPtr handle_value_write(const json_t* req, const Exchange& exchange) {
  if (req == nullptr) {
    return nullptr;
  }
  JsonArrayBuilder entries;
  const json_t* list = json_object_get(req, "list");
  for (std::size_t i = 0; i < json_array_size(list); ++i) {
    const json_t* element = json_array_get(list, i);
    const char* identifier = jget_string(element, "k", "");
    if (identifier[0] != '\0') {
      entries.add(perform_value_action(exchange, identifier, jget_string(element, "v", "")));
    }
  }
  return JsonObjectBuilder()
      .text("type", "valueWrite")
      .take("resp", JsonObjectBuilder().take("list", entries.done()).done())
      .done();
}

}  // namespace tavio

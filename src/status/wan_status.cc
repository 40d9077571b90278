#include "status/wan_status.h"

#include <cstring>

#include "layout/panel_text.h"
#include "protocol/json_get.h"
#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr std::size_t kTypeCapacity = 16;
constexpr std::size_t kIpCapacity = 16;
constexpr std::size_t kStatusWordCapacity = 64;
constexpr std::size_t kFigureCapacity = 64;
const char* const kConnectedTo = "Connected to ";

// Only these links report signal figures.
bool is_wireless(std::string_view type) {
  return type == "wifi" || type == "gobi" || type == "modem";
}

void read_signal(const json_t* connection, const char* type, WanStatus* wan) {
  if (!is_wireless(type)) {
    return;
  }
  const json_t* signal = json_object_get(json_object_get(connection, type), "signal");
  if (!json_is_object(signal)) {
    return;
  }
  wan->strength = jget_int(signal, "strength", kAbsentSignal);
  if (wan->strength == kAbsentSignal) {
    wan->strength = jget_int(signal, "rssi", kAbsentSignal);
  }
  wan->rsrp = jget_int(signal, "rsrp", kAbsentSignal);
  wan->sinr = jget_real(signal, "sinr", kAbsentSignalReal);
  wan->snr = jget_real(signal, "snr", kAbsentSignalReal);
  wan->ecio = jget_real(signal, "ecio", kAbsentSignalReal);
  wan->rsrq = jget_real(signal, "rsrq", kAbsentSignalReal);
}

// The signal figures in the order the panel lists them; absent ones are left out.
void append_signal_block(const WanStatus& wan, const PanelLayout& layout, TextBuffer& text) {
  const auto dbm = [](int value) { return format_text(kFigureCapacity, "%d dBm", value); };
  const auto db = [](double value) { return format_text(kFigureCapacity, "%.1f dB", value); };
  const struct {
    const char* label;
    bool present;
    std::string value;
  } figures[] = {
      {"RSSI:", wan.strength != kAbsentSignal, dbm(wan.strength)},
      {"SINR:", wan.sinr != kAbsentSignalReal, db(wan.sinr)},
      {"SNR:", wan.snr != kAbsentSignalReal, db(wan.snr)},
      {"Ec/Io:", wan.ecio != kAbsentSignalReal, db(wan.ecio)},
      {"RSRP:", wan.rsrp != kAbsentSignal, dbm(wan.rsrp)},
      {"RSRQ:", wan.rsrq != kAbsentSignalReal, db(wan.rsrq)},
  };
  text.append("\n");
  text.append(layout_wrap("Signal Strength", layout.chars_per_line));
  for (const auto& figure : figures) {
    if (figure.present) {
      text.append("\n");
      text.append(layout_label_value(figure.label, figure.value, layout));
    }
  }
}

//  Status:     Connected
//           Operator One
//  Signal Strength
//  RSSI:         -71 dBm
void render_one(const WanStatus& wan, const PanelLayout& layout, TextBuffer& text) {
  const bool alternative = layout.theme_mode == ThemeMode::kAlternative;
  const std::string word = wan.message == "No Device Detected"
                               ? std::string("Disconnected")
                               : cut_text(wan.message, kStatusWordCapacity);
  const bool connected = wan.message.find("Connected") != std::string::npos;
  text.clear();
  if (word.compare(0, std::strlen(kConnectedTo), kConnectedTo) == 0) {
    if (!alternative) {
      text.append(layout_label_value("Status:", "Connected", layout));
      text.append("\n");
    }
    text.append(layout_wrap_value(word.substr(std::strlen(kConnectedTo)), layout.chars_per_line));
  } else if (!alternative || word != "Connected") {
    text.append(layout_label_value("Status:", word, layout));
  }
  if (!wan.ip.empty()) {
    if (!text.empty()) {
      text.append("\n");
    }
    text.append(layout_label_value("IP:", wan.ip, layout));
  }
  if (connected && is_wireless(wan.type)) {
    append_signal_block(wan, layout, text);
  }
}

}  // namespace

std::optional<WanStatusList> wan_status_collect(std::optional<int> id) {
  const std::string path =
      id ? format_text(kPathCapacity, "status.wan.connection?id=%d", *id) : "status.wan.connection";
  const JsonPtr result = api_read(path);
  const auto connections =
      result ? ordered_members(result.get(), kMaxWanConnections) : std::nullopt;
  if (!connections) {
    return std::nullopt;
  }
  WanStatusList list;
  for (const auto& [connection_id, connection] : *connections) {
    if (connection == nullptr || !json_is_true(json_object_get(connection, "enable"))) {
      continue;
    }
    WanStatus wan;
    wan.id = connection_id;
    const char* type = jget_string(connection, "type", "");
    // A modem slot with nothing inserted is not a connection.
    if (std::strcmp(type, "modem") == 0 &&
        std::strcmp(jget_string(connection, "statusLed", ""), "empty") == 0) {
      continue;
    }
    wan.name = jget_string(connection, "name", "");
    wan.message = jget_string(connection, "message", "");
    read_signal(connection, type, &wan);
    wan.type = cut_text(type, kTypeCapacity);
    wan.ip = cut_text(jget_string(connection, "ip", ""), kIpCapacity);
    list.items.push_back(std::move(wan));
  }
  return list;
}

std::optional<std::string> render_wan_status(int id, const PanelLayout& layout) {
  const std::optional<WanStatusList> list = wan_status_collect(id);
  if (!list) {
    return std::nullopt;
  }
  TextBuffer text(kLongTextCapacity);
  for (const WanStatus& wan : list->items) {
    if (wan.id == id) {
      render_one(wan, layout, text);  // the last matching connection wins
    }
  }
  return layout_finish(layout, text.str(), kLongTextCapacity);
}

}  // namespace tavio

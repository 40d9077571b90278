#include "power/unit_records.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "protocol/json_get.h"
#include "text/numbers.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

// The device keeps each cron field in 8 bytes: 7 characters and the terminator.
constexpr std::size_t kCronFieldCapacity = 8;
constexpr std::size_t kCronFieldCount = 6;
// A schedule's frequency text is kept in 64 bytes.
constexpr std::size_t kFrequencyCapacity = 64;

constexpr const char* kWeekdays[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                     "Friday", "Saturday", "Sunday"};
constexpr const char* kMonths[] = {"January",   "February", "March",    "April",
                                   "May",       "June",     "July",     "August",
                                   "September", "October",  "November", "December"};

// The cron fields in their order; the sixth is not read.
enum CronField { kMinute, kHour, kDayOfMonth, kMonth, kDayOfWeek };
using CronFields = std::array<std::string, kCronFieldCount>;

// The key prefix of each quantity of a status report, indexed by PortQuantity.
constexpr const char* kReportKeys[kPortQuantityCount] = {"s", "vi", "vo", "ii", "io", "v", "i"};

// The port a key names: prefix, then the port in decimal exactly as "%d" writes it, 1 to
// kMaxPortCount; nothing for any other key ("r01", "r0", "r33", "vi1" for "v").
std::optional<int> port_of_key(std::string_view key, std::string_view prefix) {
  if (key.size() <= prefix.size() || key.substr(0, prefix.size()) != prefix ||
      key[prefix.size()] == '0') {
    return std::nullopt;
  }
  int port = 0;
  for (const char digit : key.substr(prefix.size())) {
    if (digit < '0' || digit > '9') {
      return std::nullopt;
    }
    port = port * 10 + (digit - '0');
    if (port > kMaxPortCount) {
      return std::nullopt;
    }
  }
  return port;
}

std::string text_member(const json_t* object, const char* key) {
  return jget_string(object, key, "");
}

// The texts of object's members "<prefix>1" to "<prefix>N"; a member that is not a text reads
// "".
PortTexts port_texts_of(const json_t* object, const char* prefix) {
  PortTexts texts;
  const char* key = nullptr;
  const json_t* value = nullptr;
  json_t* members = const_cast<json_t*>(object);  // json_object_foreach only reads it
  json_object_foreach(members, key, value) {
    if (const std::optional<int> port = port_of_key(key, prefix)) {
      texts.set(*port, json_is_string(value) ? json_string_value(value) : "");
    }
  }
  return texts;
}

std::optional<PortTexts> port_texts_member(const json_t* object, const char* key) {
  const json_t* member = json_object_get(object, key);
  return member == nullptr ? std::nullopt : std::optional<PortTexts>(port_texts_of(member, "r"));
}

// The fields as the device's "%s %s %s %s %s %s" reads them: runs of characters between
// white space; anything after the sixth is not looked at. A field that would not fit the
// device's 8 bytes makes the whole string unusable instead of being cut.
std::optional<CronFields> split_cron(const char* cron) {
  CronFields fields;
  const char* at = cron;
  for (std::string& field : fields) {
    while (std::isspace(static_cast<unsigned char>(*at)) != 0) {
      ++at;
    }
    const char* end = at;
    while (*end != '\0' && std::isspace(static_cast<unsigned char>(*end)) == 0) {
      ++end;
    }
    const auto length = static_cast<std::size_t>(end - at);
    if (length == 0 || length >= kCronFieldCapacity) {
      return std::nullopt;
    }
    field.assign(at, length);
    at = end;
  }
  return fields;
}

// Compared as unsigned numbers, so a negative minute or hour is no time of day either.
bool below(long number, unsigned long limit) { return static_cast<unsigned long>(number) < limit; }

// Day of week 1 to 7 is Monday to Sunday; 0 is deliberately no day, so such a schedule
// reads as daily, monthly or yearly.
const char* weekday_name(const std::string& field) {
  if (field == "*") {
    return nullptr;
  }
  const long day = std::strtol(field.c_str(), nullptr, 10);
  return day >= 1 && day <= 7 ? kWeekdays[day - 1] : nullptr;
}

const char* month_name(const std::string& field) {
  const long month = std::strtol(field.c_str(), nullptr, 10);
  return month >= 1 && month <= 12 ? kMonths[month - 1] : "";
}

std::string frequency_of(const std::string& day_of_month, const std::string& month,
                         const std::string& day_of_week) {
  if (const char* weekday = weekday_name(day_of_week)) {
    return format_text(kFrequencyCapacity, "Weekly - %s", weekday);
  }
  if (day_of_month == "*") {
    return "Daily";
  }
  if (month == "*") {
    return format_text(kFrequencyCapacity, "Monthly - %s", day_of_month.c_str());
  }
  // An unknown month leaves its name empty, two blanks between the dash and the day.
  return format_text(kFrequencyCapacity, "Yearly - %s %s", month_name(month), day_of_month.c_str());
}

// The schedules that can be shown: a usable time and a state; the others take no place.
std::vector<UnitSchedule> schedules_of(const json_t* schedules) {
  std::vector<UnitSchedule> usable;
  for (std::size_t i = 0; i < json_array_size(schedules) && usable.size() < kMaxSchedules; ++i) {
    const json_t* schedule = json_array_get(schedules, i);
    const std::optional<ScheduleTime> time =
        cron_to_schedule_time(jget_string(schedule, "cron", ""));
    const json_t* state = json_object_get(schedule, "state");
    if (time && state != nullptr) {
      usable.push_back({*time, port_texts_of(state, "r")});
    }
  }
  return usable;
}

UnitNetwork network_of(const json_t* network) {
  UnitNetwork settings;
  settings.ip = text_member(network, "ip");
  settings.netmask = text_member(network, "Netmask");
  settings.gateway = text_member(network, "Gateway");
  settings.dns = text_member(network, "DNS");
  settings.dhcp = std::strcmp(jget_string(network, "DHCP", ""), "1") == 0;
  return settings;
}

UnitConfig config_of(const json_t* config) {
  UnitConfig unit;
  unit.reset_delay = text_member(config, "resetDelay");
  unit.starts_on_ignition = std::strcmp(jget_string(config, "startOnIgnition", ""), "1") == 0;
  unit.output_voltage = port_texts_member(config, "out_v");
  const json_t* schedules = json_object_get(config, "schedule");
  if (json_is_array(schedules)) {
    unit.schedules = schedules_of(schedules);
  }
  unit.max_temperature = text_member(config, "over_t");
  unit.max_voltage = port_texts_member(config, "over_v");
  unit.min_voltage = port_texts_member(config, "under_v");
  if (const json_t* network = json_object_get(config, "network")) {
    unit.network = network_of(network);
  }
  return unit;
}

UnitDetails details_of(const json_t* devinfo) {
  UnitDetails details;
  details.serial = text_member(devinfo, "serial_num");
  details.name = text_member(devinfo, "prod_name");
  details.firmware = text_member(devinfo, "fw_ver");
  details.hardware_revision = text_member(devinfo, "hw_rev");
  if (const json_t* attributes = json_object_get(devinfo, "attr")) {
    details.ports = port_count_of(attributes);
  }
  const json_t* management = json_object_get(devinfo, "mgmt_port");
  for (std::size_t i = 0; i < json_array_size(management); ++i) {
    const json_t* port = json_array_get(management, i);
    // Cut to an int as the router reads it; a number that names no port protects nothing.
    const int number = json_is_integer(port) ? static_cast<int>(json_integer_value(port)) : 0;
    if (number >= 1 && number <= kMaxPortCount) {
      details.management_ports.push_back(number);
    }
  }
  return details;
}

PowerUnit unit_of(const json_t* record) {
  PowerUnit unit;
  unit.model = text_member(record, "prod");
  unit.type = power_unit_type_of(unit.model.c_str());
  unit.serial = text_member(record, "sn");
  if (const json_t* devinfo = json_object_get(record, "devinfo")) {
    unit.details = details_of(devinfo);
  }
  if (const json_t* config = json_object_get(record, "config")) {
    unit.config = config_of(config);
  }
  return unit;
}

}  // namespace

const std::string& PortTexts::at(int port) const {
  static const std::string kNone;
  return port >= 1 && static_cast<std::size_t>(port) <= texts_.size()
             ? texts_[static_cast<std::size_t>(port) - 1]
             : kNone;
}

void PortTexts::set(int port, std::string text) {
  if (port < 1 || port > kMaxPortCount) {
    return;
  }
  const auto index = static_cast<std::size_t>(port) - 1;
  if (texts_.size() <= index) {
    texts_.resize(index + 1);
  }
  texts_[index] = std::move(text);
}

PortCount port_count_of(const json_t* attributes) {
  const json_t* count = json_object_get(attributes, "port_num");
  if (!json_is_string(count)) {
    return PortCount{};
  }
  const char* text = json_string_value(count);
  if (text[0] == '\0') {
    return PortCount{kUnknownPortCount};
  }
  const int ports = clamp_to_int(std::strtol(text, nullptr, 10));
  return PortCount{ports > kMaxPortCount ? kUnknownPortCount : ports};
}

std::optional<PowerUnitList> power_unit_list_of(const json_t* answer) {
  const json_t* list = json_object_get(answer, "list");
  if (!json_is_array(list)) {
    return std::nullopt;
  }
  PowerUnitList units;
  for (std::size_t i = 0; i < json_array_size(list) && i < kMaxPowerUnits; ++i) {
    units.items.push_back(unit_of(json_array_get(list, i)));
  }
  return units;
}

std::optional<PortCount> unit_info_port_count_of(const json_t* answer) {
  const json_t* attributes = json_object_get(json_object_get(answer, "devinfo"), "attr");
  return attributes == nullptr ? std::nullopt : std::optional<PortCount>(port_count_of(attributes));
}

json_t* first_report(const json_t* answer) {
  const json_t* reports = json_object_get(answer, "rpt");
  return json_is_array(reports) ? json_array_get(reports, 0) : nullptr;
}

std::optional<UnitReport> unit_report_of(const json_t* answer) {
  json_t* first = first_report(answer);
  if (first == nullptr) {
    return std::nullopt;
  }
  UnitReport report;
  // One walk over the members: each key goes to the quantity its letters name.
  const char* key = nullptr;
  const json_t* value = nullptr;
  json_object_foreach(first, key, value) {
    const std::string_view name = key;
    const char* text = json_is_string(value) ? json_string_value(value) : "";
    if (name == "t") {
      report.temperature = text;
      continue;
    }
    const std::string_view letters = name.substr(0, name.find_first_of("0123456789"));
    for (std::size_t quantity = 0; quantity < kPortQuantityCount; ++quantity) {
      if (letters == kReportKeys[quantity]) {
        if (const std::optional<int> port = port_of_key(name, letters)) {
          report.ports.at(quantity).set(*port, text);
        }
        break;
      }
    }
  }
  return report;
}

std::optional<ScheduleTime> cron_to_schedule_time(const char* cron) {
  if (cron == nullptr || cron[0] == '\0') {
    return std::nullopt;
  }
  const std::optional<CronFields> fields = split_cron(cron);
  if (!fields) {
    return std::nullopt;
  }
  const CronFields& field = *fields;
  const long minute = std::strtol(field[kMinute].c_str(), nullptr, 10);
  const long hour = std::strtol(field[kHour].c_str(), nullptr, 10);
  if (!below(minute, 60) || !below(hour, 24)) {
    return std::nullopt;
  }
  return ScheduleTime{static_cast<int>(hour), static_cast<int>(minute),
                      frequency_of(field[kDayOfMonth], field[kMonth], field[kDayOfWeek])};
}

PowerUnitType power_unit_type_of(const char* product) {
  if (product == nullptr) {
    return PowerUnitType::kIntegratedPmu;
  }
  if (std::strcmp(product, "RQ-PWRU") == 0) {
    return PowerUnitType::kExternalPmu;
  }
  if (std::strcmp(product, "RQ-DIST") == 0) {
    return PowerUnitType::kPdu;
  }
  return PowerUnitType::kIntegratedPmu;  // "RQ-CELL" and every model not known here
}

std::vector<const PowerUnit*> power_units_of_type(const PowerUnitList& list, PowerUnitType type) {
  std::vector<const PowerUnit*> units;
  for (const PowerUnit& unit : list.items) {
    if (unit.details && unit.type == type && !unit.serial.empty()) {
      units.push_back(&unit);
    }
  }
  return units;
}

}  // namespace tavio

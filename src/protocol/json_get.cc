#include "protocol/json_get.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "protocol/json_read.h"
#include "text/utf8.h"

namespace tavio {
namespace {

// The member of object named by id in decimal ("3"), as the API keys its lists; borrowed.
json_t* json_member_by_id(const json_t* object, int id) {
  char key[16];
  std::snprintf(key, sizeof key, "%d", id);
  return json_object_get(object, key);
}

}  // namespace

JsonPtr json_load_reply(std::string_view text) {
  if (utf8_well_formed(text)) {
    return json_read(text);
  }
  return json_read(utf8_repaired(text));
}

const char* jget_string(const json_t* object, const char* key, const char* def) {
  const json_t* value = object == nullptr ? nullptr : json_object_get(object, key);
  return json_is_string(value) ? json_string_value(value) : def;
}

std::int32_t jget_int(const json_t* object, const char* key, std::int32_t def) {
  const json_t* value = object == nullptr ? nullptr : json_object_get(object, key);
  if (value == nullptr) {
    return def;
  }
  // The router's integers are 32 bits wide: keep the low 32 bits of the JSON integer.
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(json_integer_value(value)));
}

double jget_real(const json_t* object, const char* key, double def) {
  const json_t* value = object == nullptr ? nullptr : json_object_get(object, key);
  return value == nullptr ? def : json_real_value(value);
}

std::optional<std::vector<OrderedMember>> ordered_members(const json_t* section, std::size_t most) {
  const json_t* order = json_object_get(section, "order");
  if (!json_is_array(order)) {
    return std::nullopt;
  }
  const std::size_t count = std::min(json_array_size(order), most);
  std::vector<OrderedMember> members;
  members.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const int id = static_cast<int>(json_integer_value(json_array_get(order, i)));
    members.push_back({id, json_member_by_id(section, id)});
  }
  return members;
}

}  // namespace tavio

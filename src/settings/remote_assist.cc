#include "settings/remote_assist.h"

#include "sources/local_api.h"
#include "text/text_buffer.h"

namespace tavio {

std::optional<std::string> remote_assist_get() {
  const JsonPtr result = api_read("status.system.info", "&infoType=remoteAssistance");
  if (!result) {
    return std::nullopt;
  }
  const json_t* enable =
      json_object_get(json_object_get(result.get(), "remoteAssistance"), "enable");
  if (json_is_true(enable)) {
    return std::string("On");
  }
  return std::nullopt;
}

std::optional<std::string> set_remote_assist(bool on) {
  const std::string body = format_text(
      kLongTextCapacity, "{\"action\":\"remoteAssistance\",\"enable\":%s}", on ? "true" : "false");
  const JsonPtr result = api_post("system.action", body.c_str());
  if (!result) {
    return std::nullopt;
  }
  // A reply without the state says nothing about it: the switch is not confirmed.
  const json_t* enable =
      json_object_get(json_object_get(result.get(), "remoteAssistance"), "enable");
  if (enable == nullptr) {
    return std::nullopt;
  }
  return std::string(json_is_true(enable) ? "On" : "Off");
}

}  // namespace tavio

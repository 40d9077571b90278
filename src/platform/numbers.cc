#include "platform/numbers.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace tavio {

std::optional<int> scan_int_after(const char* text, const char* prefix) {
  const std::size_t length = std::strlen(prefix);
  if (text == nullptr || std::strncmp(text, prefix, length) != 0) {
    return std::nullopt;
  }
  const char* at = text + length;
  while (std::isspace(static_cast<unsigned char>(*at)) != 0) {
    ++at;
  }
  const char* digits = (*at == '+' || *at == '-') ? at + 1 : at;
  if (std::isdigit(static_cast<unsigned char>(*digits)) == 0) {
    return std::nullopt;
  }
  return clamp_to_int(std::strtoll(at, nullptr, 10));
}

}  // namespace tavio

#include "text/numbers.h"

#include <cctype>
#include <cstdlib>

namespace tavio {

std::optional<int> scan_int(const char* text) {
  if (text == nullptr) {
    return std::nullopt;
  }
  const char* at = text;
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

#include "platform/clock.h"

#include <sys/sysinfo.h>

#include <ctime>
#include <vector>

namespace tavio {

long system_uptime() {
  struct sysinfo info {};
  sysinfo(&info);
  return info.uptime;
}

std::string local_time_text(const char* format, std::size_t capacity) {
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  std::vector<char> text(capacity, '\0');
  if (local == nullptr || capacity == 0 ||
      std::strftime(text.data(), text.size(), format, local) == 0) {
    return std::string();
  }
  return text.data();
}

}  // namespace tavio

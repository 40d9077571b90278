// The router's clocks: the time since it started and the local wall-clock time.
#ifndef TAVIO_PLATFORM_CLOCK_H
#define TAVIO_PLATFORM_CLOCK_H

#include <cstddef>
#include <string>

namespace tavio {

/// Seconds since the router started, as the kernel reports them.
[[nodiscard]] long system_uptime();
/// The local time (TZ selects the zone) as strftime writes it with format into capacity
/// bytes; "" when it does not fit or the time cannot be had.
[[nodiscard]] std::string local_time_text(const char* format, std::size_t capacity);

}  // namespace tavio

#endif

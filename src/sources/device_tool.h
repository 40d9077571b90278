// The router's device tool, "capwap_cli": one call is its argument vector; its answer is the
// JSON document it prints. Read-only calls are asked once per run (reply_memo.h).
#ifndef TAVIO_SOURCES_DEVICE_TOOL_H
#define TAVIO_SOURCES_DEVICE_TOOL_H

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "tavio/json_ref.h"

namespace tavio {

/// A unit answers the device tool within a second or two; one that has not answered by then
/// is treated as unreachable rather than keeping the panel waiting. The same bound ends a
/// panel reload that hangs in the background.
constexpr std::chrono::seconds kDeviceToolDeadline{10};

/// The answer to a read-only call (args: the command and its arguments), asked once per run;
/// null on any failure.
[[nodiscard]] JsonPtr device_answer(std::vector<std::string> args);
/// The answer to a call that changes a device, asked every time and never kept; null on any
/// failure.
[[nodiscard]] JsonPtr device_command(std::vector<std::string> args);
/// Forgets the kept answer to exactly this read-only call, made stale by a change.
void forget_device_answer(const std::vector<std::string>& args);
/// Whether a unit serial may go to the tool in a call whose command line takes `taken`
/// characters besides the serial and the answer file's name. The router's device interface
/// takes one line of at most 511 characters: the tool, its command and arguments with a blank
/// between each, then " > " and the name of the run-directory file that takes the answer,
/// answer_file with the process id for its "%d", cut to kPathCapacity. A serial that would
/// not fit the line whole, or that begins with "-", reaches no unit.
[[nodiscard]] bool device_serial_fits(const std::string& serial, std::size_t taken,
                                      const char* answer_file);

}  // namespace tavio

#endif

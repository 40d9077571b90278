// Commands that write a JSON document into a temporary file of this run: the local API's
// fetch tool (its -O file) and the device tool (a shell redirection into the file).
#ifndef TAVIO_PLATFORM_JSON_COMMAND_H
#define TAVIO_PLATFORM_JSON_COMMAND_H

#include <functional>
#include <string>

#include "platform/os.h"
#include "tavio/json_ref.h"

namespace tavio {

/// Whether a command's exit status decides if its file is read.
enum class ExitCheck {
  kRequireZero,  ///< any other status (or a command that could not run) gives nothing
  kIgnore,       ///< the file is read whatever the status
};

/// Forms the whole command line from the host path of the file the command is to write.
using CommandFormer = std::function<std::string(const HostPath& output)>;

/// Runs the command formed for the temporary file named by result_format ("%d" the process
/// id) through the shell and loads the file as JSON; null when the status check fails or the
/// file is missing or not JSON. The file is cleared before the run and gone on return. A
/// former that gives "" (a command it could not form) runs nothing and gives null.
[[nodiscard]] JsonPtr run_json_command(const char* result_format, ExitCheck exit_check,
                                       const CommandFormer& form_command);

}  // namespace tavio

#endif

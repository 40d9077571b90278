#include "platform/json_command.h"

#include "platform/temp_file.h"

namespace tavio {

JsonPtr run_json_command(const char* result_format, ExitCheck exit_check,
                         const CommandFormer& form_command) {
  TempFile output(result_format);
  output.clear_for_command();
  const std::string command = form_command(output.path());
  if (command.empty()) {
    return nullptr;  // the command could not be formed: nothing runs
  }
  const int status = run_shell(command);
  if (exit_check == ExitCheck::kRequireZero && status != 0) {
    return nullptr;
  }
  return output.load_json();
}

}  // namespace tavio

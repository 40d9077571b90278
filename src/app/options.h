// The command line the display process starts tavio with.
#ifndef TAVIO_APP_OPTIONS_H
#define TAVIO_APP_OPTIONS_H

#include <string>

#include "tavio/panel_state.h"

namespace tavio {

/// What the command line asked for; the texts the panel shows already cut to their sizes,
/// the file paths whole.
struct Options {
  std::string text;         ///< -t: free text for the custom menu (255 characters)
  std::string output_path;  ///< -o: response file
  std::string input_path;   ///< -i: request file
  std::string serial;       ///< -s: panel serial (15 characters)
  PanelType panel_type = PanelType::kExternal;  ///< -x
  bool keycode = false;                         ///< -K: the panel signs in with a passcode
  bool dump = false;                            ///< -d was given (parsing stopped there)
};

/// Parses argv the way the display process writes it; never fails.
[[nodiscard]] Options parse_options(int argc, char** argv);
/// Prints the usage text.
void print_usage();

}  // namespace tavio

#endif

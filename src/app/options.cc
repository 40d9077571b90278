#include "app/options.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "app/request_exchange.h"
#include "diag/dump.h"
#include "menus/display_prefs.h"
#include "menus/panel_access.h"
#include "platform/numbers.h"
#include "platform/os.h"
#include "platform/text_buffer.h"
#include "tavio/panel_access.h"
#include "tavio/panel_layout.h"

namespace tavio {
namespace {

// Only 0 (External) and 1 (Power) are panel types; anything else is the External panel.
int parse_panel_type(const char* argument) {
  const int type = clamp_to_int(std::strtol(argument, nullptr, 10));
  return (type < 3 && static_cast<unsigned int>(type) < 2U) ? type : kPanelExternal;
}

}  // namespace

Options parse_options(int argc, char** argv) {
  Options options;
  optind = 0;  // a full reset, also of a cluster left half-parsed
  int option;
  while ((option = getopt(argc, argv, "x:di:o:t:s:K")) != -1) {
    switch (option) {
      case 'x':
        options.panel_type = parse_panel_type(optarg);
        break;
      case 'd':
        options.dump = true;
        return options;  // the dump runs at once; later options are never looked at
      case 'i':
        options.input_path = cut_text(optarg, kTextCapacity);
        break;
      case 'o':
        options.output_path = cut_text(optarg, kTextCapacity);
        break;
      case 't':
        options.text = cut_text(optarg, kTextCapacity);
        break;
      case 's':
        options.serial = cut_text(optarg, kSerialCapacity);
        break;
      case 'K':
        options.keycode = true;
        break;
      default:
        break;  // unknown options and missing arguments are ignored
    }
  }
  return options;
}

void print_usage() {
  std::puts("Tavio Usage");
  std::puts("=============");
  std::puts("Usage:\ttavio [OPTIONS] or [COMMAND]\n");
  std::printf("where\tOPTIONS\t:= { -x[Panel Type - 0: External(default) ");
  std::puts("1: Power] |");
  std::printf("\t\t\t-i[input file] | -o[utput file] | -t[ext] | -s[n] | ");
  std::puts("-K[eycode] }");
  std::puts("\t\tCOMMAND\t:= { -d[ump all info] }");
}

int run_tavio(int argc, char** argv) {
  if (const std::optional<std::string> refused = root_check()) {
    std::puts(refused->c_str());
    return 0;
  }
  const Options options = parse_options(argc, argv);
  if (options.dump) {
    run_dump_mode(options.panel_type);
    return 0;
  }
  const char* serial = options.serial.c_str();
  const bool has_input = !options.input_path.empty();
  const bool has_output = !options.output_path.empty();
  int access_state = kAccessNormal;
  if (options.keycode) {
    // Worked out on every path with -K, even where only the usage text follows.
    access_state = panel_access_state(serial);
  }
  if (has_input && has_output) {
    run_request_file(options.input_path.c_str(), options.output_path.c_str(), serial, access_state,
                     options.panel_type, options.keycode ? kThemeDefault : kThemeAlternative);
  } else if (has_output) {
    int theme_mode = kThemeDefault;
    const int saved_theme = load_theme_mode(serial);
    if (!options.keycode && saved_theme == kThemeAlternative) {
      theme_mode = kThemeAlternative;
    }
    run_menu_update(options.output_path.c_str(), serial, access_state, options.panel_type,
                    options.text.c_str(), theme_mode);
  } else {
    print_usage();
  }
  return 0;
}

}  // namespace tavio

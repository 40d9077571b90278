#include "app/options.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "app/request_exchange.h"
#include "diag/dump.h"
#include "menus/display_prefs.h"
#include "menus/panel_access.h"
#include "platform/command.h"
#include "platform/numbers.h"
#include "platform/os.h"
#include "platform/temp_file.h"
#include "platform/text_buffer.h"
#include "tavio/panel_access.h"
#include "tavio/panel_layout.h"

namespace tavio {
namespace {

// Only 0 (External) and 1 (Power) are panel types; anything else is the External panel.
PanelType parse_panel_type(const char* argument) {
  const int type = clamp_to_int(std::strtol(argument, nullptr, 10));
  return type == 1 ? PanelType::kPower : PanelType::kExternal;
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

namespace {

// The exchange as the command line and the panel's saved settings give it. The sign-in check
// runs first: it may clear a stale sign-in before anything else reads the panel's files.
Exchange settle_exchange(const Options& options) {
  Exchange exchange;
  exchange.serial = options.serial;
  exchange.panel_type = options.panel_type;
  if (options.keycode) {
    exchange.access = panel_access_state(exchange.serial.c_str());
  }
  // A panel that signs in with a passcode always gets the default theme.
  exchange.theme_mode = options.keycode ? ThemeMode::kDefault : ThemeMode::kAlternative;
  // A menu update of a panel whose saved grid is damaged gets a grid of nothing; an answer
  // to a request keeps the default grid.
  const PanelLayout damaged =
      options.input_path.empty() ? make_panel_layout(ThemeMode::kDefault, 0, 0, 0) : PanelLayout{};
  exchange.layout = load_font_settings(exchange.serial.c_str(), damaged);
  exchange.layout.theme_mode = narrow_theme_mode(exchange.serial.c_str(), exchange.theme_mode);
  return exchange;
}

}  // namespace

int run_tavio(int argc, char** argv) {
  start_exchange_clock();
  install_run_signals();
  if (const std::optional<std::string> refused = root_check()) {
    std::puts(refused->c_str());
    return 0;
  }
  sweep_abandoned_temp_files();
  const Options options = parse_options(argc, argv);
  if (options.dump) {
    run_dump_mode(options.panel_type);
    return 0;
  }
  const bool has_input = !options.input_path.empty();
  const bool has_output = !options.output_path.empty();
  if (!has_output) {
    if (options.keycode) {
      // Worked out with -K even where only the usage text follows: it may clear a stale
      // sign-in.
      static_cast<void>(panel_access_state(options.serial.c_str()));
    }
    print_usage();
    return 0;
  }
  const Exchange exchange = settle_exchange(options);
  if (has_input) {
    run_request_file(options.input_path.c_str(), options.output_path.c_str(), exchange);
  } else {
    run_menu_update(options.output_path.c_str(), exchange, options.text.c_str());
  }
  return 0;
}

}  // namespace tavio

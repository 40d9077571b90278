#include "app/run.h"

#include <cstdio>
#include <optional>
#include <string>

#include "app/options.h"
#include "app/request_exchange.h"
#include "diag/dump.h"
#include "panel/display_prefs.h"
#include "panel/sign_in.h"
#include "platform/command.h"
#include "platform/os.h"
#include "platform/process_state.h"
#include "platform/temp_file.h"
#include "sources/local_api.h"
#include "tavio/exchange.h"
#include "tavio/panel_layout.h"

namespace tavio {
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
  exchange.alternative_theme_allowed = !options.keycode;
  // A menu update of a panel whose saved grid is damaged gets a grid of nothing; an answer
  // to a request keeps the default grid.
  const PanelLayout damaged =
      options.input_path.empty() ? make_panel_layout(ThemeMode::kDefault, 0, 0, 0) : PanelLayout{};
  exchange.layout = load_font_settings(exchange.serial.c_str(), damaged);
  exchange.layout.theme_mode = exchange.alternative_theme_allowed
                                   ? load_theme_mode(exchange.serial.c_str())
                                   : ThemeMode::kDefault;
  return exchange;
}

}  // namespace

int run_tavio(int argc, char** argv) {
  settle_process_state();
  start_exchange_clock();
  if (const std::optional<std::string> refused = root_check()) {
    std::puts(refused->c_str());
    return 0;
  }
  if (!kApiOverHttp) {
    sweep_abandoned_temp_files();  // only the API's tool calls leave temporary files
  }
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

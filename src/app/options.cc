#include "app/options.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "tavio/panel_state.h"
#include "text/numbers.h"
#include "text/text_buffer.h"

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
  opterr = 0;  // an option the panel does not know only leads to the usage text
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
        options.input_path = optarg;  // used whole: a cut path names another file
        break;
      case 'o':
        options.output_path = optarg;
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

}  // namespace tavio

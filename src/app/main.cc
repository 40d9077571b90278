// tavio: the menu and value backend of the router's front-panel display. One run answers one
// exchange with the display process and exits with status 0.
#include "app/run.h"
#include "protocol/json_memory.h"

int main(int argc, char** argv) {
  tavio::json_use_run_memory();
  return tavio::run_tavio(argc, argv);
}

#include "diag/dump.h"

namespace tavio {

// The service view has nothing to print yet.
void run_dump_mode(PanelType /*panel_type*/) {}

}  // namespace tavio

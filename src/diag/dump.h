// The service view: every collected value printed to standard output.
#ifndef TAVIO_DIAG_DUMP_H
#define TAVIO_DIAG_DUMP_H

#include "tavio/panel_access.h"

namespace tavio {

/// Prints the home menu and every status value for a technician.
void run_dump_mode(PanelType panel_type);

}  // namespace tavio

#endif

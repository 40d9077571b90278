// The service view: the home menu and every status value printed once to standard output,
// framed so that a technician sees what the panel would show and which source fails.
#ifndef TAVIO_DIAG_DUMP_H
#define TAVIO_DIAG_DUMP_H

#include "tavio/panel_state.h"

namespace tavio {

/// Prints every section for the panel type given before -d.
void run_dump_mode(PanelType panel_type);

}  // namespace tavio

#endif

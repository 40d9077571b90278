// The service view: every collected value printed to standard output.
#ifndef TAVIO_DIAG_DUMP_H
#define TAVIO_DIAG_DUMP_H

namespace tavio {

/// Prints the home menu and every status value for a technician.
void run_dump_mode(int panel_type);

}  // namespace tavio

#endif

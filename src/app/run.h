// One run of tavio: the command line's run mode carried out from start to exit.
#ifndef TAVIO_APP_RUN_H
#define TAVIO_APP_RUN_H

namespace tavio {

/// Runs one exchange as the command line says (answer a request, write a menu update, dump
/// every value, or print the usage text); the program's exit status, always 0.
int run_tavio(int argc, char** argv);

}  // namespace tavio

#endif

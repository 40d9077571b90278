// Where Jansson's values live in a run of tavio.
//
// A run is one short process that builds a few thousand values and drops them all at its end.
// Its values are carved one after the other from one area of the program's own and never given
// back one by one: malloc's bookkeeping for each small value was a tenth of a value read's
// instructions and a sixth of a menu's. The area has a fixed size; past it, and for large
// blocks, values come from malloc as usual, so a run with an unusually large reply only pays
// malloc's cost again.
#ifndef TAVIO_PROTOCOL_JSON_MEMORY_H
#define TAVIO_PROTOCOL_JSON_MEMORY_H

namespace tavio {

/// Hands Jansson the run's area, and a seed for its hash tables that costs no system call.
/// Call first thing in the process, before any JSON value exists; only a process that runs
/// one exchange and ends calls it. Builds with AddressSanitizer keep malloc, which then still
/// sees every value's use after it was dropped.
void json_use_run_memory();

}  // namespace tavio

#endif

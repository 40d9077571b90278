// The exchange with the display: a request document in, one response document out.
#ifndef TAVIO_APP_REQUEST_EXCHANGE_H
#define TAVIO_APP_REQUEST_EXCHANGE_H

#include <jansson.h>

#include "tavio/exchange.h"
#include "tavio/json_ref.h"

namespace tavio {

/// Answers the request in input_path with a compact document in output_path and says on
/// standard output how that went.
void run_request_file(const char* input_path, const char* output_path, const Exchange& exchange);
/// The response document for a loaded request, chosen by its "type"; null when there is none.
[[nodiscard]] JsonPtr dispatch_request(const json_t* request, const Exchange& exchange);
/// Writes a menu-update document to output_path and says on standard output how that went.
void run_menu_update(const char* output_path, const Exchange& exchange, const char* text);

}  // namespace tavio

#endif

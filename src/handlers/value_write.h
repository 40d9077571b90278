// Value writes: the actions the panel's user chose, each answered with a status and, for
// some, a message laid out for the panel.
#ifndef TAVIO_HANDLERS_VALUE_WRITE_H
#define TAVIO_HANDLERS_VALUE_WRITE_H

#include <jansson.h>

#include <optional>
#include <string>

#include "protocol/item_ids.h"
#include "tavio/exchange.h"
#include "tavio/json_ref.h"

namespace tavio {

/// {"type": "valueWrite", "resp": {"list": [...]}} for the request body req, or null.
/// Writes never look at the sign-in state: the lock is the panel's screen lock, which the
/// display process enforces by showing only the sign-in menu until the panel signs in.
[[nodiscard]] JsonPtr handle_value_write(const json_t* req, const Exchange& exchange);

}  // namespace tavio

#endif

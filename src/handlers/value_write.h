// Value writes: the actions the panel's user chose.
#ifndef TAVIO_HANDLERS_VALUE_WRITE_H
#define TAVIO_HANDLERS_VALUE_WRITE_H

#include <jansson.h>

#include "tavio/exchange.h"
#include "tavio/json_ref.h"

namespace tavio {

/// {"type": "valueWrite", "resp": {"list": [...]}} for the request body req, or null.
[[nodiscard]] JsonPtr handle_value_write(const json_t* req, const Exchange& exchange);

}  // namespace tavio

#endif

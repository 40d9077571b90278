// Value reads: the current text of each display item the panel names.
#ifndef TAVIO_HANDLERS_VALUE_READ_H
#define TAVIO_HANDLERS_VALUE_READ_H

#include <jansson.h>

#include "protocol/item_ids.h"
#include "tavio/exchange.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// {"type": "valueRead", "resp": {"list": [...]}} for the request body req, or null.
[[nodiscard]] JsonPtr handle_value_read(const json_t* req, const Exchange& exchange);
/// The key of the row that answers identifier (the first that matches in table order); null
/// when none does.
[[nodiscard]] const ItemKey* value_read_key(const char* identifier);
/// {"k": identifier, "v": text, "ttl": 5}; "v" is "" when the item cannot be had. Null only
/// for an empty identifier.
[[nodiscard]] JsonPtr render_value_item(const char* identifier, const PanelLayout& layout);

}  // namespace tavio

#endif

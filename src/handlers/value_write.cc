#include "handlers/value_write.h"

namespace tavio {

// No action is available yet: the exchange reports that it has no document to write.
JsonPtr handle_value_write(const json_t* /*req*/, const Exchange& /*exchange*/) { return nullptr; }

}  // namespace tavio

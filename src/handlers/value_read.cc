#include "handlers/value_read.h"

namespace tavio {

JsonPtr handle_value_read(const json_t* /*req*/, const char* /*serial*/, int /*theme_mode*/) {
  return nullptr;
}

}  // namespace tavio

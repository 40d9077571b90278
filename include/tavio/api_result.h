// The result of one call of the router's local web API.
#ifndef TAVIO_API_RESULT_H
#define TAVIO_API_RESULT_H

#include <jansson.h>

#include <memory>

#include "tavio/json_ref.h"

namespace tavio {

/// A call's loaded reply; the call's temporary files are already gone when it is returned.
struct ApiResult {
  JsonPtr root;                ///< the whole reply document
  json_t* response = nullptr;  ///< root's "response", borrowed from root
};

/// An owned API result.
using ApiResultPtr = std::unique_ptr<ApiResult>;

}  // namespace tavio

#endif

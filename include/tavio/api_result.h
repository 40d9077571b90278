// The result of one call of the router's local web API.
#ifndef TAVIO_API_RESULT_H
#define TAVIO_API_RESULT_H

#include <jansson.h>

#include <memory>
#include <string>

#include "tavio/json_ref.h"

namespace tavio {

/// A call's temporary files and its loaded reply. The files stay on disk while the result
/// lives and are removed (input, header, result) when it is released, before the reply.
struct ApiResult {
  ApiResult() = default;
  ApiResult(const ApiResult&) = delete;
  ApiResult& operator=(const ApiResult&) = delete;
  ~ApiResult();

  std::string input_path;      ///< request body file; empty for a plain GET
  std::string header_path;     ///< extra request headers
  std::string result_path;     ///< the tool's output
  JsonPtr root;                ///< the whole reply document
  json_t* response = nullptr;  ///< root's "response", borrowed from root
};

/// An owned API result; releasing it is api_result_free.
using ApiResultPtr = std::unique_ptr<ApiResult>;

}  // namespace tavio

#endif

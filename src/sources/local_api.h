// The router's local web API, reached through the wget_https tool and temporary files named
// after the process id, so that runs for several panels never share them.
#ifndef TAVIO_SOURCES_LOCAL_API_H
#define TAVIO_SOURCES_LOCAL_API_H

#include <cstddef>
#include <string>

#include "tavio/api_result.h"

namespace tavio {

/// The web service's port: "LOCAL_HTTP_PORT" of /etc/localhost_http_port, else 80. A valid
/// port is read once per run.
[[nodiscard]] int api_port();
/// "http://127.0.0.1:PORT/api" cut to capacity - 1 characters.
[[nodiscard]] std::string api_base_url(std::size_t capacity);
/// Calls path (with its query) behind the base URL; a body makes it a POST. Null headers mean
/// the default access header. Nothing on any failure; no temporary file outlives the call.
[[nodiscard]] ApiResultPtr api_request(const char* body, const char* headers, const char* path);
/// Releases a result and its reply. Null is ignored.
void api_result_free(ApiResultPtr result);
/// Posts body to path with the JSON headers and keeps no reply; 1 once the post was started,
/// 0 when its files could not be written.
int api_post_no_reply(const char* path, const char* body);
/// The header text of a JSON POST: the access header and the JSON content type.
[[nodiscard]] std::string api_json_headers();

}  // namespace tavio

#endif

// The router's local web API, reached through the wget_https tool and temporary files named
// after the process id, so that runs for several panels never share them.
#ifndef TAVIO_SOURCES_LOCAL_API_H
#define TAVIO_SOURCES_LOCAL_API_H

#include <cstddef>
#include <string>
#include <string_view>

#include "tavio/api_result.h"

namespace tavio {

/// The web service's port: "LOCAL_HTTP_PORT" of /etc/localhost_http_port, else 80. A valid
/// port is read once per run.
[[nodiscard]] int api_port();
/// "http://127.0.0.1:PORT/api" cut to capacity - 1 characters.
[[nodiscard]] std::string api_base_url(std::size_t capacity);
/// Reads an API path; query follows it as the API spells it ("?id=2", "&infoType=cpuLoad",
/// "?lite=no&id=3", "" for none). A read is fetched once per run and its reply reused.
/// Nothing on any failure; no temporary file outlives the call.
[[nodiscard]] ApiResultPtr api_read(std::string_view path, std::string_view query = "");
/// Posts a JSON body to path and returns the reply; nothing on any failure.
[[nodiscard]] ApiResultPtr api_post(std::string_view path, const char* body);
/// Posts a JSON body to path and keeps no reply; true once the post was started, false when
/// its files could not be written.
bool api_post_no_reply(std::string_view path, const char* body);

}  // namespace tavio

#endif

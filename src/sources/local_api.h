// The router's local web API at http://127.0.0.1:PORT/api. A build reaches it one of two ways
// (CMake option TAVIO_API_TRANSPORT):
// - tool (the default): through the router's wget_https tool and temporary files named after
//   the process id, so that runs for several panels never share them;
// - http: tavio sends the same requests itself, one after the other on one connection kept
//   alive for the exchange (sources/http_client.h), and writes no file.
// Both send the same requests and fail alike.
#ifndef TAVIO_SOURCES_LOCAL_API_H
#define TAVIO_SOURCES_LOCAL_API_H

#include <cstddef>
#include <string>
#include <string_view>

#include "tavio/json_ref.h"

namespace tavio {

/// Whether this build speaks HTTP to the API itself (TAVIO_API_TRANSPORT=http).
#ifdef TAVIO_API_HTTP
constexpr bool kApiOverHttp = true;
#else
constexpr bool kApiOverHttp = false;
#endif

/// The web service's port: "LOCAL_HTTP_PORT" of /etc/localhost_http_port, else 80. A valid
/// port is read once per run.
[[nodiscard]] int api_port();
/// "http://127.0.0.1:PORT/api" cut to capacity - 1 characters.
[[nodiscard]] std::string api_base_url(std::size_t capacity);
/// Reads an API path; query follows it as the API spells it ("?id=2", "&infoType=cpuLoad",
/// "?lite=no&id=3", "" for none). A read is fetched once per run and its reply reused.
/// The reply's "response" member; nothing on any failure, and for a reply without one. No
/// temporary file but the run's header file outlives the call.
[[nodiscard]] JsonPtr api_read(std::string_view path, std::string_view query = "");
/// Posts a JSON body to path and returns the reply's "response"; nothing on any failure.
[[nodiscard]] JsonPtr api_post(std::string_view path, const char* body);
/// Posts a JSON body to path and never looks at the reply; an empty body posts nothing.
void api_post_no_reply(std::string_view path, const char* body);
/// Ends the run's use of the API as the end of the process does: the header file kept for the
/// run's calls goes, and so does the connection. For harnesses that play several runs in one
/// process.
void api_end_run();

}  // namespace tavio

#endif

#include "sources/local_api.h"

#include <chrono>
#include <cstdlib>
#include <optional>
#include <utility>

#include "platform/command.h"
#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "platform/temp_file.h"
#include "protocol/json_get.h"
#include "sources/http_client.h"
#include "sources/reply_memo.h"
#include "text/numbers.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

constexpr char kFetchTool[] = "wget_https";
/// The reply memo's first key word for the API's replies, whichever way they are fetched.
constexpr char kApiReplies[] = "api";
const char* const kDefaultHeaders = "WEB-ADMIN-ACCESS-MODE: RW\n";
const char* const kJsonHeaders = "WEB-ADMIN-ACCESS-MODE: RW\nContent-Type: application/json\n";
constexpr int kDefaultPort = 80;
/// The fetch tool gives up on the API by itself after this many seconds ("-T").
constexpr int kFetchTimeoutSeconds = 10;
/// tavio waits for the fetch tool its own time-out plus a margin to start and save the reply.
constexpr std::chrono::seconds kFetchDeadline{kFetchTimeoutSeconds + 2};
static_assert(kFetchDeadline <= kLongestWaitedDeadline, "an exchange would outlast its bound");
/// Speaking HTTP itself, tavio gives a call the time-out the tool would have had.
constexpr std::chrono::seconds kFetchTimeout{kFetchTimeoutSeconds};

int g_cached_port = -1;

// Headers and bodies are never empty: an empty text fails the call before anything runs.
bool write_request_file(TempFile& file, const char* text) {
  return text != nullptr && text[0] != '\0' && file.write(text);
}

// The header file of the run's calls. It is written when a call needs other header lines than
// it holds (reads and posts differ) and kept for the calls after it: most runs write it once.
// It goes with the process, or with api_end_run.
struct RunHeaderFile {
  std::optional<TempFile> file;
  const char* holds = nullptr;  // kDefaultHeaders or kJsonHeaders
};
RunHeaderFile g_header_file;

const TempFile* header_file_holding(const char* headers) {
  if (g_header_file.holds != headers || !g_header_file.file) {
    g_header_file.holds = nullptr;
    g_header_file.file.emplace(kApiHeaderFormat);
    if (!write_request_file(*g_header_file.file, headers)) {
      g_header_file.file.reset();
      return nullptr;
    }
    g_header_file.holds = headers;
  }
  return &*g_header_file.file;
}

// "wget_https -T 10 [-f BODY] -e HEADERS [-O OUTPUT] URL"; the files left out are null.
Command fetch_command(const TempFile* input, const TempFile& header, const TempFile* output,
                      std::string_view path, std::string_view query) {
  Command command{kFetchTool, {"-T", std::to_string(kFetchTimeoutSeconds)}, kFetchDeadline};
  if (input != nullptr) {
    command.args.insert(command.args.end(), {"-f", input->path().str()});
  }
  command.args.insert(command.args.end(), {"-e", header.path().str()});
  if (output != nullptr) {
    command.args.insert(command.args.end(), {"-O", output->path().str()});
  }
  std::string url = api_base_url(kPathCapacity);
  url.append("/").append(path).append(query);
  command.args.push_back(std::move(url));
  return command;
}

// The reply's "response" when the reply is JSON with one; null otherwise.
JsonPtr response_of(const JsonPtr& root) {
  json_t* response = json_object_get(root.get(), "response");
  return response != nullptr ? json_share(response) : nullptr;
}

// The same call as the tool makes it, sent by tavio itself: the reply's body, or nothing.
std::optional<std::string> http_call(std::string_view path, std::string_view query,
                                     const char* headers, const char* body) {
  if (body != nullptr && body[0] == '\0') {
    return std::nullopt;  // as the tool's empty body file
  }
  const std::string target = std::string("/api/").append(path).append(query);
  const HttpRequest request{body == nullptr ? "GET" : "POST", target, headers,
                            body == nullptr ? "" : body};
  return http_exchange(request, api_port(), kFetchTimeout, /*may_repeat=*/body == nullptr);
}

// Whether a call's reply is read, or the call is only made (its outcome never looked at).
enum class Reply { kRead, kIgnored };

// One call: the reply's "response" when the reply is read and the call succeeded with JSON
// that has one.
JsonPtr fetch(std::string_view path, std::string_view query, const char* headers, const char* body,
              Reply reply = Reply::kRead) {
  if (kApiOverHttp) {
    const std::optional<std::string> text = http_call(path, query, headers, body);
    return text && reply == Reply::kRead ? response_of(json_load_reply(*text)) : nullptr;
  }
  const TempFile* header = header_file_holding(headers);
  if (header == nullptr) {
    return nullptr;
  }
  std::optional<TempFile> input;
  if (body != nullptr) {
    input.emplace(kApiInputFormat);
    if (!write_request_file(*input, body)) {
      return nullptr;
    }
  }
  std::optional<TempFile> output;
  if (reply == Reply::kRead) {
    output.emplace(kApiResultFormat);
    output->clear_for_command();
  }
  if (!run_command(fetch_command(input ? &*input : nullptr, *header, output ? &*output : nullptr,
                                 path, query)) ||
      !output) {
    return nullptr;
  }
  const std::optional<std::string> text = output->read();
  return text ? response_of(json_load_reply(*text)) : nullptr;
}

}  // namespace

int api_port() {
  if (g_cached_port > 0) {
    return g_cached_port;
  }
  const TaglistPtr settings = load_taglist(kApiPortFile);
  if (settings) {
    const char* value = get_taglist_default_ex(settings.get(), "", "LOCAL_HTTP_PORT");
    if (value[0] != '\0') {
      g_cached_port = clamp_to_int(std::strtol(value, nullptr, 10));
    }
  }
  return g_cached_port > 0 ? g_cached_port : kDefaultPort;
}

std::string api_base_url(std::size_t capacity) {
  return format_text(capacity, "http://127.0.0.1:%d/api", api_port());
}

JsonPtr api_read(std::string_view path, std::string_view query) {
  return kept_or_asked({kApiReplies, std::string(path).append(query)},
                       [&] { return fetch(path, query, kDefaultHeaders, nullptr); });
}

JsonPtr api_post(std::string_view path, const char* body) {
  forget_replies(kApiReplies);  // a change makes what was read before stale
  return body == nullptr ? nullptr : fetch(path, "", kJsonHeaders, body);
}

void api_post_no_reply(std::string_view path, const char* body) {
  forget_replies(kApiReplies);
  if (body != nullptr) {
    static_cast<void>(fetch(path, "", kJsonHeaders, body, Reply::kIgnored));
  }
}

void api_end_run() {
  g_header_file.file.reset();
  g_header_file.holds = nullptr;
  http_close_connection();
}

}  // namespace tavio

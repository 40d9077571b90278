#include "sources/local_api.h"

#include <cstdlib>
#include <new>
#include <optional>
#include <utility>

#include "platform/json_command.h"
#include "platform/numbers.h"
#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "platform/temp_file.h"
#include "platform/text_buffer.h"

namespace tavio {
namespace {

const char* const kDefaultHeaders = "WEB-ADMIN-ACCESS-MODE: RW\n";
const char* const kJsonContentType = "Content-Type: application/json\n";
constexpr int kDefaultPort = 80;
constexpr int kToolTimeoutSeconds = 10;

int g_cached_port = -1;

// The command's router paths carry the root prefix; the command keeps its router capacity
// plus room for the prefixes.
std::size_t command_capacity(int paths) {
  return kLongTextCapacity + root_prefix().size() * static_cast<std::size_t>(paths);
}

// "(wget_https -T 10 [-f BODY] -e HEADERS [-O OUTPUT] URL) > /dev/null 2>&1"; the files left
// out are null.
std::string fetch_command(const TempFile* input, const TempFile& header, const HostPath* output,
                          const char* api_path) {
  const std::string base = api_base_url(kPathCapacity);
  TextBuffer command(command_capacity(1 + (input != nullptr) + (output != nullptr)));
  command.appendf("(wget_https -T %d", kToolTimeoutSeconds);
  if (input != nullptr) {
    command.appendf(" -f %s", input->path().c_str());
  }
  command.appendf(" -e %s", header.path().c_str());
  if (output != nullptr) {
    command.appendf(" -O %s", output->c_str());
  }
  command.appendf(" %s/%s) > /dev/null 2>&1", base.c_str(), api_path);
  return command.str();
}

// Headers and bodies are never empty: an empty text fails the call before anything runs.
bool write_request_file(TempFile& file, const char* text) {
  return text != nullptr && text[0] != '\0' && file.write(text);
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

ApiResultPtr api_request(const char* body, const char* headers, const char* path) {
  if (path == nullptr) {
    return nullptr;
  }
  TempFile header(kApiHeaderFormat);
  if (!write_request_file(header, headers == nullptr ? kDefaultHeaders : headers)) {
    return nullptr;
  }
  std::optional<TempFile> input;
  if (body != nullptr) {
    input.emplace(kApiInputFormat);
    if (!write_request_file(*input, body)) {
      return nullptr;
    }
  }
  JsonPtr root =
      run_json_command(kApiResultFormat, ExitCheck::kRequireZero, [&](const HostPath& output) {
        return fetch_command(input ? &*input : nullptr, header, &output, path);
      });
  json_t* response = json_object_get(root.get(), "response");
  if (response == nullptr) {
    return nullptr;
  }
  return ApiResultPtr(new (std::nothrow) ApiResult{std::move(root), response});
}

void api_result_free(ApiResultPtr result) { result.reset(); }

int api_post_no_reply(const char* path, const char* body) {
  TempFile header(kApiHeaderFormat);
  TempFile input(kApiInputFormat);
  if (!write_request_file(header, api_json_headers().c_str()) || !write_request_file(input, body)) {
    return 0;
  }
  run_shell(fetch_command(&input, header, nullptr, path == nullptr ? "" : path));
  return 1;  // the reply, and so the outcome, is not looked at
}

std::string api_json_headers() {
  return format_text(kLongTextCapacity, "%s%s", kDefaultHeaders, kJsonContentType);
}

}  // namespace tavio

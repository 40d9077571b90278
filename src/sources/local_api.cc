#include "sources/local_api.h"

#include <cstdlib>
#include <new>

#include "platform/numbers.h"
#include "platform/os.h"
#include "platform/router_paths.h"
#include "platform/router_support.h"
#include "platform/text_buffer.h"

namespace tavio {
namespace {

const char* const kDefaultHeaders = "WEB-ADMIN-ACCESS-MODE: RW\n";
const char* const kJsonContentType = "Content-Type: application/json\n";
constexpr int kDefaultPort = 80;
constexpr int kToolTimeoutSeconds = 10;

int g_cached_port = -1;

std::string run_file(const char* format) {
  return format_text(kPathCapacity, format, process_id());
}

// The command's router paths carry the root prefix; the command keeps its router capacity
// plus room for the prefixes.
std::size_t command_capacity(int paths) {
  return kLongTextCapacity + root_prefix().size() * static_cast<std::size_t>(paths);
}

}  // namespace

ApiResult::~ApiResult() {
  for (const std::string* path : {&input_path, &header_path, &result_path}) {
    if (!path->empty()) {
      remove_file(HostPath::system(*path));
    }
  }
}

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

bool write_text_file(const char* path, const char* text) {
  if (path == nullptr || path[0] == '\0' || text == nullptr || text[0] == '\0') {
    return false;
  }
  const FilePtr file = open_file(HostPath::system(path), "w");
  if (!file) {
    return false;
  }
  std::fputs(text, file.get());
  return true;
}

ApiResultPtr api_request(const char* body, const char* headers, const char* path) {
  if (path == nullptr) {
    return nullptr;
  }
  const std::string base = api_base_url(kPathCapacity);
  ApiResultPtr result(new (std::nothrow) ApiResult);
  if (!result) {
    return nullptr;
  }
  result->header_path = run_file(kApiHeaderFormat);
  if (!write_text_file(result->header_path.c_str(),
                       headers == nullptr ? kDefaultHeaders : headers)) {
    return nullptr;
  }
  result->result_path = run_file(kApiResultFormat);
  const std::string header = HostPath::system(result->header_path).str();
  const std::string output = HostPath::system(result->result_path).str();
  std::string command;
  if (body != nullptr) {
    result->input_path = run_file(kApiInputFormat);
    if (!write_text_file(result->input_path.c_str(), body)) {
      return nullptr;
    }
    const std::string input = HostPath::system(result->input_path).str();
    command = format_text(
        command_capacity(3), "(wget_https -T %d -f %s -e %s -O %s %s/%s) > /dev/null 2>&1",
        kToolTimeoutSeconds, input.c_str(), header.c_str(), output.c_str(), base.c_str(), path);
  } else {
    command =
        format_text(command_capacity(2), "(wget_https -T %d -e %s -O %s %s/%s) > /dev/null 2>&1",
                    kToolTimeoutSeconds, header.c_str(), output.c_str(), base.c_str(), path);
  }
  if (run_shell(command) != 0) {
    return nullptr;
  }
  result->root = load_json_file(HostPath::system(result->result_path));
  if (!result->root) {
    return nullptr;
  }
  result->response = json_object_get(result->root.get(), "response");
  if (result->response == nullptr) {
    return nullptr;
  }
  return result;
}

void api_result_free(ApiResultPtr result) { result.reset(); }

int api_post_no_reply(const char* path, const char* body) {
  const std::string base = api_base_url(kPathCapacity);
  const std::string header_path = run_file(kApiHeaderFormat);
  const std::string input_path = run_file(kApiInputFormat);
  if (!write_text_file(header_path.c_str(), api_json_headers().c_str())) {
    return 0;
  }
  const HostPath header = HostPath::system(header_path);
  const HostPath input = HostPath::system(input_path);
  if (!write_text_file(input_path.c_str(), body)) {
    remove_file(header);
    return 0;
  }
  const std::string command =
      format_text(command_capacity(2), "(wget_https -T %d -f %s -e %s %s/%s) > /dev/null 2>&1",
                  kToolTimeoutSeconds, input.c_str(), header.c_str(), base.c_str(),
                  path == nullptr ? "" : path);
  run_shell(command);  // the reply, and so the outcome, is not looked at
  remove_file(header);
  remove_file(input);
  return 1;
}

std::string api_json_headers() {
  return format_text(kLongTextCapacity, "%s%s", kDefaultHeaders, kJsonContentType);
}

}  // namespace tavio

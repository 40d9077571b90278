#include "app/request_exchange.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "handlers/menu_request.h"
#include "handlers/value_read.h"
#include "handlers/value_write.h"
#include "platform/os.h"
#include "protocol/json_get.h"
#include "protocol/json_read.h"
#include "protocol/json_text.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

// The document written last, kept until the process ends: the system takes the whole
// process's memory back at once, cheaper than freeing a large menu node by node.
json_t* g_written_document = nullptr;

void keep_until_exit(JsonPtr document) {
  json_decref(g_written_document);  // one run writes one document; a test harness, many
  g_written_document = document.release();
}

struct RequestType {
  const char* name;
  JsonPtr (*answer)(const json_t* req, const Exchange& exchange);
};

// Matched exactly, in this order.
const RequestType kRequestTypes[] = {
    {"menuReq", handle_menu_request},
    {"valueRead", handle_value_read},
    {"valueWrite", handle_value_write},
};

// Writes the response whole under a new name and renames it over the old one: the display
// process reads the old response or the new one, never part of one, even when tavio is killed
// mid-write or the file system is full.
bool write_response(const json_t* document, const char* output_path) {
  const std::optional<std::string> text = json_compact_text(document);
  return text && response_size_allowed(*text) &&
         replace_file_atomically(HostPath::as_given(output_path), *text);
}

// The request document; nothing when it is missing, larger than a request can be, or not JSON.
JsonPtr load_request(const char* input_path) {
  const std::optional<std::string> text =
      read_file_limited(HostPath::as_given(input_path), kMaxRequestBytes);
  if (!text) {
    return nullptr;
  }
  return json_read(*text);
}

void report_written(bool written, const char* output_path) {
  if (written) {
    std::printf("\nSuccess to generate output file %s\n", output_path);
  } else {
    std::printf("\nFail to generate output file %s !\n", output_path);
  }
}

}  // namespace

JsonPtr dispatch_request(const json_t* request, const Exchange& exchange) {
  const json_t* req = json_object_get(request, "req");
  if (req == nullptr) {
    std::puts("Error: No req obj");
    return nullptr;
  }
  const char* type = jget_string(request, "type", "");
  if (type[0] == '\0') {
    std::puts("Error: No type variable");
    return nullptr;
  }
  for (const RequestType& known : kRequestTypes) {
    if (std::strcmp(type, known.name) == 0) {
      return known.answer(req, exchange);
    }
  }
  return nullptr;
}

void run_request_file(const char* input_path, const char* output_path, const Exchange& exchange) {
  const JsonPtr request = load_request(input_path);
  if (!request) {
    std::printf("Error: Input file \"%s\" is not a valid JSON file!\n", input_path);
    return;
  }
  JsonPtr response = dispatch_request(request.get(), exchange);
  if (!response) {
    std::puts("Error: Cannot create valid output JSON!");
    return;
  }
  const bool written = write_response(response.get(), output_path);
  report_written(written, output_path);
  keep_until_exit(std::move(response));
}

void run_menu_update(const char* output_path, const Exchange& exchange, const char* text) {
  JsonPtr document = build_menu_update(exchange, text);
  if (!document) {
    std::puts("Error: Cannot create valid output JSON!");
    return;
  }
  report_written(write_response(document.get(), output_path), output_path);
  keep_until_exit(std::move(document));
}

}  // namespace tavio

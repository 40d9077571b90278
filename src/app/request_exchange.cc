#include "app/request_exchange.h"

#include <cstdio>
#include <cstring>

#include "platform/json_get.h"
#include "handlers/menu_request.h"
#include "handlers/value_read.h"
#include "handlers/value_write.h"
#include "menus/display_prefs.h"
#include "platform/os.h"

namespace tavio {
namespace {

// Responses go out compact: no indentation, no key sorting, no ASCII escaping.
constexpr std::size_t kResponseFlags = JSON_COMPACT;

struct RequestContext {
  const char* serial;
  int access_state;
  int panel_type;
  int theme_mode;
};

JsonPtr answer_menu(const json_t* req, const RequestContext& ctx) {
  return handle_menu_request(req, ctx.serial, ctx.access_state, ctx.panel_type, ctx.theme_mode);
}

JsonPtr answer_value_read(const json_t* req, const RequestContext& ctx) {
  // A read keeps the alternative theme only when the panel's saved theme agrees.
  return handle_value_read(req, ctx.serial, value_read_theme_mode(ctx.serial, ctx.theme_mode));
}

JsonPtr answer_value_write(const json_t* req, const RequestContext& ctx) {
  return handle_value_write(req, ctx.serial);
}

struct RequestType {
  const char* name;
  JsonPtr (*answer)(const json_t* req, const RequestContext& ctx);
};

// Matched exactly, in this order.
const RequestType kRequestTypes[] = {
    {"menuReq", answer_menu},
    {"valueRead", answer_value_read},
    {"valueWrite", answer_value_write},
};

// Removes the old response, then writes the new one fresh.
bool write_response(const json_t* document, const char* output_path) {
  const HostPath output = HostPath::as_given(output_path);
  remove_file(output);
  return dump_json_file(document, output, kResponseFlags);
}

void report_written(bool written, const char* output_path) {
  if (written) {
    std::printf("\nSuccess to generate output file %s\n", output_path);
  } else {
    std::printf("\nFail to generate output file %s !\n", output_path);
  }
}

}  // namespace

JsonPtr dispatch_request(const json_t* request, const char* serial, int access_state,
                         int panel_type, int theme_mode) {
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
  const RequestContext ctx{serial, access_state, panel_type, theme_mode};
  for (const RequestType& known : kRequestTypes) {
    if (std::strcmp(type, known.name) == 0) {
      return known.answer(req, ctx);
    }
  }
  return nullptr;
}

int run_request_file(const char* input_path, const char* output_path, const char* serial,
                     int access_state, int panel_type, int theme_mode) {
  const JsonPtr request = load_json_file(HostPath::as_given(input_path));
  if (!request) {
    std::printf("Error: Input file \"%s\" is not a valid JSON file!\n", input_path);
    return 0;
  }
  const JsonPtr response =
      dispatch_request(request.get(), serial, access_state, panel_type, theme_mode);
  if (!response) {
    std::puts("Error: Cannot create valid output JSON!");
    return 0;
  }
  const bool written = write_response(response.get(), output_path);
  report_written(written, output_path);
  return written ? 1 : 0;
}

int run_menu_update(const char* output_path, const char* serial, int access_state, int panel_type,
                    const char* text, int theme_mode) {
  const JsonPtr document = build_menu_update(serial, access_state, panel_type, text, theme_mode);
  if (!document) {
    std::puts("Error: Cannot create valid output JSON!");
    return 0;
  }
  report_written(write_response(document.get(), output_path), output_path);
  return 1;
}

}  // namespace tavio

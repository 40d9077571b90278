#include "protocol/json_text.h"

#include <cinttypes>
#include <cstdio>

#include "tavio/json_ref.h"

namespace tavio {
namespace {

// The example router's largest menu takes about 8 kilobytes: one reservation holds it.
constexpr std::size_t kInitialCapacity = std::size_t{16} * 1024;

void append_escaped(std::string& out, const char* text, std::size_t length) {
  out += '"';
  std::size_t run = 0;  // start of the stretch copied as it is
  for (std::size_t i = 0; i < length; ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    // Bytes of multi-byte characters are all 0x80 and above: only single bytes need escapes.
    if (c >= 0x20 && c != '"' && c != '\\') {
      continue;
    }
    out.append(text + run, i - run);
    run = i + 1;
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default: {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(c));
        out += escape;
        break;
      }
    }
  }
  out.append(text + run, length - run);
  out += '"';
}

bool append_value(std::string& out, const json_t* value) {
  switch (json_typeof(value)) {
    case JSON_OBJECT: {
      out += '{';
      bool first = true;
      for (void* iter = json_object_iter(const_cast<json_t*>(value)); iter != nullptr;
           iter = json_object_iter_next(const_cast<json_t*>(value), iter)) {
        if (!first) {
          out += ',';
        }
        first = false;
        const char* key = json_object_iter_key(iter);
        append_escaped(out, key, json_object_iter_key_len(iter));
        out += ':';
        if (!append_value(out, json_object_iter_value(iter))) {
          return false;
        }
      }
      out += '}';
      return true;
    }
    case JSON_ARRAY: {
      out += '[';
      const std::size_t size = json_array_size(value);
      for (std::size_t i = 0; i < size; ++i) {
        if (i > 0) {
          out += ',';
        }
        if (!append_value(out, json_array_get(value, i))) {
          return false;
        }
      }
      out += ']';
      return true;
    }
    case JSON_STRING:
      append_escaped(out, json_string_value(value), json_string_length(value));
      return true;
    case JSON_INTEGER: {
      char number[32];
      const int size =
          std::snprintf(number, sizeof number, "%" JSON_INTEGER_FORMAT, json_integer_value(value));
      out.append(number, static_cast<std::size_t>(size));
      return true;
    }
    case JSON_REAL: {
      // Rare in tavio's documents: written by Jansson, so the bytes are its own.
      const JsonText text(json_dumps(value, JSON_ENCODE_ANY | JSON_COMPACT));
      if (!text) {
        return false;
      }
      out += text.get();
      return true;
    }
    case JSON_TRUE:
      out += "true";
      return true;
    case JSON_FALSE:
      out += "false";
      return true;
    case JSON_NULL:
      out += "null";
      return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> json_compact_text(const json_t* document) {
  if (!json_is_object(document) && !json_is_array(document)) {
    return std::nullopt;
  }
  std::string out;
  out.reserve(kInitialCapacity);
  if (!append_value(out, document)) {
    return std::nullopt;
  }
  return out;
}

}  // namespace tavio

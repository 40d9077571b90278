#include "protocol/json_text.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "tavio/json_ref.h"

namespace tavio {
namespace {

// The example router's largest menu takes about 8 kilobytes: one reservation holds it.
constexpr std::size_t kInitialCapacity = std::size_t{16} * 1024;
constexpr std::size_t kRoomStep = 1024;

// The document's text as it grows. Bytes go straight into room made ahead, a string's whole
// written length at once, so the writer checks for room once per value rather than per byte.
// Room is made a kilobyte at a time within one reservation: the string's bytes are set before
// they are written, and only as many as the document needs.
class TextSink {
 public:
  TextSink() { text_.reserve(kInitialCapacity); }

  // At least size bytes at the write position.
  char* room(std::size_t size) {
    if (text_.size() - used_ < size) {
      text_.resize(used_ + std::max(size, kRoomStep));
    }
    return &text_[used_];
  }
  void advance_to(const char* end) { used_ = static_cast<std::size_t>(end - text_.data()); }
  void put(char c) {
    *room(1) = c;
    ++used_;
  }
  void put(std::string_view bytes) {
    std::memcpy(room(bytes.size()), bytes.data(), bytes.size());
    used_ += bytes.size();
  }
  std::string finish() && {
    text_.resize(used_);
    return std::move(text_);
  }

 private:
  std::string text_;
  std::size_t used_ = 0;
};

// How many bytes of a string's text each byte takes: the quote, the backslash and the control
// bytes with a letter of their own take 2, the other control bytes 6 (a "u" escape with four
// hex digits), the rest 1 (bytes of multi-byte characters are all 0x80 and above and go as
// they are).
struct WrittenLengths {
  unsigned char of[256] = {};
  constexpr WrittenLengths() {
    for (int byte = 0; byte < 256; ++byte) {
      of[byte] = byte < 0x20 ? 6 : 1;
    }
    for (const char c : {'"', '\\', '\b', '\f', '\n', '\r', '\t'}) {
      of[static_cast<unsigned char>(c)] = 2;
    }
  }
};
constexpr WrittenLengths kWritten;

char* put_escape(char* at, unsigned char c) {
  *at++ = '\\';
  switch (c) {
    case '"':
    case '\\':
      *at++ = static_cast<char>(c);
      return at;
    case '\b':
      *at++ = 'b';
      return at;
    case '\f':
      *at++ = 'f';
      return at;
    case '\n':
      *at++ = 'n';
      return at;
    case '\r':
      *at++ = 'r';
      return at;
    case '\t':
      *at++ = 't';
      return at;
    default: {
      constexpr char kHex[] = "0123456789ABCDEF";
      *at++ = 'u';
      *at++ = '0';
      *at++ = '0';
      *at++ = kHex[c >> 4];
      *at++ = kHex[c & 0xF];
      return at;
    }
  }
}

void put_string(TextSink& out, const char* text, std::size_t length) {
  std::size_t size = 2;  // the quotes
  for (std::size_t i = 0; i < length; ++i) {
    size += kWritten.of[static_cast<unsigned char>(text[i])];
  }
  char* at = out.room(size);
  *at++ = '"';
  std::size_t run = 0;       // start of the stretch copied as it is
  if (size != length + 2) {  // something to escape
    for (std::size_t i = 0; i < length; ++i) {
      const auto c = static_cast<unsigned char>(text[i]);
      if (kWritten.of[c] != 1) {
        std::memcpy(at, text + run, i - run);
        at = put_escape(at + (i - run), c);
        run = i + 1;
      }
    }
  }
  std::memcpy(at, text + run, length - run);
  at += length - run;
  *at++ = '"';
  out.advance_to(at);
}

void put_integer(TextSink& out, json_int_t value) {
  char digits[24];
  char* first = std::end(digits);
  // The magnitude as unsigned, so the most negative value has one too.
  auto magnitude = static_cast<unsigned long long>(value);
  if (value < 0) {
    magnitude = 0 - magnitude;
  }
  do {
    *--first = static_cast<char>('0' + magnitude % 10);
    magnitude /= 10;
  } while (magnitude != 0);
  if (value < 0) {
    *--first = '-';
  }
  out.put(std::string_view(first, static_cast<std::size_t>(std::end(digits) - first)));
}

bool put_value(TextSink& out, const json_t* value) {
  switch (json_typeof(value)) {
    case JSON_OBJECT: {
      out.put('{');
      bool first = true;
      for (void* iter = json_object_iter(const_cast<json_t*>(value)); iter != nullptr;
           iter = json_object_iter_next(const_cast<json_t*>(value), iter)) {
        if (!first) {
          out.put(',');
        }
        first = false;
        put_string(out, json_object_iter_key(iter), json_object_iter_key_len(iter));
        out.put(':');
        if (!put_value(out, json_object_iter_value(iter))) {
          return false;
        }
      }
      out.put('}');
      return true;
    }
    case JSON_ARRAY: {
      out.put('[');
      const std::size_t size = json_array_size(value);
      for (std::size_t i = 0; i < size; ++i) {
        if (i > 0) {
          out.put(',');
        }
        if (!put_value(out, json_array_get(value, i))) {
          return false;
        }
      }
      out.put(']');
      return true;
    }
    case JSON_STRING:
      put_string(out, json_string_value(value), json_string_length(value));
      return true;
    case JSON_INTEGER:
      put_integer(out, json_integer_value(value));
      return true;
    case JSON_REAL: {
      // Rare in tavio's documents: written by Jansson, so the bytes are its own.
      const JsonText text(json_dumps(value, JSON_ENCODE_ANY | JSON_COMPACT));
      if (!text) {
        return false;
      }
      out.put(text.get());
      return true;
    }
    case JSON_TRUE:
      out.put("true");
      return true;
    case JSON_FALSE:
      out.put("false");
      return true;
    case JSON_NULL:
      out.put("null");
      return true;
  }
  return false;
}

}  // namespace

std::optional<std::string> json_compact_text(const json_t* document) {
  if (!json_is_object(document) && !json_is_array(document)) {
    return std::nullopt;
  }
  TextSink out;
  if (!put_value(out, document)) {
    return std::nullopt;
  }
  return std::move(out).finish();
}

}  // namespace tavio

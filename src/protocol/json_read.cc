#include "protocol/json_read.h"

#include <jansson.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "text/numbers.h"
#include "text/utf8.h"

namespace tavio {
namespace {

// Jansson's reader refuses deeper documents; so does this one, before the stack would.
constexpr int kMostDepth = 2048;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

void append_utf8(std::string& out, std::uint32_t code_point) {
  if (code_point < 0x80) {
    out += static_cast<char>(code_point);
  } else if (code_point < 0x800) {
    out += static_cast<char>(0xC0 | (code_point >> 6));
    out += static_cast<char>(0x80 | (code_point & 0x3F));
  } else if (code_point < 0x10000) {
    out += static_cast<char>(0xE0 | (code_point >> 12));
    out += static_cast<char>(0x80 | ((code_point >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code_point & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code_point >> 18));
    out += static_cast<char>(0x80 | ((code_point >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code_point >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code_point & 0x3F));
  }
}

class Reader {
 public:
  explicit Reader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  JsonPtr document() {
    skip_space();
    if (at_ == end_ || (*at_ != '{' && *at_ != '[')) {
      return nullptr;
    }
    JsonPtr value = value_at(0);
    skip_space();
    return at_ == end_ ? std::move(value) : nullptr;
  }

 private:
  const char* at_;
  const char* end_;
  std::string decoded_;  // the last string that held escapes

  void skip_space() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\t' || *at_ == '\n' || *at_ == '\r')) {
      ++at_;
    }
  }

  // Past white space, the character c, taken when it is there.
  bool take(char c) {
    skip_space();
    if (at_ != end_ && *at_ == c) {
      ++at_;
      return true;
    }
    return false;
  }

  JsonPtr value_at(int depth) {
    if (++depth > kMostDepth) {
      return nullptr;
    }
    skip_space();
    if (at_ == end_) {
      return nullptr;
    }
    switch (*at_) {
      case '{':
        ++at_;
        return object_at(depth);
      case '[':
        ++at_;
        return array_at(depth);
      case '"': {
        ++at_;
        std::string_view text;
        return string_at(text) ? json_own(json_stringn_nocheck(text.data(), text.size())) : nullptr;
      }
      case 't':
        return word("true") ? json_own(json_true()) : nullptr;
      case 'f':
        return word("false") ? json_own(json_false()) : nullptr;
      case 'n':
        return word("null") ? json_own(json_null()) : nullptr;
      default:
        return number_at();
    }
  }

  // Jansson's reader takes the byte after a number or a word back, and a NUL taken back is
  // lost: one NUL right after such a token is passed over, as there.
  void pass_nul_after_token() {
    if (at_ != end_ && *at_ == '\0') {
      ++at_;
    }
  }

  bool word(std::string_view expected) {
    if (static_cast<std::size_t>(end_ - at_) < expected.size() ||
        std::string_view(at_, expected.size()) != expected) {
      return false;
    }
    at_ += expected.size();
    pass_nul_after_token();
    return true;
  }

  JsonPtr object_at(int depth) {
    JsonPtr object = json_own(json_object());
    if (!object || take('}')) {
      return object;
    }
    std::string escaped_key;
    do {
      std::string_view key;
      if (!take('"') || !string_at(key)) {
        return nullptr;
      }
      if (key.data() == decoded_.data()) {
        key = escaped_key.assign(key);  // the value's own strings reuse decoded_
      }
      if (!take(':')) {
        return nullptr;
      }
      JsonPtr value = value_at(depth);
      if (!value || json_object_setn_new_nocheck(object.get(), key.data(), key.size(),
                                                 value.release()) != 0) {
        return nullptr;
      }
    } while (take(','));
    return take('}') ? std::move(object) : nullptr;
  }

  JsonPtr array_at(int depth) {
    JsonPtr array = json_own(json_array());
    if (!array || take(']')) {
      return array;
    }
    do {
      JsonPtr value = value_at(depth);
      if (!value || json_array_append_new(array.get(), value.release()) != 0) {
        return nullptr;
      }
    } while (take(','));
    return take(']') ? std::move(array) : nullptr;
  }

  // After the opening quote: the string's text, in the document when it holds no escape, else
  // in decoded_. False for a control character, a bad escape, a \u0000 or bytes that are not
  // UTF-8.
  bool string_at(std::string_view& text) {
    const char* start = at_;
    bool beyond_ascii = false;
    for (; at_ != end_; ++at_) {
      const auto c = static_cast<unsigned char>(*at_);
      if (c == '"') {
        text = std::string_view(start, static_cast<std::size_t>(at_ - start));
        ++at_;
        return !beyond_ascii || utf8_well_formed(text);
      }
      if (c == '\\') {
        decoded_.assign(start, at_);
        return escaped_string_at(text);
      }
      if (c < 0x20) {
        return false;
      }
      beyond_ascii = beyond_ascii || c >= 0x80;
    }
    return false;
  }

  bool escaped_string_at(std::string_view& text) {
    while (at_ != end_) {
      const char c = *at_++;
      if (c == '"') {
        text = decoded_;
        return utf8_well_formed(text);
      }
      if (static_cast<unsigned char>(c) < 0x20) {
        return false;
      }
      if (c != '\\') {
        decoded_ += c;
        continue;
      }
      if (at_ == end_) {
        return false;
      }
      switch (*at_++) {
        case '"':
          decoded_ += '"';
          break;
        case '\\':
          decoded_ += '\\';
          break;
        case '/':
          decoded_ += '/';
          break;
        case 'b':
          decoded_ += '\b';
          break;
        case 'f':
          decoded_ += '\f';
          break;
        case 'n':
          decoded_ += '\n';
          break;
        case 'r':
          decoded_ += '\r';
          break;
        case 't':
          decoded_ += '\t';
          break;
        case 'u': {
          std::uint32_t code_point = 0;
          if (!code_point_at(code_point)) {
            return false;
          }
          append_utf8(decoded_, code_point);
          break;
        }
        default:
          return false;
      }
    }
    return false;
  }

  bool hex4_at(std::uint32_t& value) {
    if (end_ - at_ < 4) {
      return false;
    }
    value = 0;
    for (int i = 0; i < 4; ++i) {
      const int digit = hex_digit_value(*at_++);
      if (digit < 0) {
        return false;
      }
      value = value * 16 + static_cast<std::uint32_t>(digit);
    }
    return true;
  }

  // After "\u": one code point; a high surrogate must be followed by "\u" and a low one.
  bool code_point_at(std::uint32_t& code_point) {
    if (!hex4_at(code_point)) {
      return false;
    }
    if (code_point >= 0xD800 && code_point <= 0xDBFF) {
      std::uint32_t low = 0;
      if (end_ - at_ < 2 || at_[0] != '\\' || at_[1] != 'u') {
        return false;
      }
      at_ += 2;
      if (!hex4_at(low) || low < 0xDC00 || low > 0xDFFF) {
        return false;
      }
      code_point = 0x10000 + ((code_point - 0xD800) << 10) + (low - 0xDC00);
    } else if (code_point >= 0xDC00 && code_point <= 0xDFFF) {
      return false;
    }
    return code_point != 0;
  }

  void skip_digits() {
    while (at_ != end_ && is_digit(*at_)) {
      ++at_;
    }
  }

  // A number as JSON writes it: an integer when it has neither fraction nor exponent.
  JsonPtr number_at() {
    const char* start = at_;
    if (at_ != end_ && *at_ == '-') {
      ++at_;
    }
    if (at_ == end_ || !is_digit(*at_)) {
      return nullptr;
    }
    // A leading 0 stands alone: a digit after it is left over, and nothing takes a digit there.
    if (*at_ == '0') {
      ++at_;
    } else {
      skip_digits();
    }
    bool real = false;
    if (at_ != end_ && *at_ == '.') {
      ++at_;
      if (at_ == end_ || !is_digit(*at_)) {
        return nullptr;
      }
      skip_digits();
      real = true;
    }
    if (at_ != end_ && (*at_ == 'e' || *at_ == 'E')) {
      ++at_;
      if (at_ != end_ && (*at_ == '+' || *at_ == '-')) {
        ++at_;
      }
      if (at_ == end_ || !is_digit(*at_)) {
        return nullptr;
      }
      skip_digits();
      real = true;
    }
    const std::string number(start, at_);  // most are short enough to need no allocation
    pass_nul_after_token();
    errno = 0;
    if (!real) {
      const long long integer = std::strtoll(number.c_str(), nullptr, 10);
      return errno == ERANGE ? nullptr : json_own(json_integer(integer));
    }
    const double value = std::strtod(number.c_str(), nullptr);
    if (errno == ERANGE && std::isinf(value)) {
      return nullptr;
    }
    return json_own(json_real(value));
  }
};

}  // namespace

JsonPtr json_read(std::string_view text) { return Reader(text).document(); }

}  // namespace tavio

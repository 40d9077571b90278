#include "text/text_buffer.h"

#include <cstdarg>
#include <cstdio>

#include "text/utf8.h"

namespace tavio {
namespace {

// Formats into a std::string of any length; the caller cuts it.
std::string vformat(const char* format, va_list args) {
  char small[256];
  va_list again;
  va_copy(again, args);
  const int needed = std::vsnprintf(small, sizeof small, format, args);
  std::string out;
  if (needed < 0) {
    va_end(again);
    return out;
  }
  if (static_cast<std::size_t>(needed) < sizeof small) {
    out.assign(small, static_cast<std::size_t>(needed));
  } else {
    out.resize(static_cast<std::size_t>(needed) + 1);
    std::vsnprintf(&out[0], out.size(), format, again);
    out.resize(static_cast<std::size_t>(needed));
  }
  va_end(again);
  return out;
}

}  // namespace

bool TextBuffer::append(std::string_view text) {
  const std::size_t room = capacity_ == 0 ? 0 : capacity_ - 1 - length_;
  const Utf8Prefix kept = utf8_prefix(text, room);
  text_.append(text.substr(0, kept.size));
  length_ += kept.length;
  if (kept.size == text.size()) {
    return true;
  }
  cut_ = true;
  return false;
}

bool TextBuffer::appendf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const std::string piece = vformat(format, args);
  va_end(args);
  return append(piece);
}

std::string format_text(std::size_t capacity, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string out = vformat(format, args);
  va_end(args);
  return cut_text(out, capacity);
}

std::string cut_text(std::string_view text, std::size_t capacity) {
  const std::size_t keep = capacity == 0 ? 0 : capacity - 1;
  return std::string(text.substr(0, utf8_prefix(text, keep).size));
}

}  // namespace tavio

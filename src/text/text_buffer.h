// Texts of fixed capacity.
//
// The panel protocol's texts have fixed sizes: a serial fits 16, paths 64, panel texts 256 or
// 512, each with room for a terminator. Whatever does not fit is cut at the
// end and everything appended after that is dropped, so the panel always sees the same cut.
// TextBuffer and cut_text are the one place that cuts. The capacities the modules name beside
// their texts (a figure's 64, a title's 64) are such cuts too: each is visible on the panel,
// which is why each stays.
//
// A capacity counts characters, not bytes: the panel shows up to 255 characters of a text
// whatever its letters, and a cut falls between two characters, never inside one (see
// text/utf8.h for how bytes that are not UTF-8 are counted). For the ASCII texts the
// router's own interfaces take (paths, identifiers, command lines) a character is a byte, so
// these cut exactly where a C buffer of that size would; where a byte bound matters beyond
// that (a tool's command line) it is checked in bytes apart.
#ifndef TAVIO_TEXT_TEXT_BUFFER_H
#define TAVIO_TEXT_TEXT_BUFFER_H

#include <cstddef>
#include <string>
#include <string_view>

namespace tavio {

/// Buffer sizes of the router's C interfaces, terminator included.
constexpr std::size_t kPathCapacity = 64;       ///< run-directory and configuration paths
constexpr std::size_t kTextCapacity = 256;      ///< panel texts and command-line options
constexpr std::size_t kLongTextCapacity = 512;  ///< multi-line panel texts and API post bodies
constexpr std::size_t kSerialCapacity = 16;     ///< a panel serial: 15 characters
constexpr std::size_t kItemIdCapacity = 64;     ///< item identifiers the menus hand out
/// The largest request document read: a panel's longest list of identifiers takes a few
/// kilobytes; anything larger is refused as not a valid request, so memory stays bounded.
constexpr std::size_t kMaxRequestBytes = std::size_t{64} * 1024;
/// The largest reply of a tool that is loaded; the router's largest API replies take some
/// tens of kilobytes.
constexpr std::size_t kMaxReplyBytes = std::size_t{1024} * 1024;
/// The largest text buffer of all; nothing longer ever reaches the panel.
constexpr std::size_t kMaxTextCapacity = 4096;

/// Text that holds at most capacity - 1 characters; appends past the end are cut between two
/// characters.
class TextBuffer {
 public:
  explicit TextBuffer(std::size_t capacity) : capacity_(capacity) {}

  /// Appends as much of text as fits; false when anything was cut.
  bool append(std::string_view text);
  /// Appends printf-formatted text as far as it fits; false when anything was cut.
  bool appendf(const char* format, ...) __attribute__((format(printf, 2, 3)));

  [[nodiscard]] const std::string& str() const { return text_; }
  [[nodiscard]] const char* c_str() const { return text_.c_str(); }
  [[nodiscard]] bool empty() const { return text_.empty(); }
  /// The text's size in bytes.
  [[nodiscard]] std::size_t size() const { return text_.size(); }
  /// True once any append has been cut.
  [[nodiscard]] bool cut() const { return cut_; }
  void clear() {
    text_.clear();
    length_ = 0;
    cut_ = false;
  }

 private:
  std::size_t capacity_;
  std::string text_;
  std::size_t length_ = 0;  // characters in text_
  bool cut_ = false;
};

/// printf-formatted text cut to capacity - 1 characters, like snprintf into a buffer of as many
/// characters.
[[nodiscard]] std::string format_text(std::size_t capacity, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// text cut to capacity - 1 characters, between two characters.
[[nodiscard]] std::string cut_text(std::string_view text, std::size_t capacity);

}  // namespace tavio

#endif

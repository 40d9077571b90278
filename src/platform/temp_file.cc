#include "platform/temp_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/text_buffer.h"

namespace tavio {
namespace {

// Request headers and bodies can carry sign-in data; only tavio and the tools it starts, which
// run as the same user, read them.
constexpr mode_t kTempFileMode = 0600;

bool write_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(fd, text.data(), text.size());
    if (written < 0 && errno == EINTR) {
      continue;
    }
    if (written <= 0) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

TempFile::TempFile(const char* format)
    : path_(HostPath::system(format_text(kPathCapacity, format, process_id()))) {}

TempFile::~TempFile() { remove_file(path_); }

bool TempFile::write(std::string_view text) {
  remove_file(path_);
  const int fd =
      ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kTempFileMode);
  if (fd < 0) {
    return false;
  }
  const bool written = write_all(fd, text);
  return (::close(fd) == 0) && written;
}

void TempFile::clear_for_command() { remove_file(path_); }

JsonPtr TempFile::load_json() const {
  const std::optional<std::string> text =
      read_file_limited(path_, kMaxReplyBytes, /*follow_links=*/false);
  if (!text) {
    return nullptr;
  }
  return json_own(json_loadb(text->data(), text->size(), 0, nullptr));
}

}  // namespace tavio

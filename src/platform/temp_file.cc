#include "platform/temp_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "platform/router_paths.h"
#include "text/text_buffer.h"

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

// The names this program gives its temporary files, "%d" the process id.
const char* const kTempFileFormats[] = {kApiHeaderFormat, kApiInputFormat, kApiResultFormat};

// The process id a temporary file's name carries; 0 when the name is not one tavio forms.
long temp_file_owner(const char* name) {
  for (const char* format : kTempFileFormats) {
    const std::string_view base = std::strrchr(format, '/') + 1;
    const std::size_t number = base.find("%d");
    if (std::strncmp(name, base.data(), number) == 0) {
      const std::string ending(base.substr(number + 2));
      if (const long pid = pid_in_name(name + number, ending.c_str())) {
        return pid;
      }
    }
  }
  return 0;
}

}  // namespace

void sweep_abandoned_temp_files() {
  remove_abandoned_files(HostPath::system(kRunDirectory), temp_file_owner);
}

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

std::optional<std::string> TempFile::read() const {
  return read_file_limited(path_, kMaxReplyBytes, /*follow_links=*/false);
}

}  // namespace tavio

#include "platform/temp_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/json_get.h"
#include "platform/router_paths.h"
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

// Names of temporary files, each followed by a process id and an ending: this program's own,
// and the device answers that the router's earlier panel back ends kept in files.
const char* const kTempFilePrefixes[] = {
    "wget_ext_hdr_", "wget_input_",         "wget_result_", "pmu_list_",
    "pmu_info_",     "pmu_iotdevport_set_", "pmu_status_",  "extpower_status_",
};

// The process id a temporary file's name carries; 0 when the name is not a temporary file's.
long temp_file_owner(const char* name) {
  for (const char* prefix : kTempFilePrefixes) {
    const std::size_t length = std::strlen(prefix);
    if (std::strncmp(name, prefix, length) != 0) {
      continue;
    }
    char* end = nullptr;
    const long pid = std::strtol(name + length, &end, 10);
    const bool ending = end != nullptr && end != name + length &&
                        (std::strcmp(end, ".json") == 0 || std::strcmp(end, ".txt") == 0);
    return ending && pid > 0 ? pid : 0;
  }
  return 0;
}

}  // namespace

void sweep_abandoned_temp_files() {
  const HostPath folder = HostPath::system(kRunDirectory);
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) {
    return;
  }
  while (const dirent* entry = ::readdir(dir)) {
    const long pid = temp_file_owner(entry->d_name);
    if (pid > 0 && pid != process_id() && ::kill(static_cast<pid_t>(pid), 0) != 0 &&
        errno == ESRCH) {
      ::unlink((folder.str() + "/" + entry->d_name).c_str());
    }
  }
  ::closedir(dir);
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

JsonPtr TempFile::load_json() const {
  const std::optional<std::string> text =
      read_file_limited(path_, kMaxReplyBytes, /*follow_links=*/false);
  if (!text) {
    return nullptr;
  }
  return json_load_reply(*text);
}

}  // namespace tavio

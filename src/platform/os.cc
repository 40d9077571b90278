#include "platform/os.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tavio {
namespace {

std::string& root_storage() {
  static std::string root;
  return root;
}

#ifdef TAVIO_ROOT_OVERRIDE
bool root_char_allowed(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' ||
         c == '.' || c == '_' || c == '-';
}
#endif

}  // namespace

std::optional<std::string> root_check() {
#ifdef TAVIO_ROOT_OVERRIDE
  const char* root = std::getenv("TAVIO_ROOT");
  if (root == nullptr || root[0] == '\0') {
    return std::nullopt;
  }
  // The root is part of every router path tavio opens or hands to a tool: plain path
  // characters only.
  for (const char* c = root; *c != '\0'; ++c) {
    if (!root_char_allowed(*c)) {
      return std::string("Error: TAVIO_ROOT may only hold letters, digits and / . _ -");
    }
  }
  if (root[0] != '/') {
    return std::string("Error: TAVIO_ROOT must be an absolute path");
  }
  root_storage() = root;
#endif
  return std::nullopt;
}

const std::string& root_prefix() { return root_storage(); }

HostPath HostPath::system(std::string_view router_path) {
  std::string full = root_storage();
  full.append(router_path);
  return HostPath(std::move(full));
}

HostPath HostPath::as_given(std::string_view path) { return HostPath(std::string(path)); }

FilePtr open_file(const HostPath& path, const char* mode) {
  return FilePtr(std::fopen(path.c_str(), mode));
}

bool remove_file(const HostPath& path) { return ::unlink(path.c_str()) == 0; }

namespace {

constexpr char kSaveSuffix[] = ".tavio-save.";

// Removes what earlier runs left of their saves of final_path: a run killed mid-save leaves
// "<file>.tavio-save.<pid>"; once that process is gone nobody else will finish it.
void remove_abandoned_saves(const std::string& final_path) {
  const std::size_t slash = final_path.rfind('/');
  const std::string folder = slash == std::string::npos ? "." : final_path.substr(0, slash);
  const std::string prefix =
      final_path.substr(slash == std::string::npos ? 0 : slash + 1) + kSaveSuffix;
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) {
    return;
  }
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name.compare(0, prefix.size(), prefix) != 0) {
      continue;
    }
    char* end = nullptr;
    const long pid = std::strtol(name.c_str() + prefix.size(), &end, 10);
    if (end != nullptr && *end == '\0' && pid > 0 && ::kill(static_cast<pid_t>(pid), 0) != 0 &&
        errno == ESRCH) {
      std::string path = folder;
      path.append("/").append(name);
      ::unlink(path.c_str());
    }
  }
  ::closedir(dir);
}

// Writes all of text to a new file at path, never through a link; false (and no file) when
// it cannot be written whole. A mode is set as it is; without one the umask applies, as for
// any file the program creates.
bool write_new_file(const std::string& path, std::string_view text, std::optional<mode_t> mode) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                        mode.value_or(0666));
  if (fd < 0) {
    return false;
  }
  bool ok = !mode || ::fchmod(fd, *mode) == 0;
  std::size_t written = 0;
  while (ok && written < text.size()) {
    const ssize_t n = ::write(fd, text.data() + written, text.size() - written);
    if (n < 0 && errno == EINTR) {
      continue;
    }
    ok = n > 0;
    written += ok ? static_cast<std::size_t>(n) : 0;
  }
  ok = (::close(fd) == 0) && ok;
  if (!ok) {
    ::unlink(path.c_str());
  }
  return ok;
}

}  // namespace

bool replace_file_atomically(const HostPath& final_path, std::string_view text) {
  remove_abandoned_saves(final_path.str());
  struct stat old {};
  const mode_t mode = ::stat(final_path.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644;
  const std::string temp = final_path.str() + kSaveSuffix + std::to_string(::getpid());
  ::unlink(temp.c_str());  // a leftover of an earlier run that had this process id
  if (!write_new_file(temp, text, mode)) {
    return false;
  }
  if (std::rename(temp.c_str(), final_path.c_str()) != 0) {
    ::unlink(temp.c_str());
    return false;
  }
  return true;
}

bool write_file_whole(const HostPath& path, std::string_view text) {
  return write_new_file(path.str(), text, std::nullopt);
}

std::optional<std::string> read_file_limited(const HostPath& path, std::size_t max_bytes,
                                             bool follow_links) {
  // Opened without blocking: a FIFO placed at the name must not hang the run, and anything
  // but a regular file is no file tavio reads.
  const int fd =
      ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | (follow_links ? 0 : O_NOFOLLOW));
  if (fd < 0) {
    return std::nullopt;
  }
  struct stat info {};
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    ::close(fd);
    return std::nullopt;
  }
  std::string text;
  char buffer[4096];
  ssize_t n = 0;
  while ((n = ::read(fd, buffer, sizeof buffer)) != 0) {
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n < 0 || text.size() + static_cast<std::size_t>(n) > max_bytes) {
      ::close(fd);
      return std::nullopt;
    }
    text.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(fd);
  return text;
}

int process_id() { return static_cast<int>(::getpid()); }

bool is_plain_file(const HostPath& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace tavio

#include "platform/os.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#ifdef __linux__
#include <sys/auxv.h>
#endif
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/command.h"
#include "platform/process_state.h"

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

void remove_file(const HostPath& path) { ::unlink(path.c_str()); }

long pid_in_name(const char* text, const char* ending) {
  // A process id as "%d" prints it: no sign, no leading zero.
  if (*text < '1' || *text > '9') {
    return 0;
  }
  char* end = nullptr;
  errno = 0;
  const long pid = std::strtol(text, &end, 10);
  return errno == 0 && std::strcmp(end, ending) == 0 ? pid : 0;
}

void remove_abandoned_files(const HostPath& folder, long (*owner)(const char* name)) {
  // The folder is opened once, without following a link, and every look and removal is made
  // relative to it: a folder swapped for a link meanwhile cannot lead the removals elsewhere.
  const int dir_fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (dir_fd < 0) {
    return;
  }
  DIR* dir = ::fdopendir(dir_fd);
  if (dir == nullptr) {
    ::close(dir_fd);
    return;
  }
  const std::time_t now = std::time(nullptr);
  while (const dirent* entry = ::readdir(dir)) {
    const long pid = owner(entry->d_name);
    struct stat info {};
    if (pid > 0 && pid != ::getpid() && ::kill(static_cast<pid_t>(pid), 0) != 0 && errno == ESRCH &&
        ::fstatat(dir_fd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 &&
        now - info.st_mtime > kLongestExchange.count()) {
      ::unlinkat(dir_fd, entry->d_name, 0);
    }
  }
  ::closedir(dir);
}

namespace {

constexpr char kSaveMark[] = ".tavio-save.";
// The longest name a folder entry may have on the router's file systems.
constexpr std::size_t kMaxNameLength = 255;

// "FILE.tavio-save.PID", FILE cut where the whole name would be too long for a folder entry.
std::string save_name(const std::string& final_path) {
  const std::size_t slash = final_path.rfind('/');
  const std::size_t name_start = slash == std::string::npos ? 0 : slash + 1;
  const std::string mark = kSaveMark + std::to_string(::getpid());
  const std::size_t room = kMaxNameLength - mark.size();
  std::string name =
      final_path.substr(0, name_start + std::min(room, final_path.size() - name_start));
  return name.append(mark);
}

// The process that left a save behind: the number after the save mark at the end of name;
// 0 when name is not one of tavio's saves.
long save_owner(const char* name) {
  const char* mark = std::strstr(name, kSaveMark);
  while (mark != nullptr && std::strstr(mark + 1, kSaveMark) != nullptr) {
    mark = std::strstr(mark + 1, kSaveMark);
  }
  return mark == nullptr ? 0 : pid_in_name(mark + sizeof kSaveMark - 1, "");
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool write_all(int fd, std::string_view text) {
  while (!text.empty()) {
    const ssize_t n = ::write(fd, text.data(), text.size());
    if (n < 0 && errno == EINTR) {
      continue;
    }
    if (n <= 0) {
      return false;
    }
    text.remove_prefix(static_cast<std::size_t>(n));
  }
  return true;
}

// Gives the written unnamed file (O_TMPFILE) the name temp through its descriptor: until
// this moment a kill leaves nothing behind. The descriptor itself serves a user allowed to
// read any file (root, as tavio runs on the router) without a walk through /proc; the
// descriptor's entry in /proc serves any other user.
bool link_unnamed(int fd, const std::string& temp) {
  if (::linkat(fd, "", AT_FDCWD, temp.c_str(), AT_EMPTY_PATH) == 0) {
    return true;
  }
  const std::string self = "/proc/self/fd/" + std::to_string(fd);
  return ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, temp.c_str(), AT_SYMLINK_FOLLOW) == 0;
}

}  // namespace

bool replace_file_atomically(const HostPath& final_path, std::string_view text) {
  const std::string& target = final_path.str();
  const std::string folder = folder_of(target);
  struct stat old {};
  const bool exists = ::lstat(target.c_str(), &old) == 0;
  if (exists && !S_ISREG(old.st_mode) && !S_ISLNK(old.st_mode)) {
    return false;  // a FIFO, a device, a folder or a socket is nobody's file to replace
  }
  remove_abandoned_files(HostPath::as_given(folder), save_owner);
  // The new file keeps the permissions of the file it replaces (a plain file's, not a
  // link's); without one it is created as any new file, under the umask.
  const bool keep_mode = exists && S_ISREG(old.st_mode);
  const std::string temp = save_name(target);
#ifdef O_TMPFILE
  int fd = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
  const bool unnamed = fd >= 0;
#else
  int fd = -1;
  const bool unnamed = false;
#endif
  if (!unnamed) {
    // Kernels and file systems without unnamed files: the name exists while it is written.
    fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  }
  if (fd < 0) {
    return false;
  }
  note_partial_file(unnamed ? nullptr : temp.c_str());
  bool ok = (!keep_mode || ::fchmod(fd, old.st_mode & 07777) == 0) && write_all(fd, text);
  bool named = !unnamed;  // only a name this save made is removed when it fails
  if (ok && unnamed) {
    note_partial_file(temp.c_str());
    ok = named = link_unnamed(fd, temp);
  }
  ok = (::close(fd) == 0) && ok;
  ok = ok && std::rename(temp.c_str(), target.c_str()) == 0;
  if (!ok && named) {
    ::unlink(temp.c_str());
  }
  note_partial_file(nullptr);
  return ok;
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
  // Read until the size the file had when it was opened, or to its end where the size says
  // nothing (a file of /proc or /sys counts 0 or a page): a file that is all read ends there,
  // without one more read to find its end.
  const auto size = static_cast<std::size_t>(info.st_size);
  std::string text;
  char buffer[4096];
  ssize_t n = 0;
  while ((size == 0 || text.size() != size) && (n = ::read(fd, buffer, sizeof buffer)) != 0) {
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

std::uint32_t start_random() {
  std::uint32_t value = 0;
#if defined(__linux__) && defined(AT_RANDOM)
  // The kernel hands the bytes' address as a number.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  if (const auto* bytes = reinterpret_cast<const unsigned char*>(::getauxval(AT_RANDOM))) {
    std::memcpy(&value, bytes, sizeof value);
  }
#endif
  return value;
}

bool is_plain_file(const HostPath& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace tavio

#include "platform/os.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tavio {
namespace {

std::string& root_storage() {
  static std::string root;
  return root;
}

bool root_char_allowed(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' ||
         c == '.' || c == '_' || c == '-';
}

}  // namespace

std::optional<std::string> root_check() {
#ifdef TAVIO_ROOT_OVERRIDE
  const char* root = std::getenv("TAVIO_ROOT");
  if (root == nullptr || root[0] == '\0') {
    return std::nullopt;
  }
  // The root goes unquoted into shell command lines, so only plain path characters pass.
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

bool replace_file_atomically(const HostPath& final_path, std::string_view text) {
  std::string temp = final_path.str() + ".XXXXXX";
  const int fd = ::mkstemp(&temp[0]);
  if (fd < 0) {
    return false;
  }
  struct stat old {};
  const mode_t mode = ::stat(final_path.c_str(), &old) == 0 ? (old.st_mode & 07777) : 0644;
  bool ok = ::fchmod(fd, mode) == 0;
  std::FILE* file = ::fdopen(fd, "w");
  if (file == nullptr) {
    ::close(fd);
    ::unlink(temp.c_str());
    return false;
  }
  ok = ok && std::fwrite(text.data(), 1, text.size(), file) == text.size();
  ok = (std::fflush(file) == 0) && ok;
  ok = (std::fclose(file) == 0) && ok;
  ok = ok && std::rename(temp.c_str(), final_path.c_str()) == 0;
  if (!ok) {
    ::unlink(temp.c_str());
  }
  return ok;
}

namespace {

int system_shell(const std::string& command_line) {
  // Anything still buffered must reach standard output before a child can write there.
  std::fflush(stdout);
  const int status = std::system(command_line.c_str());
  if (status == -1 || !WIFEXITED(status)) {
    return -1;
  }
  return WEXITSTATUS(status);
}

ShellRunner g_shell_runner = system_shell;

}  // namespace

int run_shell(const std::string& command_line) { return g_shell_runner(command_line); }

void replace_shell_runner(ShellRunner runner) {
  g_shell_runner = runner == nullptr ? system_shell : runner;
}

int process_id() { return static_cast<int>(::getpid()); }

JsonPtr load_json_file(const HostPath& path) {
  return json_own(json_load_file(path.c_str(), 0, nullptr));
}

bool dump_json_file(const json_t* document, const HostPath& path, std::size_t flags) {
  return json_dump_file(document, path.c_str(), flags) == 0;
}

}  // namespace tavio

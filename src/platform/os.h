// Files and the process id (commands: command.h; sockets: loopback_socket.h; clocks:
// clock.h; signals: process_state.h).
//
// Off the router the router's absolute paths live under the TAVIO_ROOT prefix. The prefix is
// put in front here and only here, after the caller formed the router's own path with its own
// buffer size, so the prefix never changes what the router's path is.
#ifndef TAVIO_PLATFORM_OS_H
#define TAVIO_PLATFORM_OS_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tavio {

/// A path as the operating system sees it.
class HostPath {
 public:
  /// One of the router's own absolute paths: the root prefix goes in front.
  static HostPath system(std::string_view router_path);
  /// A path given on the command line (request and response files): used as it is.
  static HostPath as_given(std::string_view path);

  [[nodiscard]] const char* c_str() const { return full_.c_str(); }
  [[nodiscard]] const std::string& str() const { return full_; }

 private:
  explicit HostPath(std::string full) : full_(std::move(full)) {}
  std::string full_;
};

/// Checks TAVIO_ROOT once at start-up; the error line to print when it is refused.
[[nodiscard]] std::optional<std::string> root_check();
/// The root prefix in force ("" on the router).
[[nodiscard]] const std::string& root_prefix();

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

/// fopen; null when the file cannot be opened.
[[nodiscard]] FilePtr open_file(const HostPath& path, const char* mode);
/// unlink; a file that is already gone is no error.
void remove_file(const HostPath& path);
/// Writes text whole into a new file in final_path's folder and renames it over final_path,
/// so a reader sees the old file or the new one, never part of one, and a kill leaves no
/// partial file under any name. The new file keeps the old one's permissions. An existing
/// final_path that is neither a regular file nor a link (a FIFO, a device, a folder, a
/// socket) is left as it is, and nothing is written. False when nothing was replaced.
bool replace_file_atomically(const HostPath& final_path, std::string_view text);
/// The process id a file name carries right before ending, written as "%d" writes it; 0 when
/// text is not such a number followed by exactly ending.
[[nodiscard]] long pid_in_name(const char* text, const char* ending);
/// Removes what killed runs left in folder: each entry that owner names a process for (0:
/// not a name tavio forms) whose process does not exist and that is older than the longest
/// exchange, so nothing of a run that is still going (also one in another process-id
/// namespace, whose ids are not ours) is ever removed.
void remove_abandoned_files(const HostPath& folder, long (*owner)(const char* name));
/// The whole file when it is a regular file of at most max_bytes; nothing when it is larger,
/// unreadable, not a regular file (a FIFO, a device) or, without follow_links, a link.
[[nodiscard]] std::optional<std::string> read_file_limited(const HostPath& path,
                                                           std::size_t max_bytes,
                                                           bool follow_links = true);
/// The process id, which names this run's temporary files.
[[nodiscard]] int process_id();
/// Four of the random bytes the kernel gives every process at its start; 0 where there are
/// none.
[[nodiscard]] std::uint32_t start_random();

/// True for a regular file that is not a link.
[[nodiscard]] bool is_plain_file(const HostPath& path);

}  // namespace tavio

#endif

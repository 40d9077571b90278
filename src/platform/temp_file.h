// This run's temporary files in the run directory, named after the process id so that runs
// for several panels never share one.
//
// The names are predictable, so whatever is already at a name (a file an earlier run with
// the same process id left behind, or a symbolic link planted there) is removed first:
// - a file tavio writes itself is then created with O_EXCL and O_NOFOLLOW, so it is never
//   opened through a link, not even one made after the removal (the write fails instead);
// - a file a command writes (wget_https -O) is opened by that command,
//   which follows links. A link made between the removal and the command's open would be
//   followed; only someone who may write the run directory can make one, and on the router
//   that directory belongs to root. What holds is that a link planted before the run is
//   never followed.
// Loading a file never follows a link either.
#ifndef TAVIO_PLATFORM_TEMP_FILE_H
#define TAVIO_PLATFORM_TEMP_FILE_H

#include <optional>
#include <string>
#include <string_view>

#include "platform/os.h"

namespace tavio {

/// One temporary file of this run; whatever is at its name is removed when it goes.
class TempFile {
 public:
  /// Names the file: format is a router path whose one conversion, "%d", takes the process
  /// id; cut like the router's path buffer. Nothing is created yet.
  explicit TempFile(const char* format);
  ~TempFile();
  TempFile(const TempFile&) = delete;
  TempFile& operator=(const TempFile&) = delete;

  /// Creates the file afresh, readable by this user only, holding exactly text; false when
  /// it cannot be created or written.
  [[nodiscard]] bool write(std::string_view text);
  /// Clears the name for a command that writes the file itself, so it creates a fresh one.
  void clear_for_command();
  /// The file's text, read without following a link; nothing when it is missing or larger
  /// than a reply may be (kMaxReplyBytes).
  [[nodiscard]] std::optional<std::string> read() const;
  /// The file's path as the operating system and command lines see it.
  [[nodiscard]] const HostPath& path() const { return path_; }

 private:
  HostPath path_;
};

/// Removes the temporary files that runs killed mid-call left in the run directory: those
/// named after a process that no longer exists and older than the longest exchange.
void sweep_abandoned_temp_files();

}  // namespace tavio

#endif

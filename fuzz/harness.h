// What the fuzz targets share: a private TAVIO_ROOT made from the example router, and a stand-in
// for the shell that answers tavio's command lines with replies taken from the fuzz input.
//
// Nothing a target does reaches a real command: the stand-in replaces the shell for the whole
// process, and a call of the C library's system() while a target runs aborts the process, so
// a path that slipped past the stand-in shows up as a crash instead of running anything.
#ifndef TAVIO_FUZZ_HARNESS_H
#define TAVIO_FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace tavio_fuzz {

/// Separates the request document from the replies, and the replies from each other, in the
/// input of fuzz_request.
inline constexpr std::string_view kReplyDelimiter = "\n--reply--\n";

/// Makes a fresh root under TMPDIR from the example router (its configuration files; not its
/// recorded replies), with the run directory, sets TAVIO_ROOT, has tavio take it up and puts
/// the stand-in in place of the shell. Aborts when any of that fails. Call once.
void init_fuzz_root();
/// Puts every file of the root back as init_fuzz_root left it and removes what a run added,
/// so each input starts from the same router.
void restore_fuzz_root();
/// The root's path on this machine (what TAVIO_ROOT holds).
[[nodiscard]] std::string_view fuzz_root();

/// Whether a reply may carry the exit status of its command.
enum class ReplyStatus {
  kAlwaysZero,  ///< the command always ends with status 0
  kFromReply,   ///< a reply "!D..." (D a digit) ends with status D; the rest is still written
};

/// The replies for the command lines of one run, in force while the object lives. The n-th
/// command that writes a file (wget_https -O FILE, capwap_cli ... > FILE) gets reply n modulo
/// their number written to its file; commands that write no file (background groups, a POST
/// whose reply is not read) end with status 0 and get nothing. With no replies at all a
/// command that writes a file ends with status 1, as when nothing answers.
class ServedReplies {
 public:
  ServedReplies(std::vector<std::string_view> replies, ReplyStatus status);
  ~ServedReplies();
  ServedReplies(const ServedReplies&) = delete;
  ServedReplies& operator=(const ServedReplies&) = delete;
};

/// The parts of text between the delimiters (at least one part, maybe empty).
[[nodiscard]] std::vector<std::string_view> split_input(std::string_view text,
                                                        std::string_view delimiter);

/// Aborts with the message on standard error: a finding of the fuzz target itself.
[[noreturn]] void fuzz_fail(const char* what, std::string_view detail);

}  // namespace tavio_fuzz

#endif

// What the fuzz targets share: a private TAVIO_ROOT made from the example router, and a command
// runner that answers tavio's command records with replies taken from the fuzz input.
//
// Nothing a target does starts a process: the runner takes the place of the operating system
// for the whole process, and a fork() while a target runs aborts it, so a path that slipped
// past the runner shows up as a crash instead of running anything. The runner also checks
// every command record against what tavio may start (the programs, their arguments, the
// router's command buffer); a record that breaks a rule aborts the target as a finding.
#ifndef TAVIO_FUZZ_HARNESS_H
#define TAVIO_FUZZ_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tavio_fuzz {

/// Separates the request document from the replies, and the replies from each other, in the
/// input of fuzz_request.
inline constexpr std::string_view kReplyDelimiter = "\n--reply--\n";

/// Makes a fresh root under TMPDIR from the example router (its configuration files; not its
/// recorded replies), with the run directory, sets TAVIO_ROOT, has tavio take it up and puts
/// the runner in place of the operating system's. Aborts when any of that fails. Call once.
void init_fuzz_root();
/// Puts every file of the root back as init_fuzz_root left it and removes what a run added,
/// so each input starts from the same router.
void restore_fuzz_root();
/// The root's path on this machine (what TAVIO_ROOT holds).
[[nodiscard]] std::string_view fuzz_root();

/// Whether a reply may carry the exit status of its command.
enum class ReplyStatus {
  kAlwaysZero,  ///< the command always ends with status 0
  kFromReply,   ///< a reply "!D..." (D a digit) ends with status D; the rest is still served
};

/// One run of tavio against replies, in force while the object lives: it starts the exchange
/// clock and forgets the replies an earlier input left kept, as a fresh process of tavio would
/// have neither.
///
/// The n-th command that reads a reply (wget_https with -O FILE, which gets the reply written
/// to FILE; capwap_cli, whose standard output tavio reads back) gets reply n modulo their
/// number. A reply whose status is not 0 fails its command (wget_https still finds the rest
/// in its file). Commands that read no reply (a POST whose reply is not read) end with status
/// 0; detached steps are checked, then neither run nor recorded. With no replies at all a
/// command that reads one fails, as when nothing answers.
class ServedReplies {
 public:
  ServedReplies(std::vector<std::string> replies, ReplyStatus status);
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

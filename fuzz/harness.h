// What the fuzz targets share: a private TAVIO_ROOT, and a command runner that answers tavio's
// commands with replies from the input and aborts on one tavio never makes (fuzz/README.md).
#ifndef TAVIO_FUZZ_HARNESS_H
#define TAVIO_FUZZ_HARNESS_H

#include <string>
#include <string_view>
#include <vector>

namespace tavio_fuzz {

/// Makes a fresh root under TMPDIR from the example router (without its recorded replies),
/// has tavio take it up as TAVIO_ROOT and puts the runner in place; aborts when that fails.
void init_fuzz_root();
/// The root's path on this machine (what TAVIO_ROOT holds).
[[nodiscard]] std::string_view fuzz_root();

/// One run of tavio while the object lives: the root as init_fuzz_root made it, a fresh exchange
/// clock and no kept replies. Commands that read a reply get the replies in turn, cycling; a
/// reply "!D..." (D a digit) ends its command with status D; with none, such a command fails.
class ServedReplies {
 public:
  explicit ServedReplies(std::vector<std::string> replies);
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

#include "harness.h"

#include <dlfcn.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <system_error>

#include "platform/command.h"
#include "platform/os.h"
#include "platform/router_paths.h"
#include "sources/local_api.h"
#include "sources/reply_memo.h"
#include "text/text_buffer.h"

namespace fs = std::filesystem;

namespace tavio_fuzz {
namespace {

using Words = std::vector<std::string>;

std::string g_root;  // the root tavio runs on
// Set while a target runs: the only time a command may be asked for, and never a fork().
std::optional<Words> g_replies;
std::size_t g_next_reply = 0;

// An argument tavio gives: neither empty nor an option.
bool is_word(std::string_view arg) { return !arg.empty() && arg[0] != '-'; }

// The command as one line, for the messages of findings.
std::string line_of(const tavio::Command& command) {
  std::string line = command.program;
  for (const std::string& arg : command.args) {
    line.append(" ").append(arg);
  }
  return line;
}

// "wget_https -T SECONDS [-f INPUT] -e HEADERS [-O RESULT] URL", no option's value an option,
// the URL the local API's. Returns RESULT, which the reply is written to: this run's result
// file or "" (the reply is not read).
std::string check_fetch(const tavio::Command& command) {
  const Words& args = command.args;
  std::map<std::string, std::string> options;
  std::size_t i = 0;
  for (const char* option : {"-T", "-f", "-e", "-O"}) {
    if (i + 1 < args.size() && args[i] == option && is_word(args[i + 1])) {
      options[option] = args[i + 1];
      i += 2;
    }
  }
  std::string result = options["-O"];
  if (i + 1 != args.size() || args[i].rfind("http://127.0.0.1:", 0) != 0 ||
      args[i].find("/api/") == std::string::npos || options["-T"].empty() ||
      options["-e"].empty() || command.output != tavio::CommandOutput::kDiscard ||
      (!result.empty() &&
       result != g_root + tavio::format_text(tavio::kPathCapacity, tavio::kApiResultFormat,
                                             ::getpid()))) {
    fuzz_fail("wget_https is called as tavio never calls it", line_of(command));
  }
  return result;
}

// "capwap_cli iotdevlist | extpower_status | iotdevinfo SERIAL | iotstatus SERIAL |
// iotdevport_set SERIAL PORT:on|off", its answer read back; no argument empty or an option.
void check_device_call(const tavio::Command& command) {
  static const std::regex kVerbAndCount(
      "(iotdevlist|extpower_status) 1|(iotdevinfo|iotstatus) 2|iotdevport_set 3");
  static const std::regex kPortState("[0-9]+:(on|off)");
  const Words& args = command.args;
  bool known = command.output == tavio::CommandOutput::kCapture && !args.empty() &&
               std::regex_match(args[0] + " " + std::to_string(args.size()), kVerbAndCount);
  for (const std::string& arg : args) {
    known = known && is_word(arg);
  }
  if (!known || (args[0] == "iotdevport_set" && !std::regex_match(args[2], kPortState))) {
    fuzz_fail("capwap_cli is called as tavio never calls it", line_of(command));
  }
}

// Takes the next reply and says whether its command succeeds: not when the input holds no
// replies, nor when the reply begins "!D" with D not 0.
bool next_reply(std::string_view& reply) {
  if (g_replies->empty()) {
    return false;
  }
  reply = (*g_replies)[g_next_reply++ % g_replies->size()];
  const bool has_status =
      reply.size() >= 2 && reply[0] == '!' && reply[1] >= '0' && reply[1] <= '9';
  const bool fails = has_status && reply[1] != '0';
  reply.remove_prefix(has_status ? 2 : 0);
  return !fails;
}

std::optional<std::string> serve_run(const tavio::Command& command) {
  if (!g_replies || command.deadline.count() <= 0) {
    fuzz_fail("a command outside a fuzz run, or without a deadline", line_of(command));
  }
  std::string_view reply;
  if (command.program == "wget_https") {
    const std::string output = check_fetch(command);
    if (output.empty()) {
      return std::string();  // a POST whose reply is not read
    }
    const bool succeeds = next_reply(reply);
    std::ofstream(output, std::ios::binary | std::ios::trunc) << reply;
    return succeeds ? std::optional<std::string>(std::string()) : std::nullopt;
  }
  if (command.program == "capwap_cli") {
    check_device_call(command);
    if (!next_reply(reply) || reply.size() > tavio::kMaxReplyBytes) {
      return std::nullopt;
    }
    return std::string(reply);
  }
  fuzz_fail("tavio waits for a program other than wget_https and capwap_cli", line_of(command));
}

// The background sequences tavio may start; nothing runs and nothing is recorded.
void serve_detach(const std::vector<tavio::Command>& steps) {
  std::vector<Words> sequence;
  std::string line;
  for (const tavio::Command& step : steps) {
    sequence.push_back(step.args);
    sequence.back().insert(sequence.back().begin(), step.program);
    line.append(line_of(step)).append("; ");
  }
  const std::vector<std::vector<Words>> allowed = {
      {{"restoreconfig"}, {"sleep", "3"}, {"reboot"}},
      {{"sleep", "3"}, {g_root + tavio::kRecoverPasswordTool}},
      {{"saveconfig"}, {"activate"}},
      {{"capwap_cli", "panel_reload"}},
  };
  // The panel reload may name the panel serial.
  if (sequence.size() == 1 && sequence[0].size() == 3 && is_word(sequence[0][2])) {
    sequence[0].pop_back();
  }
  if (!g_replies || std::find(allowed.begin(), allowed.end(), sequence) == allowed.end()) {
    fuzz_fail("a background sequence tavio never starts, or outside a run", line);
  }
}

// libFuzzer's time-out alarm interrupts system calls (its handler does not ask for them to be
// restarted), and a file copy interrupted throws. Held back while the root is made again, the
// alarm arrives once it is made.
class AlarmHeldBack {
 public:
  AlarmHeldBack() {
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm, &before_);
  }
  ~AlarmHeldBack() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  AlarmHeldBack(const AlarmHeldBack&) = delete;
  AlarmHeldBack& operator=(const AlarmHeldBack&) = delete;

 private:
  sigset_t before_{};
};

// The example router's files without its recorded replies (here the input answers), and an
// empty run directory.
void reset_root() {
  const AlarmHeldBack held;
  fs::remove_all(g_root);
  fs::create_directories(g_root + tavio::kRunDirectory);
  for (const fs::directory_entry& entry : fs::directory_iterator(TAVIO_FUZZ_ROUTER_DIR)) {
    if (entry.path().filename() != "sim") {
      fs::copy(entry.path(), g_root / entry.path().filename(), fs::copy_options::recursive);
    }
  }
}

const tavio::CommandRunner kServingRunner = {serve_run, serve_detach};

}  // namespace

void fuzz_fail(const char* what, std::string_view detail) {
  std::fprintf(stderr, "\nfuzz harness: %s: %.*s\n", what, static_cast<int>(detail.size()),
               detail.data());
  std::abort();
}

void init_fuzz_root() {
  std::string folder = (fs::temp_directory_path() / "tavio-fuzz-XXXXXX").string();
  if (::mkdtemp(&folder[0]) == nullptr) {
    fuzz_fail("cannot make a temporary root", folder);
  }
  g_root = folder;
  std::atexit([] {
    std::error_code ignored;
    fs::remove_all(g_root, ignored);
  });
  reset_root();
  if (::setenv("TAVIO_ROOT", g_root.c_str(), 1) != 0 || tavio::root_check() ||
      tavio::root_prefix() != g_root) {
    fuzz_fail("tavio did not take up the root", g_root);
  }
  tavio::replace_command_runner(&kServingRunner);
}

std::string_view fuzz_root() { return g_root; }

ServedReplies::ServedReplies(std::vector<std::string> replies) {
  reset_root();
  g_replies = std::move(replies);
  g_next_reply = 0;
  tavio::forget_replies("");
  tavio::start_exchange_clock();
}

ServedReplies::~ServedReplies() {
  tavio::api_end_run();  // the header file goes with the run's process
  // Every temporary file of a call is gone once the call is answered.
  const std::string mark = "_" + std::to_string(::getpid()) + ".";
  for (const fs::directory_entry& entry : fs::directory_iterator(g_root + tavio::kRunDirectory)) {
    if (entry.path().filename().string().find(mark) != std::string::npos) {
      fuzz_fail("a run left a temporary file behind", entry.path().string());
    }
  }
  tavio::forget_replies("");
  g_replies.reset();
}

std::vector<std::string_view> split_input(std::string_view text, std::string_view delimiter) {
  std::vector<std::string_view> parts;
  for (std::size_t at = text.find(delimiter); at != std::string_view::npos;
       at = text.find(delimiter)) {
    parts.push_back(text.substr(0, at));
    text.remove_prefix(at + delimiter.size());
  }
  parts.push_back(text);
  return parts;
}

}  // namespace tavio_fuzz

// tavio starts processes only through the command runner, which the harness replaced: a fork()
// while a target runs is a finding; outside a run (libFuzzer's own work) the C library's runs.
extern "C" pid_t fork() {
  if (tavio_fuzz::g_replies) {
    tavio_fuzz::fuzz_fail("tavio is about to start a process", "fork()");
  }
  using ForkFn = pid_t (*)();
  static const ForkFn real = reinterpret_cast<ForkFn>(::dlsym(RTLD_NEXT, "fork"));
  return real == nullptr ? -1 : real();
}

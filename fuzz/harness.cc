#include "harness.h"

#include <dlfcn.h>
#include <stdlib.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
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

// While a target runs no process may be started: tavio's only way to one is the command
// runner this harness replaced.
bool g_inside_run = false;

struct RootState {
  std::string path;                          // the root on this machine
  std::string run_directory;                 // path + the run directory, with a slash
  std::map<std::string, std::string> files;  // relative path -> contents, as set up
  std::map<std::string, fs::perms> dirs;     // relative path -> mode, as set up
};

RootState& root_state() {
  static RootState state;
  return state;
}

struct Served {
  std::vector<std::string> replies;
  ReplyStatus status = ReplyStatus::kAlwaysZero;
  std::size_t next = 0;
};

Served* g_served = nullptr;

// FUZZ_TRACE set: every command the runner answers is shown on standard error, with the
// number of the reply it got, to line replies up with commands by hand.
bool tracing() {
  static const bool trace = std::getenv("FUZZ_TRACE") != nullptr;
  return trace;
}

std::string read_whole(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void write_whole(const fs::path& path, std::string_view text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(text.data(), static_cast<std::streamsize>(text.size()));
  if (!out) {
    fuzz_fail("cannot write", path.string());
  }
}

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

// The command as one line, for the messages of findings.
std::string describe(const tavio::Command& command) {
  std::string line = command.program;
  for (const std::string& arg : command.args) {
    line.append(" ").append(arg);
  }
  return line;
}

std::string describe(const std::vector<tavio::Command>& steps) {
  std::string line;
  for (const tavio::Command& step : steps) {
    line.append(line.empty() ? "" : "; ").append(describe(step));
  }
  return line;
}

// This run's temporary file of format ("%d" the process id) as tavio names it on this root.
std::string run_file(const char* format) {
  return root_state().path + tavio::format_text(tavio::kPathCapacity, format, ::getpid());
}

// Checks a local API call, "wget_https -T SECONDS [-f BODY] -e HEADERS [-O OUTPUT] URL", and
// returns its output file ("" when the reply is not read).
std::string check_fetch(const tavio::Command& command) {
  if (command.output != tavio::CommandOutput::kDiscard) {
    fuzz_fail("wget_https's output is read back", describe(command));
  }
  std::map<std::string, std::string> options;
  std::optional<std::string> url;
  for (std::size_t i = 0; i < command.args.size(); ++i) {
    const std::string& arg = command.args[i];
    if (url) {
      fuzz_fail("wget_https gets an argument after its URL", describe(command));
    }
    if (!starts_with(arg, "-")) {
      url = arg;
      continue;
    }
    if (arg != "-T" && arg != "-f" && arg != "-e" && arg != "-O") {
      fuzz_fail("an argument of a waited command begins with '-'", describe(command));
    }
    if (i + 1 == command.args.size() || starts_with(command.args[i + 1], "-") ||
        !options.emplace(arg, command.args[i + 1]).second) {
      fuzz_fail("a wget_https option without its value, or twice", describe(command));
    }
    ++i;
  }
  const std::string& seconds = options["-T"];
  if (seconds.empty() || seconds.find_first_not_of("0123456789") != std::string::npos ||
      options.count("-e") == 0 || !url) {
    fuzz_fail("wget_https lacks -T SECONDS, -e HEADERS or its URL", describe(command));
  }
  // tavio's temporary files, and nothing else, in the run directory.
  const std::pair<const char*, const char*> files[] = {{"-f", tavio::kApiInputFormat},
                                                       {"-e", tavio::kApiHeaderFormat},
                                                       {"-O", tavio::kApiResultFormat}};
  for (const auto& [option, format] : files) {
    const auto found = options.find(option);
    if (found != options.end() && found->second != run_file(format)) {
      fuzz_fail("a wget_https file is not this run's temporary file", describe(command));
    }
  }
  if (!starts_with(*url, "http://127.0.0.1:") || url->find("/api/") == std::string::npos) {
    fuzz_fail("wget_https asks something other than the local API", describe(command));
  }
  const auto output = options.find("-O");
  return output == options.end() ? std::string() : output->second;
}

// Checks a device tool call: "capwap_cli iotdevlist | extpower_status | iotdevinfo SERIAL |
// iotstatus SERIAL | iotdevport_set SERIAL PORT:on|off", its answer read back.
void check_device_call(const tavio::Command& command) {
  if (command.output != tavio::CommandOutput::kCapture) {
    fuzz_fail("capwap_cli's answer is not read back", describe(command));
  }
  const std::vector<std::string>& args = command.args;
  for (const std::string& arg : args) {
    if (starts_with(arg, "-")) {
      fuzz_fail("an argument of a waited command begins with '-'", describe(command));
    }
  }
  const std::string verb = args.empty() ? std::string() : args[0];
  const bool known = ((verb == "iotdevlist" || verb == "extpower_status") && args.size() == 1) ||
                     ((verb == "iotdevinfo" || verb == "iotstatus") && args.size() == 2) ||
                     (verb == "iotdevport_set" && args.size() == 3);
  if (!known) {
    fuzz_fail("capwap_cli is asked something tavio never asks", describe(command));
  }
  if (args.size() > 1 && args[1].empty()) {
    fuzz_fail("an empty unit serial reached the device tool", describe(command));
  }
  if (verb == "iotdevport_set") {
    const std::string& state = args[2];
    const std::size_t colon = state.find(':');
    if (colon == 0 || colon == std::string::npos ||
        state.find_first_not_of("0123456789") != colon ||
        (state.substr(colon) != ":on" && state.substr(colon) != ":off")) {
      fuzz_fail("capwap_cli iotdevport_set gets a state other than PORT:on|off", describe(command));
    }
  }
}

// The next reply, or none when the input holds no replies; with a status other than 0 the
// command fails.
std::optional<std::pair<std::string_view, int>> next_reply(const tavio::Command& command) {
  Served& served = *g_served;
  if (served.replies.empty()) {
    if (tracing()) {
      std::fprintf(stderr, "fuzz runner: no reply to %s\n", describe(command).c_str());
    }
    return std::nullopt;
  }
  if (tracing()) {
    std::fprintf(stderr, "fuzz runner: reply %zu to %s\n", served.next % served.replies.size() + 1,
                 describe(command).c_str());
  }
  std::string_view reply = served.replies[served.next % served.replies.size()];
  ++served.next;
  int status = 0;
  if (served.status == ReplyStatus::kFromReply && reply.size() >= 2 && reply[0] == '!' &&
      reply[1] >= '0' && reply[1] <= '9') {
    status = reply[1] - '0';
    reply.remove_prefix(2);
  }
  return std::pair(reply, status);
}

std::optional<std::string> serve_run(const tavio::Command& command) {
  if (g_served == nullptr) {
    fuzz_fail("a command ran outside a fuzz run", describe(command));
  }
  if (command.deadline.count() <= 0) {
    fuzz_fail("a waited command has no deadline", describe(command));
  }
  if (command.program == "wget_https") {
    // A POST whose reply nobody reads succeeds; a read with nothing to answer fails.
    const std::string output = check_fetch(command);
    if (output.empty()) {
      return std::string();
    }
    const auto reply = next_reply(command);
    if (reply) {
      write_whole(output, reply->first);
    }
    return reply && reply->second == 0 ? std::optional<std::string>(std::string()) : std::nullopt;
  }
  if (command.program == "capwap_cli") {
    check_device_call(command);
    const auto reply = next_reply(command);
    if (!reply || reply->second != 0 || reply->first.size() > tavio::kMaxReplyBytes) {
      return std::nullopt;
    }
    return std::string(reply->first);
  }
  fuzz_fail("tavio waits for a program other than wget_https and capwap_cli", describe(command));
}

// The background sequences tavio may start, each program with its arguments.
using Words = std::vector<std::string>;

Words words_of(const tavio::Command& command) {
  Words words{command.program};
  words.insert(words.end(), command.args.begin(), command.args.end());
  return words;
}

bool panel_reload_allowed(const Words& words) {
  if (words.size() < 2 || words.size() > 3 || words[0] != "capwap_cli" ||
      words[1] != "panel_reload") {
    return false;
  }
  if (words.size() == 2) {
    return true;  // no panel serial: no argument
  }
  // The panel serial, neither empty nor an option.
  return !words[2].empty() && !starts_with(words[2], "-");
}

void serve_detach(const std::vector<tavio::Command>& steps) {
  if (g_served == nullptr) {
    fuzz_fail("a command ran outside a fuzz run", describe(steps));
  }
  std::vector<Words> sequence;
  for (const tavio::Command& step : steps) {
    sequence.push_back(words_of(step));
  }
  const std::string recover = root_state().path + tavio::kRecoverPasswordTool;
  const std::vector<std::vector<Words>> allowed = {
      {{"restoreconfig"}, {"sleep", "3"}, {"reboot"}},
      {{"sleep", "3"}, {recover}},
      {{"saveconfig"}, {"activate"}},
  };
  const bool known = (sequence.size() == 1 && panel_reload_allowed(sequence[0])) ||
                     std::find(allowed.begin(), allowed.end(), sequence) != allowed.end();
  if (!known) {
    fuzz_fail("tavio starts a background sequence it never starts", describe(steps));
  }
  if (tracing()) {
    std::fprintf(stderr, "fuzz runner: in the background: %s\n", describe(steps).c_str());
  }
  // Nothing runs and nothing is recorded.
}

const tavio::CommandRunner kServingRunner = {serve_run, serve_detach};

// Every temporary file of a call is gone once the call is answered: none of this process's
// may be left in the run directory after a run.
void check_no_temporary_file_left() {
  const std::string pid = std::to_string(::getpid());
  const char* const prefixes[] = {"wget_ext_hdr_", "wget_input_",     "wget_result_",
                                  "pmu_list_",     "pmu_info_",       "pmu_iotdevport_set_",
                                  "pmu_status_",   "extpower_status_"};
  std::error_code error;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(root_state().run_directory, error)) {
    const std::string name = entry.path().filename().string();
    for (const char* prefix : prefixes) {
      const std::string stem = prefix + pid;
      if (name == stem + ".json" || name == stem + ".txt") {
        fuzz_fail("a run left a temporary file behind", name);
      }
    }
  }
}

// A path under the root without the root (fs::relative would resolve links on every call).
std::string relative_to_root(const fs::path& path) {
  return path.string().substr(root_state().path.size() + 1);
}

void snapshot(RootState& root) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root.path)) {
    const std::string relative = relative_to_root(entry.path());
    if (entry.is_directory()) {
      root.dirs[relative] = entry.status().permissions();
    } else if (entry.is_regular_file()) {
      root.files[relative] = read_whole(entry.path());
    }
  }
}

void remove_root() {
  std::error_code ignored;
  if (!root_state().path.empty()) {
    fs::remove_all(root_state().path, ignored);
  }
}

}  // namespace

void fuzz_fail(const char* what, std::string_view detail) {
  std::fprintf(stderr, "\nfuzz harness: %s: %.*s\n", what, static_cast<int>(detail.size()),
               detail.data());
  std::abort();
}

void init_fuzz_root() {
  RootState& root = root_state();
  if (!root.path.empty()) {
    return;
  }
  std::string pattern = (fs::temp_directory_path() / "tavio-fuzz-XXXXXX").string();
  if (::mkdtemp(&pattern[0]) == nullptr) {
    fuzz_fail("cannot make a temporary root", pattern);
  }
  root.path = pattern;
  std::atexit(remove_root);

  // The example router's files, without its recorded replies: here the input answers.
  const fs::path router = TAVIO_FUZZ_ROUTER_DIR;
  for (const fs::directory_entry& entry : fs::directory_iterator(router)) {
    if (entry.path().filename() != "sim") {
      fs::copy(entry.path(), root.path / entry.path().filename(), fs::copy_options::recursive);
    }
  }
  fs::create_directories(root.path + tavio::kRunDirectory);
  root.run_directory = root.path + tavio::kRunDirectory + "/";

  if (::setenv("TAVIO_ROOT", root.path.c_str(), 1) != 0) {
    fuzz_fail("cannot set TAVIO_ROOT", root.path);
  }
  if (const std::optional<std::string> refused = tavio::root_check()) {
    fuzz_fail("tavio refused the root", *refused);
  }
  if (tavio::root_prefix() != root.path) {
    fuzz_fail("tavio did not take up the root", root.path);
  }
  snapshot(root);
  tavio::replace_command_runner(&kServingRunner);
}

void restore_fuzz_root() {
  const RootState& root = root_state();
  // What a run added goes, deepest first; then every file is put back.
  std::vector<fs::path> added;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root.path)) {
    const std::string relative = relative_to_root(entry.path());
    const bool known = entry.is_directory() && !entry.is_symlink()
                           ? root.dirs.count(relative) != 0
                           : root.files.count(relative) != 0;
    if (!known || entry.is_symlink()) {
      added.push_back(entry.path());
    }
  }
  std::error_code ignored;
  for (auto it = added.rbegin(); it != added.rend(); ++it) {
    fs::remove_all(*it, ignored);
  }
  for (const auto& [relative, mode] : root.dirs) {
    fs::create_directories(root.path + "/" + relative);
    fs::permissions(root.path + "/" + relative, mode, ignored);
  }
  for (const auto& [relative, text] : root.files) {
    write_whole(root.path + "/" + relative, text);
  }
}

std::string_view fuzz_root() { return root_state().path; }

ServedReplies::ServedReplies(std::vector<std::string> replies, ReplyStatus status) {
  g_served = new Served{std::move(replies), status, 0};
  g_inside_run = true;
  tavio::forget_replies("");
  tavio::start_exchange_clock();
}

ServedReplies::~ServedReplies() {
  tavio::api_end_run();  // the header file goes with the run's process
  check_no_temporary_file_left();
  tavio::forget_replies("");
  g_inside_run = false;
  delete g_served;
  g_served = nullptr;
}

std::vector<std::string_view> split_input(std::string_view text, std::string_view delimiter) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t at = text.find(delimiter);
    if (at == std::string_view::npos) {
      parts.push_back(text);
      return parts;
    }
    parts.push_back(text.substr(0, at));
    text.remove_prefix(at + delimiter.size());
  }
}

}  // namespace tavio_fuzz

// tavio starts processes only through the command runner, which the harness replaced. While
// a target runs a fork() must never happen; outside a run (libFuzzer's own work) the C
// library's fork() does it.
extern "C" pid_t fork() {
  if (tavio_fuzz::g_inside_run) {
    tavio_fuzz::fuzz_fail("tavio is about to start a process", "fork()");
  }
  using ForkFn = pid_t (*)();
  static const ForkFn real = reinterpret_cast<ForkFn>(::dlsym(RTLD_NEXT, "fork"));
  if (real == nullptr) {
    return -1;
  }
  return real();
}

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

std::string g_root;      // the root tavio runs on
std::string g_pristine;  // the root as init_fuzz_root made it, copied back for every input

struct Served {
  std::vector<std::string> replies;
  std::size_t next = 0;
};
// Set while a target runs: the only time a command may be asked for, and never a fork().
std::optional<Served> g_served;

bool starts_with(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

Words words_of(const tavio::Command& command) {
  Words words{command.program};
  words.insert(words.end(), command.args.begin(), command.args.end());
  return words;
}

// The commands as one line, for the messages of findings.
std::string describe(const std::vector<tavio::Command>& steps) {
  std::string line;
  for (const tavio::Command& step : steps) {
    for (const std::string& word : words_of(step)) {
      line.append(word).append(" ");
    }
    line.append("; ");
  }
  return line;
}

// "wget_https -T SECONDS [-f INPUT] -e HEADERS [-O RESULT] URL": options in pairs, each with a
// value that is no option, then one URL of the local API. Returns RESULT, which the reply is
// written to: this run's result file or "" (the reply is not read).
std::string check_fetch(const tavio::Command& command) {
  const Words& args = command.args;
  std::map<std::string, std::string> options;
  std::size_t i = 0;
  for (; i + 1 < args.size() && starts_with(args[i], "-"); i += 2) {
    if ((args[i] != "-T" && args[i] != "-f" && args[i] != "-e" && args[i] != "-O") ||
        starts_with(args[i + 1], "-") || !options.emplace(args[i], args[i + 1]).second) {
      fuzz_fail("wget_https gets an option tavio never gives, or twice", describe({command}));
    }
  }
  const std::string result = options["-O"];
  if (i + 1 != args.size() || !starts_with(args[i], "http://127.0.0.1:") ||
      args[i].find("/api/") == std::string::npos || options["-T"].empty() ||
      options["-e"].empty() || command.output != tavio::CommandOutput::kDiscard ||
      (!result.empty() &&
       result != g_root + tavio::format_text(tavio::kPathCapacity, tavio::kApiResultFormat,
                                             ::getpid()))) {
    fuzz_fail("wget_https is called as tavio never calls it", describe({command}));
  }
  return result;
}

// "capwap_cli iotdevlist | extpower_status | iotdevinfo SERIAL | iotstatus SERIAL |
// iotdevport_set SERIAL PORT:on|off", its answer read back; no argument empty or an option.
void check_device_call(const tavio::Command& command) {
  static const std::map<std::string, std::size_t> kArguments = {{"iotdevlist", 1},
                                                                {"extpower_status", 1},
                                                                {"iotdevinfo", 2},
                                                                {"iotstatus", 2},
                                                                {"iotdevport_set", 3}};
  static const std::regex kPortState("[0-9]+:(on|off)");
  const Words& args = command.args;
  const auto verb = kArguments.find(args.empty() ? "" : args[0]);
  bool known = command.output == tavio::CommandOutput::kCapture && verb != kArguments.end() &&
               verb->second == args.size();
  for (const std::string& arg : args) {
    known = known && !arg.empty() && !starts_with(arg, "-");
  }
  if (!known || (args[0] == "iotdevport_set" && !std::regex_match(args[2], kPortState))) {
    fuzz_fail("capwap_cli is called as tavio never calls it", describe({command}));
  }
}

// Takes the next reply and says whether its command succeeds: not when the input holds no
// replies, nor when the reply begins "!D" with D not 0.
bool next_reply(std::string_view& reply) {
  if (g_served->replies.empty()) {
    return false;
  }
  reply = g_served->replies[g_served->next++ % g_served->replies.size()];
  const bool has_status =
      reply.size() >= 2 && reply[0] == '!' && reply[1] >= '0' && reply[1] <= '9';
  const bool fails = has_status && reply[1] != '0';
  reply.remove_prefix(has_status ? 2 : 0);
  return !fails;
}

std::optional<std::string> serve_run(const tavio::Command& command) {
  if (!g_served || command.deadline.count() <= 0) {
    fuzz_fail("a command outside a fuzz run, or without a deadline", describe({command}));
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
  fuzz_fail("tavio waits for a program other than wget_https and capwap_cli", describe({command}));
}

// The background sequences tavio may start; nothing runs and nothing is recorded.
void serve_detach(const std::vector<tavio::Command>& steps) {
  std::vector<Words> sequence;
  for (const tavio::Command& step : steps) {
    sequence.push_back(words_of(step));
  }
  const std::vector<std::vector<Words>> allowed = {
      {{"restoreconfig"}, {"sleep", "3"}, {"reboot"}},
      {{"sleep", "3"}, {g_root + tavio::kRecoverPasswordTool}},
      {{"saveconfig"}, {"activate"}},
      {{"capwap_cli", "panel_reload"}},
  };
  // The panel reload may name the panel serial, neither empty nor an option.
  if (sequence.size() == 1 && sequence[0].size() == 3 && !sequence[0][2].empty() &&
      !starts_with(sequence[0][2], "-")) {
    sequence[0].pop_back();
  }
  if (!g_served || std::find(allowed.begin(), allowed.end(), sequence) == allowed.end()) {
    fuzz_fail("a background sequence tavio never starts, or outside a run", describe(steps));
  }
}

const tavio::CommandRunner kServingRunner = {serve_run, serve_detach};

void remove_roots() {
  std::error_code ignored;
  fs::remove_all(fs::path(g_root).parent_path(), ignored);
}

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
  g_root = folder + "/root";
  g_pristine = folder + "/pristine";
  std::atexit(remove_roots);
  fs::create_directory(g_pristine);
  // The example router's files without its recorded replies: here the input answers.
  for (const fs::directory_entry& entry : fs::directory_iterator(TAVIO_FUZZ_ROUTER_DIR)) {
    if (entry.path().filename() != "sim") {
      fs::copy(entry.path(), g_pristine / entry.path().filename(), fs::copy_options::recursive);
    }
  }
  fs::create_directories(g_pristine + tavio::kRunDirectory);
  fs::copy(g_pristine, g_root, fs::copy_options::recursive);
  if (::setenv("TAVIO_ROOT", g_root.c_str(), 1) != 0 || tavio::root_check() ||
      tavio::root_prefix() != g_root) {
    fuzz_fail("tavio did not take up the root", g_root);
  }
  tavio::replace_command_runner(&kServingRunner);
}

std::string_view fuzz_root() { return g_root; }

ServedReplies::ServedReplies(std::vector<std::string> replies) {
  // What the last run added goes; every file is written back (cheaper than a whole new copy).
  std::vector<fs::path> added;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(g_root)) {
    if (!fs::exists(g_pristine + entry.path().string().substr(g_root.size()))) {
      added.push_back(entry.path());
    }
  }
  for (const fs::path& path : added) {
    fs::remove_all(path);
  }
  fs::copy(g_pristine, g_root, fs::copy_options::recursive | fs::copy_options::overwrite_existing);
  g_served = Served{std::move(replies), 0};
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
  g_served.reset();
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
  if (tavio_fuzz::g_served) {
    tavio_fuzz::fuzz_fail("tavio is about to start a process", "fork()");
  }
  using ForkFn = pid_t (*)();
  static const ForkFn real = reinterpret_cast<ForkFn>(::dlsym(RTLD_NEXT, "fork"));
  return real == nullptr ? -1 : real();
}

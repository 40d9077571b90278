#include "harness.h"

#include <dlfcn.h>
#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <system_error>

#include "platform/os.h"
#include "platform/router_paths.h"

namespace fs = std::filesystem;

namespace tavio_fuzz {
namespace {

// While a target runs, the C library's system() must never be reached: tavio's only way to
// it is the shell runner this harness replaced.
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
  std::vector<std::string_view> replies;
  ReplyStatus status = ReplyStatus::kAlwaysZero;
  std::size_t next = 0;
};

Served* g_served = nullptr;

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

// The word after position at (blanks skipped), up to the next blank.
std::string_view word_at(std::string_view line, std::size_t at) {
  while (at < line.size() && line[at] == ' ') {
    ++at;
  }
  const std::size_t end = line.find_first_of(" )", at);
  return line.substr(at, end == std::string_view::npos ? std::string_view::npos : end - at);
}

// The file a command line has its tool write: "-O FILE" of the API's fetch tool, "> FILE" of
// the device tool (its last redirection: a quoted serial before it may hold a '>'); empty for
// commands that write none.
std::string_view output_file(std::string_view line) {
  if (starts_with(line, "(wget_https ")) {
    const std::size_t option = line.find(" -O ");
    return option == std::string_view::npos ? std::string_view() : word_at(line, option + 4);
  }
  if (starts_with(line, "capwap_cli ")) {
    const std::size_t redirect = line.rfind('>');
    return redirect == std::string_view::npos ? std::string_view() : word_at(line, redirect + 1);
  }
  return {};
}

int serve(const std::string& command_line) {
  if (g_served == nullptr) {
    fuzz_fail("a command ran outside a fuzz run", command_line);
  }
  const std::string_view output = output_file(command_line);
  if (output.empty()) {
    return 0;  // a background group or a POST whose reply nobody reads
  }
  // The stand-in writes only where tavio keeps this run's temporary files.
  const RootState& root = root_state();
  if (!starts_with(output, root.run_directory) || output.find("/..") != std::string_view::npos) {
    fuzz_fail("a command would write outside the run directory", command_line);
  }
  Served& served = *g_served;
  if (served.replies.empty()) {
    return 1;
  }
  std::string_view reply = served.replies[served.next % served.replies.size()];
  ++served.next;
  int status = 0;
  if (served.status == ReplyStatus::kFromReply && reply.size() >= 2 && reply[0] == '!' &&
      reply[1] >= '0' && reply[1] <= '9') {
    status = reply[1] - '0';
    reply.remove_prefix(2);
  }
  write_whole(fs::path(std::string(output)), reply);
  return status;
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
  tavio::replace_shell_runner(serve);
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

ServedReplies::ServedReplies(std::vector<std::string_view> replies, ReplyStatus status) {
  g_served = new Served{std::move(replies), status, 0};
  g_inside_run = true;
}

ServedReplies::~ServedReplies() {
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

// tavio reaches the shell only through std::system. While a target runs that must never
// happen: the stand-in above answers every command line. Outside a run (libFuzzer's own
// workers with -jobs, -minimize_crash) the C library's system() does the work.
extern "C" int system(const char* command) {
  if (tavio_fuzz::g_inside_run) {
    tavio_fuzz::fuzz_fail("tavio is about to run a real shell", command == nullptr ? "" : command);
  }
  using SystemFn = int (*)(const char*);
  static const SystemFn real = reinterpret_cast<SystemFn>(::dlsym(RTLD_NEXT, "system"));
  if (real == nullptr) {
    return -1;
  }
  return real(command);
}

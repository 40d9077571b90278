// What several unit tests share: a throw-away TAVIO_ROOT, so the router's paths land in a
// temporary folder and never in the real /etc, /var or /usr, and the texts they compare.
#ifndef TAVIO_TESTS_UNIT_SUPPORT_H
#define TAVIO_TESTS_UNIT_SUPPORT_H

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/os.h"
#include "sources/reply_memo.h"
#include "tavio/json_ref.h"
#include "tavio/panel_layout.h"

namespace tavio {

/// The run directory, which tavio never creates: the root provides it.
inline constexpr const char* kRunDir = "/var/run/dorva/tavio";

/// A document as compact JSON with sorted keys; "null" for none.
inline std::string dump(const json_t* value) {
  std::unique_ptr<char, decltype(&std::free)> text(
      value == nullptr ? nullptr
                       : json_dumps(value, JSON_COMPACT | JSON_SORT_KEYS | JSON_ENCODE_ANY),
      &std::free);
  return text ? text.get() : "null";
}
inline std::string dump(const JsonPtr& value) { return dump(value.get()); }

inline std::string rep(std::size_t n, const std::string& character) {
  std::string text;
  for (std::size_t i = 0; i < n; ++i) {
    text += character;
  }
  return text;
}

/// A grid of font size 1; theme 1 is the default, 2 the alternative.
inline PanelLayout grid(int theme = 1, int chars_per_line = 21, int lines = 4) {
  return make_panel_layout(static_cast<ThemeMode>(theme), 1, chars_per_line, lines);
}

/// A test under a fresh root made with mkdtemp (under TMPDIR), set as TAVIO_ROOT and taken up
/// by root_check(), with the run directory in place; removed with its contents at the end.
class TempRootTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "tavio-unit-XXXXXX").string();
    ASSERT_NE(::mkdtemp(&pattern[0]), nullptr);
    path_ = pattern;
    ::setenv("TAVIO_ROOT", path_.c_str(), 1);
    ASSERT_TRUE(!root_check() && root_prefix() == path_ &&
                std::filesystem::create_directories(host(kRunDir)))
        << "no temporary TAVIO_ROOT: " << path_;
    forget_replies("");  // a test is a run of its own
  }
  void TearDown() override {
    if (!saved_path_.empty()) {
      ::setenv("PATH", saved_path_.c_str(), 1);
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  /// Where one of the router's paths lives on this machine.
  [[nodiscard]] std::string host(const std::string& router_path) const {
    return path_ + router_path;
  }
  void write(const std::string& router_path, const std::string& text) const {
    std::filesystem::create_directories(std::filesystem::path(host(router_path)).parent_path());
    std::ofstream(host(router_path), std::ios::binary | std::ios::trunc) << text;
  }
  [[nodiscard]] std::optional<std::string> read(const std::string& router_path) const {
    std::ifstream in(host(router_path), std::ios::binary);
    if (!in) {
      return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  [[nodiscard]] bool exists(const std::string& router_path) const {
    return std::filesystem::exists(host(router_path));
  }
  [[nodiscard]] std::vector<std::string> list(const std::string& router_dir) const {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(host(router_dir), ignored)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  /// Installs script as the command name in the root's test-bin, first on PATH (restored
  /// after the test), and checks that the shell finds it there.
  void stand_in(const std::string& name, const std::string& script) {
    const std::string bin = path_ + "/test-bin";
    if (saved_path_.empty()) {
      const char* path = std::getenv("PATH");
      saved_path_ = path == nullptr ? "/usr/bin:/bin" : path;
      ::setenv("PATH", (bin + ":" + saved_path_).c_str(), 1);
    }
    write("/test-bin/" + name, script);
    std::filesystem::permissions(bin + "/" + name, std::filesystem::perms::owner_all);
    const std::string check = "test \"$(command -v " + name + ")\" = " + bin + "/" + name;
    ASSERT_EQ(std::system(check.c_str()), 0) << name << ": stand-in not first on PATH";
  }

  std::string path_;
  std::string saved_path_;
};

}  // namespace tavio

#endif

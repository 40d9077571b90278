// Temporary files of a run: whatever is found at the name beforehand (a stale file, a planted
// link to a file elsewhere, a link to nothing) is never written through, and nothing is left
// at the name afterwards, whatever the command did. Every user of TempFile and
// run_json_command (the local API's request and reply files, the device tools' answers)
// relies on this one place.
#include "platform/temp_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "platform/json_command.h"
#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::kRunDir;

const char* const kTextFormat = "/var/run/dorva/tavio/unit_%d.txt";
const char* const kJsonFormat = "/var/run/dorva/tavio/unit_%d.json";
const char* const kVictim = "/victim.json";
const char* const kVictimText = "{\"victim\": true}";
const char* const kMissingTarget = "/nothing-here";

enum class Before { kNothing, kStaleFile, kLinkToVictim, kLinkToNothing };

class TempFileTest : public tavio_test::TempRootTest {
 protected:
  void SetUp() override {
    TempRootTest::SetUp();
    root_.write(kVictim, kVictimText);
  }

  std::string name(const char* suffix) const {
    return std::string(kRunDir) + "/unit_" + std::to_string(::getpid()) + suffix;
  }

  void plant(Before before, const std::string& router_path) const {
    if (before == Before::kStaleFile) {
      root_.write(router_path, "stale");
    } else if (before != Before::kNothing) {
      const char* target = before == Before::kLinkToVictim ? kVictim : kMissingTarget;
      ASSERT_EQ(::symlink(root_.host(target).c_str(), root_.host(router_path).c_str()), 0);
    }
  }

  // Nothing outside the run directory was written, and nothing is left inside it.
  void expect_untouched_and_gone() const {
    EXPECT_EQ(root_.read(kVictim), kVictimText);
    EXPECT_FALSE(root_.exists(kMissingTarget));
    EXPECT_TRUE(root_.list(kRunDir).empty());
  }
};

TEST_F(TempFileTest, FreshPrivateFilesWhateverWasAtTheName) {
  for (Before before :
       {Before::kNothing, Before::kStaleFile, Before::kLinkToVictim, Before::kLinkToNothing}) {
    SCOPED_TRACE(static_cast<int>(before));
    plant(before, name(".txt"));
    {
      TempFile file(kTextFormat);
      EXPECT_EQ(file.path().str(), root_.host(name(".txt")));
      ASSERT_TRUE(file.write("fresh text"));
      struct stat info {};
      ASSERT_EQ(::lstat(file.path().c_str(), &info), 0);
      EXPECT_TRUE(S_ISREG(info.st_mode));
      EXPECT_EQ(info.st_mode & 0777, 0600u);
      EXPECT_EQ(root_.read(name(".txt")), "fresh text");
    }
    expect_untouched_and_gone();

    // A command writing its output through a shell redirection, which follows links.
    plant(before, name(".json"));
    const JsonPtr document =
        run_json_command(kJsonFormat, ExitCheck::kRequireZero,
                         [](const HostPath& output) { return "printf '[1]' > " + output.str(); });
    EXPECT_TRUE(json_is_array(document.get()));
    expect_untouched_and_gone();
  }
}

// FILE in a command stands for the temporary file's path.
TEST_F(TempFileTest, CommandOutcomesAndNoFileLeftOnAnyPath) {
  const struct {
    std::string command;
    ExitCheck check;
    bool loaded;
  } cases[] = {
      {"printf '{\"a\":1}' > FILE", ExitCheck::kRequireZero, true},
      {"printf '{\"a\":1}' > FILE; exit 3", ExitCheck::kRequireZero, false},
      {"printf '{\"a\":1}' > FILE; exit 3", ExitCheck::kIgnore, true},
      {"exit 3", ExitCheck::kIgnore, false},
      {"printf 'not json' > FILE", ExitCheck::kRequireZero, false},
      {"printf '' > FILE", ExitCheck::kIgnore, false},
      // A link the command leaves at the name is not read through.
      {"ln -s " + root_.host(kVictim) + " FILE", ExitCheck::kRequireZero, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    const JsonPtr document = run_json_command(kJsonFormat, c.check, [&](const HostPath& output) {
      std::string command = c.command;
      const std::size_t at = command.find("FILE");
      return at == std::string::npos ? command : command.replace(at, 4, output.str());
    });
    EXPECT_EQ(document != nullptr, c.loaded);
    if (c.loaded) {
      EXPECT_EQ(json_integer_value(json_object_get(document.get(), "a")), 1);
    }
    expect_untouched_and_gone();
  }
}

}  // namespace
}  // namespace tavio

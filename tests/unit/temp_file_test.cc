// Temporary files of a run: whatever is found at the name beforehand (a stale file, a planted
// link to a file elsewhere, a link to nothing) is never written through, and nothing is left
// at the name afterwards, whatever the tool did. The local API's request and reply files rely
// on this one place.
#include "platform/temp_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "platform/os.h"
#include "protocol/json_get.h"
#include "support.h"

namespace tavio {
namespace {

const char* const kTextFormat = "/var/run/dorva/tavio/unit_%d.txt";
const char* const kJsonFormat = "/var/run/dorva/tavio/unit_%d.json";
const char* const kVictim = "/victim.json";
const char* const kVictimText = "{\"victim\": true}";
const char* const kMissingTarget = "/nothing-here";

enum class Before { kNothing, kStaleFile, kLinkToVictim, kLinkToNothing };

class TempFileTest : public TempRootTest {
 protected:
  void SetUp() override {
    TempRootTest::SetUp();
    write(kVictim, kVictimText);
  }

  std::string name(const char* suffix) const {
    return std::string(kRunDir) + "/unit_" + std::to_string(::getpid()) + suffix;
  }

  void plant(Before before, const std::string& router_path) const {
    if (before == Before::kStaleFile) {
      write(router_path, "stale");
    } else if (before != Before::kNothing) {
      const char* target = before == Before::kLinkToVictim ? kVictim : kMissingTarget;
      ASSERT_EQ(::symlink(host(target).c_str(), host(router_path).c_str()), 0);
    }
  }

  // Nothing outside the run directory was written, and nothing is left inside it.
  void expect_untouched_and_gone() const {
    EXPECT_EQ(read(kVictim), kVictimText);
    EXPECT_FALSE(exists(kMissingTarget));
    EXPECT_TRUE(list(kRunDir).empty());
  }
};

TEST_F(TempFileTest, FreshPrivateFilesWhateverWasAtTheName) {
  for (Before before :
       {Before::kNothing, Before::kStaleFile, Before::kLinkToVictim, Before::kLinkToNothing}) {
    SCOPED_TRACE(static_cast<int>(before));
    plant(before, name(".txt"));
    {
      TempFile file(kTextFormat);
      EXPECT_EQ(file.path().str(), host(name(".txt")));
      ASSERT_TRUE(file.write("fresh text"));
      struct stat info {};
      ASSERT_EQ(::lstat(file.path().c_str(), &info), 0);
      EXPECT_TRUE(S_ISREG(info.st_mode));
      EXPECT_EQ(info.st_mode & 0777, 0600u);
      EXPECT_EQ(read(name(".txt")), "fresh text");
    }
    expect_untouched_and_gone();

    // A tool writing the file itself (wget_https -O), which follows links.
    plant(before, name(".json"));
    {
      TempFile file(kJsonFormat);
      file.clear_for_command();
      ASSERT_EQ(std::system(("printf '[1]' > " + file.path().str()).c_str()), 0);
      EXPECT_TRUE(json_is_array(json_load_reply(file.read().value_or("")).get()));
    }
    expect_untouched_and_gone();
  }
}

// Files of runs killed mid-call go with a later run once they are older than any exchange; a
// living run's files, a fresh file of an unknown process (a run in another process-id
// namespace) and names tavio does not form stay.
TEST_F(TempFileTest, SweepRemovesOnlyTheFilesOfRunsThatAreGone) {
  const pid_t dead = ::vfork();
  if (dead == 0) {
    ::_exit(0);
  }
  ASSERT_GT(dead, 0);
  int ignored = 0;
  ::waitpid(dead, &ignored, 0);
  const std::string gone = std::to_string(dead);
  const std::string living = std::to_string(::getppid());
  const std::vector<std::string> swept = {"wget_ext_hdr_" + gone + ".txt",
                                          "wget_input_" + gone + ".txt",
                                          "wget_result_" + gone + ".json"};
  const std::vector<std::string> kept = {
      "wget_result_" + living + ".json",   "panel_access_" + gone + ".status",
      "wget_result_" + gone + ".json.bak", "wget_result_.json",
      "wget_result_0" + gone + ".json",    "pmu_info_" + gone + ".json",
      "wget_ext_hdr_" + gone + ".json"};
  const std::string fresh = "wget_result_" + gone + "0.json";  // written just now
  const timeval old[2] = {{::time(nullptr) - 60, 0}, {::time(nullptr) - 60, 0}};
  for (const std::vector<std::string>* names : {&swept, &kept}) {
    for (const std::string& file : *names) {
      write(std::string(kRunDir) + "/" + file, "x");
      ASSERT_EQ(::utimes(host(std::string(kRunDir) + "/" + file).c_str(), old), 0);
    }
  }
  write(std::string(kRunDir) + "/" + fresh, "x");
  std::vector<std::string> expected = kept;
  expected.push_back(fresh);
  sweep_abandoned_temp_files();
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(list(kRunDir), expected);
}

}  // namespace
}  // namespace tavio

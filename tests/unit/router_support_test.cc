// The host's router support library: the taglist file format and atomic saves, under a
// temporary root, and the HA title read through it. The port type lookup and number lists are
// read by the end-to-end port speed menus and Wi-Fi status.
#include "platform/router_support.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "platform/os.h"
#include "status/lan_ha_status.h"
#include "support.h"

namespace tavio {
namespace {

const char* const kFile = "/etc/test/settings";

class TaglistTest : public TempRootTest {};

TEST_F(TaglistTest, ReadsEntries) {
  const struct {
    const char* content;
    std::vector<std::pair<const char*, const char*>> present;
    std::vector<const char*> absent;
  } cases[] = {
      // Unquoted values run to the end of the line, quotes, blanks, '#' and '\' included.
      {"A=1\nB=two words\nC=b=c\nD=x \"y\" # z\nE=a\\$b\n",
       {{"A", "1"}, {"B", "two words"}, {"C", "b=c"}, {"D", "x \"y\" # z"}, {"E", "a\\$b"}},
       {}},
      {"A=\"hello world\"\nB=\"\"\nC=\nD=\"q\\\"b\\\\d\\$t\\`e\"\n",
       {{"A", "hello world"}, {"B", ""}, {"C", ""}, {"D", "q\"b\\d$t`e"}},
       {}},
      // Carriage returns dropped; the last line needs no newline.
      {"A=1\r\nB=\"2\"\r\nC=3", {{"A", "1"}, {"B", "2"}, {"C", "3"}}, {}},
      {"# A=1\n   # B=2\n\n \t\nC=3\n=1\nno equals\nA B=1\nK-1=2\nD=\"open\nE=ok\n",
       {{"C", "3"}, {"E", "ok"}},
       {"A", "B", "K", "K-1", "D"}},
      {"A=1\nB=x\nA=\"2\"\n", {{"A", "2"}, {"B", "x"}}, {}},  // the later duplicate wins
      {"Zz_09=1\n", {{"Zz_09", "1"}}, {}},  // every kind of key character, at its edges
      {"", {}, {"A"}},  // an empty file is an empty list; a missing one is no list
  };
  EXPECT_FALSE(load_taglist(kFile));
  const std::string long_key(127, 'K');  // the longest key looked up whole
  write(kFile, long_key + "=1\n");
  EXPECT_STREQ(get_taglist_default_ex(load_taglist(kFile).get(), "", "%s", long_key.c_str()), "1");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.content);
    write(kFile, c.content);
    const TaglistPtr tags = load_taglist(kFile);
    ASSERT_TRUE(tags);
    for (const auto& [key, value] : c.present) {
      EXPECT_STREQ(get_taglist_default_ex(tags.get(), "<none>", "%s", key), value) << key;
    }
    for (const char* key : c.absent) {
      EXPECT_STREQ(get_taglist_default_ex(tags.get(), "<none>", "%s", key), "<none>") << key;
    }
  }
  // Files are read to the size they had when opened; one of /proc counts none and is read
  // to its end.
  EXPECT_NE(read_file_limited(HostPath::as_given("/proc/self/status"), 1 << 16).value_or(""), "");
}

// A save keeps the file's permissions (that a reader sees the old file or the new one whole is
// the robustness kill_during_save's).
TEST_F(TaglistTest, SaveWritesQuotedEscapedInFirstSeenOrder) {
  write(kFile, "# kept by nobody\nZETA=first\nALPHA=\"a \\\"b\\\" \\$HOME\"\nZETA=again\n");
  ASSERT_EQ(::chmod(host(kFile).c_str(), 0640), 0);
  TaglistPtr tags = load_taglist(kFile);
  ASSERT_TRUE(tags);
  ASSERT_EQ(update_taglist_ex(tags.get(), "NEW", "x`y\\z"), 0);
  ASSERT_EQ(update_taglist_ex(tags.get(), "ZETA", "z"), 0);
  ASSERT_EQ(save_taglist_ex(tags.get(), 1), 0);
  EXPECT_EQ(read(kFile).value_or("<missing>"),
            "ZETA=\"z\"\nALPHA=\"a \\\"b\\\" \\$HOME\"\nNEW=\"x\\`y\\\\z\"\n");
  EXPECT_EQ(list("/etc/test"), (std::vector<std::string>{"settings"}));
  struct stat saved {};
  ASSERT_EQ(::stat(host(kFile).c_str(), &saved), 0);
  EXPECT_EQ(saved.st_mode & 07777, 0640u);

  // Escaping makes a saved line longer than the one loaded; it still loads back the same.
  const std::string dollars(3000, '$');
  ASSERT_EQ(update_taglist_ex(tags.get(), "LONG", dollars.c_str()), 0);
  ASSERT_EQ(save_taglist_ex(tags.get(), 1), 0);
  tags = load_taglist(kFile);
  ASSERT_TRUE(tags);
  EXPECT_STREQ(get_taglist_default_ex(tags.get(), "", "ALPHA"), "a \"b\" $HOME");
  EXPECT_STREQ(get_taglist_default_ex(tags.get(), "", "NEW"), "x`y\\z");
  EXPECT_EQ(get_taglist_default_ex(tags.get(), "", "LONG"), dollars);
}

TEST_F(TaglistTest, FailedSaveLeavesNoTemporaryFile) {
  write(kFile, "A=old\n");
  const TaglistPtr tags = load_taglist(kFile);
  ASSERT_TRUE(tags);
  // The name is taken by a folder now, so the finished file cannot be renamed over it.
  ASSERT_EQ(::unlink(host(kFile).c_str()), 0);
  write(std::string(kFile) + "/inside", "x");
  EXPECT_EQ(save_taglist_ex(tags.get(), 1), -1);
  EXPECT_EQ(list("/etc/test"), (std::vector<std::string>{"settings"}));
  EXPECT_EQ(read(std::string(kFile) + "/inside"), "x");
  // Without the folder no file can be made beside the old one at all.
  std::filesystem::remove_all(host("/etc/test"));
  EXPECT_EQ(save_taglist_ex(tags.get(), 1), -1);
  EXPECT_FALSE(exists("/etc/test"));
}

// The HA status file is read afresh at each use.
class RouterFilesTest : public TempRootTest {};

TEST_F(RouterFilesTest, HaTitleOnlyWhileVrrpIsOn) {
  EXPECT_EQ(ha_state_title(), std::nullopt);  // no file
  const struct {
    const char* file;
    const char* title;
  } cases[] = {
      {"HA_ENABLE=yes\nHA_METHOD=vrrp\nHA_STATUS=fault\n", "HA State:Slave (Isolated)"},
      {"HA_ENABLE=yes\nHA_METHOD=vrrp\nHA_STATUS=backup\n", "HA State:Slave"},
      {"HA_ENABLE=yes\nHA_METHOD=vrrp\nHA_STATUS=init\n", "HA State:Unknown"},
      {"HA_ENABLE=Yes\nHA_METHOD=vrrp\nHA_STATUS=master\n", ""},
      {"HA_ENABLE=yes\nHA_METHOD=ucarp\nHA_STATUS=master\n", ""},
  };
  for (const auto& c : cases) {
    write("/var/run/dorva/ha_status", c.file);
    EXPECT_EQ(ha_state_title(), std::string(c.title)) << c.file;
  }
}

}  // namespace
}  // namespace tavio

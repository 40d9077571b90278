// The host's router support library: the taglist file format, atomic saves, number and text
// lists, and the port type lookup, all under a temporary root.
#include "platform/router_support.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::TempRootTest;

const char* const kFile = "/etc/test/settings";

struct ParseCase {
  const char* name;
  std::string content;
  std::vector<std::pair<const char*, const char*>> present;
  std::vector<const char*> absent;
};
void PrintTo(const ParseCase& c, std::ostream* os) { *os << c.name; }

class TaglistParseTest : public TempRootTest, public ::testing::WithParamInterface<ParseCase> {};

TEST_P(TaglistParseTest, ReadsEntries) {
  const ParseCase& c = GetParam();
  root_.write(kFile, c.content);
  const TaglistPtr list = load_taglist(kFile);
  ASSERT_TRUE(list);
  for (const auto& [key, value] : c.present) {
    EXPECT_STREQ(get_taglist_default_ex(list.get(), "<none>", "%s", key), value) << key;
  }
  for (const char* key : c.absent) {
    EXPECT_STREQ(get_taglist_default_ex(list.get(), "<none>", "%s", key), "<none>") << key;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, TaglistParseTest,
    ::testing::Values(
        ParseCase{"Unquoted",
                  "A=1\nB=two words\nC=b=c\n",
                  {{"A", "1"}, {"B", "two words"}, {"C", "b=c"}},
                  {}},
        ParseCase{"Quoted",
                  "A=\"hello world\"\nB=\"\"\nC=\n",
                  {{"A", "hello world"}, {"B", ""}, {"C", ""}},
                  {}},
        ParseCase{"Escapes", "A=\"q\\\"b\\\\d\\$t\\`e\"\n", {{"A", "q\"b\\d$t`e"}}, {}},
        ParseCase{"UnquotedKeptToEndOfLine",
                  "A=x \"y\" # z\nB=a\\$b\n",
                  {{"A", "x \"y\" # z"}, {"B", "a\\$b"}},
                  {}},
        ParseCase{"CarriageReturnDropped", "A=1\r\nB=\"2\"\r\n", {{"A", "1"}, {"B", "2"}}, {}},
        ParseCase{"CommentsAndBlanks", "# A=1\n   # B=2\n\n \t\nC=3\n", {{"C", "3"}}, {"A", "B"}},
        ParseCase{"UnparsableIgnored",
                  "=1\nno equals\nA B=1\nK-1=2\nD=\"open\nE=ok\n",
                  {{"E", "ok"}},
                  {"A", "B", "K", "K-1", "D"}},
        ParseCase{"LaterDuplicateWins", "A=1\nB=x\nA=\"2\"\n", {{"A", "2"}, {"B", "x"}}, {}},
        ParseCase{"LastLineWithoutNewline", "A=1\nB=2", {{"A", "1"}, {"B", "2"}}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

class TaglistTest : public TempRootTest {};

TEST_F(TaglistTest, MissingFileFailsEmptyFileLoadsEmpty) {
  EXPECT_FALSE(load_taglist(kFile));
  root_.write(kFile, "");
  const TaglistPtr list = load_taglist(kFile);
  ASSERT_TRUE(list);
  EXPECT_STREQ(get_taglist_default_ex(list.get(), "d", "A"), "d");
}

TEST_F(TaglistTest, SaveWritesQuotedEscapedInFirstSeenOrderKeepingUnknownKeys) {
  root_.write(kFile, "# kept by nobody\nZETA=first\nALPHA=\"a \\\"b\\\" \\$HOME\"\nZETA=again\n");
  TaglistPtr list = load_taglist(kFile);
  ASSERT_TRUE(list);
  ASSERT_EQ(update_taglist_ex(list.get(), "NEW", "x`y\\z"), 0);
  ASSERT_EQ(update_taglist_ex(list.get(), "ZETA", "z"), 0);
  ASSERT_EQ(save_taglist_ex(list.get(), 1), 0);
  EXPECT_EQ(root_.read(kFile).value_or("<missing>"),
            "ZETA=\"z\"\nALPHA=\"a \\\"b\\\" \\$HOME\"\nNEW=\"x\\`y\\\\z\"\n");
  list = load_taglist(kFile);
  ASSERT_TRUE(list);
  EXPECT_STREQ(get_taglist_default_ex(list.get(), "", "ALPHA"), "a \"b\" $HOME");
  EXPECT_STREQ(get_taglist_default_ex(list.get(), "", "NEW"), "x`y\\z");
}

TEST_F(TaglistTest, SaveReplacesFileByRename) {
  root_.write(kFile, "A=old\n");
  const std::string snapshot = root_.host("/etc/test/snapshot");
  ASSERT_EQ(::link(root_.host(kFile).c_str(), snapshot.c_str()), 0);
  const TaglistPtr list = load_taglist(kFile);
  ASSERT_TRUE(list);
  update_taglist_ex(list.get(), "A", "new");
  ASSERT_EQ(save_taglist_ex(list.get(), 1), 0);
  // A reader holding the old file still sees it whole; the name now leads to a new file.
  EXPECT_EQ(root_.read("/etc/test/snapshot"), "A=old\n");
  EXPECT_EQ(root_.read(kFile), "A=\"new\"\n");
  EXPECT_EQ(root_.list("/etc/test"), (std::vector<std::string>{"settings", "snapshot"}));
}

TEST_F(TaglistTest, FailedSaveInReadOnlyFolderLeavesOldFile) {
  root_.write(kFile, "A=old\n");
  const TaglistPtr list = load_taglist(kFile);
  ASSERT_TRUE(list);
  update_taglist_ex(list.get(), "A", "new");
  // Let an unprivileged user reach the file, then take the folder's write permission away.
  for (std::string dir = root_.host("/etc/test"); dir.size() >= root_.path().size();
       dir = dir.substr(0, dir.rfind('/'))) {
    ::chmod(dir.c_str(), 0755);
  }
  ::chmod(root_.host("/etc/test").c_str(), 0555);
  int result = -2;
  if (::geteuid() != 0) {
    result = save_taglist_ex(list.get(), 1);
  } else if (std::getenv("TAVIO_TEST_EMULATED") != nullptr) {
    GTEST_SKIP() << "an emulated child cannot switch users";
  } else {
    // The superuser writes anywhere: save as an ordinary user in a child process.
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      if (::setgid(65534) != 0 || ::setuid(65534) != 0) {
        ::_exit(99);
      }
      ::_exit(save_taglist_ex(list.get(), 1) == 0 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == 99) {
      GTEST_SKIP() << "cannot drop privileges here";
    }
    result = WEXITSTATUS(status) == 0 ? 0 : -1;
  }
  ::chmod(root_.host("/etc/test").c_str(), 0755);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(root_.read(kFile), "A=old\n");
  EXPECT_EQ(root_.list("/etc/test"), (std::vector<std::string>{"settings"}));
}

TEST_F(TaglistTest, FailedRenameLeavesNoTemporaryFile) {
  root_.write(kFile, "A=old\n");
  const TaglistPtr list = load_taglist(kFile);
  ASSERT_TRUE(list);
  // The name is taken by a folder now, so the finished file cannot be renamed over it.
  ASSERT_EQ(::unlink(root_.host(kFile).c_str()), 0);
  ASSERT_EQ(::mkdir(root_.host(kFile).c_str(), 0755), 0);
  root_.write(std::string(kFile) + "/inside", "x");
  EXPECT_EQ(save_taglist_ex(list.get(), 1), -1);
  EXPECT_EQ(root_.list("/etc/test"), (std::vector<std::string>{"settings"}));
  EXPECT_EQ(root_.read(std::string(kFile) + "/inside"), "x");
}

struct NumlistCase {
  const char* name;
  const char* text;
  std::vector<int> numbers;
};
void PrintTo(const NumlistCase& c, std::ostream* os) { *os << c.name; }

class NumlistTest : public ::testing::TestWithParam<NumlistCase> {};

TEST_P(NumlistTest, ParsesIntegers) {
  const NumlistPtr list(create_numlist(GetParam().text));
  ASSERT_TRUE(list);
  EXPECT_EQ(std::vector<int>(list->nums, list->nums + list->count), GetParam().numbers);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, NumlistTest,
    ::testing::Values(NumlistCase{"Blanks", "1 2 3", {1, 2, 3}},
                      NumlistCase{"Commas", "1,3", {1, 3}},
                      NumlistCase{"Mixed", " 4,\t5 ,, 6 ", {4, 5, 6}},
                      NumlistCase{"JunkSkipped", "1 x 2 3y -4 0x5", {1, 2, -4}},
                      NumlistCase{"Empty", "", {}}, NumlistCase{"Null", nullptr, {}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Iplist, SerializeJoinsWithSeparator) {
  iplist_t list;
  init_iplist(&list);
  for (const char* text : {"192.168.1.1", "10.0.0.1", "fe80::1"}) {
    ASSERT_EQ(insert_iplist(&list, text), 0);
  }
  char* joined = serialize_iplist(&list, ", ");
  EXPECT_STREQ(joined, "192.168.1.1, 10.0.0.1, fe80::1");
  std::free(joined);
  free_iplist(&list);
  EXPECT_EQ(list.count, 0);
  joined = serialize_iplist(&list, ", ");
  EXPECT_STREQ(joined, "");
  std::free(joined);
}

class PortTypeTest : public TempRootTest {};

TEST_F(PortTypeTest, ReadsPhysicalTypeFromHostPortsFile) {
  EXPECT_EQ(get_physical_type_ex(get_conn_port_id(1), 0), 0);  // no file yet
  root_.write("/etc/tavio-host/ports", "PORT1_PHYSICAL_TYPE=1\nPORT2_PHYSICAL_TYPE=\"2\"\n");
  EXPECT_EQ(get_conn_port_id(7), 7);
  EXPECT_EQ(get_physical_type_ex(get_conn_port_id(1), 0), 1);
  EXPECT_EQ(get_physical_type_ex(get_conn_port_id(2), 0), 2);
  EXPECT_EQ(get_physical_type_ex(get_conn_port_id(3), 0), 0);
}

}  // namespace
}  // namespace tavio

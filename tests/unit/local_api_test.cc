// The local API client against a stand-in wget_https first on PATH: what no end-to-end case
// reaches, and that no temporary file but the header file outlives a call. A build that speaks
// HTTP itself runs only the port's test here.
#include "sources/local_api.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "platform/router_paths.h"
#include "sources/reply_memo.h"
#include "support.h"
#include "text/text_buffer.h"

namespace tavio {
namespace {

// The port is cached for the whole process; once a test has run, the default can no longer be
// seen in this process (ctest runs every test in a process of its own).
bool g_port_may_be_cached = false;

// The stand-in fetch tool: logs one line per call, copies reply.json (when there is one) onto
// its -O name and marks the header file it was given ("seen", so a later call tells whether
// the file was written again).
const char* const kFakeFetchTool = R"sh(#!/bin/sh
here=$(dirname "$0")/..
echo "$*" >> "$here/wget.log"
while [ $# -gt 1 ]; do
  if [ "$1" = -O ] && [ -f "$here/reply.json" ]; then cp "$here/reply.json" "$2"; fi
  if [ "$1" = -e ]; then echo seen >> "$2"; fi
  shift
done
)sh";
const char* const kHarmlessStandIn =
    "#!/bin/sh\necho \"$0 $*\" >> \"$(dirname \"$0\")/../stand-ins.log\"\n";

class LocalApiTest : public TempRootTest {
 protected:
  void SetUp() override {
    TempRootTest::SetUp();
    stand_in("wget_https", kFakeFetchTool);
    for (const char* name : {"reboot", "restoreconfig", "saveconfig", "activate"}) {
      stand_in(name, kHarmlessStandIn);
    }
    write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=8080\n");
  }
  void TearDown() override {
    g_port_may_be_cached = true;
    api_end_run();
    EXPECT_TRUE(list(kRunDir).empty());
    TempRootTest::TearDown();
    EXPECT_FALSE(exists("/stand-ins.log")) << "a command that changes the machine ran";
  }

  std::size_t calls() const {
    const std::string log = read("/wget.log").value_or("");
    return static_cast<std::size_t>(std::count(log.begin(), log.end(), '\n'));
  }
  // What the run's header file holds; only it may be left in the run directory.
  std::string header_file() const {
    const std::string name = format_text(kPathCapacity, kApiHeaderFormat, ::getpid());
    const std::vector<std::string> left = list(kRunDir);
    EXPECT_TRUE(left.empty() || (left.size() == 1 && name.find(left[0]) != std::string::npos));
    return read(name).value_or("");
  }
};

TEST_F(LocalApiTest, PortDefaultsTo80UntilFileGivesOneThenKeepsIt) {
  if (g_port_may_be_cached) {
    GTEST_SKIP() << "a port is already cached in this process";
  }
  ::unlink(host("/etc/localhost_http_port").c_str());
  EXPECT_EQ(api_base_url(kPathCapacity), "http://127.0.0.1:80/api");
  for (const char* content : {"", "OTHER=1\n", "LOCAL_HTTP_PORT=\n", "LOCAL_HTTP_PORT=0\n"}) {
    write("/etc/localhost_http_port", content);
    EXPECT_EQ(api_port(), 80) << content;
  }
  // Nothing was cached, so a valid port written now is still found, and then kept.
  write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=8080\n");
  EXPECT_EQ(api_port(), 8080);
  write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=9090\n");
  EXPECT_EQ(api_port(), 8080);
}

#ifndef TAVIO_API_HTTP  // the tool's own: its files

// A read is fetched once per run, failed or not; a change makes every read afresh. The header
// file is written again only when a call needs other lines (reads and posts differ).
TEST_F(LocalApiTest, ReadsAreFetchedOncePerRunUntilAChange) {
  write("/reply.json", "{\"response\": {\"a\": 1}}");
  for (int i = 0; i < 3; ++i) {
    const JsonPtr result = api_read("status.system.info", "&infoType=cpuLoad");
    ASSERT_TRUE(result);
    EXPECT_EQ(json_integer_value(json_object_get(result.get(), "a")), 1);
  }
  EXPECT_TRUE(api_read("status.system.info", "&infoType=device"));
  EXPECT_EQ(calls(), 2u);
  EXPECT_EQ(header_file(), "WEB-ADMIN-ACCESS-MODE: RW\nseen\nseen\n");
  EXPECT_TRUE(api_post("system.action", "{}"));
  EXPECT_EQ(header_file(), "WEB-ADMIN-ACCESS-MODE: RW\nContent-Type: application/json\nseen\n");
  EXPECT_TRUE(api_read("status.system.info", "&infoType=cpuLoad"));
  EXPECT_EQ(calls(), 4u);
  EXPECT_EQ(header_file(), "WEB-ADMIN-ACCESS-MODE: RW\nseen\n");
  // The query reaches the tool as it is: no escape in front of "&".
  EXPECT_NE(read("/wget.log")->find("/api/status.system.info&infoType=cpuLoad\n"),
            std::string::npos);
}

#endif

}  // namespace
}  // namespace tavio

// The local API client against a stand-in wget_https first on PATH: the parts no end-to-end
// case reaches (the default port, posts with a body, failures after the tool wrote a reply,
// temporary files that cannot be written), that no temporary file outlives a call, and that
// a link planted at a temporary file's name never leads a write elsewhere.
#include "sources/local_api.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "platform/json_get.h"
#include "platform/text_buffer.h"
#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::kRunDir;
using tavio_test::TempRootTest;

// The port is cached for the whole process; once a test has run, the default can no longer be
// seen in this process (ctest runs every test in a process of its own).
bool g_port_may_be_cached = false;

// The stand-in fetch tool: logs its arguments in brackets, keeps copies of the request files,
// and answers with reply.json and the exit status in exit_status, all beside its folder.
const char* const kFakeFetchTool = R"sh(#!/bin/sh
here=$(dirname "$0")/..
{ for arg in "$@"; do printf '[%s]' "$arg"; done; echo; } >> "$here/wget.log"
while [ $# -gt 1 ]; do
  case "$1" in
    -f) cp "$2" "$here/seen_body" ;;
    -e) cp "$2" "$here/seen_headers" ;;
    -O) if [ -f "$here/reply.json" ]; then cp "$here/reply.json" "$2"; fi ;;
  esac
  shift
done
exit "$(cat "$here/exit_status" 2>/dev/null || echo 0)"
)sh";
const char* const kHarmlessStandIn =
    "#!/bin/sh\necho \"$0 $*\" >> \"$(dirname \"$0\")/../stand-ins.log\"\n";
const char* const kJsonHeaders = "WEB-ADMIN-ACCESS-MODE: RW\nContent-Type: application/json\n";

// Puts the stand-ins first on PATH and checks that the shell finds them there before any test
// runs a command.
class LocalApiTest : public TempRootTest {
 protected:
  void SetUp() override {
    TempRootTest::SetUp();
    if (HasFatalFailure()) {
      return;
    }
    const std::string bin = root_.path() + "/test-bin";
    const char* path = std::getenv("PATH");
    saved_path_ = path == nullptr ? "/usr/bin:/bin" : path;
    ::setenv("PATH", (bin + ":" + saved_path_).c_str(), 1);
    for (const std::string name :
         {"wget_https", "reboot", "restoreconfig", "saveconfig", "activate"}) {
      root_.write("/test-bin/" + name, name[0] == 'w' ? kFakeFetchTool : kHarmlessStandIn);
      ASSERT_EQ(::chmod((bin + "/" + name).c_str(), 0755), 0);
      const std::string check = "test \"$(command -v " + name + ")\" = " + bin + "/" + name;
      ASSERT_EQ(std::system(check.c_str()), 0) << name << ": stand-in not first on PATH";
    }
    root_.write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=8080\n");
    reply("{\"response\": {\"state\": \"up\"}}");
  }

  void TearDown() override {
    g_port_may_be_cached = true;
    ::setenv("PATH", saved_path_.c_str(), 1);
    EXPECT_FALSE(root_.exists("/stand-ins.log")) << "a command that changes the machine ran";
  }

  void reply(const std::string& document) { root_.write("/reply.json", document); }
  void exit_status(int status) { root_.write("/exit_status", std::to_string(status)); }
  std::string run_file(const char* prefix, const char* suffix) const {
    return root_.host(std::string(kRunDir) + "/" + prefix + std::to_string(::getpid()) + suffix);
  }
  std::vector<std::string> calls() const {
    std::istringstream log(root_.read("/wget.log").value_or(""));
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) {
      lines.push_back(line);
    }
    return lines;
  }

  std::string saved_path_;
};

TEST_F(LocalApiTest, PortDefaultsTo80UntilFileGivesOneThenKeepsIt) {
  if (g_port_may_be_cached) {
    GTEST_SKIP() << "a port is already cached in this process";
  }
  ::unlink(root_.host("/etc/localhost_http_port").c_str());
  EXPECT_EQ(api_base_url(kPathCapacity), "http://127.0.0.1:80/api");
  for (const char* content : {"", "OTHER=1\n", "LOCAL_HTTP_PORT=\n", "LOCAL_HTTP_PORT=0\n"}) {
    root_.write("/etc/localhost_http_port", content);
    EXPECT_EQ(api_port(), 80) << content;
  }
  // Nothing was cached, so a valid port written now is still found, and then kept.
  root_.write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=8080\n");
  EXPECT_EQ(api_port(), 8080);
  root_.write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=9090\n");
  EXPECT_EQ(api_port(), 8080);
}

TEST_F(LocalApiTest, PostSendsBodyFileAndLeavesNoFiles) {
  ApiResultPtr result = api_request("{\"action\":\"remoteAssistance\",\"enable\":true}",
                                    api_json_headers().c_str(), "system.action");
  ASSERT_TRUE(result);
  EXPECT_EQ(calls(), std::vector<std::string>{"[-T][10][-f][" + run_file("wget_input_", ".txt") +
                                              "][-e][" + run_file("wget_ext_hdr_", ".txt") +
                                              "][-O][" + run_file("wget_result_", ".json") +
                                              "][http://127.0.0.1:8080/api/system.action]"});
  EXPECT_EQ(root_.read("/seen_body"), "{\"action\":\"remoteAssistance\",\"enable\":true}");
  EXPECT_EQ(root_.read("/seen_headers"), kJsonHeaders);
  EXPECT_STREQ(jget_string(result->response, "state", ""), "up");
  EXPECT_TRUE(root_.list(kRunDir).empty());
  api_result_free(std::move(result));
}

// A link at a temporary file's name, pointing at a file elsewhere, is replaced by a fresh file
// (the stand-in copies the reply onto its -O name, which would follow a link) and is gone
// afterwards; the file it points at stays as it was.
TEST_F(LocalApiTest, PlantedLinksAreNeverWrittenThrough) {
  const char* const kVictim = "/victim.txt";
  const struct {
    const char* prefix;
    const char* suffix;
    bool post_without_reply;
  } cases[] = {{"wget_ext_hdr_", ".txt", false},
               {"wget_input_", ".txt", false},
               {"wget_result_", ".json", false},
               {"wget_ext_hdr_", ".txt", true},
               {"wget_input_", ".txt", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.prefix) + (c.post_without_reply ? " (no reply)" : ""));
    root_.write(kVictim, "victim");
    ASSERT_EQ(::symlink(root_.host(kVictim).c_str(), run_file(c.prefix, c.suffix).c_str()), 0);
    if (c.post_without_reply) {
      EXPECT_EQ(api_post_no_reply("cmd.system.reboot", "{\"enable\":true}"), 1);
    } else {
      EXPECT_TRUE(api_request("{\"enable\":true}", api_json_headers().c_str(), "system.action"));
    }
    EXPECT_EQ(root_.read("/seen_body"), "{\"enable\":true}");
    EXPECT_EQ(root_.read("/seen_headers"), kJsonHeaders);
    EXPECT_EQ(root_.read(kVictim), "victim");
    EXPECT_TRUE(root_.list(kRunDir).empty());
  }
}

// Other bad replies and failing tools without a reply are end-to-end cases.
TEST_F(LocalApiTest, FailuresGiveNothingAndLeaveNoFiles) {
  const struct {
    const char* reply;  // null: the tool writes nothing
    int status;
  } cases[] = {{nullptr, 0},
               {"{\"response\": {}}", 1},
               {"{\"error\": \"busy\"}", 0},
               {"<html>busy</html>", 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.reply == nullptr ? "no reply" : c.reply);
    ::unlink(root_.host("/reply.json").c_str());
    if (c.reply != nullptr) {
      reply(c.reply);
    }
    exit_status(c.status);
    EXPECT_FALSE(api_request(nullptr, nullptr, "status.wan.connection?id=1"));
    EXPECT_FALSE(api_request("{}", api_json_headers().c_str(), "system.action"));
    EXPECT_TRUE(root_.list(kRunDir).empty());
  }
  EXPECT_EQ(calls().size(), 8u);
}

TEST_F(LocalApiTest, NothingRunsWithoutPathOrWritableFiles) {
  EXPECT_FALSE(api_request(nullptr, nullptr, nullptr));
  // Empty header or body texts are not written: the files made before them go again.
  EXPECT_FALSE(api_request(nullptr, "", "status.wan.connection?id=1"));
  EXPECT_FALSE(api_request("", nullptr, "system.action"));
  EXPECT_TRUE(root_.list(kRunDir).empty());
  EXPECT_EQ(api_post_no_reply("cmd.system.reboot", ""), 0);
  EXPECT_TRUE(root_.list(kRunDir).empty());
  // The run directory belongs to the system; it is never created here.
  ::rmdir(root_.host(kRunDir).c_str());
  EXPECT_FALSE(api_request(nullptr, nullptr, "status.wan.connection?id=1"));
  EXPECT_EQ(api_post_no_reply("cmd.system.reboot", "{\"enable\":true}"), 0);
  EXPECT_FALSE(root_.exists(kRunDir));
  EXPECT_TRUE(calls().empty());
}

TEST_F(LocalApiTest, PostWithoutReplySucceedsEvenWhenToolFails) {
  for (int status : {0, 1}) {
    exit_status(status);
    EXPECT_EQ(api_post_no_reply("cmd.system.reboot", "{\"enable\":true}"), 1) << status;
    EXPECT_EQ(root_.read("/seen_body"), "{\"enable\":true}");
    EXPECT_EQ(root_.read("/seen_headers"), kJsonHeaders);
    EXPECT_TRUE(root_.list(kRunDir).empty()) << status;
  }
  const std::string expected = "[-T][10][-f][" + run_file("wget_input_", ".txt") + "][-e][" +
                               run_file("wget_ext_hdr_", ".txt") +
                               "][http://127.0.0.1:8080/api/cmd.system.reboot]";
  EXPECT_EQ(calls(), (std::vector<std::string>{expected, expected}));
}

}  // namespace
}  // namespace tavio

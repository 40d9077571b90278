// The local API client against a stand-in wget_https first on PATH: the exact command lines,
// the request files it sees, and that no temporary file outlives a call.
#include "sources/local_api.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "app/json_get.h"
#include "platform/text_buffer.h"
#include "temp_root.h"

namespace tavio {
namespace {

using tavio_test::kRunDir;
using tavio_test::TempRootTest;

// The port is cached for the whole process; once a test has let it be read, the default can
// no longer be seen in this process (ctest runs every test in a process of its own).
bool g_port_may_be_cached = false;

// The stand-in fetch tool: logs its arguments in brackets, keeps copies of the request files,
// and answers with reply.json and the exit status in exit_status, all beside its folder.
const char* const kFakeFetchTool = R"sh(#!/bin/sh
here=$(dirname "$0")/..
{ for arg in "$@"; do printf '[%s]' "$arg"; done; echo; } >> "$here/wget.log"
out=
while [ $# -gt 0 ]; do
  case "$1" in
    -f) cp "$2" "$here/seen_body"; shift ;;
    -e) cp "$2" "$here/seen_headers"; shift ;;
    -O) out=$2; shift ;;
    -T) shift ;;
  esac
  shift
done
if [ -n "$out" ] && [ -f "$here/reply.json" ]; then cat "$here/reply.json" > "$out"; fi
exit "$(cat "$here/exit_status" 2>/dev/null || echo 0)"
)sh";
const char* const kHarmlessStandIn =
    "#!/bin/sh\necho \"$0 $*\" >> \"$(dirname \"$0\")/../stand-ins.log\"\n";

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
    for (const char* name : {"wget_https", "reboot", "restoreconfig", "saveconfig", "activate"}) {
      root_.write(std::string("/test-bin/") + name,
                  name[0] == 'w' ? kFakeFetchTool : kHarmlessStandIn);
      ASSERT_EQ(::chmod((bin + "/" + name).c_str(), 0755), 0);
    }
    const char* path = std::getenv("PATH");
    saved_path_ = path == nullptr ? "/usr/bin:/bin" : path;
    ::setenv("PATH", (bin + ":" + saved_path_).c_str(), 1);
    for (const char* name : {"wget_https", "reboot", "restoreconfig", "saveconfig", "activate"}) {
      ASSERT_EQ(resolve(name), bin + "/" + name + "\n") << "stand-in not first on PATH";
    }
    if (with_port_file_) {
      root_.write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=8080\n");
      g_port_may_be_cached = true;
    }
    reply("{\"response\": {\"state\": \"up\"}}");
    pid_ = std::to_string(::getpid());
  }

  void TearDown() override {
    ::setenv("PATH", saved_path_.c_str(), 1);
    EXPECT_FALSE(root_.exists("/stand-ins.log")) << "a command that changes the machine ran";
  }

  static std::string resolve(const char* name) {
    std::FILE* pipe = ::popen((std::string("command -v ") + name).c_str(), "r");
    char line[1024] = "";
    if (pipe != nullptr && std::fgets(line, sizeof line, pipe) == nullptr) {
      line[0] = '\0';
    }
    if (pipe != nullptr) {
      ::pclose(pipe);
    }
    return line;
  }

  void reply(const std::string& document) { root_.write("/reply.json", document); }
  void exit_status(int status) { root_.write("/exit_status", std::to_string(status)); }
  std::string run_file(const char* prefix, const char* suffix) const {
    return root_.host(std::string(kRunDir) + "/" + prefix + pid_ + suffix);
  }
  std::vector<std::string> calls() const {
    std::vector<std::string> lines;
    const std::string log = root_.read("/wget.log").value_or("");
    for (std::size_t at = 0, end; (end = log.find('\n', at)) != std::string::npos; at = end + 1) {
      lines.push_back(log.substr(at, end - at));
    }
    return lines;
  }

  bool with_port_file_ = true;
  std::string saved_path_;
  std::string pid_;
};

class LocalApiNoPortFileTest : public LocalApiTest {
 protected:
  LocalApiNoPortFileTest() { with_port_file_ = false; }
};

TEST_F(LocalApiNoPortFileTest, PortDefaultsTo80AndFileIsTriedAgain) {
  if (g_port_may_be_cached) {
    GTEST_SKIP() << "a port is already cached in this process";
  }
  EXPECT_EQ(api_port(), 80);
  EXPECT_EQ(api_base_url(kPathCapacity), "http://127.0.0.1:80/api");
  ASSERT_TRUE(api_request(nullptr, nullptr, "status.system.info"));
  ASSERT_EQ(calls().size(), 1u);
  EXPECT_EQ(calls()[0].substr(calls()[0].rfind('[')),
            "[http://127.0.0.1:80/api/status.system.info]");
  for (const char* content : {"", "OTHER=1\n", "LOCAL_HTTP_PORT=\n", "LOCAL_HTTP_PORT=0\n"}) {
    root_.write("/etc/localhost_http_port", content);
    EXPECT_EQ(api_port(), 80) << content;
  }
  // Nothing was cached, so a valid port written now is still found.
  root_.write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=8080\n");
  g_port_may_be_cached = true;
  EXPECT_EQ(api_port(), 8080);
}

TEST_F(LocalApiTest, PortIsReadOnceThenKept) {
  EXPECT_EQ(api_port(), 8080);
  root_.write("/etc/localhost_http_port", "LOCAL_HTTP_PORT=9090\n");
  EXPECT_EQ(api_port(), 8080);
  EXPECT_EQ(api_base_url(kPathCapacity), "http://127.0.0.1:8080/api");
}

TEST_F(LocalApiTest, GetRunsToolAndKeepsFilesUntilReleased) {
  ApiResultPtr result = api_request(nullptr, nullptr, "status.wan.connection?id=2");
  ASSERT_TRUE(result);
  EXPECT_EQ(calls(),
            std::vector<std::string>{"[-T][10][-e][" + run_file("wget_ext_hdr_", ".txt") +
                                     "][-O][" + run_file("wget_result_", ".json") +
                                     "][http://127.0.0.1:8080/api/status.wan.connection?id=2]"});
  EXPECT_EQ(root_.read("/seen_headers"), "WEB-ADMIN-ACCESS-MODE: RW\n");
  EXPECT_STREQ(jget_string(result->response, "state", ""), "up");
  EXPECT_EQ(root_.list(kRunDir).size(), 2u);  // header and result, no body file
  api_result_free(std::move(result));
  EXPECT_TRUE(root_.list(kRunDir).empty());
}

TEST_F(LocalApiTest, PostSendsBodyFileAndJsonHeaders) {
  ApiResultPtr result = api_request("{\"action\":\"remoteAssistance\",\"enable\":true}",
                                    api_json_headers().c_str(), "system.action");
  ASSERT_TRUE(result);
  EXPECT_EQ(calls(), std::vector<std::string>{"[-T][10][-f][" + run_file("wget_input_", ".txt") +
                                              "][-e][" + run_file("wget_ext_hdr_", ".txt") +
                                              "][-O][" + run_file("wget_result_", ".json") +
                                              "][http://127.0.0.1:8080/api/system.action]"});
  EXPECT_EQ(root_.read("/seen_body"), "{\"action\":\"remoteAssistance\",\"enable\":true}");
  EXPECT_EQ(root_.read("/seen_headers"),
            "WEB-ADMIN-ACCESS-MODE: RW\nContent-Type: application/json\n");
  EXPECT_EQ(root_.list(kRunDir).size(), 3u);
  api_result_free(std::move(result));
  EXPECT_TRUE(root_.list(kRunDir).empty());
}

TEST_F(LocalApiTest, EscapedAmpersandReachesToolAsOneUrl) {
  ApiResultPtr result = api_request(nullptr, nullptr, "status.port?lite=no\\&id=3");
  ASSERT_TRUE(result);
  ASSERT_EQ(calls().size(), 1u);
  const std::string call = calls()[0];
  EXPECT_EQ(call.substr(call.rfind('[')), "[http://127.0.0.1:8080/api/status.port?lite=no&id=3]");
}

TEST_F(LocalApiTest, FailuresGiveNothingAndLeaveNoFiles) {
  const struct {
    const char* name;
    const char* reply;  // null: the tool writes nothing
    int status;
  } cases[] = {{"NoResponseMember", "{\"error\": \"busy\"}", 0},
               {"NotJson", "<html>", 0},
               {"NoOutput", nullptr, 0},
               {"ToolFailedWithReply", "{\"response\": {}}", 1},
               {"TimedOut", nullptr, 124}};
  for (const auto& c : cases) {
    if (c.reply == nullptr) {
      ::unlink(root_.host("/reply.json").c_str());
    } else {
      reply(c.reply);
    }
    exit_status(c.status);
    EXPECT_FALSE(api_request(nullptr, nullptr, "status.wan.connection?id=1")) << c.name;
    EXPECT_FALSE(api_request("{}", api_json_headers().c_str(), "system.action")) << c.name;
    EXPECT_TRUE(root_.list(kRunDir).empty()) << c.name;
  }
  EXPECT_EQ(calls().size(), 10u);
}

TEST_F(LocalApiTest, NothingRunsWithoutPathOrWritableFiles) {
  EXPECT_FALSE(api_request(nullptr, nullptr, nullptr));
  EXPECT_FALSE(api_request(nullptr, "", "status.wan.connection?id=1"));  // empty header text
  EXPECT_FALSE(api_request("", nullptr, "system.action"));               // empty body
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
    EXPECT_EQ(root_.read("/seen_headers"),
              "WEB-ADMIN-ACCESS-MODE: RW\nContent-Type: application/json\n");
    EXPECT_TRUE(root_.list(kRunDir).empty()) << status;
  }
  const std::string expected = "[-T][10][-f][" + run_file("wget_input_", ".txt") + "][-e][" +
                               run_file("wget_ext_hdr_", ".txt") +
                               "][http://127.0.0.1:8080/api/cmd.system.reboot]";
  EXPECT_EQ(calls(), (std::vector<std::string>{expected, expected}));
}

}  // namespace
}  // namespace tavio

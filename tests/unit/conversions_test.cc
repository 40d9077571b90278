// Numbers and texts read or checked on their way in and out: item numbers, integer members of
// documents, the uptime text, outside texts on their way into tools' arguments, and the command
// line's texts cut to their buffers (getopt's rules, the panel types and -d are end to end).
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/options.h"
#include "protocol/json_get.h"
#include "sources/outside_text.h"
#include "status/system_info.h"
#include "tavio/json_ref.h"
#include "text/numbers.h"

namespace tavio {
namespace {

// Item numbers are read like "%d" from the text after the item's prefix, limited to 32 bits
// as on the router.
TEST(ScanInt, ReadsLikeScanfWith32BitLimits) {
  const struct {
    const char* text;
    std::optional<int> expected;
  } cases[] = {
      {"2", 2},
      {"2x", 2},
      {" \t7", 7},
      {"+3", 3},
      {"-4", -4},
      {"007", 7},
      {"x", std::nullopt},
      {"", std::nullopt},
      {"-", std::nullopt},
      {" +", std::nullopt},
      {"99999999999", INT_MAX},
      {"-99999999999999999999999", INT_MIN},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(scan_int(c.text), c.expected) << c.text;
  }
}

// Integer members of requests and replies: cut to 32 bits like the router's own readers, zero
// for other types, the default when missing. Reals and texts are read in the golden cases.
TEST(JsonGet, IntegersCutTo32BitsOtherTypesZero) {
  const struct {
    const char* key;
    std::int32_t expected;
  } cases[] = {{"n", 7},    {"big", 1},  {"min", INT32_MIN}, {"neg", -1},       {"text", 0},
               {"real", 0}, {"flag", 0}, {"none", 0},        {"missing", -9999}};
  const JsonPtr doc = json_own(json_loads(
      R"({"big": 4294967297, "min": 2147483648, "neg": -1, "n": 7, "text": "12",
          "real": 2.5, "empty": "", "flag": true, "none": null})",
      0, nullptr));
  ASSERT_TRUE(doc);
  for (const auto& c : cases) {
    EXPECT_EQ(jget_int(doc.get(), c.key, -9999), c.expected) << c.key;
  }
  EXPECT_EQ(jget_int(nullptr, "n", -1), -1);
}

// The uptime text: days, then hours, minutes and seconds of two digits; "days" from 2 on;
// 32-bit arithmetic as on the router.
TEST(UptimeText, Table) {
  const struct {
    long seconds;
    const char* expected;
  } cases[] = {
      {0, "0 day 00:00:00"},         {9, "0 day 00:00:09"},
      {3599, "0 day 00:59:59"},      {36610, "0 day 10:10:10"},
      {86399, "0 day 23:59:59"},     {86400, "1 day 00:00:00"},
      {172799, "1 day 23:59:59"},    {172800, "2 days 00:00:00"},
      {1074030, "12 days 10:20:30"}, {2147483647, "24855 days 03:14:07"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(uptime_text(c.seconds), c.expected) << c.seconds;
  }
}

// The room of the panel serial on the panel-reload line: 36 characters.
TEST(OutsideText, TextThatWouldBeCutOrReadAsAnOptionIsRefused) {
  const struct {
    std::string text;
    bool fits;
  } cases[] = {
      {"PNL-0001", true},
      {"", true},
      {std::string(36, 'a'), true},  // the last that fits
      {std::string(37, 'a'), false},
      {"a b'" + std::string(32, 'c'), true},  // blanks and quotes are characters like others
      {"-s", false},
      {"-", false},
      {"a-b", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    EXPECT_EQ(outside_argument_fits(c.text, 36), c.fits);
  }
}

Options parse(std::vector<std::string> args) {
  args.insert(args.begin(), "tavio");
  std::vector<char*> argv;
  argv.reserve(args.size() + 1);
  for (std::string& arg : args) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  return parse_options(static_cast<int>(args.size()), argv.data());
}

// An option the panel does not know is skipped: the options after it still count. The panel's
// text keeps its size (the serial's cut is read-serial-cut's, paths used whole the robustness
// limits').
TEST(ParseOptions, UnknownOptionSkippedTextCutToItsBuffer) {
  EXPECT_EQ(parse({"-q", "-o", "out"}).output_path, "out");
  EXPECT_EQ(parse({"-t", std::string(255, 't')}).text, std::string(255, 't'));
  EXPECT_EQ(parse({"-t", std::string(256, 't')}).text, std::string(255, 't'));
}

}  // namespace
}  // namespace tavio

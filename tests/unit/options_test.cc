// The command line as the display process writes it: getopt's rules, panel types other than 0
// and 1 read as External, nothing looked at after -d, texts cut to their buffers.
#include "app/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tavio {
namespace {

Options parse(std::vector<std::string> args) {
  args.insert(args.begin(), "tavio");
  std::vector<char*> argv;
  for (std::string& arg : args) {
    argv.push_back(arg.data());
  }
  argv.push_back(nullptr);
  return parse_options(static_cast<int>(args.size()), argv.data());
}

// Every field on one line, so that a row of a table states the whole outcome.
std::string summary(const Options& options) {
  return "x" + std::to_string(static_cast<int>(options.panel_type)) +
         (options.keycode ? " K" : "") + (options.dump ? " d" : "") + " i=" + options.input_path +
         " o=" + options.output_path + " t=" + options.text + " s=" + options.serial;
}

TEST(ParseOptions, Table) {
  const struct {
    std::vector<std::string> args;
    const char* expected;
  } cases[] = {
      {{}, "x0 i= o= t= s="},
      // Panel types 2, -1, letters and a missing one are end-to-end cases.
      {{"-x1"}, "x1 i= o= t= s="},
      {{"-x", "1x"}, "x1 i= o= t= s="},
      // The word after -x is its argument, even when it looks like an option.
      {{"-x", "-K"}, "x0 i= o= t= s="},
      {{"-K", "-x", "1", "-i", "in", "-o", "out", "-s", "PNL1"}, "x1 K i=in o=out t= s=PNL1"},
      {{"-s", "PNL1", "-o", "out", "-i", "in", "-x", "1", "-K"}, "x1 K i=in o=out t= s=PNL1"},
      {{"-i", "first", "-i", "second", "-o", "out"}, "x0 i=second o=out t= s="},
      {{"-o", "menu", "-t", "Hello panel"}, "x0 i= o=menu t=Hello panel s="},
      {{"-q", "-o", "out"}, "x0 i= o=out t= s="},
      // -d runs the dump at once: what follows it is never looked at.
      {{"-d", "-x", "1"}, "x0 d i= o= t= s="},
      {{"-Kd", "-o", "out"}, "x0 K d i= o= t= s="},
      {{"-dK"}, "x0 d i= o= t= s="},
      // Right after a cluster left half-parsed: a fresh parse.
      {{"-o", "out"}, "x0 i= o=out t= s="},
  };
  for (const auto& c : cases) {
    std::string line;
    for (const std::string& arg : c.args) {
      line += arg + " ";
    }
    EXPECT_EQ(summary(parse(c.args)), c.expected) << line;
  }
}

// The panel's texts keep their sizes; the file paths are used whole.
TEST(ParseOptions, CutsTextsToTheirBuffers) {
  const struct {
    std::size_t length, kept, serial_length, serial_kept;
  } cases[] = {{255, 255, 15, 15}, {256, 255, 16, 15}};
  for (const auto& c : cases) {
    const Options options =
        parse({"-i", std::string(c.length, 'i'), "-o", std::string(c.length, 'o'), "-t",
               std::string(c.length, 't'), "-s", std::string(c.serial_length, 's')});
    EXPECT_EQ(options.input_path, std::string(c.length, 'i')) << c.length;
    EXPECT_EQ(options.output_path, std::string(c.length, 'o')) << c.length;
    EXPECT_EQ(options.text, std::string(c.kept, 't')) << c.length;
    EXPECT_EQ(options.serial, std::string(c.serial_kept, 's')) << c.serial_length;
  }
}

}  // namespace
}  // namespace tavio

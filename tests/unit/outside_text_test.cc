// Outside texts on their way into tools' arguments and file names.
#include "sources/outside_text.h"

#include <gtest/gtest.h>

#include <string>

namespace tavio {
namespace {

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

}  // namespace
}  // namespace tavio

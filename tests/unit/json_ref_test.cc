// Handing owned values to a parent: null values are skipped, and the parent ends up holding
// the only reference (the sanitizer build reports a leak or a double release otherwise).
#include "tavio/json_ref.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace tavio {
namespace {

TEST(JsonRef, AppendAndSetTakeOwnedValuesAndSkipNull) {
  const JsonPtr array = json_own(json_array());
  const JsonPtr object = json_own(json_object());
  ASSERT_TRUE(array && object);
  json_append(array.get(), json_own(json_string("a")));
  json_append(array.get(), nullptr);
  json_append(array.get(), json_own(json_integer(2)));
  json_set(object.get(), "k", json_own(json_string("first")));
  json_set(object.get(), "k", nullptr);  // keeps "first"
  json_set(object.get(), "n", json_own(json_integer(1)));
  json_set(object.get(), "n", json_own(json_integer(3)));  // replaces 1

  const auto dump = [](const json_t* value) {
    char* text = json_dumps(value, JSON_COMPACT | JSON_SORT_KEYS);
    std::string out = text == nullptr ? "" : text;
    std::free(text);
    return out;
  };
  EXPECT_EQ(dump(array.get()), "[\"a\",2]");
  EXPECT_EQ(dump(object.get()), "{\"k\":\"first\",\"n\":3}");
  EXPECT_EQ(json_array_get(array.get(), 0)->refcount, 1u);
}

}  // namespace
}  // namespace tavio

// Responses are written by tavio's own compact writer: byte for byte what Jansson's
// JSON_COMPACT writes, for the documents tavio builds and for random ones.
#include "protocol/json_text.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <string>

#include "tavio/json_ref.h"

namespace tavio {
namespace {

std::string jansson_text(const json_t* document) {
  std::unique_ptr<char, decltype(&std::free)> text(json_dumps(document, JSON_COMPACT), &std::free);
  return text ? std::string(text.get()) : std::string("(none)");
}

TEST(JsonText, SameTextAsJanssonForEveryKindOfValue) {
  // What the random documents below do not hold: escapes of every kind in keys, characters
  // beyond the basic plane, the integers at the ends of their range.
  const char* const documents[] = {
      R"({"key \"quoted\" / \\":["\ud83d\ude00","\u2028"]})",
      R"([9223372036854775807,-9223372036854775808,1e300,-0.0])",
  };

  for (const char* text : documents) {
    SCOPED_TRACE(text);
    const JsonPtr document = json_own(json_loads(text, 0, nullptr));
    ASSERT_TRUE(document);
    EXPECT_EQ(json_compact_text(document.get()).value_or("(none)"), jansson_text(document.get()));
  }
  // A key holding a NUL is written whole, as Jansson writes it.
  const JsonPtr object = json_own(json_object());
  json_object_setn_new(object.get(), "a\0b", 3, json_string("x"));
  EXPECT_EQ(json_compact_text(object.get()).value_or("(none)"), jansson_text(object.get()));
}

TEST(JsonText, OnlyObjectsAndArraysAreDocuments) {
  EXPECT_FALSE(json_compact_text(nullptr));
  const JsonPtr text = json_own(json_string("x"));
  EXPECT_FALSE(json_compact_text(text.get()));
}

// Random trees of every kind of value and every byte a string may hold.
JsonPtr random_value(std::mt19937& random, int depth) {
  switch (random() % (depth > 3 ? 5 : 7)) {
    case 0: {
      std::string text;
      const std::size_t length = random() % 12;
      for (std::size_t i = 0; i < length; ++i) {
        text += static_cast<char>(1 + random() % 127);  // ASCII with every control character
      }
      text += random() % 4 == 0 ? "\xc3\xa9\xe2\x80\xa8" : "";
      return json_own(json_string(text.c_str()));
    }
    case 1:
      return json_own(json_integer(static_cast<json_int_t>(random()) - (1LL << 31)));
    case 2:
      return json_own(json_real(static_cast<double>(random()) / 7.0));
    case 3:
      return json_own(random() % 2 == 0 ? json_true() : json_false());
    case 4:
      return json_own(json_null());
    case 5: {
      JsonPtr array = json_own(json_array());
      for (std::size_t i = random() % 5; i > 0; --i) {
        json_append(array.get(), random_value(random, depth + 1));
      }
      return array;
    }
    default: {
      JsonPtr object = json_own(json_object());
      for (std::size_t i = random() % 5; i > 0; --i) {
        json_set(object.get(), ("k" + std::to_string(random() % 9)).c_str(),
                 random_value(random, depth + 1));
      }
      return object;
    }
  }
}

TEST(JsonText, SameTextAsJanssonForRandomDocuments) {
  std::mt19937 random(20261124);
  for (int i = 0; i < 2000; ++i) {
    JsonPtr document = json_own(json_array());
    json_append(document.get(), random_value(random, 0));
    ASSERT_EQ(json_compact_text(document.get()).value_or("(none)"), jansson_text(document.get()))
        << "document " << i;
  }
}

}  // namespace
}  // namespace tavio

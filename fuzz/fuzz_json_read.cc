// tavio's JSON reader against Jansson's own, on any bytes: the same texts accepted, the same
// values read, in the same order.
#include <jansson.h>

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "harness.h"
#include "protocol/json_read.h"
#include "tavio/json_ref.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const tavio::JsonPtr ours = tavio::json_read(text);
  const tavio::JsonPtr theirs(json_loadb(text.data(), text.size(), 0, nullptr));
  if (!ours != !theirs) {
    tavio_fuzz::fuzz_fail(ours ? "read a text Jansson refuses" : "refused a text Jansson reads",
                          text);
  }
  if (ours) {
    const std::size_t flags = JSON_COMPACT | JSON_ENCODE_ANY;
    char* our_text = json_dumps(ours.get(), flags);
    char* their_text = json_dumps(theirs.get(), flags);
    const bool same =
        our_text != nullptr && their_text != nullptr && std::string_view(our_text) == their_text;
    std::free(our_text);
    std::free(their_text);
    if (!same) {
      tavio_fuzz::fuzz_fail("read other values than Jansson's reader", text);
    }
  }
  return 0;
}

#include "protocol/json_memory.h"

#include <jansson.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>

#include "platform/os.h"
#include "platform/sanitizers.h"

namespace tavio {
namespace {

#if !TAVIO_ADDRESS_SANITIZER
// The example router's largest exchange, the home menu of the alternative theme, carves about
// 110 kilobytes. Pages of the area that are never carved are never touched, so they cost no
// memory.
constexpr std::size_t kAreaBytes = std::size_t{256} * 1024;
// Larger blocks (a long reply's text while it is read) come from malloc and go back to it.
constexpr std::size_t kLargestCarved = std::size_t{4} * 1024;
constexpr std::size_t kAlignment = alignof(std::max_align_t);

alignas(std::max_align_t) unsigned char g_area[kAreaBytes];
std::size_t g_used = 0;
// The last block carved: given back at once when it is dropped first, as a string being read
// often is.
std::size_t g_last = kAreaBytes;

void* carve(std::size_t size) {
  const std::size_t rounded = (size + kAlignment - 1) & ~(kAlignment - 1);
  if (size == 0 || size > kLargestCarved || rounded > kAreaBytes - g_used) {
    return std::malloc(size);
  }
  g_last = g_used;
  g_used += rounded;
  return g_area + g_last;
}

void drop(void* block) {
  const auto* byte = static_cast<const unsigned char*>(block);
  const std::less<const unsigned char*> before;  // an order for pointers into any object
  if (before(byte, g_area) || !before(byte, g_area + kAreaBytes)) {
    std::free(block);
  } else if (byte == g_area + g_last) {
    g_used = g_last;
    g_last = kAreaBytes;
  }
}
#endif

}  // namespace

void json_use_run_memory() {
  // Jansson would read /dev/urandom for it; the kernel's random bytes given at start do.
  json_object_seed(start_random());
#if !TAVIO_ADDRESS_SANITIZER
  json_set_alloc_funcs(carve, drop);
#endif
}

}  // namespace tavio

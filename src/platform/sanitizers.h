// Whether the build runs under AddressSanitizer, whose bookkeeping must see every allocation and
// cannot follow a second process in tavio's memory.
#ifndef TAVIO_PLATFORM_SANITIZERS_H
#define TAVIO_PLATFORM_SANITIZERS_H

#if defined(__SANITIZE_ADDRESS__)
#define TAVIO_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TAVIO_ADDRESS_SANITIZER 1
#endif
#endif
#ifndef TAVIO_ADDRESS_SANITIZER
#define TAVIO_ADDRESS_SANITIZER 0
#endif

#endif  // TAVIO_PLATFORM_SANITIZERS_H

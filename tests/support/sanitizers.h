// The sanitizer that the tests are built with: g++ defines macros, clang++ has features.
#pragma once

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

namespace tly::test {

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
inline constexpr bool kAddressIsSanitized = true;
#else
inline constexpr bool kAddressIsSanitized = false;
#endif

#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
inline constexpr bool kThreadIsSanitized = true;
#else
inline constexpr bool kThreadIsSanitized = false;
#endif

// Their own libraries keep alive what was loaded.
inline constexpr bool kLibrariesStayLoaded = kAddressIsSanitized || kThreadIsSanitized;

}  // namespace tly::test

#pragma once

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

CFURLRef KextManagerCreateURLForBundleIdentifier(CFAllocatorRef allocator, CFStringRef kextIdentifier);

#ifdef __cplusplus
}
#endif

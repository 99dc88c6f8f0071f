#pragma once

// Of Core Foundation what the adapters call, with the documented signatures, so that they compile where the
// framework is not. MacWorld.cpp has a world behind it.

#ifdef __cplusplus
extern "C" {
#endif

typedef const void* CFTypeRef;
typedef const struct CFAllocatorObject* CFAllocatorRef;
typedef const struct CFStringObject* CFStringRef;
typedef const struct CFURLObject* CFURLRef;
typedef struct CFBundleObject* CFBundleRef;
typedef const struct CFDictionaryObject* CFDictionaryRef;
typedef struct CFDictionaryObject* CFMutableDictionaryRef;
typedef struct CFRunLoopObject* CFRunLoopRef;
typedef struct CFRunLoopSourceObject* CFRunLoopSourceRef;

typedef unsigned char Boolean;
typedef int SInt32;
typedef unsigned int UInt32;
typedef long CFIndex;
typedef unsigned long CFTypeID;
typedef double CFTimeInterval;
typedef UInt32 CFStringEncoding;
typedef CFStringRef CFRunLoopMode;
typedef SInt32 CFRunLoopRunResult;
typedef CFIndex CFURLPathStyle;

enum { kCFNotFound = -1 };
enum { kCFStringEncodingUTF8 = 0x08000100 };
enum { kCFURLPOSIXPathStyle = 0 };
enum { kCFRunLoopRunFinished = 1, kCFRunLoopRunStopped = 2, kCFRunLoopRunTimedOut = 3 };

extern const CFAllocatorRef kCFAllocatorDefault;

void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);

CFTypeID CFStringGetTypeID(void);
CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding);
CFIndex CFStringGetLength(CFStringRef string);
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding);
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize, CFStringEncoding encoding);

CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef text, CFURLRef base);
CFURLRef CFURLCopyAbsoluteURL(CFURLRef url);
CFStringRef CFURLGetString(CFURLRef url);
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef place);
CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef folder);

CFRunLoopRef CFRunLoopGetCurrent(void);
void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode);
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds, Boolean returnAfterSourceHandled);
void CFRunLoopStop(CFRunLoopRef loop);

#ifdef __cplusplus
}
#endif

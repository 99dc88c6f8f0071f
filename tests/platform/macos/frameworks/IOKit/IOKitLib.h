#pragma once

// Of IOKit what the adapters call, with the documented signatures, so that they compile where the framework is not.
// MacWorld.cpp has a world behind it.

#include <CoreFoundation/CoreFoundation.h>
#include <mach/mach_init.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef mach_port_t io_object_t;
typedef io_object_t io_connect_t;
typedef io_object_t io_iterator_t;
typedef io_object_t io_registry_entry_t;
typedef io_object_t io_service_t;
typedef char io_name_t[128];
typedef kern_return_t IOReturn;
typedef UInt32 IOOptionBits;
typedef struct IONotificationPort* IONotificationPortRef;

// What a completion without further results calls.
typedef void (*IOAsyncCallback0)(void* refcon, IOReturn result);

// The words of an async reference.
enum {
  kIOAsyncReservedIndex = 0,
  kIOAsyncReservedCount,
  kIOAsyncCalloutFuncIndex = kIOAsyncReservedCount,
  kIOAsyncCalloutRefconIndex,
  kIOAsyncCalloutCount
};

#define IO_OBJECT_NULL ((io_object_t)0)
#define kIOReturnSuccess KERN_SUCCESS
#define kIOReturnError ((IOReturn)0xe00002bc)
#define kIOReturnNoMemory ((IOReturn)0xe00002bd)
#define kIOReturnNoResources ((IOReturn)0xe00002be)
#define kIOReturnNotPrivileged ((IOReturn)0xe00002c1)
#define kIOReturnBadArgument ((IOReturn)0xe00002c2)

kern_return_t IOObjectRelease(io_object_t object);
io_object_t IOIteratorNext(io_iterator_t iterator);
void IOIteratorReset(io_iterator_t iterator);
boolean_t IOIteratorIsValid(io_iterator_t iterator);

CFMutableDictionaryRef IOServiceMatching(const char* name);
// Consumes a reference to the dictionary.
kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort, CFDictionaryRef matching, io_iterator_t* existing);
// Does not.
kern_return_t IOServiceMatchPropertyTable(io_service_t service, CFDictionaryRef matching, boolean_t* matches);
kern_return_t IOServiceOpen(io_service_t service, task_port_t owningTask, uint32_t type, io_connect_t* connect);
kern_return_t IOServiceClose(io_connect_t connect);

kern_return_t IOConnectCallAsyncMethod(mach_port_t connection, uint32_t selector, mach_port_t wakePort,
                                       uint64_t* reference, uint32_t referenceCount, const uint64_t* input,
                                       uint32_t inputCount, const void* inputStruct, size_t inputStructSize,
                                       uint64_t* output, uint32_t* outputCount, void* outputStruct,
                                       size_t* outputStructSize);

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef allocator,
                                          IOOptionBits options);
kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                              io_iterator_t* iterator);

IONotificationPortRef IONotificationPortCreate(mach_port_t mainPort);
void IONotificationPortDestroy(IONotificationPortRef port);
// The port's own, as long as the port is there.
CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef port);
mach_port_t IONotificationPortGetMachPort(IONotificationPortRef port);

#ifdef __cplusplus
}
#endif

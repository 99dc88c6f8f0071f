// The documented functions, answered by the world there is.

#include <IOKit/kext/KextManager.h>
#include <crt_externs.h>
#include <mach/mach_error.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "platform/macos/MacWorld.h"

using zpk::MacWorld;

namespace {

constexpr mach_port_t kThisTask = 0x103;
constexpr CFTypeID kStringType = 7;

MacWorld& world() {
  return MacWorld::current();
}

std::string stringOf(CFStringRef string) {
  return world().use(string, "string").text;
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
    text.replace(at, what.size(), with);
  return text;
}

}  // namespace

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;

void CFRelease(CFTypeRef object) {
  world().release(object);
}
CFTypeID CFGetTypeID(CFTypeRef object) {
  return world().use(object, "").kind == "string" ? kStringType : kStringType + 1;
}

CFTypeID CFStringGetTypeID() {
  return kStringType;
}
CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
  if (encoding != kCFStringEncodingUTF8 || std::strchr(text, '\xFF')) return nullptr;
  return world().make<CFStringObject>("string", text);
}
// Of texts in ASCII, which all those of the tests but one are, and of that one more than enough.
CFIndex CFStringGetLength(CFStringRef string) {
  return static_cast<CFIndex>(stringOf(string).size());
}
CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  return encoding == kCFStringEncodingUTF8 ? 3 * length : CFIndex{kCFNotFound};
}
Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize, CFStringEncoding encoding) {
  const std::string text = stringOf(string);
  if (encoding != kCFStringEncodingUTF8 || static_cast<CFIndex>(text.size()) >= bufferSize) return 0;
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return 1;
}

CFURLRef CFURLCreateWithString(CFAllocatorRef, CFStringRef text, CFURLRef base) {
  const std::string url = stringOf(text);
  if (url.empty() || url.find(' ') != std::string::npos) return nullptr;
  return world().make<CFURLObject>("URL", url, base ? world().use(base, "URL").text : "");
}
CFURLRef CFURLCopyAbsoluteURL(CFURLRef url) {
  const FakeObject& used = world().use(url, "URL");
  return world().make<CFURLObject>("URL", used.base + used.text);
}
CFStringRef CFURLGetString(CFURLRef url) {
  auto* const text = world().lend<CFStringObject>("string", world().use(url, "URL").text);
  text->borrowed = true;
  return text;
}
CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
  const std::string text = world().use(url, "URL").text;
  if (style != kCFURLPOSIXPathStyle) return nullptr;
  return world().make<CFStringObject>("string", replaced(replaced(text, "file://", ""), "%20", " "));
}

CFBundleRef CFBundleCreate(CFAllocatorRef, CFURLRef place) {
  const std::string url = world().use(place, "URL").text;
  if (!world().bundleOpens || url != "file://" + replaced(world().extensionFolder, " ", "%20") + "/")
    return nullptr;
  return world().make<CFBundleObject>("bundle", url);
}
CFURLRef CFBundleCopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef folder) {
  const std::string base = world().use(bundle, "bundle").text;
  if (type || folder || world().resource != stringOf(name)) return nullptr;
  return world().make<CFURLObject>("URL", "Contents/Resources/" + stringOf(name), base);
}
CFURLRef KextManagerCreateURLForBundleIdentifier(CFAllocatorRef, CFStringRef kextIdentifier) {
  if (!world().installed || stringOf(kextIdentifier) != "com.tarnwick.kext.QrxMounter") return nullptr;
  return world().make<CFURLObject>("URL", "file://" + replaced(world().extensionFolder, " ", "%20") + "/");
}

CFRunLoopRef CFRunLoopGetCurrent() {
  return world().runLoop();
}
void CFRunLoopAddSource(CFRunLoopRef, CFRunLoopSourceRef source, CFRunLoopMode mode) {
  world().use(source, "source");
  world().addSource(source, stringOf(mode));
}
void CFRunLoopRemoveSource(CFRunLoopRef, CFRunLoopSourceRef source, CFRunLoopMode mode) {
  world().use(source, "source");
  world().removeSource(source, stringOf(mode));
}
CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                      Boolean returnAfterSourceHandled) {
  return world().run(stringOf(mode), seconds, returnAfterSourceHandled != 0);
}
void CFRunLoopStop(CFRunLoopRef) {
  world().stop();
}

kern_return_t IOObjectRelease(io_object_t object) {
  world().releaseHandle(object, "");
  return KERN_SUCCESS;
}
io_object_t IOIteratorNext(io_iterator_t iterator) {
  return world().nextOf(iterator);
}
void IOIteratorReset(io_iterator_t iterator) {
  world().resetIterator(iterator);
}
boolean_t IOIteratorIsValid(io_iterator_t iterator) {
  return world().isWhole(iterator) ? 1 : 0;
}

CFMutableDictionaryRef IOServiceMatching(const char* name) {
  if (world().noMatchingFor == name) return nullptr;
  return world().make<CFDictionaryObject>("dictionary", name);
}
kern_return_t IOServiceGetMatchingServices(mach_port_t mainPort, CFDictionaryRef matching,
                                           io_iterator_t* existing) {
  const std::string className = world().use(matching, "dictionary").text;
  world().release(matching);
  if (mainPort != MACH_PORT_NULL) return kIOReturnBadArgument;
  if (world().servicesCode == KERN_SUCCESS) *existing = world().addIterator(world().servicesOfClass(className));
  return world().servicesCode;
}
kern_return_t IOServiceMatchPropertyTable(io_service_t service, CFDictionaryRef matching, boolean_t* matches) {
  *matches = world().entryOf(service).className == world().use(matching, "dictionary").text ? 1 : 0;
  return KERN_SUCCESS;
}
mach_port_t mach_task_self() {
  return kThisTask;
}
kern_return_t IOServiceOpen(io_service_t service, task_port_t owningTask, uint32_t type, io_connect_t* connect) {
  return owningTask == kThisTask ? world().open(service, type, connect) : kIOReturnBadArgument;
}
kern_return_t IOServiceClose(io_connect_t connect) {
  world().journal.emplace_back("close");
  world().releaseHandle(connect, "connection");
  return world().closeCode;
}

kern_return_t IOConnectCallAsyncMethod(mach_port_t connection, uint32_t selector, mach_port_t wakePort,
                                       uint64_t* reference, uint32_t referenceCount, const uint64_t* input,
                                       uint32_t inputCount, const void* inputStruct, size_t inputStructSize,
                                       uint64_t* output, uint32_t* outputCount, void* outputStruct,
                                       size_t* outputStructSize) {
  const auto* const bytes = static_cast<const std::uint8_t*>(inputStruct);
  return world().call(connection, wakePort,
                      {.selector = selector,
                       .reference = {reference, reference + referenceCount},
                       .inputCount = inputCount,
                       .wantsScalars = output || outputCount,
                       .outputSize = *outputStructSize,
                       .request = {bytes, bytes + inputStructSize}},
                      input[0], outputStruct, outputStructSize);
}

CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef,
                                          IOOptionBits) {
  const zpk::MacEntry& used = world().entryOf(entry);
  const std::string name = stringOf(key);
  if (const auto text = used.texts.find(name); text != used.texts.end() && world().now >= used.textsFrom)
    return world().make<CFStringObject>("string", text->second);
  if (const auto other = used.otherProperties.find(name); other != used.otherProperties.end())
    return world().make<CFStringObject>("number", other->second);
  return nullptr;
}
kern_return_t IORegistryEntryGetChildIterator(io_registry_entry_t entry, const io_name_t plane,
                                              io_iterator_t* iterator) {
  if (std::strcmp(plane, "IOService") != 0) return kIOReturnBadArgument;
  *iterator = world().addIterator(world().entryOf(entry).below);
  return KERN_SUCCESS;
}

IONotificationPortRef IONotificationPortCreate(mach_port_t) {
  if (!world().makesPorts) return nullptr;
  auto* const port = world().make<IONotificationPort>("notification port", "");
  if (!port) return nullptr;
  port->machPort = world().addHandle("Mach port");
  world().releaseHandle(port->machPort, "Mach port");
  world().addPort(port);
  return port;
}
void IONotificationPortDestroy(IONotificationPortRef port) {
  world().destroyPort(port);
}
CFRunLoopSourceRef IONotificationPortGetRunLoopSource(IONotificationPortRef port) {
  world().use(port, "notification port");
  if (!port->source) port->source = world().make<CFRunLoopSourceObject>("source", "");
  if (port->source) port->source->borrowed = true;
  return port->source;
}
mach_port_t IONotificationPortGetMachPort(IONotificationPortRef port) {
  world().use(port, "notification port");
  return port->machPort;
}

char* mach_error_string(mach_error_t error) {
  static char known[] = "(iokit/common) not permitted";
  static char unknown[] = "unknown error code";
  return error == kIOReturnNotPrivileged ? known : unknown;
}
char*** _NSGetEnviron() {
  return &environ;
}

}  // extern "C"

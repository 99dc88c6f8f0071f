#include "platform/macos/MacVirtualDiskDriver.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>
#include <IOKit/kext/KextManager.h>
#include <crt_externs.h>
#include <mach/mach_error.h>
#include <mach/mach_init.h>
#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <thread>
#include <utility>

#include "platform/macos/ControllerConnection.h"
#include "platform/macos/CoreFoundationObject.h"
#include "platform/macos/RegistryObject.h"

namespace zpk {
namespace {

class KernelExtensionBundle final : public DriverBundle {
 public:
  explicit KernelExtensionBundle(CoreFoundationObject<CFBundleRef> bundle) : _bundle(std::move(bundle)) {}

  std::optional<std::string> pathForResource(std::string_view name) override {
    const auto resource = makeString(name);
    if (!resource) return std::nullopt;
    const CoreFoundationObject url(CFBundleCopyResourceURL(_bundle.get(), resource.get(), nullptr, nullptr));
    if (!url) return std::nullopt;
    // A resource's URL is relative to its bundle's.
    const CoreFoundationObject absolute(CFURLCopyAbsoluteURL(url.get()));
    if (!absolute) return std::nullopt;
    const CoreFoundationObject path(CFURLCopyFileSystemPath(absolute.get(), kCFURLPOSIXPathStyle));
    return path ? textOf(path.get()) : std::nullopt;
  }

 private:
  CoreFoundationObject<CFBundleRef> _bundle;
};

}  // namespace

std::optional<std::string> MacVirtualDiskDriver::urlForBundleIdentifier(std::string_view identifier) {
  const auto name = makeString(identifier);
  if (!name) return std::nullopt;
  const CoreFoundationObject url(KextManagerCreateURLForBundleIdentifier(kCFAllocatorDefault, name.get()));
  if (!url) return std::nullopt;
  const CoreFoundationObject absolute(CFURLCopyAbsoluteURL(url.get()));
  return absolute ? textOf(CFURLGetString(absolute.get())) : std::nullopt;
}

std::unique_ptr<DriverBundle> MacVirtualDiskDriver::openBundle(const std::string& url) {
  const auto text = makeString(url);
  if (!text) return nullptr;
  const CoreFoundationObject place(CFURLCreateWithString(kCFAllocatorDefault, text.get(), nullptr));
  if (!place) return nullptr;
  CoreFoundationObject bundle(CFBundleCreate(kCFAllocatorDefault, place.get()));
  if (!bundle) return nullptr;
  return std::make_unique<KernelExtensionBundle>(std::move(bundle));
}

std::optional<ServiceMatching> MacVirtualDiskDriver::serviceMatching(std::string_view className) {
  ServiceMatching matching{std::string(className)};
  // A look-up uses its dictionary up, so that each makes its own; this one tells whether that can be done.
  if (!matchingDictionary(matching)) return std::nullopt;
  return matching;
}

Expected<RegistryEntries, DriverCode> MacVirtualDiskDriver::matchingServices(const ServiceMatching& matching) {
  auto dictionary = matchingDictionary(matching);
  if (!dictionary) return DriverCode{kIOReturnNoMemory};
  io_iterator_t services = IO_OBJECT_NULL;
  const kern_return_t code = IOServiceGetMatchingServices(kMainPort, dictionary.release(), &services);
  if (code != KERN_SUCCESS) return DriverCode{code};
  return entriesOf(KernelObject(services));
}

Expected<std::unique_ptr<DriverConnection>, DriverCode> MacVirtualDiskDriver::openService(
    RegistryEntry& service, std::uint32_t connectionType) {
  const auto* const object = dynamic_cast<RegistryObject*>(&service);
  if (!object) return DriverCode{kIOReturnBadArgument};
  io_connect_t connect = IO_OBJECT_NULL;
  const kern_return_t code = IOServiceOpen(object->get(), mach_task_self(), connectionType, &connect);
  if (code != KERN_SUCCESS) return DriverCode{code};
  return std::unique_ptr<DriverConnection>(std::make_unique<ControllerConnection>(connect));
}

std::unique_ptr<NotificationPort> MacVirtualDiskDriver::createNotificationPort() {
  return std::make_unique<RunLoopPort>(IONotificationPortCreate(kMainPort));
}

void MacVirtualDiskDriver::runRunLoopInMode(std::string_view mode, Seconds atMost) {
  const auto name = makeString(mode);
  if (name) CFRunLoopRunInMode(name.get(), atMost.count(), /*returnAfterSourceHandled=*/false);
}

void MacVirtualDiskDriver::stopRunLoop() {
  CFRunLoopStop(CFRunLoopGetCurrent());
}

void MacVirtualDiskDriver::sleep(std::chrono::microseconds duration) {
  std::this_thread::sleep_for(duration);
}

Expected<std::int32_t, SpawnError> MacVirtualDiskDriver::spawn(const std::string& path,
                                                               const std::vector<std::string>& arguments) {
  std::vector<char*> words;
  words.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, path.c_str(), nullptr, nullptr, words.data(), *_NSGetEnviron());
  if (error != 0) return SpawnError{error};
  return std::int32_t{pid};
}

void MacVirtualDiskDriver::printError(std::string_view what, SpawnError error) {
  const std::string text(what);
  errno = error.number;
  std::perror(text.c_str());
}

std::uint32_t MacVirtualDiskDriver::userId() {
  return ::getuid();
}

std::string MacVirtualDiskDriver::errorText(DriverCode code) {
  return mach_error_string(code);
}

}  // namespace zpk

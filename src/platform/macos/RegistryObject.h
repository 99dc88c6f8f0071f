#pragma once

#include <IOKit/IOKitLib.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "mount/virtualdisk/VirtualDiskDriver.h"
#include "platform/macos/CoreFoundationObject.h"

namespace zpk {

// Stands for the kernel's main port wherever a function asks for one. The system's names for it changed over time,
// its value did not.
inline constexpr mach_port_t kMainPort = MACH_PORT_NULL;

// Owns one reference to an object of the kernel's: an entry of the registry, or an iterator over some.
class KernelObject {
 public:
  explicit KernelObject(io_object_t object) : _object(object) {}
  KernelObject(KernelObject&& other) noexcept
      : _object(std::exchange(other._object, io_object_t{IO_OBJECT_NULL})) {}
  KernelObject& operator=(KernelObject&& other) noexcept {
    std::swap(_object, other._object);
    return *this;
  }
  ~KernelObject() {
    if (_object != IO_OBJECT_NULL) IOObjectRelease(_object);
  }

  io_object_t get() const { return _object; }

 private:
  io_object_t _object;
};

// An entry of the kernel's registry.
class RegistryObject final : public RegistryEntry {
 public:
  explicit RegistryObject(KernelObject entry) : _entry(std::move(entry)) {}

  io_registry_entry_t get() const { return _entry.get(); }

  std::optional<std::string> textProperty(std::string_view key) override;
  bool matches(const ServiceMatching& matching) override;
  RegistryEntries children(std::string_view plane) override;

 private:
  KernelObject _entry;
};

// Null when it cannot be made.
CoreFoundationObject<CFMutableDictionaryRef> matchingDictionary(const ServiceMatching& matching);

// What is left in the iterator. The kernel ends an iteration early when the registry has changed below it; it is
// begun again then, a few times.
RegistryEntries entriesOf(const KernelObject& iterator);

}  // namespace zpk

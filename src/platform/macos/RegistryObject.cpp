#include "platform/macos/RegistryObject.h"

namespace zpk {
namespace {

// A registry that changes all the time is read as far as it goes.
constexpr int kIterationTries = 5;

}  // namespace

std::optional<std::string> RegistryObject::textProperty(std::string_view key) {
  const auto name = makeString(key);
  if (!name) return std::nullopt;
  const CoreFoundationObject<CFTypeRef> property(
      IORegistryEntryCreateCFProperty(_entry.get(), name.get(), kCFAllocatorDefault, 0));
  if (!property || CFGetTypeID(property.get()) != CFStringGetTypeID()) return std::nullopt;
  return textOf(static_cast<CFStringRef>(property.get()));
}

bool RegistryObject::matches(const ServiceMatching& matching) {
  const auto dictionary = matchingDictionary(matching);
  if (!dictionary) return false;
  boolean_t matches = 0;
  return IOServiceMatchPropertyTable(_entry.get(), dictionary.get(), &matches) == KERN_SUCCESS && matches != 0;
}

RegistryEntries RegistryObject::children(std::string_view plane) {
  io_iterator_t iterator = IO_OBJECT_NULL;
  if (IORegistryEntryGetChildIterator(_entry.get(), std::string(plane).c_str(), &iterator) != KERN_SUCCESS)
    return {};
  return entriesOf(KernelObject(iterator));
}

CoreFoundationObject<CFMutableDictionaryRef> matchingDictionary(const ServiceMatching& matching) {
  return CoreFoundationObject(IOServiceMatching(matching.className.c_str()));
}

RegistryEntries entriesOf(const KernelObject& iterator) {
  RegistryEntries entries;
  for (int attempt = 1;; ++attempt) {
    while (const io_object_t entry = IOIteratorNext(iterator.get()))
      entries.push_back(std::make_shared<RegistryObject>(KernelObject(entry)));
    if (attempt == kIterationTries || IOIteratorIsValid(iterator.get())) return entries;
    entries.clear();
    IOIteratorReset(iterator.get());
  }
}

}  // namespace zpk

#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/IOKitLib.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "mount/virtualdisk/QrxDriveRequest.h"

// What the opaque types of the declarations stand for: a kind, and what it holds.
struct FakeObject {
  std::string kind;
  std::string text;
  std::string base;  // what a URL is relative to
  int owners = 1;
  bool borrowed = false;  // belongs to another object
};
struct CFAllocatorObject : FakeObject {};
struct CFStringObject : FakeObject {};
struct CFURLObject : FakeObject {};
struct CFBundleObject : FakeObject {};
struct CFDictionaryObject : FakeObject {};
struct CFRunLoopObject : FakeObject {};
struct CFRunLoopSourceObject : FakeObject {};
struct IONotificationPort : FakeObject {
  CFRunLoopSourceRef source = nullptr;
  mach_port_t machPort = 0;
};

namespace zpk {

// An entry of the registry.
struct MacEntry {
  std::string className;
  std::map<std::string, std::string> texts = {};
  double textsFrom = 0;
  std::map<std::string, std::string> otherProperties = {};  // are no strings
  std::vector<std::shared_ptr<MacEntry>> below = {};

  std::shared_ptr<MacEntry> add(MacEntry entry) {
    return below.emplace_back(std::make_shared<MacEntry>(std::move(entry)));
  }
};

// A Mac behind the declarations in frameworks/ and system/, in virtual time: one installed kernel extension with
// one willing controller, whose drive has the id 00 01 … 0F and is complete after a second.
//
// It keeps the books: every reference that it gave away, and what was done with one that was gone. One world at a
// time.
class MacWorld {
 public:
  struct Completion {
    double after = 1;
    IOReturn result = 0;
    std::string errorMessage = {};
    std::vector<std::uint64_t> words = {};
  };
  // A call of the controller's method, as it arrived.
  struct Call {
    std::uint32_t selector = 0;
    bool wakesAPort = false;
    std::vector<std::uint64_t> reference = {};
    std::size_t inputCount = 0;
    bool wantsScalars = false;
    std::size_t outputSize = 0;
    std::vector<std::uint8_t> request = {};
  };

  MacWorld();
  ~MacWorld();
  MacWorld(const MacWorld&) = delete;
  MacWorld& operator=(const MacWorld&) = delete;
  // The one there is.
  static MacWorld& current();

  void addDrive(const std::string& id, const std::vector<MacEntry>& media, double from = 0);

  // What is still owned by somebody outside, and what was used or released after its end.
  std::vector<std::string> leaks() const;
  std::vector<std::string> misuses;

  bool installed = true;
  bool bundleOpens = true;
  std::optional<std::string> resource = "qrx-helper";
  std::string extensionFolder = "/Library/Extensions/QrxMounter.kext";
  std::string noMatchingFor;
  kern_return_t servicesCode = 0;
  std::vector<kern_return_t> openCodes{0};  // one a controller
  bool makesPorts = true;
  kern_return_t callCode = 0;
  kern_return_t closeCode = 0;
  std::vector<Completion> completions{{}};  // of every call in turn; no notice for a call beyond them
  zpk::QrxDriveId driveId{};
  int brokenIterations = 0;  // that many end early, the registry having changed
  int failingCreation = -1;  // what is made as this one, counted from 0, is not made
  double now = 0;

  int creations = 0;
  int deliveries = 0;  // of notices
  std::vector<std::string> journal;
  std::vector<Call> calls;

  // The functions behind the declarations.
  template <class Object>
  Object* make(const std::string& kind, const std::string& text, const std::string& base = {}) {
    return creations++ == failingCreation ? nullptr : lend<Object>(kind, text, base);
  }
  // The same for what cannot fail.
  template <class Object>
  Object* lend(const std::string& kind, const std::string& text, const std::string& base = {}) {
    auto object = std::make_shared<Object>();
    object->kind = kind;
    object->text = text;
    object->base = base;
    _objects.push_back(object);
    return object.get();
  }
  const FakeObject& use(const void* reference, const std::string& kind);
  void release(const void* reference);
  io_object_t addHandle(const std::string& kind, std::shared_ptr<MacEntry> entry = nullptr);
  io_object_t addIterator(std::vector<std::shared_ptr<MacEntry>> entries);
  void releaseHandle(io_object_t object, const std::string& kind);
  io_object_t nextOf(io_iterator_t iterator);
  void resetIterator(io_iterator_t iterator);
  bool isWhole(io_iterator_t iterator);
  MacEntry& entryOf(io_registry_entry_t entry);
  std::vector<std::shared_ptr<MacEntry>> servicesOfClass(const std::string& className);
  kern_return_t open(io_service_t service, std::uint32_t type, io_connect_t* connect);
  kern_return_t call(io_connect_t connection, mach_port_t wakePort, Call call, std::uint64_t replyAddress,
                     void* output, std::size_t* outputSize);
  CFRunLoopRef runLoop() { return &_runLoop; }
  void addSource(CFRunLoopSourceRef source, const std::string& mode) { _sources[source] = mode; }
  void removeSource(CFRunLoopSourceRef source, const std::string& mode);
  void addPort(IONotificationPortRef port) { _ports.push_back(port); }
  void destroyPort(IONotificationPortRef port);
  CFRunLoopRunResult run(const std::string& mode, double seconds, bool returnAfterSourceHandled);
  void stop() { _stopped = true; }

 private:
  struct Handle {
    std::string kind;
    bool alive = true;
    std::shared_ptr<MacEntry> entry = nullptr;
    std::vector<std::shared_ptr<MacEntry>> entries = {};
    std::size_t position = 0;
    bool broken = false;
  };
  struct Notice {
    double at = 0;
    io_connect_t connection = 0;
    CFRunLoopSourceRef source = nullptr;
    std::uint64_t replyAddress = 0;
    std::vector<std::uint64_t> reference = {};
    Completion completion = {};
  };

  Handle& handle(io_object_t object, const std::string& kind);
  std::vector<Notice>::iterator firstNotice(const std::string& mode, double end);
  void deliver(const Notice& notice);

  std::vector<std::shared_ptr<FakeObject>> _objects;
  std::map<io_object_t, Handle> _handles;
  std::vector<std::pair<double, std::shared_ptr<MacEntry>>> _devices;
  std::vector<IONotificationPortRef> _ports;
  std::map<CFRunLoopSourceRef, std::string> _sources;
  std::vector<Notice> _notices;
  CFRunLoopObject _runLoop{{.kind = "run loop", .text = {}, .base = {}, .owners = 1, .borrowed = true}};
  bool _stopped = false;
};

}  // namespace zpk

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/ByteBlock.h"
#include "mount/virtualdisk/QrxCreateDrive.h"
#include "support/VirtualRunLoop.h"

namespace zpk {

// An entry of the registry, with the moments from which on it and its properties are there.
struct WorldEntry final : RegistryEntry {
  WorldEntry(const VirtualRunLoop& clock, std::string name) : loop(clock), className(std::move(name)) {}

  std::optional<std::string> textProperty(std::string_view key) override {
    ++reads[std::string(key)];
    const auto property = properties.find(std::string(key));
    if (property == properties.end() || loop.now() < propertiesFrom) return std::nullopt;
    return property->second;
  }
  bool matches(const ServiceMatching& matching) override { return matching.className == className; }
  RegistryEntries children(std::string_view plane) override {
    return plane == "IOService" ? RegistryEntries(below.begin(), below.end()) : RegistryEntries();
  }

  std::shared_ptr<WorldEntry> add(const std::string& name) {
    below.push_back(std::make_shared<WorldEntry>(loop, name));
    return below.back();
  }
  std::shared_ptr<WorldEntry> addMedium(const std::string& bsdName) {
    auto medium = add("IOMedia");
    medium->properties["BSD Name"] = bsdName;
    return medium;
  }

  const VirtualRunLoop& loop;
  std::string className;
  std::map<std::string, std::string> properties;
  Seconds propertiesFrom{-1};
  std::map<std::string, int> reads;
  std::vector<std::shared_ptr<WorldEntry>> below;
};

// A driver world in memory and in virtual time, with one installed driver and one willing controller whose drive
// has the id 00 01 … 0F and is complete after a second. `journal` has what was done, in order.
class DriverWorld final : public VirtualDiskDriver {
 public:
  // A service of the controller's class, and what opening it answers.
  struct Controller {
    DriverCode openCode = 0;
  };
  struct Completion {
    Seconds after{1};
    DriverCode result = 0;
    std::string errorMessage = {};  // up to 512 bytes, without a NUL where they fill all of them
    std::vector<std::uint64_t> words = {};
  };

  DriverWorld() {
    for (std::size_t i = 0; i < driveId.size(); ++i) driveId[i] = static_cast<std::uint8_t>(i);
  }

  // The block device of the drive, there `after` from now.
  std::shared_ptr<WorldEntry> addDevice(const std::string& id, Seconds after = Seconds(0)) {
    auto device = std::make_shared<WorldEntry>(loop, "com_tarnwick_qrx_block_device");
    device->properties["vd_id"] = id;
    devices.emplace_back(loop.now() + after, device);
    return device;
  }

  std::optional<std::string> urlForBundleIdentifier(std::string_view identifier) override {
    if (!installed || identifier != "com.tarnwick.kext.QrxMounter") return std::nullopt;
    return "file:///Library/Extensions/QrxMounter.kext/";
  }
  std::unique_ptr<DriverBundle> openBundle(const std::string& url) override {
    journal.push_back("bundle " + url);
    if (!bundleOpens) return nullptr;
    return std::make_unique<Bundle>(helperPath);
  }
  std::optional<ServiceMatching> serviceMatching(std::string_view className) override {
    if (noMatchingFor == className) return std::nullopt;
    return ServiceMatching{std::string(className)};
  }
  Expected<RegistryEntries, DriverCode> matchingServices(const ServiceMatching& matching) override {
    RegistryEntries found;
    if (noServicesFor == matching.className) return DriverCode{-536870212};
    if (matching.className == "com_tarnwick_qrx_controller") {
      for (std::size_t i = 0; i < controllers.size(); ++i)
        found.push_back(std::make_shared<WorldEntry>(loop, std::to_string(i)));
    } else if (matching.className == "com_tarnwick_qrx_block_device") {
      deviceRounds.push_back(loop.now());
      for (const auto& [from, device] : devices) {
        if (loop.now() >= from) found.push_back(device);
      }
    }
    return found;
  }
  Expected<std::unique_ptr<DriverConnection>, DriverCode> openService(RegistryEntry& service,
                                                                      std::uint32_t connectionType) override {
    const std::string number = dynamic_cast<WorldEntry&>(service).className;
    journal.push_back("open " + number + " type " + std::to_string(connectionType));
    const DriverCode code = controllers.at(std::stoul(number)).openCode;
    if (code != 0) return code;
    return std::unique_ptr<DriverConnection>(std::make_unique<Connection>(*this));
  }
  std::unique_ptr<NotificationPort> createNotificationPort() override { return std::make_unique<Port>(*this); }

  void runRunLoopInMode(std::string_view mode, Seconds atMost) override {
    journal.push_back("run " + std::string(mode));
    const Seconds end = loop.now() + atMost;
    for (_stopped = false; !_stopped && loop.now() < end;) loop.runInMode(mode, end - loop.now());
    runTook = loop.now() - (end - atMost);
  }
  void stopRunLoop() override { _stopped = true; }
  void sleep(std::chrono::microseconds duration) override { loop.runInMode("asleep", duration); }

  Expected<std::int32_t, SpawnError> spawn(const std::string& path,
                                           const std::vector<std::string>& arguments) override {
    journal.push_back("spawn " + path);
    if (spawnError != 0) return SpawnError{spawnError};
    spawned.push_back(arguments);
    return std::int32_t{4711};
  }
  void printError(std::string_view what, SpawnError error) override {
    printed.push_back(std::string(what) + " " + std::to_string(error.number));
  }
  std::uint32_t userId() override { return 501; }
  std::string errorText(DriverCode code) override {
    return code == -536870212 ? "(iokit/common) general error" : "(iokit/common) not permitted";
  }

  VirtualRunLoop loop;
  bool installed = true;
  bool bundleOpens = true;
  std::optional<std::string> helperPath = "/Library/Extensions/QrxMounter.kext/Contents/Resources/qrx-helper";
  std::string noMatchingFor;
  std::string noServicesFor;
  std::vector<Controller> controllers{{}};
  DriverCode callCode = 0;
  DriverCode closeCode = 0;
  int spawnError = 0;
  QrxDriveId driveId{};
  // Of every call in turn, the last one for the rest; without one no notice ever comes.
  std::vector<Completion> completions{{}};
  std::vector<std::pair<Seconds, std::shared_ptr<WorldEntry>>> devices;

  std::vector<std::string> journal;
  std::vector<Bytes> requests;        // as they arrived
  std::vector<Seconds> deviceRounds;  // when block devices were asked for
  std::vector<std::vector<std::string>> spawned;
  std::vector<std::string> printed;
  Seconds runTook{0};

 private:
  struct Bundle final : DriverBundle {
    explicit Bundle(std::optional<std::string> path) : helper(std::move(path)) {}
    std::optional<std::string> pathForResource(std::string_view name) override {
      return name == "qrx-helper" ? helper : std::nullopt;
    }
    std::optional<std::string> helper;
  };

  struct Port final : NotificationPort {
    explicit Port(DriverWorld& owner) : world(owner) {}
    ~Port() override { world.journal.emplace_back("port destroyed"); }
    void addToCurrentRunLoop(std::string_view added) override { mode = added; }
    DriverWorld& world;
    std::string mode;
    std::shared_ptr<int> life = std::make_shared<int>(0);
  };

  struct Connection final : DriverConnection {
    explicit Connection(DriverWorld& owner) : world(owner) {}
    DriverCode callAsyncMethod(const AsyncMethodCall& call) override { return world.take(call); }
    DriverCode close() override {
      world.journal.emplace_back("close");
      return world.closeCode;
    }
    DriverWorld& world;
  };

  // The controller's side: raw bytes at the offsets that it knows.
  DriverCode take(const AsyncMethodCall& call) {
    journal.push_back("call " + std::to_string(call.selector));
    const auto input = call.inputStructure;
    requests.emplace_back(input.size());
    std::memcpy(requests.back().data(), input.data(), input.size());
    if (callCode != 0 || call.scalarInput.size() != 1 || call.outputStructure.size() != driveId.size())
      return callCode != 0 ? callCode : -1;
    std::copy(driveId.begin(), driveId.end(), call.outputStructure.begin());
    if (completions.empty()) return 0;
    const Completion completion = completions.front();
    if (completions.size() > 1) completions.erase(completions.begin());
    auto* const port = dynamic_cast<Port*>(&call.wakePort);
    auto* const reply = reinterpret_cast<std::uint8_t*>(call.scalarInput[0]);
    const auto give = [completion, reply, reference = call.reference, life = std::weak_ptr<int>(port->life)] {
      if (life.expired()) return;
      std::memcpy(reply, completion.errorMessage.data(),
                  std::min<std::size_t>(completion.errorMessage.size(), 512));
      if (!completion.words.empty()) std::memcpy(reply + 512, completion.words.data(), 8 * completion.words.size());
      reference.callout(reference.constant, completion.result);
    };
    loop.input(completion.after, give, {port->mode});
    return 0;
  }

  bool _stopped = false;
};

}  // namespace zpk

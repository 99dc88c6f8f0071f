#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/linux/link/BusConnection.h"
#include "platform/linux/wire/BusHandles.h"
#include "platform/posix/FileDescriptorWatcher.h"

namespace zpk {

// The place of the one program in the user's session. Whoever has it owns the session bus's name
// "com.tarnwick.zpk" and is asked there, over org.freedesktop.Application, to come forward: by the program that was
// started a second time, and by desktops that start programs over the bus.
//
// Main thread. The place is given up when this goes, or when the bus does, which keeps nothing else of the program.
class SessionInstance {
 public:
  // What a desktop gave for the one activation that it allows ($XDG_ACTIVATION_TOKEN); empty when it gave none.
  using ActivationToken = std::string;

  struct Times {
    std::chrono::milliseconds connect{2'000};  // for the bus to answer
    std::chrono::milliseconds answer{5'000};   // for the program that has the place
  };

  enum class Outcome {
    first,       // the place is this program's
    handedOver,  // another one has it and comes forward
    noAnswer,    // another one has it and does not answer in time
    alone,       // there is no bus that answers, so nobody can know
  };
  struct Claim {
    Outcome outcome;
    std::unique_ptr<SessionInstance> instance;  // of the first
  };

  // Takes the place, or asks the program that has it to come forward. One that ends before it answers leaves the
  // place to this one. Blocks, for no longer than the times say.
  static Claim claim(const BusEndpoint& bus, const ActivationToken& token, const Times& times);
  static Claim claim(const BusEndpoint& bus, const ActivationToken& token) { return claim(bus, token, Times()); }

  ~SessionInstance() = default;
  SessionInstance(const SessionInstance&) = delete;
  SessionInstance& operator=(const SessionInstance&) = delete;

  // From now on answers whoever asks, at once, and calls `activated` then, in whatever mode the run loop is in;
  // also for what came before. `watcher` outlives this.
  void serve(FileDescriptorWatcher& watcher, std::function<void(const ActivationToken&)> activated);

 private:
  class Claiming;
  struct Members;

  explicit SessionInstance(BusHandle bus) : _bus(std::move(bus)) {}
  bool addObject();
  void take();

  BusHandle _bus;
  BusSlotHandle _object;
  std::optional<ActivationToken> _asked;
  std::function<void(const ActivationToken&)> _activated;
  Token _watch;
};

}  // namespace zpk

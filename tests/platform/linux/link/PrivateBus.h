#pragma once

#include <string>

#include "platform/linux/link/ChildProcess.h"
#include "platform/linux/wire/BusHandles.h"
#include "support/TemporaryFolder.h"

namespace zpk::tests {

// A message bus of the test's own, with the limits of a system bus and a policy that lets everything through, so
// that what a client keeps out it keeps out itself.
class PrivateBus {
 public:
  PrivateBus();

  const std::string& address() const { return _address; }
  // Ready for connections when it returns.
  void start();
  void kill();
  void stop() const { _daemon.stop(); }
  void resume() const { _daemon.resume(); }

  // From now on the bus knows how to start the service of that name. `program` is a path without blanks.
  void putService(const std::string& name, const std::string& program) const {
    _folder.put(name + ".service", "[D-BUS Service]\nName=" + name + "\nExec=" + program + " " + _address + "\n");
  }

  // A connection of somebody else's, named by the bus.
  BusHandle connect() const;

 private:
  TemporaryFolder _folder;
  std::string _address;
  ChildProcess _daemon;
};

}  // namespace zpk::tests

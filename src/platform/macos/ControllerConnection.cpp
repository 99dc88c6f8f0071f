#include "platform/macos/ControllerConnection.h"

#include <array>
#include <cstdint>
#include <utility>

namespace zpk {
namespace {

// The connection whose call is under way.
ControllerConnection* waitingConnection = nullptr;

}  // namespace

RunLoopPort::~RunLoopPort() {
  if (_source) CFRunLoopRemoveSource(_runLoop, _source, _mode.get());
  if (_port) IONotificationPortDestroy(_port);
}

void RunLoopPort::addToCurrentRunLoop(std::string_view mode) {
  if (!_port || _source) return;
  _mode = makeString(mode);
  if (!_mode) return;
  _runLoop = CFRunLoopGetCurrent();
  _source = IONotificationPortGetRunLoopSource(_port);
  if (_source) CFRunLoopAddSource(_runLoop, _source, _mode.get());
}

mach_port_t RunLoopPort::machPort() const {
  return _source ? IONotificationPortGetMachPort(_port) : mach_port_t{MACH_PORT_NULL};
}

ControllerConnection::~ControllerConnection() {
  close();
}

DriverCode ControllerConnection::callAsyncMethod(const AsyncMethodCall& call) {
  const auto* const port = dynamic_cast<RunLoopPort*>(&call.wakePort);
  const mach_port_t wakePort = port ? port->machPort() : mach_port_t{MACH_PORT_NULL};
  // The call would be made all the same, and what it writes to might be gone before it is complete.
  if (wakePort == MACH_PORT_NULL) return kIOReturnNoResources;

  std::array<std::uint64_t, kIOAsyncCalloutCount> reference{};
  reference[kIOAsyncCalloutFuncIndex] = reinterpret_cast<std::uintptr_t>(&ControllerConnection::completed);
  reference[kIOAsyncCalloutRefconIndex] = call.reference.constant;
  _reference = call.reference;
  waitingConnection = this;
  std::size_t outputSize = call.outputStructure.size();
  const kern_return_t code = IOConnectCallAsyncMethod(
      _connect, call.selector, wakePort, reference.data(), kIOAsyncCalloutCount, call.scalarInput.data(),
      static_cast<std::uint32_t>(call.scalarInput.size()), call.inputStructure.data(), call.inputStructure.size(),
      nullptr, nullptr, call.outputStructure.data(), &outputSize);
  if (code != KERN_SUCCESS) _reference.reset();
  return code;
}

DriverCode ControllerConnection::close() {
  if (waitingConnection == this) waitingConnection = nullptr;
  if (_connect == IO_OBJECT_NULL) return kIOReturnSuccess;
  return IOServiceClose(std::exchange(_connect, io_connect_t{IO_OBJECT_NULL}));
}

void ControllerConnection::completed(void* constant, IOReturn result) {
  if (!waitingConnection || !waitingConnection->_reference) return;
  const AsyncReference reference = *std::exchange(waitingConnection->_reference, std::nullopt);
  reference.callout(reinterpret_cast<std::uintptr_t>(constant), result);
}

}  // namespace zpk

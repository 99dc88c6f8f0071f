#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "base/Log.h"
#include "base/Record.h"
#include "helperlink/ZPKDaemonProtocol.h"
#include "platform/linux/wire/BusHandles.h"

namespace zpk {

// What came in over the bus and waits for its turn: calls of the helper on a receive port, and news of the bus.
//
// sd-bus cannot process while it processes, and a callback may send commands of its own; so nothing is delivered
// from inside sd-bus. Whoever runs the loop delivers one item at a time, in the order of arrival. A call is
// delivered only in a mode that its port serves; news in every mode. Each call is answered after its delivery, so
// the helper waits for the return as it would for a local call. Main thread.
class IncomingQueue {
 public:
  // Calls of one port that wait in a mode which the port does not serve; one more is refused.
  static constexpr std::size_t kMaxWaitingCalls = 256;
  // Deliveries inside deliveries (a callback that sends a command, during which a callback arrives, and so on); a
  // helper that goes on beyond waits until the inner ones are over.
  static constexpr int kMaxNesting = 8;

  IncomingQueue(Log& log, const RecordRegistry& classes) : _log(log), _classes(classes) {}

  // Exports `rootObject` at `path` until withdrawn. At first it serves the default mode and the link's own wait.
  void serve(const std::string& path, ZPKHelperDelegateProtocol& rootObject);
  void addMode(const std::string& path, std::string_view mode);
  void withdraw(const std::string& path);

  // A method call of the helper. One that nobody serves is answered with an error at once.
  void callArrived(BusMessageHandle call);
  // Delivered by calling `deliver`.
  void newsArrived(std::function<void()> deliver);

  // Delivers the first item that may be delivered in `mode`; false when there is none.
  bool deliverNext(std::string_view mode);
  // Whether something waits and the nesting allows one more delivery.
  bool canDeliver() const { return !_items.empty() && _nesting < kMaxNesting; }
  // The connection behind the waiting calls is gone, so nobody waits for them any more.
  void dropCalls();

 private:
  struct ServedPort {
    ZPKHelperDelegateProtocol* rootObject;
    std::set<std::string, std::less<>> modes;
  };
  // A call when `call` is set, else news.
  struct Item {
    std::string path;
    BusMessageHandle call;
    std::function<void()> news;
  };

  bool mayDeliver(const Item& item, std::string_view mode) const;
  void deliverCall(const Item& item);
  void deliverStatus(sd_bus_message* call, ZPKHelperDelegateProtocol& rootObject);

  Log& _log;
  const RecordRegistry& _classes;
  std::map<std::string, ServedPort, std::less<>> _ports;
  std::deque<Item> _items;
  std::size_t _waitingCalls = 0;
  int _nesting = 0;
};

}  // namespace zpk

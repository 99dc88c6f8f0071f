#include "platform/macos/MacWorld.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace zpk {
namespace {

MacWorld* theWorld = nullptr;

constexpr const char* kControllerClass = "com_tarnwick_qrx_controller";
constexpr const char* kBlockDeviceClass = "com_tarnwick_qrx_block_device";

}  // namespace

MacWorld::MacWorld() {
  if (std::exchange(theWorld, this)) throw std::logic_error("two worlds");
  for (std::size_t i = 0; i < driveId.size(); ++i) driveId[i] = static_cast<std::uint8_t>(i);
}

MacWorld::~MacWorld() {
  theWorld = nullptr;
}

MacWorld& MacWorld::current() {
  if (!theWorld) throw std::logic_error("no world");
  return *theWorld;
}

void MacWorld::addDrive(const std::string& id, const std::vector<MacEntry>& media, double from) {
  auto device = std::make_shared<MacEntry>(MacEntry{.className = kBlockDeviceClass, .texts = {{"vd_id", id}}});
  for (const MacEntry& medium : media) device->add(medium);
  _devices.emplace_back(from, std::move(device));
}

std::vector<std::string> MacWorld::leaks() const {
  std::vector<std::string> leaked;
  for (const auto& object : _objects) {
    if (object->owners > 0 && !object->borrowed) leaked.push_back(object->kind + " " + object->text);
  }
  for (const auto& [number, handle] : _handles) {
    if (handle.alive) leaked.push_back(handle.kind);
  }
  for (const auto& [source, mode] : _sources) leaked.push_back("source in " + mode);
  return leaked;
}

const FakeObject& MacWorld::use(const void* reference, const std::string& kind) {
  static const FakeObject nothing;
  const auto found =
      std::find_if(_objects.begin(), _objects.end(), [&](const auto& object) { return object.get() == reference; });
  if (found == _objects.end()) {
    misuses.push_back("no " + kind);
    return nothing;
  }
  if ((*found)->owners <= 0) misuses.push_back("used after its end: " + (*found)->kind + " " + (*found)->text);
  if (!kind.empty() && (*found)->kind != kind) misuses.push_back((*found)->kind + " taken for " + kind);
  return **found;
}

void MacWorld::release(const void* reference) {
  const FakeObject& used = use(reference, "");
  for (const auto& object : _objects) {
    if (object.get() != &used) continue;
    if (object->borrowed) misuses.push_back("not the caller's: " + object->kind + " " + object->text);
    --object->owners;
  }
}

io_object_t MacWorld::addHandle(const std::string& kind, std::shared_ptr<MacEntry> entry) {
  const auto number = static_cast<io_object_t>(0x1003 + 4 * _handles.size());
  _handles[number] = Handle{.kind = kind, .entry = std::move(entry)};
  return number;
}

io_object_t MacWorld::addIterator(std::vector<std::shared_ptr<MacEntry>> entries) {
  const io_object_t iterator = addHandle("iterator");
  _handles[iterator].entries = std::move(entries);
  return iterator;
}

MacWorld::Handle& MacWorld::handle(io_object_t object, const std::string& kind) {
  static Handle nothing;
  const auto found = _handles.find(object);
  if (found == _handles.end()) {
    misuses.push_back("no " + kind);
    return nothing;
  }
  if (!found->second.alive) misuses.push_back("used after its end: " + kind);
  if (found->second.kind != kind) misuses.push_back(found->second.kind + " taken for " + kind);
  return found->second;
}

void MacWorld::releaseHandle(io_object_t object, const std::string& kind) {
  // Releasing a connection does not close it.
  const auto found = _handles.find(object);
  const bool released = kind.empty() && found != _handles.end() && found->second.kind != "connection";
  handle(object, released ? found->second.kind : kind).alive = false;
}

io_object_t MacWorld::nextOf(io_iterator_t iterator) {
  Handle& used = handle(iterator, "iterator");
  if (brokenIterations > 0 && used.position == 1) {
    --brokenIterations;
    used.broken = true;
  }
  if (used.broken || used.position >= used.entries.size()) return IO_OBJECT_NULL;
  return addHandle("entry", used.entries[used.position++]);
}

void MacWorld::resetIterator(io_iterator_t iterator) {
  Handle& used = handle(iterator, "iterator");
  used.position = 0;
  used.broken = false;
}

bool MacWorld::isWhole(io_iterator_t iterator) {
  return !handle(iterator, "iterator").broken;
}

MacEntry& MacWorld::entryOf(io_registry_entry_t entry) {
  static MacEntry nothing;
  const auto& found = handle(entry, "entry").entry;
  return found ? *found : nothing;
}

std::vector<std::shared_ptr<MacEntry>> MacWorld::servicesOfClass(const std::string& className) {
  std::vector<std::shared_ptr<MacEntry>> services;
  if (className == kControllerClass) {
    for (std::size_t i = 0; i < openCodes.size(); ++i)
      services.push_back(std::make_shared<MacEntry>(
          MacEntry{.className = kControllerClass, .texts = {{"number", std::to_string(i)}}}));
  }
  if (className == kBlockDeviceClass) {
    journal.emplace_back("look for the device");
    for (const auto& [from, device] : _devices) {
      if (now >= from) services.push_back(device);
    }
  }
  return services;
}

kern_return_t MacWorld::open(io_service_t service, std::uint32_t type, io_connect_t* connect) {
  const std::string number = entryOf(service).texts["number"];
  journal.push_back("open " + number + " type " + std::to_string(type));
  const kern_return_t code = openCodes.at(std::stoul(number));
  if (code == KERN_SUCCESS) *connect = addHandle("connection");
  return code;
}

kern_return_t MacWorld::call(io_connect_t connection, mach_port_t wakePort, Call call, std::uint64_t replyAddress,
                             void* output, std::size_t* outputSize) {
  handle(connection, "connection");
  journal.emplace_back("call");
  const auto port = std::find_if(_ports.begin(), _ports.end(),
                                 [&](IONotificationPortRef each) { return each->machPort == wakePort; });
  call.wakesAPort = port != _ports.end();
  calls.push_back(call);
  if (callCode != KERN_SUCCESS) return callCode;
  *outputSize = std::min(*outputSize, driveId.size());
  std::memcpy(output, driveId.data(), *outputSize);
  if (call.wakesAPort && calls.size() <= completions.size()) {
    const Completion& completion = completions[calls.size() - 1];
    _notices.push_back(
        {now + completion.after, connection, (*port)->source, replyAddress, call.reference, completion});
  }
  return KERN_SUCCESS;
}

void MacWorld::removeSource(CFRunLoopSourceRef source, const std::string& mode) {
  const auto found = _sources.find(source);
  if (found == _sources.end() || found->second != mode) {
    misuses.push_back("no source in " + mode);
    return;
  }
  _sources.erase(found);
}

void MacWorld::destroyPort(IONotificationPortRef port) {
  journal.emplace_back("destroy the port");
  use(port, "notification port");
  if (std::erase(_ports, port) == 0) return;
  --port->owners;
  if (port->source) port->source->owners = 0;
}

std::vector<MacWorld::Notice>::iterator MacWorld::firstNotice(const std::string& mode, double end) {
  auto first = _notices.end();
  for (auto each = _notices.begin(); each != _notices.end(); ++each) {
    const auto source = _sources.find(each->source);
    if (source == _sources.end() || source->second != mode || each->at > end) continue;
    if (first == _notices.end() || each->at < first->at) first = each;
  }
  return first;
}

CFRunLoopRunResult MacWorld::run(const std::string& mode, double seconds, bool returnAfterSourceHandled) {
  journal.push_back("run " + mode + " for " + std::to_string(static_cast<int>(seconds)) +
                    (returnAfterSourceHandled ? " or one source" : ""));
  const double end = now + seconds;
  _stopped = false;
  const auto served = [&](const auto& source) { return source.second == mode; };
  if (std::none_of(_sources.begin(), _sources.end(), served)) return kCFRunLoopRunFinished;
  for (auto first = firstNotice(mode, end); first != _notices.end(); first = firstNotice(mode, end)) {
    const Notice notice = *first;
    _notices.erase(first);
    now = std::max(now, notice.at);
    deliver(notice);
    if (_stopped) return kCFRunLoopRunStopped;
  }
  now = end;
  return kCFRunLoopRunTimedOut;
}

void MacWorld::deliver(const Notice& notice) {
  ++deliveries;
  if (_handles[notice.connection].alive) {
    auto* const reply = reinterpret_cast<std::uint8_t*>(notice.replyAddress);
    const Completion& completion = notice.completion;
    std::memcpy(reply, completion.errorMessage.data(), std::min<std::size_t>(completion.errorMessage.size(), 512));
    if (!completion.words.empty()) std::memcpy(reply + 512, completion.words.data(), 8 * completion.words.size());
  }
  const auto callout = reinterpret_cast<IOAsyncCallback0>(notice.reference.at(kIOAsyncCalloutFuncIndex));
  callout(reinterpret_cast<void*>(notice.reference.at(kIOAsyncCalloutRefconIndex)), notice.completion.result);
}

}  // namespace zpk

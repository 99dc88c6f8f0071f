#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace zpk {

class KeyedDecoder;
class KeyedEncoder;

// Abstract base of everything that crosses the helper link by copy.
//
// A record is built once, by decoding or by the helper, never changed afterwards, and shared freely between threads
// as std::shared_ptr<const T>: a copy inside the program costs a pointer.
class Record {
 public:
  virtual ~Record() = default;

  // The name under which the class is registered and sent, for example "RLDDisk".
  virtual std::string_view className() const = 0;

  // Writes the keyed form. A subclass writes its base's keys first.
  virtual void encodeWithCoder(KeyedEncoder& coder) const = 0;

  // Two records are equal when they are of the same class and their keyed forms are equal.
  friend bool operator==(const Record& a, const Record& b);

 protected:
  Record() = default;
  Record(const Record&) = default;
  Record& operator=(const Record&) = default;
};

// The classes that a decoder may make, by class name. A plain table handed to decoders; what is not in it is never
// made, whatever a peer asks for.
class RecordRegistry {
 public:
  // Builds the record from its keyed form. Throws MalformedRecord when a required key is missing or short.
  using Factory = std::function<std::shared_ptr<const Record>(const KeyedDecoder&)>;

  template <class R>
  void add(std::string_view className) {
    _factories[std::string(className)] = [](const KeyedDecoder& coder) { return std::make_shared<const R>(coder); };
  }

  // Throws MalformedRecord for a class that is not registered.
  std::shared_ptr<const Record> make(std::string_view className, const KeyedDecoder& coder) const;

 private:
  std::map<std::string, Factory, std::less<>> _factories;
};

}  // namespace zpk

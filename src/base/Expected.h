#pragma once

#include <cassert>
#include <utility>
#include <variant>

namespace zpk {

// The result of something that can fail: a value, or an error that says why there is none.
//
//   Expected<Bytes, FileError> bytes = files.read(path);
//   if (!bytes) return report(bytes.error());
//   use(*bytes);
//
// A value type as T and E are. `E` must differ from `T`. Asking for the value of a failure, or for the error of a
// success, is a programming error (asserted), never a runtime condition to handle.
template <class T, class E>
class [[nodiscard]] Expected {
 public:
  Expected(T value) : _content(std::in_place_index<0>, std::move(value)) {}
  Expected(E error) : _content(std::in_place_index<1>, std::move(error)) {}

  bool hasValue() const { return _content.index() == 0; }
  explicit operator bool() const { return hasValue(); }

  const T& value() const& {
    assert(hasValue());
    return *std::get_if<0>(&_content);
  }
  T& value() & {
    assert(hasValue());
    return *std::get_if<0>(&_content);
  }
  T&& value() && {
    assert(hasValue());
    return std::move(*std::get_if<0>(&_content));
  }
  const T& operator*() const& { return value(); }
  T& operator*() & { return value(); }
  T&& operator*() && { return std::move(*this).value(); }
  const T* operator->() const { return &value(); }
  T* operator->() { return &value(); }

  const E& error() const {
    assert(!hasValue());
    return *std::get_if<1>(&_content);
  }

 private:
  std::variant<T, E> _content;
};

// The value of an operation that gives nothing but can fail: `Expected<Done, FileError>`.
struct Done {};

}  // namespace zpk

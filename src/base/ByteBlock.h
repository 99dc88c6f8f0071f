#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <variant>
#include <vector>

namespace zpk {

using Bytes = std::vector<std::uint8_t>;

// Bytes that never change. Up to kInline of them lie in the object itself, which is what every fixed-width number
// and identifier of a record needs: a status holds thousands of those, and each would cost two allocations
// otherwise. Longer ones are shared, so that a copy costs a pointer.
class ByteBlock {
 public:
  static constexpr std::size_t kInline = 23;

  using value_type = std::uint8_t;
  using const_reference = const std::uint8_t&;
  using const_iterator = const std::uint8_t*;

  explicit ByteBlock(std::span<const std::uint8_t> bytes) {
    if (bytes.size() <= kInline) {
      _content = Inline(bytes);
    } else {
      _content = std::make_shared<const Bytes>(bytes.begin(), bytes.end());
    }
  }
  explicit ByteBlock(Bytes&& bytes) {
    if (bytes.size() <= kInline) {
      _content = Inline(bytes);
    } else {
      _content = std::make_shared<const Bytes>(std::move(bytes));
    }
  }

  const std::uint8_t* data() const {
    const auto* few = std::get_if<Inline>(&_content);
    return few ? few->bytes.data() : (*std::get_if<Shared>(&_content))->data();
  }
  std::size_t size() const {
    const auto* few = std::get_if<Inline>(&_content);
    return few ? few->size : (*std::get_if<Shared>(&_content))->size();
  }
  const_iterator begin() const { return data(); }
  const_iterator end() const { return data() + size(); }

  Bytes toBytes() const { return Bytes(begin(), end()); }

  friend bool operator==(const ByteBlock& a, const ByteBlock& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
  }

 private:
  using Shared = std::shared_ptr<const Bytes>;
  struct Inline {
    Inline() : Inline(std::span<const std::uint8_t>()) {}
    explicit Inline(std::span<const std::uint8_t> few) : size(static_cast<std::uint8_t>(few.size())), bytes{} {
      std::copy(few.begin(), few.end(), bytes.begin());
    }
    std::uint8_t size;
    std::array<std::uint8_t, kInline> bytes;
  };

  std::variant<Inline, Shared> _content;
};

}  // namespace zpk

#pragma once

#include <memory>
#include <string_view>

namespace zpk {

// A picture that the interface can draw; what it is made of is the platform's business. Immutable, shared.
class Image {
 public:
  virtual ~Image() = default;
};

// Loads pictures. Main thread only.
class ImageLoader {
 public:
  virtual ~ImageLoader() = default;
  // The picture in the file at `path`, in any format that the platform reads; null when it cannot be loaded. Files
  // beyond 4 MiB and pictures beyond 4096 points a side are not loaded.
  virtual std::shared_ptr<const Image> imageFromFile(std::string_view path) const = 0;
};

}  // namespace zpk

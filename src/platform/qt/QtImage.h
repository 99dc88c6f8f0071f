#pragma once

#include <QIcon>
#include <memory>

#include "base/FileManager.h"
#include "base/Image.h"

namespace zpk {

// A picture of the inner rings as Qt draws it, at any size and resolution. Main thread.
class QtImage final : public Image {
 public:
  explicit QtImage(QIcon icon);

  const QIcon& icon() const { return _icon; }

  // The icon in `image`; an empty one for null.
  static QIcon iconOf(const std::shared_ptr<const Image>& image);

 private:
  QIcon _icon;
};

// Loads what Qt's image plug-ins read. A picture is decoded when it is asked for and not when it is drawn first,
// since whether it can be decoded is part of the answer.
class QtImageLoader final : public ImageLoader {
 public:
  // `files` must outlive the loader.
  explicit QtImageLoader(const FileManager& files) : _files(files) {}
  std::shared_ptr<const Image> imageFromFile(std::string_view path) const override;

 private:
  const FileManager& _files;
};

}  // namespace zpk

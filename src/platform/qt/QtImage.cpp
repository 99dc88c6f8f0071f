#include "platform/qt/QtImage.h"

#include <QBuffer>
#include <QByteArray>
#include <QImageReader>
#include <QPixmap>
#include <algorithm>
#include <utility>

namespace zpk {
namespace {

constexpr std::uint64_t kLongestFile = std::uint64_t{4} << 20;
constexpr int kLongestSide = 4096;

bool isTooLarge(const QSize& size) {
  return size.width() > kLongestSide || size.height() > kLongestSide;
}

}  // namespace

QtImage::QtImage(QIcon icon) : _icon(std::move(icon)) {}

QIcon QtImage::iconOf(const std::shared_ptr<const Image>& image) {
  const auto own = std::dynamic_pointer_cast<const QtImage>(image);
  return own ? own->icon() : QIcon();
}

std::shared_ptr<const Image> QtImageLoader::imageFromFile(std::string_view path) const {
  const Expected<Bytes, FileError> content = _files.contentsOfFile(path, kLongestFile);
  if (!content || content->empty()) return nullptr;
  QByteArray bytes(static_cast<qsizetype>(content->size()), Qt::Uninitialized);
  std::copy(content->begin(), content->end(), bytes.begin());
  QBuffer buffer(&bytes);
  QImageReader reader(&buffer);
  reader.setAutoTransform(true);
  // Most formats tell their size before a single point is decoded.
  if (isTooLarge(reader.size())) return nullptr;
  const QImage image = reader.read();
  if (image.isNull() || isTooLarge(image.size())) return nullptr;
  return std::make_shared<QtImage>(QIcon(QPixmap::fromImage(image)));
}

}  // namespace zpk

#include "platform/qt/QtImage.h"

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QPixmap>

#include "platform/posix/FileManager_posix.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

// A picture of one colour, as a file of `format`.
std::string picture(int width, int height, const char* format = "PNG") {
  QImage image(width, height, QImage::Format_RGB32);
  image.fill(Qt::red);
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  EXPECT_TRUE(image.save(&buffer, format));
  return bytes.toStdString();
}

class QtImageLoaderTest : public testing::Test {
 protected:
  std::shared_ptr<const Image> load(std::string_view content) {
    folder.put("picture", content);
    return loader.imageFromFile(folder.path("picture"));
  }

  TemporaryFolder folder;
  PosixFileManager files;
  QtImageLoader loader{files};
};

TEST_F(QtImageLoaderTest, LoadsPicturesWhateverTheirFormatAndName) {
  for (const char* format : {"PNG", "BMP", "JPG"}) {
    const QIcon icon = QtImage::iconOf(load(picture(20, 10, format)));
    ASSERT_FALSE(icon.isNull()) << format;
    const QImage shown = icon.pixmap(20, 10).toImage();
    EXPECT_EQ(shown.size(), QSize(20, 10));
    EXPECT_GT(shown.pixelColor(5, 5).red(), 240);
    EXPECT_LT(shown.pixelColor(5, 5).blue(), 20);
  }
}

TEST_F(QtImageLoaderTest, WhatIsNoPictureIsNone) {
  EXPECT_EQ(load(""), nullptr);
  EXPECT_EQ(load("not a picture"), nullptr);
  EXPECT_EQ(load(picture(20, 10).substr(0, 50)), nullptr) << "cut short";
  EXPECT_EQ(loader.imageFromFile(folder.path("missing")), nullptr);
  EXPECT_EQ(loader.imageFromFile(folder.path()), nullptr);
  EXPECT_TRUE(QtImage::iconOf(nullptr).isNull());
}

TEST_F(QtImageLoaderTest, LoadsUpTo4096PointsASide) {
  EXPECT_NE(load(picture(4096, 1)), nullptr);
  EXPECT_EQ(load(picture(4097, 1)), nullptr);
  EXPECT_NE(load(picture(1, 4096)), nullptr);
  EXPECT_EQ(load(picture(1, 4097)), nullptr);
}

TEST_F(QtImageLoaderTest, LoadsFilesUpTo4MiB) {
  std::string content = picture(20, 10);
  content.resize(std::size_t{4} << 20, '\0');
  EXPECT_NE(load(content), nullptr);
  content.push_back('\0');
  EXPECT_EQ(load(content), nullptr);
}

}  // namespace
}  // namespace zpk

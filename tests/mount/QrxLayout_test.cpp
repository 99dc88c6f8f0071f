// The bytes that the client shares with the controller, and the small functions over them.
#include <cstring>

#include "base/ByteBlock.h"
#include "mount/virtualdisk/QrxDriveRequest.h"
#include "mount/virtualdisk/QrxFormatDriveId.h"
#include "mount/virtualdisk/QrxImageFormat.h"

namespace zpk {
namespace {

TEST(QrxDriveRequest, IsTheseBytes) {
  QrxDriveRequest request{};
  request.command = 1;
  request.imageFormat = 6;
  request.flags = 0x01020304;
  request.uid = 501;
  setImagePath(request, "/b/disk\xC3\xA9.vhdx");

  Bytes golden{
      0x01, 0x00, 0x00, 0x00,                          // command
      0x06, 0x00, 0x00, 0x00,                          // imageFormat
      0x04, 0x03, 0x02, 0x01,                          // flags
      0x00, 0x00, 0x00, 0x00,                          // reserved
      0xF5, 0x01, 0x00, 0x00,                          // uid
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // reserved
      0x00, 0x00, 0x00, 0x00,                          //
      '/',  'b',  '/',  'd',  'i',  's',  'k',  0xC3,  // imagePath
      0xA9, '.',  'v',  'h',  'd',  'x',
  };
  golden.resize(1056);
  Bytes bytes(sizeof request);
  std::memcpy(bytes.data(), &request, sizeof request);
  EXPECT_EQ(bytes, golden);
}

TEST(QrxDriveRequest, APathOf1023BytesFitsAndALongerOneIsCutThere) {
  QrxDriveRequest request{};
  setImagePath(request, std::string(1023, 'a'));
  EXPECT_EQ(imagePathOf(request), std::string(1023, 'a'));
  setImagePath(request, std::string(1022, 'b') + "cd");
  EXPECT_EQ(imagePathOf(request), std::string(1022, 'b') + "c");
  EXPECT_EQ(request.imagePath.back(), '\0');
}

TEST(QrxDriveRequest, AShorterPathLeavesNothingOfALongerOne) {
  QrxDriveRequest request{};
  setImagePath(request, "/a/long/path");
  setImagePath(request, "/b");
  QrxDriveRequest fresh{};
  setImagePath(fresh, "/b");
  EXPECT_EQ(request.imagePath, fresh.imagePath);
}

TEST(QrxDriveRequest, TextThatFillsItsBufferIsReadToTheBuffersEnd) {
  QrxErrorText text;
  text.fill('x');
  EXPECT_EQ(boundedText(text), std::string(512, 'x'));
  QrxDriveRequest request{};
  request.imagePath.fill('y');
  EXPECT_EQ(imagePathOf(request), std::string(1024, 'y'));
}

TEST(QrxDriveReply, HasItsMessageBeforeItsElevenWords) {
  Bytes bytes(600);
  std::memcpy(bytes.data(), "no", 2);
  bytes[512] = 0x2A;
  bytes[599] = 0x80;
  QrxDriveReply reply{};
  std::memcpy(&reply, bytes.data(), bytes.size());
  EXPECT_EQ(boundedText(reply.errorMessage), "no");
  EXPECT_EQ(reply.result.words.front(), 0x2AU);
  EXPECT_EQ(reply.result.words.back(), 0x8000'0000'0000'0000U);
}

TEST(QrxImageFormatForPath, IsThatOfTheExtensionInWhateverCase) {
  const auto number = [](std::string_view path) { return static_cast<int>(qrxImageFormatForPath(path)); };
  EXPECT_EQ(number("/x/disk.vmdk"), 1);
  EXPECT_EQ(number("/x/disk.vdi"), 2);
  EXPECT_EQ(number("/x/disk.vhd"), 3);
  EXPECT_EQ(number("/x/disk.hdd"), 4);
  EXPECT_EQ(number("/x/disk.pvhd"), 5);
  EXPECT_EQ(number("/x/disk.VHDX"), 6);
  EXPECT_EQ(number("disk.old.VmDk"), 1);
}

TEST(QrxImageFormatForPath, IsNotGivenWithoutAKnownExtension) {
  for (const char* path : {"", ".", "/", "x", "/x/disk", "/x/disk.", "/x/disk.iso", "/x/disk.vhdxx", "/x/disk.vh",
                           "/x.vhd/disk", "/x.vhd/", "/x/.vhd", ".vhd", "disk.vhd "}) {
    EXPECT_EQ(qrxImageFormatForPath(path), QrxImageFormat::notGiven) << path;
  }
}

TEST(QrxImageFormatForPath, NeverLooksAtTheFirstCharacter) {
  EXPECT_EQ(qrxImageFormatForPath("..vhd"), QrxImageFormat::vhd);
  EXPECT_EQ(qrxImageFormatForPath("a.vhd"), QrxImageFormat::vhd);
  EXPECT_EQ(qrxImageFormatForPath("/.vhd"), QrxImageFormat::notGiven);
}

TEST(QrxFormatDriveId, WritesTwoUpperCaseDigitsAByte) {
  const QrxDriveId counting{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  const QrxDriveId high{0xFF, 0xFE, 0xA0, 0x0A, 0x12};
  char text[kQrxDriveIdTextSize];
  EXPECT_EQ(qrxFormatDriveId(&counting, text, sizeof text), 0);
  EXPECT_STREQ(text, "000102030405060708090A0B0C0D0E0F");
  EXPECT_EQ(qrxFormatDriveId(&high, text, sizeof text), 0);
  EXPECT_STREQ(text, "FFFEA00A120000000000000000000000");
}

TEST(QrxFormatDriveId, RefusesATargetThatIsTooSmallAndMissingPointers) {
  const QrxDriveId id{};
  char text[kQrxDriveIdTextSize] = "untouched";
  EXPECT_EQ(qrxFormatDriveId(&id, text, 32), -1);
  EXPECT_EQ(qrxFormatDriveId(&id, nullptr, sizeof text), -1);
  EXPECT_EQ(qrxFormatDriveId(nullptr, text, sizeof text), -1);
  EXPECT_STREQ(text, "untouched");
}

}  // namespace
}  // namespace zpk

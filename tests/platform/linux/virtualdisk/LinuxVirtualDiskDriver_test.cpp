#include "platform/linux/virtualdisk/LinuxVirtualDiskDriver.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "mount/virtualdisk/QrxCreateDrive.h"
#include "platform/posix/PollRunLoop.h"
#include "support/TemporaryFolder.h"

namespace zpk {
namespace {

using std::string;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kId = "00112233445566778899AABBCCDDEEFF";

// A runtime folder, and a helper that is a script of the test's.
class LinuxVirtualDisk : public testing::Test {
 protected:
  LinuxVirtualDisk() { setImagePath(request, "/b/p0/disk0.pvhd"); }

  // The script's "$drive" is the drive's folder.
  void useHelper(const string& script) {
    const string drive = runtime.path() + "/zpk/drives/$1";
    helper.put("qrx-helper", "#!/bin/sh\ndrive=" + drive + "\n" + script);
    std::filesystem::permissions(helper.path("qrx-helper"), std::filesystem::perms::owner_all);
  }
  // A helper's last line: the result and the reply's message, as one file that appears at once.
  static string complete(char result, const string& message) {
    return "{ printf '\\" + string(1, result) + "\\0\\0\\0" + message + "'; head -c " +
           std::to_string(600 - message.size()) + " /dev/zero; } > $drive/.new; mv $drive/.new $drive/completion\n";
  }
  std::int32_t create() {
    const QrxLogCallback note = [this](int level, const char* text) {
      (level == kQrxLevelResult ? devices : messages) += text;
    };
    return qrxCreateDrive(driver, request, note, &why, nullptr);
  }
  DriveFolder makeDrive(const string& id = kId) {
    const auto drives = drivesFolder(runtime.path());
    EXPECT_TRUE(drives.hasValue());
    DriveFolder drive(*drives, id);
    EXPECT_TRUE(drive.create(request).hasValue());
    return drive;
  }
  // As its helper does.
  static FileDescriptor keep(const DriveFolder& drive) {
    FileDescriptor file(::open(drive.filePath("request").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(::flock(file.get(), LOCK_EX | LOCK_NB), 0);
    return file;
  }

  TemporaryFolder runtime;
  TemporaryFolder helper;
  PollRunLoop loop;
  LinuxVirtualDiskDriver driver{{loop, loop, helper.path(), runtime.path()}};
  QrxDriveRequest request{};
  QrxErrorText why{};
  string messages;
  string devices;
};

TEST_F(LinuxVirtualDisk, ADriveThatItsHelperBringsUpHasDevices) {
  useHelper("exec 9<$drive/request; flock 9\nprintf 'disk4\\ndisk4s1\\ndisk4s4\\n' > $drive/media\n" +
            complete('0', "") + "exec sleep 20 9<&9\n");
  EXPECT_EQ(create(), 0);
  EXPECT_EQ(devices, "/dev/disk4\n/dev/disk4s1\n/dev/disk4s4\n");
  const auto drives = allDrives(*drivesFolder(runtime.path()));
  ASSERT_EQ(drives.size(), 1U);
  EXPECT_THAT(messages, HasSubstr("New vd id: " + drives.front().id() + "\n"));
  const auto pid = messages.find("pid = ");
  ::kill(std::stoi(messages.substr(pid + 6)), SIGTERM);
}

TEST_F(LinuxVirtualDisk, TheHelperFindsTheRequestAsTheClientFilledItIn) {
  useHelper("cp $drive/request " + runtime.path() + "/seen\n" + complete('1', "seen"));
  request.flags = 1;
  EXPECT_EQ(create(), 1);
  const string seen = runtime.get("seen");
  ASSERT_EQ(seen.size(), sizeof request);
  EXPECT_EQ(std::memcmp(seen.data(), &request, sizeof request), 0);
  EXPECT_EQ(request.uid, ::getuid());
}

TEST_F(LinuxVirtualDisk, WhatTheHelperSaysWentWrongIsTheError) {
  useHelper(complete('5', "The image is damaged"));
  EXPECT_EQ(create(), 5);
  EXPECT_EQ(boundedText(why), "The image is damaged");
}

TEST_F(LinuxVirtualDisk, AHelperThatEndsWithoutAWordIsAnErrorAtOnce) {
  useHelper("exit 3\n");
  EXPECT_EQ(create(), EIO);
  EXPECT_EQ(boundedText(why), "The program that shows the files of a backup point has ended unexpectedly");
}

TEST_F(LinuxVirtualDisk, ACompletionOfTheWrongSizeIsNone) {
  useHelper("printf 'abc' > $drive/.new; mv $drive/.new $drive/completion; sleep 0.1\n");
  EXPECT_EQ(create(), EIO);
}

TEST_F(LinuxVirtualDisk, WithoutTheHelperThereIsNoDriver) {
  EXPECT_EQ(create(), 1);
  EXPECT_EQ(messages, "Kext com.tarnwick.kext.QrxMounter not found.\n");
}

TEST_F(LinuxVirtualDisk, ARuntimeFolderThatOthersCanEnterIsNotUsed) {
  useHelper(complete('0', ""));
  ASSERT_EQ(::chmod(runtime.path().c_str(), 0755), 0);
  EXPECT_EQ(create(), 1);
  EXPECT_THAT(messages, HasSubstr("Connection error: 0xd Permission denied\nNo service found.\n"));
}

TEST_F(LinuxVirtualDisk, ALinkInPlaceOfItsFolderIsNotFollowed) {
  useHelper(complete('0', ""));
  std::filesystem::create_directory_symlink(helper.path(), runtime.path("zpk"));
  EXPECT_EQ(create(), 1);
  EXPECT_THAT(messages, HasSubstr("Connection error"));
}

TEST_F(LinuxVirtualDisk, RefusesWhatItDoesNotServe) {
  useHelper(complete('0', ""));
  request.command = kQrxCommandOther;
  EXPECT_EQ(create(), EOPNOTSUPP);
  request.command = kQrxCommandAttach;
  setImagePath(request, "disk0.pvhd");
  EXPECT_EQ(create(), EINVAL);
  request.imagePath.fill('/');
  EXPECT_EQ(create(), EINVAL);
  EXPECT_THAT(allDrives(*drivesFolder(runtime.path())), IsEmpty());
}

TEST_F(LinuxVirtualDisk, TheRegistryHasNoDriveWithoutItsHelper) {
  const DriveFolder drive = makeDrive();
  drive.saveMedia({"disk4"});
  const ServiceMatching matching{"com_tarnwick_qrx_block_device"};
  EXPECT_THAT(*driver.matchingServices(matching), IsEmpty());
  const FileDescriptor kept = keep(drive);
  const auto devicesNow = driver.matchingServices(matching);
  ASSERT_EQ(devicesNow->size(), 1U);
  EXPECT_EQ(devicesNow->front()->textProperty("vd_id"), kId);
}

TEST_F(LinuxVirtualDisk, MediaAreNamesAndNothingElse) {
  const DriveFolder drive = makeDrive();
  EXPECT_THAT(drive.media(), IsEmpty());
  std::ofstream(drive.filePath("media")) << "disk4\n../x\n\ndisk4s1\n" << string(33, 'a') << "\ndisk4s2";
  EXPECT_THAT(drive.media(), ElementsAre("disk4", "disk4s1", "disk4s2"));
  std::ofstream(drive.filePath("media")) << string(100'000, 'a');
  EXPECT_THAT(drive.media(), IsEmpty());
  std::filesystem::remove(drive.filePath("media"));
  ASSERT_EQ(::mkfifo(drive.filePath("media").c_str(), 0600), 0);
  EXPECT_THAT(drive.media(), IsEmpty());
}

TEST_F(LinuxVirtualDisk, ACompletionReadsAsItWasSaved) {
  const DriveFolder drive = makeDrive();
  EXPECT_FALSE(drive.completion());
  DriveFolder::Completion completion{-7, {}};
  completion.reply.errorMessage = {"no"};
  completion.reply.result.words.back() = 42;
  ASSERT_TRUE(drive.saveCompletion(completion));
  const auto read = drive.completion();
  ASSERT_TRUE(read);
  EXPECT_EQ(read->result, -7);
  EXPECT_EQ(boundedText(read->reply.errorMessage), "no");
  EXPECT_EQ(read->reply.result, completion.reply.result);
}

TEST(DriveId, Is32UpperCaseDigits) {
  EXPECT_TRUE(isDriveId(kId));
  EXPECT_FALSE(isDriveId("00112233445566778899aabbccddeeff"));
  EXPECT_FALSE(isDriveId("00112233445566778899AABBCCDDEEF"));
  EXPECT_FALSE(isDriveId("../112233445566778899AABBCCDDEEF"));
  EXPECT_FALSE(isDriveId(""));
}

}  // namespace
}  // namespace zpk

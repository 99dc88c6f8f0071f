#include "platform/qt/QtWorkspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDBusConnection>
#include <QDesktopServices>
#include <QProcess>
#include <QStringList>
#include <QThread>
#include <QUrl>
#include <functional>
#include <future>
#include <memory>

#include "platform/qt/QtImage.h"
#include "platform/qt/QtRunLoop.h"
#include "platform/qt/QtText.h"
#include "support/TemporaryFolder.h"

namespace zpk {

// Takes the place of the applications that open files.
class FileOpener final : public QObject {
  Q_OBJECT

 public:
  FileOpener() { QDesktopServices::setUrlHandler("file", this, "open"); }
  ~FileOpener() override { QDesktopServices::unsetUrlHandler("file"); }

  std::vector<std::string> opened;

 public slots:
  void open(const QUrl& url) { opened.push_back(plainText(url.toLocalFile())); }
};

// A file manager on the session bus.
class FileManagerService final : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

 public:
  std::vector<std::string> shown;
  // What it does before it shows anything.
  std::function<void()> begins = [] {};

 public slots:
  void ShowItems(const QStringList& items, const QString&) {
    begins();
    for (const QString& item : items) shown.push_back(plainText(item));
  }
};

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A bus of the tests' own in the session bus's place; never the user's.
class PrivateSessionBus {
 public:
  PrivateSessionBus() {
    _daemon.start("dbus-daemon", {"--session", "--nofork", "--nopidfile", "--print-address"});
    if (!_daemon.waitForReadyRead(10000)) throw std::runtime_error("no dbus-daemon");
    address = QString::fromUtf8(_daemon.readLine()).trimmed();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address.toUtf8());
  }
  PrivateSessionBus(const PrivateSessionBus&) = delete;
  PrivateSessionBus& operator=(const PrivateSessionBus&) = delete;
  ~PrivateSessionBus() {
    QDBusConnection::disconnectFromBus("qt_default_session_bus");
    _daemon.terminate();
    _daemon.waitForFinished();
  }

  QString address;

 private:
  QProcess _daemon;
};

// A file manager as it mostly is, something of its own: a thread with its own connection to the bus, which goes on
// while the main thread waits.
class OtherFileManager {
 public:
  OtherFileManager(const QString& address, std::function<void()> begins) {
    _service.begins = std::move(begins);
    _service.moveToThread(&_thread);
    _thread.start();
    QDBusConnection server = QDBusConnection::connectToBus(address, "another file manager");
    EXPECT_TRUE(server.registerObject("/org/freedesktop/FileManager1", &_service, QDBusConnection::ExportAllSlots));
    EXPECT_TRUE(server.registerService("org.freedesktop.FileManager1"));
  }
  OtherFileManager(const OtherFileManager&) = delete;
  OtherFileManager& operator=(const OtherFileManager&) = delete;
  ~OtherFileManager() { end(); }

  // What it has shown; it is gone then.
  std::vector<std::string> end() {
    QDBusConnection::disconnectFromBus("another file manager");
    _thread.quit();
    _thread.wait();
    return _service.shown;
  }

 private:
  FileManagerService _service;
  QThread _thread;
};

class QtWorkspaceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { bus = std::make_unique<PrivateSessionBus>(); }
  static void TearDownTestSuite() { bus.reset(); }

  template <class Condition>
  void serveUntil(const Condition& condition) {
    const Seconds deadline = loop.now() + Seconds(10);
    while (!condition() && loop.now() < deadline) loop.runFor(Seconds(0.005));
    ASSERT_TRUE(condition()) << "nothing happened";
  }

  static std::unique_ptr<PrivateSessionBus> bus;

  QtRunLoop loop;
  TemporaryFolder folder;
  FileOpener opener;
  QtWorkspace workspace;
};

std::unique_ptr<PrivateSessionBus> QtWorkspaceTest::bus;

TEST_F(QtWorkspaceTest, ArchivesHaveAnIconOfTheirOwnSharpAtEverySize) {
  const auto image = workspace.iconForFileType("rldbackup");
  const QIcon icon = QtImage::iconOf(image);
  for (const int side : {16, 24, 32, 48, 64, 128, 256, 512}) {
    const QPixmap drawn = icon.pixmap(QSize(side, side));
    EXPECT_EQ(drawn.size(), QSize(side, side));
    // The blue of the disk, a little below the middle; nothing at the corner.
    const QImage points = drawn.toImage();
    EXPECT_GT(points.pixelColor(side / 2, side * 11 / 20).blue(), 150) << side;
    EXPECT_EQ(points.pixelColor(0, 0).alpha(), 0) << side;
  }
  EXPECT_EQ(workspace.iconForFileType("rldbackup"), image) << "the same picture again";
}

TEST_F(QtWorkspaceTest, EveryFileTypeHasSomeIcon) {
  for (const std::string_view type : {"txt", "no-such-type", "", "../..", "\xFF"}) {
    EXPECT_FALSE(QtImage::iconOf(workspace.iconForFileType(type)).isNull()) << type;
  }
}

TEST_F(QtWorkspaceTest, OpensWhatIsThere) {
  folder.put("a b%20ü#?.txt", "");
  EXPECT_TRUE(workspace.openFile(folder.path("a b%20ü#?.txt")));
  EXPECT_TRUE(workspace.openFile(folder.path()));
  EXPECT_FALSE(workspace.openFile(folder.path("missing")));
  EXPECT_FALSE(workspace.openFile(""));
  EXPECT_THAT(opener.opened, ElementsAre(folder.path("a b%20ü#?.txt"), folder.path()));
}

TEST_F(QtWorkspaceTest, AsksTheFileManagerToShowAFile) {
  FileManagerService service;
  QDBusConnection server = QDBusConnection::connectToBus(bus->address, "file manager");
  ASSERT_TRUE(server.registerObject("/org/freedesktop/FileManager1", &service, QDBusConnection::ExportAllSlots));
  ASSERT_TRUE(server.registerService("org.freedesktop.FileManager1"));
  folder.put("a b#.zip", "");
  EXPECT_TRUE(workspace.revealFile(folder.path("a b#.zip")));
  serveUntil([&] { return !service.shown.empty(); });
  EXPECT_THAT(service.shown, ElementsAre("file://" + folder.path("a%20b%23.zip")));
  EXPECT_THAT(opener.opened, IsEmpty());
  server.unregisterService("org.freedesktop.FileManager1");
  server.unregisterObject("/org/freedesktop/FileManager1");
  QDBusConnection::disconnectFromBus("file manager");
}

TEST_F(QtWorkspaceTest, WithoutAFileManagerThatShowsFilesItOpensTheFolder) {
  folder.put("a.zip", "");
  EXPECT_TRUE(workspace.revealFile(folder.path("a.zip")));
  serveUntil([&] { return !opener.opened.empty(); });
  EXPECT_THAT(opener.opened, ElementsAre(folder.path()));
}

// The program reveals the collected logs and quits in the same breath.
TEST_F(QtWorkspaceTest, WhatWasToBeRevealedLastStillIs) {
  folder.put("a.zip", "");
  {
    QtWorkspace ending;
    EXPECT_TRUE(ending.revealFile(folder.path("a.zip")));
  }
  EXPECT_THAT(opener.opened, ElementsAre(folder.path()));
}

TEST_F(QtWorkspaceTest, AFileManagerThatAnswersShowsTheLastFileToo) {
  OtherFileManager manager(bus->address, [] {});
  folder.put("a.zip", "");
  std::make_unique<QtWorkspace>()->revealFile(folder.path("a.zip"));
  EXPECT_THAT(manager.end(), ElementsAre("file://" + folder.path("a.zip")));
  EXPECT_THAT(opener.opened, IsEmpty());
}

TEST_F(QtWorkspaceTest, ASlowFileManagerIsWaitedForWhenTheProgramQuits) {
  std::promise<void> quitting;
  OtherFileManager manager(bus->address, [&] {
    quitting.get_future().wait();
    QThread::msleep(50);
  });
  folder.put("a.zip", "");
  auto ending = std::make_unique<QtWorkspace>(std::chrono::seconds(30));
  ending->revealFile(folder.path("a.zip"));
  // It goes on when the end has begun, or is about to.
  quitting.set_value();
  ending.reset();
  EXPECT_THAT(manager.end(), ElementsAre("file://" + folder.path("a.zip")));
  EXPECT_THAT(opener.opened, IsEmpty());
}

TEST_F(QtWorkspaceTest, AFileManagerThatHangsKeepsNoProgramFromQuitting) {
  std::promise<void> over;
  OtherFileManager manager(bus->address, [&] { over.get_future().wait(); });
  folder.put("a.zip", "");
  std::make_unique<QtWorkspace>(std::chrono::milliseconds(100))->revealFile(folder.path("a.zip"));
  EXPECT_THAT(opener.opened, ElementsAre(folder.path()));
  over.set_value();
}

TEST_F(QtWorkspaceTest, RevealsNothingThatIsNotThere) {
  EXPECT_FALSE(workspace.revealFile(folder.path("missing")));
  loop.runFor(Seconds(0.01));
  EXPECT_THAT(opener.opened, IsEmpty());
}

TEST_F(QtWorkspaceTest, LaunchesAnApplicationWithItsArgumentsAndDoesNotWaitForIt) {
  ASSERT_EQ(::mkfifo(folder.path("go").c_str(), 0600), 0);
  folder.put("application",
             "#!/bin/sh\ncd \"$(dirname \"$0\")\"\nread line < go\nprintf '<%s>' \"$@\" > said.part\n"
             "mv said.part said\n");
  ASSERT_EQ(::chmod(folder.path("application").c_str(), 0700), 0);
  EXPECT_TRUE(workspace.launchApplication(folder.path("application"), {"--forceui", "two words", ""}));
  folder.put("go", "\n");
  serveUntil([&] { return folder.get("said") != "(no file)"; });
  EXPECT_EQ(folder.get("said"), "<--forceui><two words><>");
}

TEST_F(QtWorkspaceTest, WhatCannotBeLaunchedIsToldAndNothingIsLookedForInPath) {
  folder.put("no-program", "");
  EXPECT_FALSE(workspace.launchApplication(folder.path("no-program"), {}));
  EXPECT_FALSE(workspace.launchApplication(folder.path("missing"), {}));
  EXPECT_FALSE(workspace.launchApplication("true", {}));
}

}  // namespace
}  // namespace zpk

#include "QtWorkspace_test.moc"

#include "platform/qt/QtWorkspace.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QProcess>
#include <QStyle>
#include <QUrl>

#include "platform/qt/QtImage.h"
#include "platform/qt/QtText.h"

// Outside any namespace, as it declares a function of the generated code.
static void loadIcons() {
  Q_INIT_RESOURCE(zpk_file_icons);
}

namespace zpk {
namespace {

QIcon archiveIcon() {
  loadIcons();
  QIcon icon;
  for (const int side : {16, 24, 32, 48, 64, 128, 256, 512}) {
    icon.addFile(QStringLiteral(":/zpk/file-icons/rldbackup-%1.png").arg(side), QSize(side, side));
  }
  return icon;
}

QIcon themeIcon(std::string_view fileType) {
  const QMimeType type =
      QMimeDatabase().mimeTypeForFile(QStringLiteral("x.") + qtText(fileType), QMimeDatabase::MatchExtension);
  QIcon icon = QIcon::fromTheme(type.iconName(), QIcon::fromTheme(type.genericIconName()));
  return icon.isNull() ? QApplication::style()->standardIcon(QStyle::SP_FileIcon) : icon;
}

bool openWithDefaultApplication(const QString& path) {
  return QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

QDBusMessage showItems(const QString& path) {
  QDBusMessage call = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
      QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
  call << QStringList(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)) << QString();
  return call;
}

}  // namespace

// A request of the file manager's. Where it has none, the folder is opened instead.
struct QtWorkspace::Reveal {
  Reveal(const QDBusPendingCall& asked, QString holding) : folder(std::move(holding)), watcher(asked) {
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &watcher, [this] { answer(); });
  }

  void answer() {
    isAnswered = true;
    if (watcher.isError()) openWithDefaultApplication(folder);
  }

  QString folder;
  QDBusPendingCallWatcher watcher;
  bool isAnswered = false;
};

QtWorkspace::QtWorkspace(std::chrono::milliseconds longestReveal) : _longestReveal(longestReveal) {}

QtWorkspace::~QtWorkspace() {
  for (Reveal& reveal : _reveals) {
    if (reveal.isAnswered) continue;
    reveal.watcher.waitForFinished();
    if (!reveal.isAnswered) reveal.answer();
  }
}

std::shared_ptr<const Image> QtWorkspace::iconForFileType(std::string_view fileType) {
  const auto found = _icons.find(fileType);
  if (found != _icons.end()) return found->second;
  auto image = std::make_shared<const QtImage>(fileType == "rldbackup" ? archiveIcon() : themeIcon(fileType));
  _icons.emplace(fileType, image);
  return image;
}

bool QtWorkspace::openFile(std::string_view path) {
  const QString file = qtText(path);
  return QFileInfo::exists(file) && openWithDefaultApplication(file);
}

bool QtWorkspace::revealFile(std::string_view path) {
  const QFileInfo file(qtText(path));
  if (!file.exists()) return false;
  const QString folder = file.absolutePath();
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return openWithDefaultApplication(folder);
  _reveals.remove_if([](const Reveal& reveal) { return reveal.isAnswered; });
  _reveals.emplace_back(bus.asyncCall(showItems(file.absoluteFilePath()), static_cast<int>(_longestReveal.count())),
                        folder);
  return true;
}

bool QtWorkspace::launchApplication(std::string_view path, const std::vector<std::string>& arguments) {
  if (!path.starts_with('/')) return false;
  QStringList words;
  for (const std::string& argument : arguments) words << qtText(argument);
  QProcess process;
  process.setProgram(qtText(path));
  process.setArguments(words);
  process.setStandardInputFile(QProcess::nullDevice());
  return process.startDetached();
}

}  // namespace zpk

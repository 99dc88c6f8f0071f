#include "tools/zpkstatusbar/StatusBarHost.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace zpk {
namespace {

// Milliseconds.
constexpr int kLongestAnswer = 500;

}  // namespace

bool isStatusBarHostRegistered() {
  const QDBusConnection bus = QDBusConnection::sessionBus();
  if (!bus.isConnected()) return false;
  QDBusMessage question = QDBusMessage::createMethodCall(
      QStringLiteral("org.kde.StatusNotifierWatcher"), QStringLiteral("/StatusNotifierWatcher"),
      QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  question << QStringLiteral("org.kde.StatusNotifierWatcher") << QStringLiteral("IsStatusNotifierHostRegistered");
  // It is the desktop's to start it.
  question.setAutoStartService(false);
  const QDBusMessage answer = bus.call(question, QDBus::Block, kLongestAnswer);
  if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) return false;
  return answer.arguments().constFirst().value<QDBusVariant>().variant().toBool();
}

}  // namespace zpk

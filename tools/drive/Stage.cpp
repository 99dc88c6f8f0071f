#include "tools/drive/Stage.h"

#include <QAbstractButton>
#include <QAction>
#include <QDialog>

#include "mainwindow/ModalSession.h"

namespace zpk {

Dictionary Stage::status() const {
  const auto newest = controller().currentStatus();
  return newest ? *newest : Dictionary();
}

std::size_t Stage::pointCount() const {
  return controller().arcItems() ? controller().arcItems()->size() : 0;
}

void expect(bool found, const QString& what) {
  if (!found) throw DriveFailed(QStringLiteral("expected ") + what);
}

void command(Stage& stage, const char* button, const char* action) {
  stage.hands.command(stage.window.widget<QAbstractButton>(button), stage.window.widget<QAction>(action));
}

void command(Stage& stage, const char* action) {
  stage.hands.command(stage.window.widget<QAction>(action));
}

QDialog& awaitSheet(Stage& stage, const QString& what, std::int32_t session) {
  stage.window.waitFor(what, kForASheet,
                       [&] { return stage.controller().modalSession() == session && stage.window.sheet(); });
  return stage.window.shownSheet();
}

void awaitNoSheet(Stage& stage, const QString& what) {
  stage.window.waitFor(what, kForASheet, [&] {
    return stage.controller().modalSession() == modalsession::kNone && !stage.window.sheet();
  });
}

QString awaitError(Stage& stage, const QString& what) {
  stage.window.waitThroughErrorsFor(what, kForASheet, [&] { return !stage.window.shownError().isEmpty(); });
  return stage.window.shownError();
}

void awaitIdle(Stage& stage) {
  stage.window.waitFor(QStringLiteral("the helper to be idle"), kForTheHelper, [&] {
    return statuskey::state.read(stage.status()) == HelperState::idle && !stage.window.sheet();
  });
}

}  // namespace zpk

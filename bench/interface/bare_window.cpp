// An empty window and nothing else; with --text, a window with one line of text, which costs finding and reading
// the fonts.
#include <QApplication>
#include <QLabel>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QLabel window;
  if (QApplication::arguments().contains(QStringLiteral("--text")))
    window.setText(QStringLiteral("Ready to back up"));
  window.resize(900, 640);
  window.show();
  return QApplication::exec();
}

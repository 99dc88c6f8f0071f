// An empty window and nothing else.
#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QWidget window;
  window.resize(900, 640);
  window.show();
  return QApplication::exec();
}

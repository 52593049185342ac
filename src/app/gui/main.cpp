#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setOrganizationName("Trellium");
    QApplication::setApplicationName("Trellium5");
    QMainWindow window;
    window.setWindowTitle("Trellium");
    window.resize(1000, 700);
    window.show();
    return app.exec();
}

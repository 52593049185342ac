#include "gui/MainWindow.h"
#include "gui/SingleInstance.h"

#include <QApplication>
#include <QFileOpenEvent>
#include <QIcon>

namespace {

// The platform's open-file event (a double click on a settings file on macOS) reaches the
// window the same way as a path on the command line.
class Application : public QApplication {
  public:
    using QApplication::QApplication;
    MainWindow* window = nullptr;
    QStringList early;

  protected:
    bool event(QEvent* e) override {
        if (e->type() == QEvent::FileOpen) {
            const QString path = static_cast<QFileOpenEvent*>(e)->file();
            window ? window->openFile(path) : early.append(path);
            return true;
        }
        return QApplication::event(e);
    }
};

} // namespace

int main(int argc, char** argv) {
    Application app(argc, argv);
    QApplication::setOrganizationName("Trellium");
    QApplication::setApplicationName("Trellium5");
    QApplication::setApplicationDisplayName("Trellium");
    QApplication::setDesktopFileName("trellium");
    QApplication::setWindowIcon(QIcon::fromTheme("trellium"));

    QStringList files = QApplication::arguments().mid(1);
    if (SingleInstance::handToRunning(files))
        return 0;

    MainWindow window;
    app.window = &window;
    SingleInstance instance;
    instance.fileReceived = [&window](const QString& path) { window.openFile(path); };
    instance.activated = [&window] {
        window.showNormal();
        window.raise();
        window.activateWindow();
    };
    instance.listen();

    window.show();
    window.start(files + app.early);
    return app.exec();
}

#include "gui/ResultsWindows.h"

#include <QMainWindow>

ResultsWindows::~ResultsWindows() {
    // The views inside go with their windows, as they would with the main window.
    qDeleteAll(windows);
}

void ResultsWindows::addView(const QString& name, QWidget* view, std::function<void(QWidget*)> putBack) {
    views.insert(name, {view, std::move(putBack)});
}

void ResultsWindows::show(const QString& kind, const QString& viewName, const QString& title) {
    const View view = views.value(viewName);
    if (!view.widget)
        return;
    QMainWindow*& window = windows[kind];
    if (!window) {
        window = new QMainWindow(owner, Qt::Window);
        // "linksResultsView" has the window "linksWindow".
        window->setObjectName(QString(kind).replace("ResultsView", "Window"));
        window->resize(1000, 640);
    }
    window->setWindowTitle(title);
    if (window->centralWidget() != view.widget) {
        sendHome(window);
        // A view stands in one window at a time: another kind's window gives it up.
        for (QMainWindow* other : std::as_const(windows))
            if (other->centralWidget() == view.widget)
                other->takeCentralWidget();
        window->setCentralWidget(view.widget);
        view.widget->show();
    }
    window->show();
    window->raise();
}

void ResultsWindows::hide(const QString& kind) {
    QMainWindow* window = windows.value(kind);
    if (!window)
        return;
    sendHome(window);
    window->hide();
}

void ResultsWindows::closeAll() {
    for (QMainWindow* window : std::as_const(windows))
        window->close();
}

void ResultsWindows::sendHome(QMainWindow* window) {
    QWidget* widget = window->centralWidget();
    if (!widget)
        return;
    window->takeCentralWidget();
    for (const View& view : std::as_const(views))
        if (view.widget == widget && view.putBack)
            view.putBack(widget);
}

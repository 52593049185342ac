#pragma once

#include <QMap>
#include <QString>
#include <functional>

class QMainWindow;
class QWidget;

// Results in windows of their own, one per kind (the preference that shows results apart from
// the main window). A window holds the view that step 5 would show; the view goes back to its
// place in the main window when its kind shows there again.
class ResultsWindows {
  public:
    explicit ResultsWindows(QWidget* owner) : owner(owner) {}
    ~ResultsWindows();
    ResultsWindows(const ResultsWindows&) = delete;
    ResultsWindows& operator=(const ResultsWindows&) = delete;

    // A view by its name ("seoResultsView"), and how it goes back into the main window.
    void addView(const QString& name, QWidget* view, std::function<void(QWidget*)> putBack);
    // The window of the kind, made when first asked for, with the named view in it, in front.
    void show(const QString& kind, const QString& viewName, const QString& title);
    // The window of the kind hidden, and its view back in the main window.
    void hide(const QString& kind);
    void closeAll();
    QMainWindow* window(const QString& kind) const { return windows.value(kind); }

  private:
    struct View {
        QWidget* widget = nullptr;
        std::function<void(QWidget*)> putBack;
    };
    void sendHome(QMainWindow* window);

    QWidget* owner;
    QMap<QString, View> views;
    QMap<QString, QMainWindow*> windows;
};

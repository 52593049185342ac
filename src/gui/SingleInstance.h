#pragma once

#include <QLocalServer>
#include <QObject>
#include <QStringList>
#include <functional>

// One window per user: a second launch hands its settings files to the running program over
// a local socket and ends.
class SingleInstance : public QObject {
    Q_OBJECT
  public:
    // The socket's name, per user and per home folder, so tests with a home of their own never
    // reach a window that a person is using.
    static QString serverName();
    // True when a running program took the paths (it may take none, which brings it forward).
    static bool handToRunning(const QStringList& paths, const QString& name = serverName());

    explicit SingleInstance(QObject* parent = nullptr);
    bool listen(const QString& name = serverName());
    std::function<void(const QString& path)> fileReceived;
    std::function<void()> activated;

  private:
    QLocalServer server;
};

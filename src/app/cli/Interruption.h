#pragma once

#include <QObject>
#include <functional>

class QSocketNotifier;

// SIGINT and SIGTERM turned into an ordinary call on the event loop. The handler itself only
// writes the signal's number into a pipe (all a handler may safely do); the loop reads it and
// calls onSignal. A second signal, while the first is being dealt with, ends the process at
// once with 128 + its number, for the person who does not want to wait.
class Interruption : public QObject {
  public:
    Interruption();
    ~Interruption() override;

    std::function<void(int signal)> onSignal;
    // The first signal received, 0 for none; set by the handler, so also true for a signal that
    // came while the event loop was not running.
    static int received();
    // The exit status the shell gives a process ended by that signal: 130 for SIGINT, 143 for SIGTERM.
    static int exitStatusFor(int signal) { return 128 + signal; }

  private:
    QSocketNotifier* notifier = nullptr;
};

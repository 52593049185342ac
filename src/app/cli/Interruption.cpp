#include "app/cli/Interruption.h"

#include <QSocketNotifier>
#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int pipeFds[2] = {-1, -1};
std::atomic<int> firstSignal{0};

void handleSignal(int signal) {
    int expected = 0;
    if (!firstSignal.compare_exchange_strong(expected, signal)) {
        const char newline = '\n';
        (void)!write(STDERR_FILENO, &newline, 1);
        _exit(Interruption::exitStatusFor(signal));
    }
    const char byte = char(signal);
    (void)!write(pipeFds[1], &byte, 1);
}

} // namespace

Interruption::Interruption() {
    if (pipeFds[0] < 0 && pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    notifier = new QSocketNotifier(pipeFds[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char byte = 0;
        while (read(pipeFds[0], &byte, 1) == 1)
            if (onSignal)
                onSignal(byte);
    });
    struct sigaction action = {};
    action.sa_handler = handleSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

Interruption::~Interruption() {
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
}

int Interruption::received() {
    return firstSignal.load();
}

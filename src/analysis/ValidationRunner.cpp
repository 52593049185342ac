#include "analysis/ValidationRunner.h"

#include <QMetaObject>
#include <QObject>
#include <chrono>
#include <future>
#include <memory>

ValidationRunner::~ValidationRunner() {
    quitting = true;
    wakeUp.notify_all();
    if (thread.joinable())
        thread.join();
}

double ValidationRunner::delayFromText(const QString& text) {
    bool ok = false;
    const double seconds = text.trimmed().toDouble(&ok);
    return ok && seconds > 0 ? seconds : 0.2;
}

void ValidationRunner::start(QObject* ownerObject, NextPage next) {
    if (isRunning())
        return;
    // A loop that has ended leaves its thread to be collected before the next one starts.
    if (thread.joinable())
        thread.join();
    owner = ownerObject;
    nextPage = std::move(next);
    stopped = false;
    thread = std::thread([this] { run(); });
}

void ValidationRunner::run() {
    bool more = true;
    while (!quitting && !(crawlFinished && !more)) {
        double delay = 0.2;
        more = askOwner(delay);
        std::unique_lock lock(sleepLock);
        wakeUp.wait_for(lock, std::chrono::duration<double>(delay), [this] { return quitting.load(); });
    }
    stopped = true;
}

bool ValidationRunner::askOwner(double& delay) {
    struct Answer {
        bool more = false;
        double delay = 0.2;
    };
    auto promise = std::make_shared<std::promise<Answer>>();
    std::future<Answer> answer = promise->get_future();
    // Queued to the owner's object: if that object is gone, the call is dropped with it.
    QMetaObject::invokeMethod(
        owner,
        [this, promise] {
            Answer a;
            a.more = nextPage();
            a.delay = delayFromText(validationDelay ? validationDelay() : QString());
            promise->set_value(a);
        },
        Qt::QueuedConnection);
    while (answer.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready)
        if (quitting)
            return false;
    const Answer a = answer.get();
    delay = a.delay;
    return a.more;
}

#pragma once

#include <QString>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

class QObject;

// The pacing thread of validation: one page handed out per delay, whatever the answers do, until
// the crawl is finished and a pass found nothing more. The question "is there a next page" is
// asked on the owner's thread (the event loop that owns the collection and sends the requests);
// this thread only waits for the answer and sleeps.
class ValidationRunner {
  public:
    // Asked once a pass on the owner's thread: whether a page was handed out.
    using NextPage = std::function<bool()>;
    // The text of the delay preference, read anew at each pass on the owner's thread.
    using DelayText = std::function<QString()>;

    ValidationRunner() = default;
    ~ValidationRunner();
    ValidationRunner(const ValidationRunner&) = delete;
    ValidationRunner& operator=(const ValidationRunner&) = delete;

    void setCrawlFinished(bool finished) { crawlFinished = finished; }
    bool getCrawlFinished() const { return crawlFinished; }
    void setValidationDelay(DelayText text) { validationDelay = std::move(text); }
    // Starts the loop on a thread of its own; owner is an object living on the owner's thread.
    void start(QObject* owner, NextPage next);
    bool isRunning() const { return !stopped; }

    // Seconds between two pages for a preference text: 0, unreadable or negative mean 0.2.
    static double delayFromText(const QString& text);

  private:
    void run();
    // Asks the owner's thread; false when the runner is being destroyed meanwhile.
    bool askOwner(double& delay);

    QObject* owner = nullptr;
    NextPage nextPage;
    DelayText validationDelay;
    std::atomic<bool> crawlFinished{false};
    std::atomic<bool> stopped{true};
    std::atomic<bool> quitting{false};
    std::thread thread;
    std::mutex sleepLock;
    std::condition_variable wakeUp;
};

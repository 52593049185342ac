#pragma once

#include "platform/UserInterface.h"

#include <QList>
#include <QPair>
#include <QStringList>
#include <functional>

// Records what the core shows, so tests can assert on alerts, progress and the end of a job.
class RecordingUserInterface : public UserInterface {
  public:
    int alert(const QString& title, const QString& text, const QStringList& = {"OK"}) override {
        alerts.append({title, text});
        return alertAnswer;
    }
    QString chooseSaveFile(const QString&, const QString&) override { return saveAnswer; }
    QString chooseOpenFile(const QString&) override { return openAnswer; }
    void progress(qint64 done, qint64 total, const QString& line) override {
        lastDone = done;
        lastTotal = total;
        if (!line.isEmpty())
            progressLines.append(line);
    }
    void progressPicture(int index) override { pictures.append(index); }
    void crawlCommandsChanged(bool stopped) override { commandStates.append(stopped); }
    void crawlHasPaused() override { ++paused; }
    void crawlHasContinued() override { ++continued; }
    void crawlDidntGetOffGround() override { ++didntGetOffGround; }
    void showResults(int action) override {
        results.append(action);
        if (onResults)
            onResults(action);
    }

    QList<QPair<QString, QString>> alerts;
    QStringList progressLines;
    QList<int> pictures;
    QList<bool> commandStates;
    QList<int> results;
    qint64 lastDone = 0, lastTotal = 0;
    int paused = 0, continued = 0, didntGetOffGround = 0;
    QString saveAnswer, openAnswer;
    int alertAnswer = 0;
    std::function<void(int)> onResults;
};

#pragma once

#include <QString>
#include <QTemporaryDir>

// The real W3C Markup Validator (Debian's CGI behind lighttpd) on 127.0.0.1 and a free port,
// started with scripts/local-validator.sh in a folder of its own and stopped by the destructor.
// Starting takes well under a second; each page checked takes about one.
class LocalValidator {
  public:
    LocalValidator();
    ~LocalValidator();
    LocalValidator(const LocalValidator&) = delete;
    LocalValidator& operator=(const LocalValidator&) = delete;

    bool isRunning() const { return !base.isEmpty(); }
    // "http://127.0.0.1:PORT/w3c-validator", no trailing slash; empty when it did not start.
    const QString& baseUrl() const { return base; }
    // What the script said when it failed.
    const QString& failure() const { return why; }

  private:
    bool runScript(const QStringList& arguments, QString* output);

    QTemporaryDir folder;
    QString base;
    QString why;
};

#pragma once

// The built `trellium` run as a user runs it: a child process with its standard input closed and
// the developers' log left off, whose output is read once it has ended.
#include <QFile>
#include <QProcess>
#include <ostream>

struct ChildRun {
    int exitCode = -1; // -1: it crashed, or hung for 20 seconds and was killed
    QString out, err;
};

// The child inherits HOME and the XDG folders (as a TempHome sets them), or has them under `home`.
inline ChildRun trellium(const QStringList& args, const QString& home = {}) {
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("TRELLIUM_LOG");
    if (!home.isEmpty()) {
        env.insert("HOME", home);
        env.insert("XDG_DATA_HOME", home + "/share");
        env.insert("XDG_CONFIG_HOME", home + "/config");
    }
    QProcess process;
    process.setProcessEnvironment(env);
    process.start(TRELLIUM_PROGRAM, args);
    process.closeWriteChannel();
    ChildRun run;
    if (!process.waitForFinished(20000)) {
        process.kill();
        process.waitForFinished();
    } else if (process.exitStatus() == QProcess::NormalExit) {
        run.exitCode = process.exitCode();
    }
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

// A file's text, or "<missing>" when it cannot be read, so that two missing files never compare equal.
inline QString readText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString("<missing>");
}

// Writes a file whole; false if it could not.
inline bool writeBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

// Lets a failure message show what the child printed: `EXPECT_...() << run.out`.
inline std::ostream& operator<<(std::ostream& out, const QString& text) {
    return out << text.toStdString();
}

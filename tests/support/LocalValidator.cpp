#include "support/LocalValidator.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

namespace {

// This file's name as the compiler saw it, which may be relative to the build folder, the parent
// of the test programs' folder.
QString scriptPath() {
    const QFileInfo source(QStringLiteral(__FILE__));
    const QDir folder = source.isAbsolute()
                            ? source.dir()
                            : QDir(QCoreApplication::applicationDirPath() + "/../" + source.path());
    return folder.absoluteFilePath("../../scripts/local-validator.sh");
}

} // namespace

LocalValidator::LocalValidator() {
    QString output;
    if (!folder.isValid()) {
        why = "no temporary folder";
        return;
    }
    if (runScript({"start"}, &output))
        base = output.trimmed().split('\n').last().trimmed();
    else
        why = output;
}

LocalValidator::~LocalValidator() {
    if (isRunning())
        runScript({"stop"}, nullptr);
}

bool LocalValidator::runScript(const QStringList& arguments, QString* output) {
    QProcess script;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TRELLIUM_VALIDATOR_DIR", folder.path());
    script.setProcessEnvironment(environment);
    script.setProcessChannelMode(QProcess::MergedChannels);
    script.start("/bin/sh", QStringList{scriptPath()} + arguments);
    const bool done = script.waitForFinished(20000);
    if (output)
        *output = QString::fromLocal8Bit(script.readAll());
    return done && script.exitStatus() == QProcess::NormalExit && script.exitCode() == 0;
}

#include "support/LocalValidator.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

namespace {

QString scriptPath() {
    return QFileInfo(QStringLiteral(__FILE__)).dir().absoluteFilePath("../../scripts/local-validator.sh");
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

LocalValidator& LocalValidator::shared() {
    static LocalValidator validator;
    return validator;
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

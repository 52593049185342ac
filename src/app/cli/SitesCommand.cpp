#include "app/cli/Commands.h"

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "platform/Plist.h"
#include <algorithm>

#include <QFileInfo>
#include <QtGlobal>
#include <cstdio>

namespace {

const char* usage = "usage: trellium sites [SUBCOMMAND]\n"
                    "\n"
                    "The stored sites, kept in ~/.local/share/Trellium5.\n"
                    "\n"
                    "  (none)                     list the sites: name, URL, status, date of the last check\n"
                    "  add URL [--name NAME]      add a site with the default settings\n"
                    "  rename NAME NEWNAME        give a site another name\n"
                    "  set-url NAME URL           change the starting URL of a site\n"
                    "  delete NAME                delete a site's settings\n"
                    "  export NAME FILE.lcsettings  write a site's settings to a file\n"
                    "  show NAME                  print a site's settings as key = value\n"
                    "  set NAME KEY VALUE         change one setting of a site\n"
                    "\n"
                    "NAME is a site's name, or its URL. numberOfThreads is held between 1 and 100.\n";

int fail(const QString& message) {
    std::fprintf(stderr, "trellium sites: %s\n", qPrintable(message));
    return 2;
}

// Every file the command could not write, each with its path and reason; then 2, or `status`
// when all were written.
int withFileFailures(const KestConfigManager& config, int status) {
    for (const QString& failure : config.getFileFailures())
        fail(failure);
    return config.getFileFailures().isEmpty() ? status : 2;
}

void print(const QString& line) {
    std::fprintf(stdout, "%s\n", qPrintable(line));
}

QString describe(const QVariant& value) {
    if (value.typeId() == QMetaType::QVariantList) {
        QStringList items;
        for (const QVariant& item : value.toList()) {
            QStringList pairs;
            const QVariantMap rule = item.toMap();
            for (auto it = rule.begin(); it != rule.end(); ++it)
                pairs.append(it.key() + "=" + it.value().toString());
            items.append("{" + pairs.join(", ") + "}");
        }
        return "[" + items.join(", ") + "]";
    }
    return value.toString();
}

int list(KestConfigManager& config) {
    const SiteStore& store = config.store();
    for (int row = 0; row < store.numberOfVisibleRows(); ++row) {
        const int index = store.indexOfNthVisible(row);
        const QString filename = store.fileNameCollection[index];
        const QVariantMap file = Plist::readFile(SiteStore::pathForFilename(filename));
        print(QString("%1\t%2\t%3\t%4")
                  .arg(store.nameCollection[index], store.collection[index], file.value("status").toString(),
                       file.value("dateStamp").toString()));
    }
    return 0;
}

int add(KestConfigManager& config, QStringList args) {
    QString name;
    const qsizetype flag = args.indexOf("--name");
    if (flag >= 0) {
        if (flag + 1 >= args.size())
            return fail("--name needs a value");
        name = args[flag + 1];
        args.remove(flag, 2);
    }
    if (args.size() != 1 || args[0].trimmed().isEmpty())
        return fail("add takes one URL (see --help)");
    if (!config.newSheetOK(args[0].trimmed(), name))
        return fail("add takes one URL (see --help)");
    if (!config.getFileFailures().isEmpty())
        return withFileFailures(config, 2);
    print(QString("added %1 as %2").arg(args[0].trimmed(), config.getSelectedConfigFilename()));
    return 0;
}

// Settings keys that `set` accepts: those a site file carries, but its name and URL, which
// have commands of their own, and the last result, which the crawl writes.
bool isSettableKey(const QString& key) {
    static const QStringList keys = [] {
        QStringList all = KestConfigManager::compileBlankDict().keys();
        all.removeAll("name");
        all.removeAll("url");
        all.removeAll("sitemapRules");
        all.append("delay");
        return all;
    }();
    return keys.contains(key);
}

QVariant storedForm(const QString& key, const QString& text) {
    const QVariant blank = KestConfigManager::compileBlankDict().value(key);
    if (blank.typeId() == QMetaType::Int)
        return KestConfigManager::intValue(text);
    if (blank.toString() == "YES" || blank.toString() == "NO")
        return QString(KestConfigManager::boolValue(text) ? "YES" : "NO");
    return text;
}

} // namespace

int runSitesCommand(const QStringList& args) {
    // The program's log lines are for the system log, not for the person at the terminal.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type != QtInfoMsg && type != QtDebugMsg)
            std::fprintf(stderr, "%s\n", qPrintable(message));
    });
    if (args.contains("--help") || args.contains("-h")) {
        std::fputs(usage, stdout);
        return 0;
    }
    Preferences preferences;
    preferences.load();
    KestConfigManager config(&preferences, nullptr);
    config.loadAllUrls();
    if (args.isEmpty())
        return list(config);

    const QString command = args[0];
    const QStringList rest = args.mid(1);
    if (command == "add")
        return add(config, rest);

    struct Arity {
        const char* command;
        int count;
    };
    const Arity arities[] = {{"rename", 2}, {"set-url", 2}, {"delete", 1},
                             {"export", 2}, {"show", 1},    {"set", 3}};
    int expected = -1;
    for (const Arity& a : arities) {
        if (command == a.command)
            expected = a.count;
    }
    if (expected < 0)
        return fail(QString("unknown subcommand '%1' (see --help)").arg(command));
    if (rest.size() != expected)
        return fail(QString("%1 takes %2 argument(s) (see --help)").arg(command).arg(expected));
    // The whole list is searched, whatever the last search left hidden.
    config.filter(QString());
    if (!config.selectUrl(rest[0]))
        return fail(QString("no site named '%1'").arg(rest[0]));

    if (command == "rename") {
        config.setNewName(rest[1]);
        return withFileFailures(config, 0);
    }
    if (command == "set-url") {
        if (rest[1].trimmed().isEmpty())
            return fail("the URL must not be empty");
        config.setNewUrl(rest[1].trimmed());
        return withFileFailures(config, 0);
    }
    if (command == "delete") {
        if (config.deleteMenuItem())
            return withFileFailures(config, 0);
        return config.getFileFailures().isEmpty() ? fail(QString("could not delete '%1'").arg(rest[0]))
                                                  : withFileFailures(config, 2);
    }
    if (command == "export") {
        if (QFileInfo(rest[1]).suffix() != "lcsettings")
            return fail("the export file must end in .lcsettings");
        config.exportSettingsTo(rest[1]);
        return withFileFailures(config, 0);
    }
    const QString path = SiteStore::pathForFilename(config.getSelectedConfigFilename());
    if (command == "show") {
        const QVariantMap file = Plist::readFile(path);
        for (auto it = file.begin(); it != file.end(); ++it)
            print(it.key() + " = " + describe(it.value()));
        return 0;
    }
    // set: in place, so keys this version does not know stay in the file.
    const QString key = rest[1];
    if (!isSettableKey(key))
        return fail(
            QString("'%1' is not a setting that can be set here (see 'trellium sites show')").arg(key));
    QVariant value = storedForm(key, rest[2]);
    if (key == "numberOfThreads") {
        bool ok = false;
        const double threads = rest[2].toDouble(&ok);
        if (!ok)
            return fail("numberOfThreads takes a number");
        value = QString::number(std::clamp(threads, KestConfigManager::minimumNumberOfThreads,
                                           KestConfigManager::maximumNumberOfThreads));
    }
    QString reason;
    if (!SiteStore::changeKeysInFile(path, {{key, value}}, &reason))
        return fail(KestConfigManager::writeFailureText(path, reason));
    return withFileFailures(config, 0);
}

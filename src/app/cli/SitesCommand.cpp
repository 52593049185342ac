#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"

#include "config/KestConfigManager.h"
#include "config/Preferences.h"
#include "platform/Plist.h"
#include <algorithm>

#include <QFileInfo>
#include <QLocale>
#include <QtGlobal>
#include <cstdio>
#include <optional>

namespace {

const char* usage =
    "usage: trellium sites [SUBCOMMAND]\n"
    "\n"
    "The stored sites, kept in ~/.local/share/Trellium5.\n"
    "\n"
    "  (none), list               list the sites: name, URL, status, date of the last check\n"
    "  add URL [--name NAME]      add a site with the default settings\n"
    "  rename NAME NEWNAME        give a site another name\n"
    "  set-url NAME URL           change the starting URL of a site\n"
    "  delete NAME, remove NAME   delete a site's settings\n"
    "  export NAME FILE.lcsettings  write a site's settings to a file\n"
    "  show NAME                  print a site's settings as key = value\n"
    "  set NAME KEY VALUE         change one setting of a site\n"
    "\n"
    "NAME is a site's name, or its URL. Values are checked as the matching crawl options are;\n"
    "flags take YES or NO, and numberOfThreads is held between 1 and 100.\n";

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

int refuseUrl(const QString& text) {
    return fail(QString("'%1' is not a URL: give a web address such as https://www.example.com/, or a "
                        "local file or folder")
                    .arg(text));
}

bool nameIsTaken(const SiteStore& store, const QString& name) {
    return store.nameCollection.contains(name);
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
    const QString url = CliInput::startFromArgument(args[0].trimmed());
    if (!CliInput::isStartUrl(url))
        return refuseUrl(args[0]);
    // A site without a name is listed, and found, by its URL.
    const QString shownName = name.isEmpty() ? url : name;
    if (nameIsTaken(config.store(), shownName))
        return fail(QString("a site named '%1' exists already; give the new one another name with --name")
                        .arg(shownName));
    if (!config.newSheetOK(url, name))
        return fail("add takes one URL (see --help)");
    if (!config.getFileFailures().isEmpty())
        return withFileFailures(config, 2);
    print(QString("added '%1' (%2)").arg(shownName, url));
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

// Settings read as numbers, with the range a value must lie in: the least that the matching
// `crawl` flag takes, and the values a form would offer. `whole` asks for an integer; an
// empty value is taken where a new site has one.
struct NumberRule {
    const char* key;
    double minimum;
    double maximum;
    bool whole;
    bool emptyAllowed;
};
const NumberRule numberRules[] = {
    {"numberOfThreads", 0, 1e9, false, false},
    {"timeOut", 0.001, 1e9, false, false},
    {"delay", 0, 1e9, false, false},
    {"orphanftpthreads", 1, 1e9, true, false},
    {"summaryReportFormat", 0, 1, true, false},
    {"scheduleCalendarIntervalMatrix", 0, 2, true, false},
    {"scheduleCalendarIntervalMinutes", 0, 59, true, true},
    {"scheduleCalendarIntervalHours", 0, 23, true, true},
    {"scheduleCalendarIntervalDay", 1, 31, true, true},
};

// The typed value in the form the file keeps, or why it is refused.
std::optional<QVariant> checkedSetting(const QString& key, const QString& text, QString* error) {
    const QVariant blank = KestConfigManager::compileBlankDict().value(key);
    if (blank.toString() == "YES" || blank.toString() == "NO") {
        if (const std::optional<bool> on = CliInput::readYesNo(text))
            return QVariant(QString(*on ? "YES" : "NO"));
        *error = QString("%1 takes YES or NO, not '%2'").arg(key, text);
        return std::nullopt;
    }
    if (key == "scheduleCalendarIntervalWeekday") {
        for (int day = 1; day <= 7; ++day) {
            const QString title = QLocale::c().dayName(day);
            if (text.trimmed().compare(title, Qt::CaseInsensitive) == 0)
                return QVariant(title);
        }
        *error = QString("%1 takes a weekday in English (Monday ... Sunday), not '%2'").arg(key, text);
        return std::nullopt;
    }
    for (const NumberRule& rule : numberRules) {
        if (key != QLatin1String(rule.key))
            continue;
        if (rule.emptyAllowed && text.trimmed().isEmpty())
            return QVariant(QString());
        bool ok = false;
        const double number = text.trimmed().toDouble(&ok);
        if (!ok || number < rule.minimum || number > rule.maximum || (rule.whole && number != int(number))) {
            const QString kind = rule.whole ? "a whole number" : "a number";
            *error = rule.maximum < 1e9 ? QString("%1 takes %2 from %3 to %4, not '%5'")
                                              .arg(key, kind)
                                              .arg(rule.minimum)
                                              .arg(rule.maximum)
                                              .arg(text)
                                        : QString("%1 takes %2 of at least %3, not '%4'")
                                              .arg(key, kind)
                                              .arg(rule.minimum)
                                              .arg(text);
            return std::nullopt;
        }
        if (blank.typeId() == QMetaType::Int)
            return QVariant(int(number));
        if (key == "numberOfThreads")
            return QVariant(QString::number(std::clamp(number, KestConfigManager::minimumNumberOfThreads,
                                                       KestConfigManager::maximumNumberOfThreads)));
        return QVariant(text.trimmed());
    }
    return QVariant(text);
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
    if (command == "list")
        return rest.isEmpty() ? list(config) : fail("list takes no argument (see --help)");

    const QString refused = CliInput::checkSubcommand(command, rest.size(),
                                                      {{"rename", 2},
                                                       {"set-url", 2},
                                                       {"delete", 1},
                                                       {"remove", 1},
                                                       {"export", 2},
                                                       {"show", 1},
                                                       {"set", 3}});
    if (!refused.isEmpty())
        return fail(refused);
    // The whole list is searched, whatever the last search left hidden.
    config.filter(QString());
    if (!config.selectUrl(rest[0]))
        return fail(QString("no site named '%1'").arg(rest[0]));

    if (command == "rename") {
        if (rest[1] != config.getNameOfSelectedSite() && nameIsTaken(config.store(), rest[1]))
            return fail(QString("a site named '%1' exists already").arg(rest[1]));
        config.setNewName(rest[1]);
        return withFileFailures(config, 0);
    }
    if (command == "set-url") {
        const QString url = CliInput::startFromArgument(rest[1].trimmed());
        if (!CliInput::isStartUrl(url))
            return refuseUrl(rest[1]);
        config.setNewUrl(url);
        return withFileFailures(config, 0);
    }
    if (command == "delete" || command == "remove") {
        if (config.deleteMenuItem())
            return withFileFailures(config, 0);
        return config.getFileFailures().isEmpty() ? fail(QString("could not delete '%1'").arg(rest[0]))
                                                  : withFileFailures(config, 2);
    }
    if (command == "export") {
        const QString file = CliInput::expandTilde(rest[1]);
        if (QFileInfo(file).suffix() != "lcsettings")
            return fail("the export file must end in .lcsettings");
        QString why;
        if (!CliInput::isWritableFile(file, &why))
            return fail(QString("cannot write %1: %2").arg(file, why));
        config.exportSettingsTo(file);
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
    QString error;
    const std::optional<QVariant> value = checkedSetting(key, rest[2], &error);
    if (!value)
        return fail(error);
    QString reason;
    if (!SiteStore::changeKeysInFile(path, {{key, *value}}, &reason))
        return fail(KestConfigManager::writeFailureText(path, reason));
    return withFileFailures(config, 0);
}

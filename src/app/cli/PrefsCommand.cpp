#include "app/cli/CliInput.h"
#include "app/cli/Commands.h"

#include "config/Preferences.h"

#include <QtGlobal>
#include <cstdio>
#include <optional>

namespace {

using Form = Preferences::Form;

const char* usage = "usage: trellium prefs [list | get KEY | set KEY VALUE | reset KEY]\n"
                    "\n"
                    "The global preferences, shared with the desktop window.\n"
                    "\n"
                    "  list (or nothing)   every preference: key, type and value\n"
                    "  get KEY             the value of one preference\n"
                    "  set KEY VALUE       change one; a bool or yesno takes YES, NO, true or false,\n"
                    "                      a number is checked\n"
                    "  reset KEY           forget the stored value, so that the initial one applies\n";

// Preferences kept as text that the program reads as numbers, with the least each may be.
struct NumericText {
    const char* key;
    double minimum;
};
const NumericText numericTexts[] = {{"validationdelay", 0},
                                    {"validationtimeout", 0.001},
                                    {"SEOtoomanylinks", 0},
                                    {"SEOmetadescriptionmin", 0},
                                    {"SEOmetadescriptionmax", 0},
                                    {"TrelliumMaxPageSize", 0},
                                    {"TrelliumMaxRequestTime", 0},
                                    {"delay", 0},
                                    {"timeout", 0.001}};

int fail(const QString& message) {
    std::fprintf(stderr, "trellium prefs: %s\n", qPrintable(message));
    return 2;
}

QString typeName(Form form) {
    switch (form) {
    case Form::Bool:
        return "bool";
    case Form::YesNo:
        return "yesno";
    case Form::Index:
        return "index";
    case Form::Text:
        return "text";
    case Form::Number:
        return "number";
    case Form::Float:
        return "float";
    case Form::List:
        return "list";
    }
    return QString();
}

QString shown(const Preferences& preferences, const QString& key, Form form) {
    switch (form) {
    case Form::Bool:
        return preferences.boolValue(key) ? "true" : "false";
    case Form::Float:
        return QString::number(preferences.value(key).toFloat());
    case Form::List:
        return QString("%1 entries").arg(preferences.value(key).toList().size());
    default:
        return preferences.stringValue(key);
    }
}

// The typed text as the value to keep, or an error that says what the key takes.
std::optional<QVariant> parseValue(const QString& key, Form form, const QString& text, QString* error) {
    auto refuse = [&](const QString& takes) {
        *error = QString("%1 takes %2, not '%3'").arg(key, takes, text);
        return std::nullopt;
    };
    bool ok = false;
    switch (form) {
    case Form::Bool:
    case Form::YesNo: {
        const std::optional<bool> on = CliInput::readYesNo(text);
        if (!on)
            return refuse("YES, NO, true or false");
        return form == Form::Bool ? QVariant(*on) : QVariant(QString(*on ? "YES" : "NO"));
    }
    case Form::Index:
    case Form::Number: {
        const qlonglong number = text.trimmed().toLongLong(&ok);
        if (!ok || number < 0)
            return refuse("a whole number of at least 0");
        return QVariant(number);
    }
    case Form::Float: {
        const double number = text.trimmed().toDouble(&ok);
        if (!ok || number < 0 || number > 1)
            return refuse("a number from 0 to 1");
        return QVariant(number);
    }
    case Form::List:
        *error = QString("%1 is kept by the program itself and can't be set here").arg(key);
        return std::nullopt;
    case Form::Text:
        break;
    }
    if (key == "ShowThumbsInSites") {
        const std::optional<bool> on = CliInput::readYesNo(text);
        if (!on)
            return refuse("YES, NO, true or false");
        return QVariant(QString(*on ? "1" : "0"));
    }
    for (const NumericText& numeric : numericTexts) {
        if (key != QLatin1String(numeric.key))
            continue;
        const double number = text.trimmed().toDouble(&ok);
        if (!ok || number < numeric.minimum)
            return refuse(QString("a number of at least %1").arg(numeric.minimum));
    }
    return QVariant(text);
}

// A colour is read at start only when its red is stored, and then all four parts together, a
// missing part as zero: so a part is never written or forgotten alone.
QStringList keysKeptTogether(const QString& key, Form form) {
    if (form != Form::Float)
        return {key};
    const QString colour = key.chopped(1);
    return {colour + "R", colour + "G", colour + "B", colour + "A"};
}

int list(const Preferences& preferences) {
    for (const QString& key : Preferences::knownKeys()) {
        const Form form = *Preferences::formOfKey(key);
        if (form == Form::List)
            continue;
        QString value = shown(preferences, key, form);
        value.replace("\n", "\\n");
        std::printf("%-34s %-6s %s\n", qPrintable(key), qPrintable(typeName(form)), qPrintable(value));
    }
    return 0;
}

} // namespace

int runPrefsCommand(const QStringList& args) {
    if (args.contains("--help") || args.contains("-h")) {
        std::fputs(usage, stdout);
        return 0;
    }
    Preferences preferences;
    preferences.load();
    const QString command = args.value(0, "list");
    // The bare command lists.
    const QString refused = CliInput::checkSubcommand(command, args.isEmpty() ? 0 : args.size() - 1,
                                                      {{"list", 0}, {"get", 1}, {"set", 2}, {"reset", 1}});
    if (!refused.isEmpty())
        return fail(refused);
    if (command == "list")
        return list(preferences);

    const QString key = args[1];
    const std::optional<Form> form = Preferences::formOfKey(key);
    if (!form)
        return fail(QString("unknown preference '%1' (see 'trellium prefs list')").arg(key));
    if (command == "get") {
        std::printf("%s\n", qPrintable(shown(preferences, key, *form)));
        return 0;
    }
    if (command == "reset") {
        for (const QString& part : keysKeptTogether(key, *form))
            preferences.remove(part);
        return 0;
    }
    QString error;
    const std::optional<QVariant> value = parseValue(key, *form, args[2], &error);
    if (!value)
        return fail(error);
    preferences.setValue(key, *value);
    for (const QString& part : keysKeptTogether(key, *form))
        preferences.setValueAndStoreInItsForm(part, preferences.value(part));
    // An agent of the program's own kind is taken for an old version's and passed over at start.
    const QString text = args[2];
    if (key == "userAgentString" && text.size() > 9 &&
        (text.startsWith("trellium/") || text.startsWith("Trellium/")))
        std::fprintf(
            stderr, "trellium prefs: note: an agent longer than 9 characters that begins with 'Trellium/' is "
                    "taken for an old version's and not used\n");
    return 0;
}

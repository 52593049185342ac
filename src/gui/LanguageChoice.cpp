#include "gui/LanguageChoice.h"

#include "platform/SpellChecker.h"

LanguageChoice::LanguageChoice(QWidget* parent) : QComboBox(parent) {
    setObjectName("language");
    const QStringList names =
        sortedArrayOfDisplayLanguages(SpellChecker::sharedSpellChecker().availableLanguages());
    for (const QString& name : names)
        addItem(name, name);
    installedCount = count();
    connect(this, &QComboBox::activated, this, [this] {
        if (languageSelected)
            languageSelected(selectedLanguage());
    });
}

QStringList LanguageChoice::sortedArrayOfDisplayLanguages(const QStringList& identifiers) {
    QStringList names;
    for (const QString& identifier : identifiers) {
        const QString name = SpellChecker::displayNameForLanguage(identifier);
        if (!name.isEmpty() && !names.contains(name))
            names << name;
    }
    names.sort(Qt::CaseInsensitive);
    return names;
}

void LanguageChoice::showLanguage(const QString& stored) {
    // A missing language shown for the site before goes; the new one may be missing too.
    while (count() > installedCount)
        removeItem(count() - 1);
    const QString checking =
        SpellChecker::displayNameForLanguage(SpellChecker::sharedSpellChecker().language());
    const QString name = stored.isEmpty() ? checking : stored;
    int index = findData(name);
    if (index < 0 && !name.isEmpty()) {
        addItem(QString("%1 (no dictionary installed)").arg(name), name);
        index = count() - 1;
        // The checker keeps the language it had; say which, so no count misleads.
        setItemData(index,
                    QString("No dictionary for %1 is installed on this computer; until one is, spelling "
                            "is checked in %2. Choose another language to change the site's.")
                        .arg(name, checking.isEmpty() ? QString("no language") : checking),
                    Qt::ToolTipRole);
    }
    setCurrentIndex(index);
}

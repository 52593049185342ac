// The spelling language of the site settings: the installed dictionaries by name, the site's
// choice kept and handed to the checker, a missing one left in view.
#include "app/AppDelegate.h"
#include "app/NewUIController.h"
#include "gui/LanguageChoice.h"
#include "gui/SettingsForm.h"
#include "platform/SpellChecker.h"
#include "support/RecordingUserInterface.h"
#include "support/TempHome.h"

#include <gtest/gtest.h>

namespace {

TEST(LanguageChoice, DisplayNamesSortedOnceEachWithoutNameless) {
    const struct {
        QStringList identifiers;
        QStringList names;
    } cases[] = {
        {{"fr_FR", "de_DE", "en_US"}, {"English (United States)", "French (France)", "German (Germany)"}},
        {{"en_US", "xx_YY", "en-US", "de"}, {"English (United States)", "German"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(LanguageChoice::sortedArrayOfDisplayLanguages(c.identifiers), c.names)
            << c.identifiers.join(' ').toStdString();
}

TEST(LanguageChoice, SettingsListTheDictionariesAndKeepTheSitesChoice) {
    TempHome home;
    RecordingUserInterface ui;
    AppDelegate app(ui);
    NewUIController controller(app, ui);
    KestConfigManager& config = app.getConfigManager();
    SettingsForm form(config, controller);
    LanguageChoice* choice = form.languageChoice();
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
    QStringList listed;
    for (int i = 0; i < choice->count(); ++i)
        listed << choice->itemText(i);
    EXPECT_EQ(listed, LanguageChoice::sortedArrayOfDisplayLanguages(checker.availableLanguages()));

    // The site's setting when the form is filled, the name then picked (or none); the list's
    // text, the site's setting and the checker's language after that.
    const struct {
        const char *stored, *chosen, *shown, *setting, *checking;
    } cases[] = {
        {"German (Germany)", nullptr, "German (Germany)", "German (Germany)", "de_DE"},
        {"German (Germany)", "English (United States)", "English (United States)", "English (United States)",
         "en_US"},
        {"Klingon", nullptr, "Klingon (no dictionary installed)", "Klingon", "en_US"},
        {"Klingon", "German (Germany)", "German (Germany)", "German (Germany)", "de_DE"},
        {"English (United States)", nullptr, "English (United States)", "English (United States)", "en_US"},
    };
    for (const auto& c : cases) {
        config.implementSettingsFromDictionary({{"language", c.stored}});
        form.load();
        if (c.chosen) {
            const int index = choice->findData(QString(c.chosen));
            ASSERT_GE(index, 0) << c.chosen;
            choice->setCurrentIndex(index);
            emit choice->activated(index);
        }
        EXPECT_EQ(choice->currentText(), c.shown) << c.stored;
        EXPECT_EQ(config.stringForKey("language"), c.setting) << c.stored;
        EXPECT_EQ(checker.language(), c.checking) << c.stored;
    }
    // A missing language is shown for its site only.
    EXPECT_EQ(choice->count(), listed.size());
}

} // namespace

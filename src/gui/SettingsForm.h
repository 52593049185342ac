#pragma once

#include <QHash>
#include <QWidget>

class KestConfigManager;
class LanguageChoice;
class NewUIController;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QTableWidget;

// Step 2: the settings of the selected site, one field per settings key, grouped as a
// webmaster thinks of them. Every edit goes straight into the working copy through
// changeSetting; a value the field refuses is never passed on.
class SettingsForm : public QWidget {
    Q_OBJECT
  public:
    SettingsForm(KestConfigManager& config, NewUIController& controller, QWidget* parent = nullptr);

    // Fills every field from the working copy.
    void load();
    QLineEdit* lineEditForKey(const QString& key) const { return lineEdits.value(key); }
    QCheckBox* checkBoxForKey(const QString& key) const { return checkBoxes.value(key); }
    LanguageChoice* languageChoice() const { return language; }
    QTableWidget* ruleTable() const { return rules; }
    // Adds a term to the list of a rule title: "Do not check", "Do not follow", "Only follow".
    void addBlacklistRule(const QString& title, const QString& term);
    void deleteBlacklistRule();

  private:
    enum class Kind { Flag, Text, Password, WholeNumber, Seconds, Language };
    struct Field {
        const char* key;
        const char* label;
        Kind kind;
        const char* tip;
    };
    QWidget* makeGroup(const QList<Field>& fields);
    void addField(class QFormLayout* form, const Field& field);
    void textEdited(const QString& key, Kind kind);
    void flagToggled(const QString& key, bool on);
    void refreshRuleTable();
    void refreshEnabledFields();
    QWidget* makeRulesPage();

    KestConfigManager& config;
    NewUIController& controller;
    bool loading = false;
    QLineEdit* nameField = nullptr;
    QLineEdit* urlField = nullptr;
    QLabel* urlHint = nullptr;
    QHash<QString, QLineEdit*> lineEdits;
    QHash<QString, QLabel*> hints;
    QHash<QString, QString> loadedValues; // of the text fields, as each edit began
    QHash<QString, QCheckBox*> checkBoxes;
    LanguageChoice* language = nullptr;
    QTableWidget* rules = nullptr;
    QComboBox* ruleTitle = nullptr;
    QLineEdit* ruleTerm = nullptr;
};

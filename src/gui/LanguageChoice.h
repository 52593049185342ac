#pragma once

#include <QComboBox>
#include <functional>

// The spelling language of a site: the display names of the installed dictionaries, sorted
// without regard to case. A stored language with no dictionary here stays in view, marked as
// missing, rather than the list quietly showing another; it changes only when one is chosen.
class LanguageChoice : public QComboBox {
    Q_OBJECT
  public:
    explicit LanguageChoice(QWidget* parent = nullptr);

    // The display names of these identifiers, each once, sorted ignoring case; an identifier
    // without a display name is left out.
    static QStringList sortedArrayOfDisplayLanguages(const QStringList& identifiers);
    // Selects the stored language (a display name); an empty one selects the checker's own.
    void showLanguage(const QString& stored);
    // The language the person chose, by its display name.
    QString selectedLanguage() const { return currentData().toString(); }

    // Told of each choice the person makes, never of showLanguage.
    std::function<void(const QString&)> languageSelected;

  private:
    int installedCount = 0;
};

#pragma once

#include "parsing/KestParser.h"
#include "platform/SpellChecker.h"

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <functional>
#include <memory>
#include <vector>

class SEOManager;

// The review of one page's spelling or grammar issues, one at a time: the logic of the review
// window, which only draws what this holds (URL, passage with its marked range, position text,
// guesses) and passes the buttons on. An end of the list is a beep, through onBeep.
class spellingDialogue {
  public:
    enum Mode { spellingMode = 8, grammarMode = 9 };

    // The passage shown for an issue: up to 25 characters before it and 50 more, line ends as
    // blanks, between "..." marks; marked is where the issue stands in it.
    struct Extract {
        QString text;
        TextRange marked;
    };
    static Extract extractFor(const QString& textContent, const TextRange& range);

    explicit spellingDialogue(SEOManager* seoManager = nullptr) : seoManager(seoManager) {}

    // Fetches the page anew and goes to its first issue.
    void showForPage(const QString& url, const QString& userAgent);
    // The same over a page already at hand (its bytes and the crawl's encoding).
    void showForPageData(const QString& url, const QByteArray& data, quint64 encoding);
    void next();
    void previous();
    void switchMode(Mode newMode);
    // Teaches the checker the current word; false with why when the word list cannot be written.
    bool learnSpelling(QString* error = nullptr);
    // Tells the manager and starts its recheck; selectedRow is the spelling table's, or -1.
    void windowWillClose(qsizetype selectedRow);

    const QString& urlField() const { return url; }
    const Extract& extractField() const { return extract; }
    const QString& infoField() const { return info; }
    // Guesses in spelling mode; in grammar mode the messages of the hit's details.
    QStringList suggestionTexts() const;
    bool learnButtonEnabled() const { return mode == spellingMode; }
    Mode getMode() const { return mode; }
    int getCurrentError() const { return currentError; }
    int getSpellingCount() const { return spellingCount; }
    int getGrammarCount() const { return grammarCount; }
    const QString& getCurrentWord() const { return currentWord; }

    std::function<void()> onBeep;

  private:
    void start();
    void refreshForCurrentPage();
    void setInfoField();
    void populateExtractField(const TextRange& range);
    void populateGuesses(const TextRange& range);
    void pushRange(const TextRange& range);
    TextRange popRange();
    TextRange firstOfMode();
    TextRange nextOfMode();
    void beep();

    SEOManager* seoManager;
    std::unique_ptr<KestParser> parser;
    QString url;
    QString textContent;
    QString currentWord;
    QString info;
    Extract extract;
    QVariantList suggestions;
    std::vector<TextRange> stack;
    int spellingCount = 0;
    int grammarCount = 0;
    int currentError = 1;
    Mode mode = spellingMode;
};

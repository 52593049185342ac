#pragma once

#include <QDateTime>
#include <QHash>
#include <QMutex>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <limits>
#include <stdexcept>

// A location and a length in a text, in UTF-16 positions; an absent range has its location
// at NotFound and a length of 0.
struct TextRange {
    static constexpr qint64 NotFound = std::numeric_limits<qint64>::max();
    qint64 location = NotFound;
    qint64 length = 0;
    bool found() const { return location != NotFound; }
    qint64 end() const { return location + length; }
    bool operator==(const TextRange&) const = default;
};

// What the grammar library raises on a sentence it cannot take.
class GrammarCheckError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct str_enchant_broker;
struct str_enchant_dict;

// The process-wide spelling and grammar checker: spelling and guesses through Enchant with the
// installed hunspell dictionaries, grammar through link-grammar, and the user's personal word
// list under the data folder, which every later check reads, in this process and in others.
// Calls may come from any thread; one lock keeps the libraries to one caller at a time.
class SpellChecker {
  public:
    static SpellChecker& sharedSpellChecker();
    ~SpellChecker();

    // The key of a grammar detail that holds the message shown to the user.
    static constexpr const char* userDescriptionKey = "NSGrammarUserDescription";

    // Language identifiers of the installed dictionaries ("en_US"), sorted.
    QStringList availableLanguages();
    // "English (United States)", or "" for an identifier the locale tables do not know.
    static QString displayNameForLanguage(const QString& identifier);
    // The first installed language whose display name is this, or "".
    QString identifierForLanguage(const QString& displayName);
    // The first of the user's preferred languages that is installed; en_US, or the first
    // installed, otherwise.
    QString defaultLanguage();
    QString language();
    // False, with the language unchanged, when no dictionary for it is installed.
    bool setLanguage(const QString& identifier);
    // The language by its display name, taken up at the next check: a run that checks nothing
    // never starts Enchant, which makes folders in the user's home.
    void setLanguageByName(const QString& displayName);

    // The first misspelt word at or after start, or an absent range. Wrap is always off.
    TextRange checkSpellingOfStringStartingAt(const QString& text, qint64 start, const QString& language);
    // The first sentence at or after start that has no complete linkage, with its details when
    // asked for (details may be null).
    // Throws GrammarCheckError on text the grammar library cannot take.
    TextRange checkGrammarOfStringStartingAt(const QString& text, qint64 start, const QString& language,
                                             QVariantList* details);
    QStringList guessesForWordRangeInString(const TextRange& range, const QString& text,
                                            const QString& language);

    // Adds the word to the personal word list for good; false, with why, when it cannot be written.
    bool learnWord(const QString& word, QString* error = nullptr);
    bool hasLearnedWord(const QString& word);
    static QString personalWordListPath();

    // Why spelling, or grammar, cannot be checked in this language; "" when it can.
    QString spellingProblem(const QString& language);
    QString grammarProblem(const QString& language);

  private:
    SpellChecker();
    str_enchant_broker* enchantBroker();
    str_enchant_dict* dictionary(const QString& language);
    struct Grammar;
    Grammar* grammar(const QString& language);
    bool isCorrect(str_enchant_dict* dict, const QString& word);
    bool wordIsCorrect(str_enchant_dict* dict, const QString& word);
    void reloadPersonalWordsIfChanged();

    QMutex lock;
    str_enchant_broker* broker = nullptr;
    QString currentLanguage;
    QString languageNameWanted;
    QHash<QString, str_enchant_dict*> dictionaries;
    QHash<QString, Grammar*> grammars;
    QHash<QString, bool> knownWords; // the dictionary's answers for the current dictionary
    str_enchant_dict* knownWordsDict = nullptr;
    QSet<QString> personalWords;
    QString personalWordsPath;
    QDateTime personalWordsStamp;
    qint64 personalWordsSize = -1;
    bool personalWordsLoaded = false;
};

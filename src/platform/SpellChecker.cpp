#include "platform/SpellChecker.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QMutexLocker>
#include <QStandardPaths>
#include <QVariantMap>
#include <QtDebug>
#include <utility>

#include <enchant-2/enchant.h>
#include <link-grammar/link-includes.h>

namespace {

// Hunspell gives up on longer words; such a run of letters is a misspelling without asking.
constexpr qsizetype longestWord = 100;
// Sentences the grammar check takes, in words: shorter runs are headings and menu items, and
// the parse time of longer ones grows out of all proportion.
constexpr int fewestSentenceWords = 3;
constexpr int mostSentenceWords = 40;
// The dictionary's answers are remembered; a page repeats its words.
constexpr qsizetype mostRememberedWords = 200000;

bool isWordCharacter(QChar c) {
    return c.isLetterOrNumber() || c.isMark();
}

// Characters that keep a word together when letters stand on both sides: "don't",
// "well-known", and the dots and slashes of a web address, which is then one word.
bool isJoiner(QChar c) {
    switch (c.unicode()) {
    case '\'':
    case 0x2019:
    case '.':
    case '-':
    case '/':
    case ':':
    case '@':
    case '_':
        return true;
    default:
        return false;
    }
}

bool looksLikeAddress(QStringView word) {
    for (QChar c : word)
        if (c == '.' || c == '/' || c == ':' || c == '@' || c == '_')
            return true;
    return false;
}

bool nextWord(const QString& text, qint64 from, qint64& begin, qint64& end) {
    const qint64 n = text.size();
    qint64 i = qMax<qint64>(from, 0);
    while (i < n && !isWordCharacter(text[i]))
        ++i;
    if (i >= n)
        return false;
    begin = i;
    while (i < n) {
        if (isWordCharacter(text[i]))
            ++i;
        else if (isJoiner(text[i]) && i + 1 < n && isWordCharacter(text[i + 1]))
            i += 2;
        else
            break;
    }
    end = i;
    return true;
}

bool hasDigit(QStringView word) {
    for (QChar c : word)
        if (c.isDigit())
            return true;
    return false;
}

bool hasBrokenSurrogate(QStringView text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate())
            ++i;
        else if (text[i].isSurrogate())
            return true;
    }
    return false;
}

void grammarLibraryMessage(lg_errinfo* info, void*) {
    if (info->severity <= lg_Warn)
        qInfo().noquote() << "link-grammar:" << QString::fromUtf8(info->text).trimmed();
}

QString wordOfLinkage(const char* raw) {
    // "[word]" for a word left out, "word.n" with the dictionary's subscript otherwise.
    QString word = QString::fromUtf8(raw);
    if (word.startsWith('[') && word.endsWith(']'))
        word = word.mid(1, word.size() - 2);
    const qsizetype dot = word.lastIndexOf('.');
    if (dot > 0 && dot + 1 < word.size() && word[dot + 1].isLower())
        word.truncate(dot);
    return word;
}

} // namespace

struct SpellChecker::Grammar {
    Dictionary dictionary = nullptr;
    Parse_Options options = nullptr;
};

SpellChecker& SpellChecker::sharedSpellChecker() {
    static SpellChecker checker;
    return checker;
}

SpellChecker::SpellChecker() {
    lg_error_set_handler(grammarLibraryMessage, nullptr);
}

str_enchant_broker* SpellChecker::enchantBroker() {
    // Called with the lock held. Enchant makes its folders under the user's home when it starts,
    // so it starts only when a check or the language list needs it.
    if (!broker)
        broker = enchant_broker_init();
    return broker;
}

SpellChecker::~SpellChecker() {
    for (Grammar* g : std::as_const(grammars)) {
        if (g) {
            parse_options_delete(g->options);
            dictionary_delete(g->dictionary);
            delete g;
        }
    }
    for (str_enchant_dict* dict : std::as_const(dictionaries))
        if (dict)
            enchant_broker_free_dict(broker, dict);
    if (broker)
        enchant_broker_free(broker);
}

QStringList SpellChecker::availableLanguages() {
    QMutexLocker locker(&lock);
    QStringList tags;
    if (!enchantBroker())
        return tags;
    enchant_broker_list_dicts(
        broker,
        [](const char* tag, const char*, const char*, const char*, void* out) {
            auto* list = static_cast<QStringList*>(out);
            const QString name = QString::fromUtf8(tag);
            if (!list->contains(name))
                list->append(name);
        },
        &tags);
    tags.sort();
    return tags;
}

QString SpellChecker::displayNameForLanguage(const QString& identifier) {
    const QLocale locale(identifier);
    if (locale.language() == QLocale::C || locale.language() == QLocale::AnyLanguage)
        return QString();
    const QString language = QLocale::languageToString(locale.language());
    if (!identifier.contains('_') && !identifier.contains('-'))
        return language;
    return QString("%1 (%2)").arg(language, QLocale::territoryToString(locale.territory()));
}

QString SpellChecker::identifierForLanguage(const QString& displayName) {
    for (const QString& tag : availableLanguages())
        if (displayNameForLanguage(tag) == displayName)
            return tag;
    return QString();
}

QString SpellChecker::defaultLanguage() {
    const QStringList installed = availableLanguages();
    for (QString preferred : QLocale::system().uiLanguages()) {
        preferred.replace('-', '_');
        if (installed.contains(preferred))
            return preferred;
    }
    if (installed.contains("en_US"))
        return "en_US";
    return installed.value(0);
}

void SpellChecker::setLanguageByName(const QString& displayName) {
    QMutexLocker locker(&lock);
    languageNameWanted = displayName;
}

QString SpellChecker::language() {
    QString wanted;
    {
        QMutexLocker locker(&lock);
        wanted = std::exchange(languageNameWanted, QString());
    }
    // An unknown name leaves the language as it was.
    if (!wanted.isEmpty())
        setLanguage(identifierForLanguage(wanted));
    {
        QMutexLocker locker(&lock);
        if (!currentLanguage.isEmpty())
            return currentLanguage;
    }
    const QString chosen = defaultLanguage();
    QMutexLocker locker(&lock);
    if (currentLanguage.isEmpty())
        currentLanguage = chosen;
    return currentLanguage;
}

bool SpellChecker::setLanguage(const QString& identifier) {
    QMutexLocker locker(&lock);
    languageNameWanted.clear();
    if (!dictionary(identifier))
        return false;
    currentLanguage = identifier;
    return true;
}

str_enchant_dict* SpellChecker::dictionary(const QString& language) {
    // Called with the lock held. A language asked for once and missing stays missing.
    const auto known = dictionaries.constFind(language);
    if (known != dictionaries.constEnd())
        return *known;
    str_enchant_dict* dict = nullptr;
    if (!language.isEmpty() && enchantBroker())
        dict = enchant_broker_request_dict(broker, language.toUtf8().constData());
    dictionaries.insert(language, dict);
    return dict;
}

SpellChecker::Grammar* SpellChecker::grammar(const QString& language) {
    // Called with the lock held. link-grammar names its dictionaries by the language alone.
    const QString code = language.section('_', 0, 0).section('-', 0, 0).toLower();
    const auto known = grammars.constFind(code);
    if (known != grammars.constEnd())
        return *known;
    Grammar* g = nullptr;
    if (!code.isEmpty()) {
        if (Dictionary dict = dictionary_create_lang(code.toUtf8().constData())) {
            g = new Grammar{dict, parse_options_create()};
            parse_options_set_verbosity(g->options, 0);
            parse_options_set_linkage_limit(g->options, 10);
            parse_options_set_spell_guess(g->options, 0);
            parse_options_set_islands_ok(g->options, false);
            parse_options_set_max_parse_time(g->options, 1);
            parse_options_set_display_morphology(g->options, 0);
        }
    }
    grammars.insert(code, g);
    return g;
}

QString SpellChecker::spellingProblem(const QString& language) {
    QMutexLocker locker(&lock);
    if (dictionary(language))
        return QString();
    return QString("no spelling dictionary is installed for \"%1\"").arg(language);
}

QString SpellChecker::grammarProblem(const QString& language) {
    QMutexLocker locker(&lock);
    if (grammar(language))
        return QString();
    return QString("no grammar dictionary is installed for \"%1\"").arg(language);
}

QString SpellChecker::personalWordListPath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           "/Trellium5/personal-words.txt";
}

void SpellChecker::reloadPersonalWordsIfChanged() {
    // Called with the lock held. Another process may learn a word at any time: a look at the
    // file's stamp at each check, which is once a page or once a misspelling, not once a word.
    const QString path = personalWordListPath();
    if (path != personalWordsPath)
        personalWordsLoaded = false;
    personalWordsPath = path;
    const QFileInfo info(path);
    const QDateTime stamp = info.exists() ? info.lastModified() : QDateTime();
    const qint64 size = info.exists() ? info.size() : -1;
    if (personalWordsLoaded && stamp == personalWordsStamp && size == personalWordsSize)
        return;
    personalWordsLoaded = true;
    personalWordsStamp = stamp;
    personalWordsSize = size;
    personalWords.clear();
    QFile file(info.filePath());
    if (file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        for (const QByteArray& line : file.readAll().split('\n')) {
            const QString word = QString::fromUtf8(line).trimmed();
            if (!word.isEmpty())
                personalWords.insert(word);
        }
    }
}

bool SpellChecker::hasLearnedWord(const QString& word) {
    QMutexLocker locker(&lock);
    reloadPersonalWordsIfChanged();
    return personalWords.contains(word);
}

bool SpellChecker::learnWord(const QString& rawWord, QString* error) {
    const QString word = rawWord.trimmed();
    auto fail = [&](const QString& why) {
        if (error)
            *error = why;
        qInfo().noquote() << why;
        return false;
    };
    if (word.isEmpty() || word.contains('\n'))
        return fail("Only a single word can be learned");
    QMutexLocker locker(&lock);
    reloadPersonalWordsIfChanged();
    if (personalWords.contains(word))
        return true;
    const QString path = personalWordListPath();
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return fail(QString("Cannot write the personal word list %1: its folder cannot be made").arg(path));
    QFile file(path);
    if (!file.open(QIODevice::Append | QIODevice::Text))
        return fail(QString("Cannot write the personal word list %1: %2").arg(path, file.errorString()));
    const QByteArray line = word.toUtf8() + '\n';
    if (file.write(line) != line.size() || !file.flush())
        return fail(QString("Cannot write the personal word list %1: %2").arg(path, file.errorString()));
    file.close();
    personalWords.insert(word);
    const QFileInfo info(path);
    personalWordsStamp = info.lastModified();
    personalWordsSize = info.size();
    return true;
}

bool SpellChecker::isCorrect(str_enchant_dict* dict, const QString& word) {
    if (dict != knownWordsDict) {
        knownWords.clear();
        knownWordsDict = dict;
    }
    const auto known = knownWords.constFind(word);
    if (known != knownWords.constEnd())
        return *known;
    const QByteArray utf8 = word.toUtf8();
    const bool correct = enchant_dict_check(dict, utf8.constData(), utf8.size()) == 0;
    if (knownWords.size() >= mostRememberedWords)
        knownWords.clear();
    knownWords.insert(word, correct);
    return correct;
}

bool SpellChecker::wordIsCorrect(str_enchant_dict* dict, const QString& rawWord) {
    // The common case, no typographic apostrophe and an empty personal list, copies nothing.
    QString word = rawWord;
    if (word.contains(QChar(0x2019)))
        word.replace(QChar(0x2019), '\'');
    if (!personalWords.isEmpty() && (personalWords.contains(word) || personalWords.contains(word.toLower())))
        return true;
    return isCorrect(dict, word);
}

TextRange SpellChecker::checkSpellingOfStringStartingAt(const QString& text, qint64 start,
                                                        const QString& language) {
    QMutexLocker locker(&lock);
    str_enchant_dict* dict = dictionary(language);
    if (!dict)
        return {};
    reloadPersonalWordsIfChanged();
    qint64 begin = 0;
    qint64 end = 0;
    for (qint64 from = start; nextWord(text, from, begin, end); from = end) {
        const QStringView word = QStringView(text).mid(begin, end - begin);
        if (hasDigit(word))
            continue;
        if (word.size() > longestWord)
            return {begin, end - begin};
        if (wordIsCorrect(dict, word.toString()))
            continue;
        if (!word.contains('-') || looksLikeAddress(word))
            return {begin, end - begin};
        // A compound the dictionary does not hold is right when each of its parts is.
        qint64 part = begin;
        for (const QStringView piece : word.split('-')) {
            if (!piece.isEmpty() && !wordIsCorrect(dict, piece.toString()))
                return {part, piece.size()};
            part += piece.size() + 1;
        }
    }
    return {};
}

QStringList SpellChecker::guessesForWordRangeInString(const TextRange& range, const QString& text,
                                                      const QString& language) {
    QStringList guesses;
    if (!range.found() || range.length <= 0 || range.length > longestWord || range.location >= text.size())
        return guesses;
    QMutexLocker locker(&lock);
    str_enchant_dict* dict = dictionary(language);
    if (!dict)
        return guesses;
    const QByteArray word = text.mid(range.location, range.length).toUtf8();
    size_t count = 0;
    if (char** list = enchant_dict_suggest(dict, word.constData(), word.size(), &count)) {
        for (size_t i = 0; i < count; ++i)
            guesses.append(QString::fromUtf8(list[i]));
        enchant_dict_free_string_list(dict, list);
    }
    return guesses;
}

TextRange SpellChecker::checkGrammarOfStringStartingAt(const QString& text, qint64 start,
                                                       const QString& language, QVariantList* details) {
    QMutexLocker locker(&lock);
    if (details)
        details->clear();
    Grammar* g = grammar(language);
    if (!g)
        return {};
    const qint64 n = text.size();
    qint64 i = qMax<qint64>(start, 0);
    for (;;) {
        while (i < n && !isWordCharacter(text[i]))
            ++i;
        if (i >= n)
            return {};
        // A sentence runs to a stop followed by white space, or breaks at a line end or at a
        // wide gap, where the page's blocks meet; only the first kind is checked.
        const qint64 begin = i;
        bool stopped = false;
        int gap = 0;
        for (; i < n; ++i) {
            const QChar c = text[i];
            if (c == '.' || c == '!' || c == '?') {
                while (i + 1 < n && (text[i + 1] == '.' || text[i + 1] == '!' || text[i + 1] == '?'))
                    ++i;
                if (i + 1 >= n || text[i + 1].isSpace()) {
                    stopped = true;
                    ++i;
                    break;
                }
            }
            gap = c.isSpace() ? gap + 1 : 0;
            if (c == '\n' || c == '\r' || gap >= 3)
                break;
        }
        const qint64 end = i;
        const QString sentence = text.mid(begin, end - begin).simplified();
        const int words = int(sentence.count(' ')) + 1;
        if (!stopped || words < fewestSentenceWords || words > mostSentenceWords)
            continue;
        if (hasBrokenSurrogate(sentence))
            throw GrammarCheckError("the sentence holds a character that is not whole");

        Sentence parsed = sentence_create(sentence.toUtf8().constData(), g->dictionary);
        if (!parsed)
            throw GrammarCheckError("the grammar library refused the sentence");
        if (sentence_split(parsed, g->options) < 0) {
            sentence_delete(parsed);
            throw GrammarCheckError("the grammar library could not split the sentence");
        }
        parse_options_set_min_null_count(g->options, 0);
        parse_options_set_max_null_count(g->options, 0);
        const int linkages = sentence_parse(parsed, g->options);
        // A parse that ran out of time says nothing about the sentence.
        if (linkages > 0 || parse_options_timer_expired(g->options)) {
            sentence_delete(parsed);
            continue;
        }
        if (!details) {
            // A count needs no details, and the parse that finds the unlinked words is the
            // slow one.
            sentence_delete(parsed);
            return {begin, end - begin};
        }
        QStringList unlinked;
        parse_options_set_min_null_count(g->options, 1);
        parse_options_set_max_null_count(g->options, sentence_length(parsed));
        if (sentence_parse(parsed, g->options) > 0) {
            if (Linkage linkage = linkage_create(0, parsed, g->options)) {
                const int wordCount = linkage_get_num_words(linkage);
                QList<bool> linked(wordCount, false);
                for (size_t link = 0; link < size_t(linkage_get_num_links(linkage)); ++link) {
                    linked[int(linkage_get_link_lword(linkage, link))] = true;
                    linked[int(linkage_get_link_rword(linkage, link))] = true;
                }
                for (int w = 0; w < wordCount; ++w) {
                    const QString word = wordOfLinkage(linkage_get_word(linkage, w));
                    if (!linked[w] && !word.endsWith("-WALL"))
                        unlinked.append(word);
                }
                linkage_delete(linkage);
            }
        }
        sentence_delete(parsed);
        {
            QVariantMap detail;
            detail.insert(userDescriptionKey,
                          unlinked.isEmpty()
                              ? QString("This sentence has no complete grammatical linkage.")
                              : QString("No complete grammatical linkage; words left unlinked: %1")
                                    .arg(unlinked.join(", ")));
            detail.insert("NSGrammarRange", QVariantList{qint64(0), end - begin});
            details->append(detail);
        }
        return {begin, end - begin};
    }
}

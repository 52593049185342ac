#include "analysis/spellingDialogue.h"

#include "analysis/SEOManager.h"

#include <QVariantMap>
#include <QtDebug>

spellingDialogue::Extract spellingDialogue::extractFor(const QString& textContent, const TextRange& range) {
    if (!range.found())
        return {};
    const qint64 start = qMax<qint64>(range.location - 25, 0);
    qint64 length = range.length + 50;
    // The passage stops one character short of the text's end.
    if (start + length > textContent.size() - 1)
        length = textContent.size() - start - 1;
    QString part = textContent.mid(start, qMax<qint64>(length, 0));
    part.replace('\r', ' ');
    part.replace('\n', ' ');
    return {"..." + part + "...", {range.location - start + 3, range.length}};
}

void spellingDialogue::showForPage(const QString& pageUrl, const QString& userAgent) {
    url = pageUrl;
    parser = KestParser::initWithUrlWithuserAgentString(pageUrl, userAgent);
    start();
}

void spellingDialogue::showForPageData(const QString& pageUrl, const QByteArray& data, quint64 encoding) {
    url = pageUrl;
    parser = KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
        data, QString(), false, false, false, false, encoding);
    start();
}

void spellingDialogue::start() {
    stack.clear();
    currentError = 1;
    currentWord.clear();
    refreshForCurrentPage();
    textContent = parser ? parser->getTextContent() : QString();
    const TextRange first = firstOfMode();
    populateExtractField(first);
    populateGuesses(first);
    pushRange(first);
}

TextRange spellingDialogue::firstOfMode() {
    if (parser)
        parser->spellingCursorBackTo({0, 0});
    return nextOfMode();
}

TextRange spellingDialogue::nextOfMode() {
    if (!parser)
        return {};
    if (mode == spellingMode)
        return parser->getNextSpelling();
    // The parser's walk has no guard; a sentence the grammar library refuses ends the list here.
    try {
        return parser->getNextGrammar();
    } catch (const std::exception& error) {
        qInfo().noquote() << "grammar checker failed:" << error.what();
        return {};
    }
}

void spellingDialogue::refreshForCurrentPage() {
    spellingCount = parser ? parser->getSpellingCount() : 0;
    grammarCount = parser ? parser->getGrammarCount() : 0;
    setInfoField();
}

void spellingDialogue::setInfoField() {
    const int count = mode == spellingMode ? spellingCount : grammarCount;
    if (count > 0)
        info = QString("%1 of %2").arg(currentError).arg(count);
    else
        info = mode == spellingMode ? "No spellling errors found on this page"
                                    : "No grammar errors found on this page";
}

void spellingDialogue::populateExtractField(const TextRange& range) {
    extract = extractFor(textContent, range);
    if (range.found())
        currentWord = textContent.mid(range.location, range.length);
}

void spellingDialogue::populateGuesses(const TextRange& range) {
    suggestions.clear();
    if (!range.found())
        return;
    if (mode == spellingMode) {
        SpellChecker& checker = SpellChecker::sharedSpellChecker();
        for (const QString& guess :
             checker.guessesForWordRangeInString(range, textContent, checker.language()))
            suggestions.append(guess);
    } else if (parser) {
        suggestions = parser->getGrammarDetails();
    }
}

QStringList spellingDialogue::suggestionTexts() const {
    QStringList texts;
    for (const QVariant& suggestion : suggestions)
        texts << (mode == spellingMode
                      ? suggestion.toString()
                      : suggestion.toMap().value(SpellChecker::userDescriptionKey).toString());
    return texts;
}

void spellingDialogue::pushRange(const TextRange& range) {
    stack.push_back(range);
}

TextRange spellingDialogue::popRange() {
    if (stack.empty())
        return {};
    const TextRange top = stack.back();
    stack.pop_back();
    return top;
}

void spellingDialogue::beep() {
    if (onBeep)
        onBeep();
}

void spellingDialogue::next() {
    if (currentError == (mode == spellingMode ? spellingCount : grammarCount))
        return beep();
    ++currentError;
    setInfoField();
    const TextRange range = nextOfMode();
    populateExtractField(range);
    populateGuesses(range);
    pushRange(range);
}

void spellingDialogue::previous() {
    if (currentError == 1)
        return beep();
    --currentError;
    setInfoField();
    popRange();
    const TextRange range = popRange();
    if (!range.found())
        return beep();
    if (parser)
        parser->spellingCursorBackTo(range);
    populateExtractField(range);
    populateGuesses(range);
    pushRange(range);
}

void spellingDialogue::switchMode(Mode newMode) {
    mode = newMode;
    if (parser)
        parser->spellingCursorBackTo({0, 0});
    currentError = 1;
    currentWord.clear();
    stack.clear();
    // Unlike opening a page, the first issue is not put on the stack.
    const TextRange first = firstOfMode();
    populateExtractField(first);
    populateGuesses(first);
    setInfoField();
}

bool spellingDialogue::learnSpelling(QString* error) {
    if (!SpellChecker::sharedSpellChecker().learnWord(currentWord, error))
        return false;
    const int k = currentError;
    refreshForCurrentPage();
    stack.clear();
    currentError = 0;
    if (spellingCount == 0) {
        extract = {};
        populateGuesses({});
        refreshForCurrentPage();
        return true;
    }
    if (parser)
        parser->spellingCursorBackTo({0, 0});
    for (int i = 0; i < k; ++i)
        next();
    return true;
}

void spellingDialogue::windowWillClose(qsizetype selectedRow) {
    if (!seoManager)
        return;
    seoManager->spellingDiallogDidFinishReviewing(selectedRow);
    seoManager->reCheckSpellingCollection();
}

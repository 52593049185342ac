// The page's visible text, and the walks of the spell and grammar checkers over it.
#include "parsing/KestParser.h"
#include "parsing/ParserLog.h"
#include "parsing/TextEncodings.h"

#include <cstring>

namespace {

// One byte sequence, matched a byte at a time in either letter case. A byte that does not fit
// sends it back to the start and is not tried again as a first byte.
class Recogniser {
  public:
    explicit Recogniser(const char* sequence) : bytes(sequence), size(int(std::strlen(sequence))) {}
    bool step(signed char byte) {
        const signed char lower = byte >= 'A' && byte <= 'Z' ? static_cast<signed char>(byte + 32) : byte;
        if (lower != bytes[state]) {
            state = 0;
            return false;
        }
        if (++state < size)
            return false;
        state = 0;
        return true;
    }
    bool atStart() const { return state == 0; }
    void restart() { state = 0; }

  private:
    const char* bytes;
    int size;
    int state = 0;
};

} // namespace

QString KestParser::getTextContent() {
    if (textContentTaken) {
        reset();
        counter = counterAfterText;
        wordCount = wordCountAfterText;
        return *textContentTaken;
    }
    if (l > textContentLimit) {
        qCInfo(lcParser)
            << "very large file - may not be a text file. Not going to try and parse it for word "
               "count etc";
        return QString();
    }
    reset();
    isScriptOrComment = false;
    // The bracket state must follow every byte here, as the rules are written.
    settleUnsettled();
    const bool wasCountingWords = countingWords;
    countingWords = true;

    QByteArray text;
    text.reserve(qsizetype(l));
    Recogniser commentOpen("<!--");
    Recogniser commentClose("-->");
    Recogniser scriptOpen("<script");
    Recogniser scriptClose("/script");
    Recogniser styleOpen("<style");
    Recogniser styleClose("/style");
    bool emptyCloseArmed = false;
    bool inScript = false;
    bool inComment = false;
    const qint64 headEnd = endHead;
    while (getNextByte()) {
        const signed char byte = aBuffer;
        const bool bracket = byte == '<' || byte == '>';
        if (qint64(counter) > headEnd && !insideBrackets && !isScriptOrComment && !bracket)
            text.append(char(byte));
        if (!insideBrackets && !bracket)
            continue;
        // Every '>' leaves a space, so the words of neighbouring elements never run together.
        if (byte == '>')
            text.append(' ');
        if (commentOpen.step(byte))
            inComment = true;
        if (commentClose.step(byte))
            inComment = false;
        if (scriptOpen.step(byte))
            inScript = true;
        // The self-closing watch: it cannot end a script, since the script opening has always
        // started over by the time a '>' comes, so "<script src=x/>" still opens a script.
        if (byte == '/') {
            emptyCloseArmed = true;
        } else if (byte == '>') {
            if (!emptyCloseArmed)
                scriptOpen.restart();
            emptyCloseArmed = false;
        }
        if (scriptClose.step(byte))
            inScript = false;
        if (styleOpen.step(byte))
            inScript = true;
        if (styleClose.atStart() && byte == '/' && !insideBrackets)
            styleClose.restart();
        else if (styleClose.step(byte))
            inScript = false;
        isScriptOrComment = inScript || inComment;
    }
    countingWords = wasCountingWords;

    QString result =
        TextEncoding::decodeByLadder(text.constData(), text.size(), useEncoding).value_or(QString());
    // The Windows apostrophe and dashes by number; the entity's semicolon stays behind them.
    result.replace(QLatin1String("&#146"), QLatin1String("&#39"));
    result.replace(QLatin1String("&#150"), QLatin1String("&#45"));
    result.replace(QLatin1String("&#151"), QLatin1String("&#45"));
    result = unescapeEntities(result);
    textContentTaken = result;
    counterAfterText = counter;
    wordCountAfterText = wordCount;
    return result;
}

bool KestParser::isWebAddress(const QString& word) {
    for (const char* mark : {"http://", "www.", ".com", ".co.", ".htm"})
        if (word.contains(QLatin1String(mark)))
            return true;
    return false;
}

int KestParser::getSpellingCount() {
    const QString text = getTextContent();
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
    const QString language = checker.language();
    spellingCursor = 0;
    int count = 0;
    TextRange hit;
    do {
        hit = checker.checkSpellingOfStringStartingAt(text, spellingCursor, language);
        if (!hit.found())
            break;
        if (!isWebAddress(text.mid(hit.location, hit.length)))
            ++count;
        spellingCursor = hit.end();
    } while (spellingCursor < text.size());
    return count;
}

int KestParser::getGrammarCount() {
    const QString text = getTextContent();
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
    const QString language = checker.language();
    spellingCursor = 0;
    int count = 0;
    try {
        TextRange hit;
        do {
            hit = checker.checkGrammarOfStringStartingAt(text, spellingCursor, language, nullptr);
            if (!hit.found())
                break;
            ++count;
            spellingCursor = hit.end();
        } while (spellingCursor < text.size());
    } catch (const std::exception&) {
        qInfo().noquote() << QString("Exception raised by grammar checker, text is %1 bytes, cursor is %2")
                                 .arg(text.size())
                                 .arg(spellingCursor);
    }
    return count;
}

TextRange KestParser::getFirstSpelling() {
    spellingCursor = 0;
    return getNextSpelling();
}

TextRange KestParser::getNextSpelling() {
    const QString text = getTextContent();
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
    const QString language = checker.language();
    TextRange hit;
    for (;;) {
        hit = checker.checkSpellingOfStringStartingAt(text, spellingCursor, language);
        if (!hit.found())
            break;
        spellingCursor = hit.end();
        if (!isWebAddress(text.mid(hit.location, hit.length)))
            break;
    }
    return hit;
}

TextRange KestParser::getFirstGrammar() {
    spellingCursor = 0;
    return getNextGrammar();
}

TextRange KestParser::getNextGrammar() {
    const QString text = getTextContent();
    SpellChecker& checker = SpellChecker::sharedSpellChecker();
    QVariantList details;
    const TextRange hit =
        checker.checkGrammarOfStringStartingAt(text, spellingCursor, checker.language(), &details);
    if (hit.found())
        spellingCursor = hit.end();
    grammarDetails = details;
    return hit;
}

void KestParser::spellingCursorBackTo(const TextRange& range) {
    if (range.found())
        spellingCursor = range.end();
}

#pragma once

#include "parsing/ByteBuffer.h"
#include "parsing/KestDbItem.h"
#include "parsing/KestXmlTag.h"
#include "parsing/PageIndex.h"
#include "platform/SpellChecker.h"

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QVariantList>
#include <memory>
#include <optional>

// The page reader: one forward cursor over the raw bytes of one document, with hand-written
// recognisers that look at one byte at a time. It builds no tree. Which links exist and what
// counts as a word are defined by these byte rules, quirks included, so they are kept exactly
// as they are; an HTML5 tokeniser would give different answers.
//
// Every comparison is made on the byte as a signed char: bytes from 0x80 up are negative.
// An absent result (std::nullopt) means the end of the document to every caller.
class KestParser {
  public:
    // Bare initialisation, as the PDF reader uses it.
    KestParser();

    // The crawl's constructor. `data` that is null (QByteArray()) is "no data" and yields
    // nothing; an empty but non-null array is an empty document. The user agent is unused.
    static std::unique_ptr<KestParser>
    initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
        const QByteArray& data, const QString& userAgent, bool withSEO, bool cachePage, bool checkNoIndex,
        bool checkNofollow, quint64 useEncoding);
    // Fetches the page itself, twice: once to learn its encoding, once for the bytes. Blocks.
    static std::unique_ptr<KestParser> initWithUrlWithuserAgentString(const QString& url,
                                                                      const QString& userAgent);
    // Plain-text mode over a local file. It leaves the length at 0, so it reads nothing.
    static std::unique_ptr<KestParser> initWithFilePath(const QString& path);

    // Modes, set by the crawl for the starting URL only.
    void setPlainTextMode() { plaintextmode = true; }
    void setXMLMode();

    // Simple reads
    quint64 getLength() const { return l; }
    quint64 length() const { return l; }
    quint64 getFileSize() const { return static_cast<quint64>(data.size()); }
    int getInitialStatus() const { return initialStatus; }
    bool getShouldBeIndexed() const { return shouldBeIndexed; }
    bool getHeadContainsNoFollow() const { return headContainsNofollow; }
    bool lastLinkWasNofollow() const { return nofollow; }
    const std::optional<QUrl>& getBaseHref() const { return codebase; }
    // The base as the page writes it: the URL class loses the letter case of its host.
    const QString& getBaseHrefText() const { return codebaseText; }
    int getWordCount() const { return wordCount; }
    const QString& getTitle() const { return metatitle; }
    const QString& getDescription() const { return metadescription; }
    const QString& getKeywords() const { return keywords; }
    const QString& getHeadings() const { return headings; }
    const std::optional<QString>& getCanonical() const { return canonical; }
    quint64 getUseEncoding() const { return useEncoding; }
    const QByteArray& getBytes() const { return data; }
    // The position of the next byte to read.
    quint64 position() const { return counter; }

    // For checking the reader against itself: parsers made while this is on read every byte
    // one at a time, as the rules are written, with none of the shortcuts that take a stretch
    // of bytes at once. Results must be the same either way.
    static void readByteByByte(bool on);

    // Cursor primitives
    bool getNextByte();
    bool moveIntoNextTag();
    std::optional<KestXmlTag> getTag(bool continueTag);
    std::optional<QString> getData();
    std::optional<KestDbItem> getItem();
    void reset();
    void cachePage() {}
    void curlUpAndDie() {}

    // Recognisers: each skips leading spaces, then consumes the bytes it matches.
    bool isThisAnATag();
    bool isThisABaseTag();
    bool isThisALinkTag();
    bool isThisAnImgTag();
    bool isThisAHeadTag();
    bool isThisAScriptTag();
    bool isThisAFrameTag();
    bool isThisEndScriptTag();

    // Link scanners
    std::optional<QString> getNextHrefTrim(bool checkImages, bool trim);
    std::optional<QString> getNextHttp();
    std::optional<QString> getNextXml();
    std::optional<QString> getLinkText();
    std::optional<QString> getNextImg();
    std::optional<QString> getNextScriptSrc();
    bool moveToStartOfUrl();
    bool moveToStartOfSrc();
    bool digOutAlt();
    bool isThisNofollow();

    // Head metadata
    QString findTitle();
    std::optional<QString> findBaseHref();
    std::optional<QString> findNextLinkHref();
    void findKeywordsAndDescription();
    QString findHeadings();
    bool headContainsNoIndex();
    bool headContainsNoFollow();
    static QString pullOutMetaDescription(const QString& tagText);
    static QString pullOutHref(const QString& tagText);

    // Charset and entities
    static std::optional<QString> extractCharsetFromHTML(const QByteArray& html);
    static quint64 encodingForCharset(const std::optional<QString>& charset);
    static QString unescapeEntities(const QString& text);
    static QString gtm_stringByUnescapingFromHTML(const QString& text);
    static QString addPercentEscapesBrief(const QString& text);
    static void trimThisCharacterFromUrl(char character, char* url);
    static void trimWhitespaceFromUrl(char* url);

    // Text content and the language checks over it, in string positions (UTF-16). Each
    // operation takes the text anew, so the cursor and word count are reset as a walk would.
    QString getTextContent();
    int getSpellingCount();
    int getGrammarCount();
    TextRange getFirstSpelling();
    TextRange getNextSpelling();
    TextRange getFirstGrammar();
    TextRange getNextGrammar();
    const QVariantList& getGrammarDetails() const { return grammarDetails; }
    void spellingCursorBackTo(const TextRange& range);
    qint64 getSpellingCursor() const { return spellingCursor; }
    static bool isWebAddress(const QString& word);
    // The largest document whose text is taken, in bytes.
    static constexpr quint64 textContentLimit = 10000000;

    class ScannedTag;

  private:
    void setData(const QByteArray& bytes);
    void countByte();
    // What getTag stores of one tag, before decoding.
    struct TagBytes {
        const char* text = nullptr;
        qsizetype size = 0;
        bool closing = false;
        bool ascii = false; // known to hold no byte from 0x80 up
    };

    void readOnTo(quint64 end);
    void countStretch(quint64 from, quint64 stop);
    void settleStretch(quint64 from, quint64 stop);
    void noteUnsettled(quint64 from, quint64 stop);
    void settleUnsettled();
    void startCountingWords();
    bool skipTo(char wanted);
    bool readPastNextLt();
    void passTagsNoTestTakes(const char* firstLetters);
    void passTagsNoHeadingTestTakes();
    bool skipComment();
    int textBeforeBracket(int limit) const;
    bool skipLeadingSpaces();
    bool matchName(const char* lowerName);
    bool skipScript();
    bool skipToValueStart();
    bool readOnToTagEnd();
    bool copyValue(ByteBuffer& buffer, signed char terminator);
    quint64 endOfValueRun(quint64 from, quint64 limit, signed char terminator) const;
    bool copyAltText(ByteBuffer& buffer, bool markEmpty);
    signed char valueTerminator() const;
    void rewindTo(qint64 position);
    bool readTag(TagBytes& tag);
    bool readTagByBytes(ByteBuffer& buffer, bool& closing);
    std::optional<QString> decodeTag(const char* text, qsizetype size) const;
    std::optional<QString> finishText(const ByteBuffer& buffer) const;
    std::optional<QString> decodeByLadder(const ByteBuffer& buffer) const;
    std::optional<QString> nextSrcOf(bool (KestParser::*recognise)());
    struct HrefScan;
    HrefScan hrefOfNext(bool (KestParser::*recognise)(), const char* firstLetter);
    bool headContains(QLatin1StringView word);

    QByteArray data;
    QString grandParent;
    QString parent;
    QString content;
    std::optional<QUrl> codebase;
    QString codebaseText;
    QString metadescription;
    QString metatitle;
    QString keywords;
    QString headings;
    std::optional<QString> canonical;
    qint32 initialStatus = 0;
    signed char aBuffer = 0;
    quint64 l = 0;
    qint32 indent = 0;
    quint64 counter = 0;
    qint32 lastTagPassed = 0;
    bool zrefFound = false;
    bool insideQuotes = false;
    bool insideSingleQuotes = false;
    bool lastWasImg = false;
    bool lastWasFrame = false;
    bool plaintextmode = false;
    bool xmlmode = false;
    bool shouldBeIndexed = false;
    bool nofollow = false;
    bool followNofollow = false;
    bool headContainsNofollow = false;
    bool seoOn = false;
    qint32 endHead = 0;
    bool insideBrackets = false;
    qint32 wordCount = 0;
    bool insideWord = false;
    qint32 characterCount = 0;
    bool isScriptOrComment = false;
    quint64 useEncoding = 0;
    QString textContent;
    qint64 spellingCursor = 0;
    // The text is the same at each walk, so it is taken once; the walk's end state is kept to
    // be put back as a new walk would leave it.
    std::optional<QString> textContentTaken;
    quint64 counterAfterText = 0;
    qint32 wordCountAfterText = 0;
    QVariantList grammarDetails;

    // Not fields of the reader's model, all kept for speed: the raw pointer behind `data`, where
    // its brackets and words stand, and whether stretches are counted for words. The
    // constructors' passes are each followed by a reset, so their counts are never seen; only
    // the states they leave are.
    const char* bytes = nullptr;
    PageIndex index;
    bool byteByByte = false;
    std::unique_ptr<ByteBuffer> tagReadByBytes; // what readTag stores when reading byte by byte
    bool countingWords = true;
    // While words are not counted, the bytes read since the bracket and word states were last
    // brought up to date: settling a run of stretches at once gives the states settling each
    // in turn would, so it is done when the run breaks or the states are needed.
    quint64 unsettledFrom = 0;
    quint64 unsettledTo = 0;
};

inline void KestParser::countByte() {
    if (aBuffer == '>') {
        insideBrackets = false;
        insideWord = false;
    } else if (aBuffer == '<') {
        insideBrackets = true;
        insideWord = false;
    } else if (!insideBrackets) {
        // Bytes 1 to 38 separate words: controls, space and ! " # $ % &. Everything else,
        // NUL and all bytes from 0x80 up included, is part of a word.
        if (insideWord) {
            if (aBuffer >= 1 && aBuffer <= 38)
                insideWord = false;
        } else if (aBuffer <= 0 || aBuffer >= 39) {
            insideWord = true;
            ++wordCount;
        }
    }
}

inline void KestParser::noteUnsettled(quint64 from, quint64 stop) {
    if (from != unsettledTo) {
        settleUnsettled();
        unsettledFrom = from;
    }
    unsettledTo = stop;
}

inline bool KestParser::getNextByte() {
    // `counter` can only pass `l` after a rewind computed from a truncated mark; never read then.
    if (counter >= l)
        return false;
    aBuffer = static_cast<signed char>(bytes[counter]);
    // The head's own bytes are not words: bookkeeping starts behind the end of the head.
    if (counter > static_cast<quint64>(static_cast<qint64>(endHead)) && !isScriptOrComment) {
        if (countingWords || byteByByte)
            countByte();
        else
            noteUnsettled(counter, counter + 1);
    }
    ++counter;
    return true;
}

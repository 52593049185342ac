// The crawl's use of the reader on any bytes: construction with flags taken from the first
// byte, then the whole link walk with each link's text, as extractLinks does it; read once with
// the reader's shortcuts and once byte by byte, and the two must agree.
#include "parsing/KestParser.h"
#include "parsing/TextEncodings.h"

#include <QLoggingCategory>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    QLoggingCategory::setFilterRules(QStringLiteral("trellium.parser.info=false"));
    return 0;
}

namespace {

// Everything the crawl takes from a page, and where the cursor stood after each call.
QString transcript(const QByteArray& bytes, uint8_t flags, quint64 encoding, size_t size) {
    auto parser =
        KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
            bytes, QString(), flags & 1, false, flags & 2, flags & 4, encoding);
    if (!parser)
        return QStringLiteral("no parser");
    KestParser& p = *parser;
    QString out = p.getTitle() + '|' + p.getDescription() + '|' + p.getKeywords() + '|' + p.getHeadings() +
                  '|' + p.getCanonical().value_or(QStringLiteral("<absent>")) + '|' +
                  (p.getBaseHref() ? p.getBaseHref()->toString() : QStringLiteral("<absent>")) + '|' +
                  QString::number(p.getShouldBeIndexed()) + QString::number(p.getHeadContainsNoFollow()) +
                  '|' + QString::number(p.position()) + '|' + QString::number(p.getWordCount()) + '\n';
    if (flags & 8)
        (flags & 1) ? p.setPlainTextMode() : p.setXMLMode();
    const bool images = flags & 2;
    const bool trim = flags & 4;
    size_t links = 0;
    while (std::optional<QString> url = p.getNextHrefTrim(images, trim)) {
        const std::optional<QString> text = p.getLinkText();
        out += *url + ' ' + QString::number(p.position()) + ' ' + QString::number(p.getWordCount()) + " [" +
               text.value_or(QStringLiteral("<none>")) + "] " + QString::number(text && text->isNull()) +
               QString::number(p.position()) + ' ' + QString::number(p.getWordCount()) + ' ' +
               QString::number(p.lastLinkWasNofollow()) + '\n';
        if (++links > size + 16)
            __builtin_trap(); // more links than bytes: the walk is going round in circles
    }
    return out + QString::number(p.position()) + ' ' + QString::number(p.getWordCount());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size) {
    static const quint64 encodings[] = {TextEncoding::Unknown,
                                        TextEncoding::UTF8,
                                        TextEncoding::ISOLatin1,
                                        TextEncoding::ShiftJIS,
                                        TextEncoding::Unicode,
                                        TextEncoding::WindowsCP1252,
                                        TextEncoding::DOSThai,
                                        TextEncoding::Big5,
                                        TextEncoding::HZ_GB_2312,
                                        TextEncoding::GB_2312_80,
                                        TextEncoding::ASCII,
                                        TextEncoding::ISOLatin2,
                                        TextEncoding::ISOLatinThai,
                                        TextEncoding::DOSChineseSimplif,
                                        99,
                                        0};
    const uint8_t flags = size > 0 ? input[0] : 0;
    if (size > 0) {
        ++input;
        --size;
    }
    // An exact-size copy, so that a read past the end is a heap overflow ASan sees.
    char* copy = static_cast<char*>(malloc(size ? size : 1));
    std::memcpy(copy, input, size);
    const QByteArray bytes = QByteArray::fromRawData(size ? copy : "", static_cast<qsizetype>(size));

    // The reader's shortcuts must read exactly as taking every byte one at a time does.
    const quint64 encoding = encodings[(flags >> 4) & 15];
    const QString inStretches = transcript(bytes, flags, encoding, size);
    KestParser::readByteByByte(true);
    const QString byBytes = transcript(bytes, flags, encoding, size);
    KestParser::readByteByByte(false);
    if (inStretches != byBytes)
        __builtin_trap();
    free(copy);
    return 0;
}

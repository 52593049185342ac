// The crawl's use of the reader on any bytes: construction with flags taken from the first
// byte, then the whole link walk with each link's text, as extractLinks does it.
#include "parsing/KestParser.h"
#include "parsing/TextEncodings.h"

#include <QLoggingCategory>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    QLoggingCategory::setFilterRules(QStringLiteral("trellium.parser.info=false"));
    return 0;
}

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

    auto parser =
        KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
            bytes, QString(), flags & 1, false, flags & 2, flags & 4, encodings[(flags >> 4) & 15]);
    if (parser) {
        if (flags & 8)
            (flags & 1) ? parser->setPlainTextMode() : parser->setXMLMode();
        const bool images = flags & 2;
        const bool trim = flags & 4;
        size_t links = 0;
        while (std::optional<QString> url = parser->getNextHrefTrim(images, trim)) {
            parser->getLinkText();
            parser->lastLinkWasNofollow();
            if (++links > size + 16)
                __builtin_trap(); // more links than bytes: the walk is going round in circles
        }
        parser->getWordCount();
    }
    parser.reset();
    free(copy);
    return 0;
}

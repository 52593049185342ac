// The property-list reader on any bytes, XML or binary: it must refuse or read without a
// fault, and whatever it reads must be written out in a form it reads back.
#include "platform/Plist.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(input), static_cast<qsizetype>(size));
    QVariantMap dict;
    QString error;
    const bool read = Plist::fromData(bytes, dict, &error);
    // A refusal always says why and leaves nothing behind.
    if (!read && (error.isEmpty() || !dict.isEmpty()))
        __builtin_trap();
    if (!read)
        return 0;
    QVariantMap again;
    if (!Plist::fromData(Plist::toXml(dict), again))
        __builtin_trap(); // a settings file we wrote and can't read again is a lost site
    return 0;
}

#pragma once

#include <QString>
#include <QtGlobal>
#include <optional>

// The string-encoding numbers pages are tagged with. They keep the values of the desktop
// platform the settings and databases come from, so stored numbers stay meaningful; 0 is unknown.
namespace TextEncoding {

inline constexpr quint64 Unknown = 0;
inline constexpr quint64 ASCII = 1;
inline constexpr quint64 UTF8 = 4;
inline constexpr quint64 ISOLatin1 = 5;
inline constexpr quint64 ShiftJIS = 8;
inline constexpr quint64 ISOLatin2 = 9;
inline constexpr quint64 Unicode = 10;
inline constexpr quint64 WindowsCP1252 = 12;
// The Core Foundation numbers, converted the platform's way: the high bit set over the number.
inline constexpr quint64 ISOLatinThai = 0x80000000ull | 0x20B;
inline constexpr quint64 DOSThai = 0x80000000ull | 0x41D;
inline constexpr quint64 DOSChineseSimplif = 0x80000000ull | 0x421;
inline constexpr quint64 GB_2312_80 = 0x80000000ull | 0x630;
inline constexpr quint64 Big5 = 0x80000000ull | 0xA03;
inline constexpr quint64 HZ_GB_2312 = 0x80000000ull | 0xA05;

// The standard name of an identifier, or nothing for 0 and numbers not in the table.
const char* standardName(quint64 encoding);

// The identifier for a standard (IANA) charset name as servers send it, 0 if none fits.
quint64 encodingForStandardName(const QString& name);
// The identifier for the charset a Content-Type header names, 0 if it names none that fits.
quint64 encodingOfContentType(const QString& contentType);

// Strict decoding: any byte sequence the encoding does not define makes it fail.
std::optional<QString> decode(const char* bytes, qsizetype length, quint64 encoding);

// The ladder used wherever scanned bytes become text: the page's encoding (skipped when 0),
// then UTF-8, ISO Latin-1, UTF-16 and ASCII. Latin-1 accepts every byte, so in practice the
// ladder ends there.
std::optional<QString> decodeByLadder(const char* bytes, qsizetype length, quint64 useEncoding);

bool isValidUtf8(const char* bytes, qsizetype length);

bool isAscii(const char* bytes, qsizetype length);

// Whether bytes below 0x80 decode to the same characters in this encoding, and in the ladders
// that start with it: true for 0 and numbers outside the table, which fall through to UTF-8.
bool keepsAscii(quint64 encoding);

} // namespace TextEncoding

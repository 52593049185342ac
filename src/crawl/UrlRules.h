#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>
#include <optional>

// How URL texts are completed and classified. URLs are compared as text throughout.
namespace UrlRules {

// Turns what the user typed as a starting point into URL text.
QString completeStartUrl(const QString& text);
// True when the host counts as internal for the given domains; no domains means all are.
bool compareHostWithDomain(const QString& host, const QStringList& domains, bool ignoreSubdomain);
// A scheme that cannot be requested (mail, script, telephone).
bool isMailtoEtc(const QString& link);
bool containsColon(const QString& text);
// Plain substring test, case-insensitive; terms of one character or none never match.
bool stringContainsOneOfTheseTerms(const QString& text, const QStringList* terms);
QString stripHost(const QString& url);
// What follows the last "." of a path's last component; empty when it has none.
QString pathExtension(const QString& path);
// Escapes what may not stand in a URL, percent signs included, leaving the delimiters alone.
QString addPercentEscapes(const QString& text);
// The text with its percent escapes read back as bytes of the given encoding; nothing when
// those bytes are not text in that encoding.
std::optional<QString> percentDecoded(const QString& text, quint64 encoding);
// A URL from text in strict mode, or from the escaped text when that fails; invalid if neither works.
QUrl makeUrl(const QString& text);

} // namespace UrlRules

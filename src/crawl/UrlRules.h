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
// The host as a URL text writes it, letter case kept, when the text has an authority
// ("scheme://host" or "//host"); a null string when it has none.
QString writtenHost(const QString& text);
// The URL class gives hosts in lower case, but letter case is part of a host here. The host
// of the URL made from the text, in the case the text writes it.
QString hostOf(const QUrl& url, const QString& text);
// `host` in the letter case of `written` when the two differ in case alone; otherwise `host`.
QString inWrittenCase(const QString& host, const QString& written);
// The host of `resolved`, made from `link` against a base whose host is written `baseHost`: in
// the letter case the link writes it, or the base when the link names no host of its own.
QString resolvedHostAsWritten(const QUrl& resolved, const QString& link, const QString& baseHost);
// An encoded URL text whose host `from` is written as `to` instead; unchanged when they are equal.
QString withHost(const QString& encoded, const QString& from, const QString& to);
// True for the text of a file: URL, whatever the letter case of its scheme.
bool isLocalFileUrl(const QString& text);
// A URL from text in strict mode, or from the escaped text when that fails; invalid if neither works.
QUrl makeUrl(const QString& text);

} // namespace UrlRules

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

// Extra readings of a page for crawl options that are off by default. They run as a pass of
// their own over the bytes, so the link reader's walk stays as fast as it is without them.
namespace PageScan {

// Every element's id and every anchor's name: what a "#fragment" may point at.
QStringList anchorTargets(const QByteArray& html);

struct Resource {
    QString url;  // as written, entities decoded, surrounding blanks trimmed
    QString kind; // "stylesheet", "icon", "script", "iframe", "srcset", "source", "poster"
    bool operator==(const Resource&) const = default;
};
// What the page loads besides its links, in document order.
QList<Resource> resources(const QByteArray& html);

// The URLs of a srcset value: each candidate's URL without its width or density descriptor.
QStringList srcsetUrls(const QString& srcset);

} // namespace PageScan

#pragma once

#include <QString>
#include <QUrl>

// Resolves the links of one page against its base. Most links of a site are plain paths of
// characters that need no escaping; for those the absolute text is put together directly, the
// same text the URL class would write. Everything else goes through the URL class.
class LinkResolver {
  public:
    struct Result {
        QString absolute; // fully encoded; empty when the link makes no URL
        QString host;     // in the letter case the link, or the base, writes it
        QString scheme;
        bool neededEscaping = false;
    };

    // `writtenBase` is the text the base was made from, when there is one: its host's letter
    // case is kept in what the links resolve to.
    explicit LinkResolver(const QUrl& base, const QString& writtenBase = QString());
    Result resolve(const QString& link) const;
    Result resolveWithUrlClass(const QString& link) const;
    // A path, with perhaps a query, that needs neither escaping nor dot-segment removal.
    static bool isPlainPath(const QString& link);

  private:
    QUrl base;
    bool shortcut = false;
    QString origin;    // scheme and authority, for links that start with "/"
    QString directory; // the base up to its last "/", for links relative to it
    QString host;      // as the base writes it
    QString scheme;
};

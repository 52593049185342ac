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
        QString host;
        QString scheme;
        bool neededEscaping = false;
    };

    explicit LinkResolver(const QUrl& base);
    Result resolve(const QString& link) const;
    Result resolveWithUrlClass(const QString& link) const;
    // A path, with perhaps a query, that needs neither escaping nor dot-segment removal.
    static bool isPlainPath(const QString& link);

  private:
    QUrl base;
    bool shortcut = false;
    QString origin;    // scheme and authority, for links that start with "/"
    QString directory; // the base up to its last "/", for links relative to it
    QString host;
    QString scheme;
};

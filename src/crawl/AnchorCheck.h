#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>

class LinkCheckerUrl;

// Whether the "#fragment" of a link names an element of its target page. The crawl keeps one
// record per URL without its fragment, so the fragments are held here until the target page
// has been read; of a page only the hashes of its ids are kept.
class AnchorCheck {
  public:
    struct Link {
        QString url;      // the link's absolute URL, fragment included
        QString fragment; // as written in the link, percent escapes and all
        QString pageUrl, pageTitle, linkText;
        int distance = 0;
        bool nofollow = false;
    };
    using Report = std::function<void(const LinkCheckerUrl& target, const Link& link)>;

    explicit AnchorCheck(Report missing) : missing(std::move(missing)) {}
    void clear();
    // A link with a fragment to target: judged at once when the target has been read, else then.
    void linkTo(const LinkCheckerUrl* target, const Link& link);
    // The target has been read: its ids and anchor names are known from now on.
    void pageRead(const LinkCheckerUrl* target, const QStringList& ids);
    // The fragment of a URL text, or an empty text when it has none to check ("#!" addresses a
    // page of its own, "&#" begins a character reference).
    static QString fragmentOf(const QString& url);

  private:
    bool isFound(const QSet<size_t>& ids, const QString& fragment) const;

    Report missing;
    QHash<const LinkCheckerUrl*, QSet<size_t>> idsOfPage;
    QHash<const LinkCheckerUrl*, QList<Link>> waiting;
};

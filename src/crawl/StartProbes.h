#pragma once

#include <QString>
#include <QStringList>

// What a crawl settles about the site before its first request.
namespace StartProbes {

// The only-follow term that keeps a crawl inside the folder of its starting URL; empty for none.
QString directoryLimitTerm(const QString& url, const QString& host, int port, bool wordpressUrls);
// The Disallow terms that apply to us. We read the groups for Google and for every robot,
// whichever of the two kinds comes first in the file.
QStringList parseRobotsTxt(const QString& text);
// The address robots.txt is asked at: always plain http, first domain only.
QString robotsTxtAddress(const QString& domain);

} // namespace StartProbes

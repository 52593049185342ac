#include "crawl/LinkCheckerUrl.h"

#include "crawl/LinkCheckerHub.h"
#include "crawl/UrlRules.h"

#include <QLocale>
#include <QRegularExpression>
#include <QUrl>
#include <QtDebug>

using namespace Qt::StringLiterals;

LinkCheckerUrl::LinkCheckerUrl(LinkCheckerHub* owner_) : owner(owner_) {}

LinkCheckerUrl::~LinkCheckerUrl() = default;

const QByteArray& LinkCheckerUrl::emptyBytes() {
    static const QByteArray empty;
    return empty;
}

// ---------------------------------------------------------------- URLs

void LinkCheckerUrl::setLinkUrlTrimQuery(const QString& url, bool trimQuery) {
    if (url.isNull())
        return;
    QString text = url;
    const qsizetype google = text.indexOf(u"/url?q=");
    if (text.contains(u"google.") && google >= 0) {
        // A search engine's result link: the real target stands in its query.
        const qsizetype start = google + 7;
        const qsizetype end = text.indexOf('&', start);
        text = QUrl::fromPercentEncoding(text.mid(start, end < 0 ? -1 : end - start).toUtf8());
    }
    text = trimHashQuery(text, trimQuery);
    if (owner && owner->shouldIgnoreSlash() && text.endsWith('/')) {
        text.chop(1);
        slashTrimmed = true;
    }
    if (owner)
        owner->addToLookupWithKey(shared_from_this(), text);
    nsslinkUrl = text;
    setActualLinkUrl();
}

QString LinkCheckerUrl::trimHashQuery(const QString& url, bool trimQuery) const {
    if (url.size() < 2)
        return url;
    if (url.contains(u"#!"))
        return url;
    QString text = url;
    // "&#" opens a character reference, not a fragment.
    for (qsizetype i = text.indexOf('#'); i >= 0; i = text.indexOf('#', i + 1)) {
        if (i == 0 || text[i - 1] != '&') {
            text.truncate(i);
            break;
        }
    }
    if (internal && trimQuery) {
        const qsizetype q = text.indexOf('?');
        if (q >= 0)
            text.truncate(q);
    }
    return text;
}

void LinkCheckerUrl::setRedir(const QString& url) {
    if (url.isNull())
        return;
    QString text = url;
    if (owner && owner->shouldIgnoreSlash() && text.endsWith('/')) {
        text.chop(1);
        slashTrimmed = true;
    }
    nssredir = text;
    setActualLinkUrl();
}

// The URL as requested is kept ready made: every occurrence of a link on this page shares it.
void LinkCheckerUrl::setActualLinkUrl() {
    actualLinkUrl = nssredir.isEmpty() ? nsslinkUrl : nssredir;
    requestedUrl = slashTrimmed || redirSlashTrimmed ? actualLinkUrl + "/" : actualLinkUrl;
}

QString LinkCheckerUrl::getLinkUrlForTesting() const {
    if (highlightCallback)
        return onPageUrl.value(lastClickedOnPage);
    if (nsslinkUrl.isEmpty())
        return QString();
    return getActualLinkUrl();
}

bool LinkCheckerUrl::directoryTooHigh() const {
    if (highlightCallback)
        return false;
    return nsslinkUrl.contains(u"../");
}

int LinkCheckerUrl::getDirectoryDepth() const {
    QUrl url(getActualLinkUrl(), QUrl::StrictMode);
    if (!url.isValid())
        url = QUrl(UrlRules::addPercentEscapes(getActualLinkUrl()), QUrl::StrictMode);
    if (!url.isValid() || getActualLinkUrl().isEmpty())
        return 0;
    // Path components as the platform counts them: the root "/" is one of them.
    const QStringList parts = url.path().split('/', Qt::SkipEmptyParts);
    const int components = int(parts.size()) + (url.path().startsWith('/') ? 1 : 0);
    return std::max(0, components - 1);
}

bool LinkCheckerUrl::getIsPDF() const {
    return UrlRules::pathExtension(QUrl(getActualLinkUrl()).path()).contains(u"pdf", Qt::CaseInsensitive);
}

bool LinkCheckerUrl::isEqualToUrlTrimmedIgnoreTrailingSlash(const QString& url, bool trimmed,
                                                            bool ignoreTrailingSlash) {
    if (url.isEmpty())
        return false;
    QString text = trimHashQuery(url, trimmed);
    if (ignoreTrailingSlash && text.endsWith('/'))
        text.chop(1);
    bool tripled = false;
    if (text.contains(u"///")) {
        text.replace("///", "//");
        tripled = true;
    }
    auto matches = [&](const QString& candidate) {
        if (candidate == nsslinkUrl || (!nssredir.isEmpty() && candidate == nssredir)) {
            if (tripled)
                recursion = true;
            return true;
        }
        return false;
    };
    if (matches(text))
        return true;
    if (text.contains('%') && matches(UrlRules::addPercentEscapes(text)))
        return true;
    return false;
}

bool LinkCheckerUrl::isEqualToTitle(const QString& title) const {
    if (title.isNull() || linkPageTitle.isNull())
        return false;
    return title.toUtf8() == linkPageTitle.toUtf8();
}

// ---------------------------------------------------------------- status

void LinkCheckerUrl::setStatus(const QString& value) {
    if (!value.isNull())
        status = value;
}

void LinkCheckerUrl::updateStatus(const QString& value) {
    if (value.isNull())
        return;
    status = status.isEmpty() ? value : QString("%1 < %2").arg(value, status);
}

int LinkCheckerUrl::firstDigit(const QString& status) {
    if (status.isEmpty() || !status[0].isDigit())
        return 0;
    return status[0].digitValue();
}

namespace {

// The statuses of links that were deliberately not requested.
bool isLeftUnchecked(const QString& status) {
    return status == u"Not checked" || status == u"Disallowed by robots.txt" ||
           status == QLatin1String(LinkCheckerUrl::localFileNotChecked);
}

} // namespace

// With a list of accepted statuses, the code of the newest answer alone says good or bad;
// nothing when there is no such list or the status has no code.
std::optional<bool> LinkCheckerUrl::isAcceptedStatus() const {
    const StatusCodeSet* accepted = owner ? owner->acceptedStatuses() : nullptr;
    const int code = accepted ? StatusCodeSet::leadingCode(status) : 0;
    if (code == 0)
        return std::nullopt;
    return accepted->contains(code);
}

int LinkCheckerUrl::getColour() const {
    if (status.isEmpty())
        return 0;
    const int digit = firstDigit(status);
    if (const auto accepted = isAcceptedStatus())
        return *accepted ? (!nssredir.isEmpty() || recursion || digit == 3 ? 2 : 0) : (digit == 4 ? 3 : 4);
    if (digit == 4)
        return 3;
    if (blacklisted && owner && owner->shouldFlagBlacklisted())
        return 2;
    if (isLeftUnchecked(status))
        return 0;
    if (digit == 2)
        return !nssredir.isEmpty() || recursion ? 2 : 0;
    if (status == "file is directory")
        return 0;
    if (digit == 0 || digit == 5)
        return 4;
    if (status == "missing link url")
        return 3;
    if (digit == 3)
        return 2;
    if (status == "MCMS zref")
        return 4;
    return nssredir.isEmpty() ? 0 : 2;
}

bool LinkCheckerUrl::isGoodLink() const {
    if (status.isEmpty())
        return false;
    const int colour = getColour();
    return colour != 3 && colour != 4;
}

bool LinkCheckerUrl::isExempt() const {
    return status == "MCMS zref" || isLeftUnchecked(status) || status == "missing link url" ||
           status == "fragment not found";
}

bool LinkCheckerUrl::isErrorPage() const {
    if (status.isEmpty() || isLeftUnchecked(status))
        return false;
    return firstDigit(status) >= 3;
}

// True keeps the record out of the bad collection: the name says the opposite.
bool LinkCheckerUrl::shouldBeMemberOfBadCollection() const {
    if (status.isEmpty())
        return true;
    if (const auto accepted = isAcceptedStatus())
        return *accepted;
    const int digit = firstDigit(status);
    if (digit == 2)
        return true;
    if (status == "MCMS zref")
        return false;
    if (isLeftUnchecked(status))
        return true;
    if (status == "file is directory")
        return true;
    if (status == "file doesnt exist")
        return false;
    if (digit >= 3 || digit == 0)
        return false;
    return true;
}

// ---------------------------------------------------------------- occurrences

void LinkCheckerUrl::addOnPageUrl(const QString& url) {
    QString page = url;
    if (url.isNull()) {
        qInfo().noquote() << QString("null string submitted to url:%1").arg(nsslinkUrl);
        page = "no url";
    } else if (url.isEmpty()) {
        qInfo().noquote() << QString("empty string submitted to url:%1").arg(nsslinkUrl);
        page = "no url";
    }
    onPageUrl.append(page);
    if (owner)
        owner->addLinkForPage(shared_from_this(), page);
    listsHaveChanged = true;
}

void LinkCheckerUrl::addOnPageName(const QString& name) {
    onPageName.append(name.isNull() ? "untitled" : name);
}

void LinkCheckerUrl::addOnPageLinkText(const QString& text) {
    onPageLinkText.append(text.isNull() ? "no text" : text);
}

void LinkCheckerUrl::addNofollow(bool value) {
    nofollow.append(value);
}

void LinkCheckerUrl::addLinkedImage(const std::shared_ptr<LinkCheckerUrl>& image) {
    if (image)
        linkedImages.append(image);
}

bool LinkCheckerUrl::appearsOn(const LinkCheckerUrl& page) const {
    const QString url = page.getActualLinkUrl();
    if (url.isEmpty())
        qInfo().noquote() << QString("%1 has actualLinkUrl length<1").arg(page.getLinkUrl());
    return isThisStringAlreadyInArray(url, onPageUrl);
}

bool LinkCheckerUrl::isThisStringAlreadyInArray(const QString& string, const QStringList& array) {
    if (string.isEmpty())
        return true;
    QString bare = string;
    if (bare.endsWith('/'))
        bare.chop(1);
    for (const QString& entry : array) {
        if (entry.isEmpty()) {
            qInfo().noquote() << QString("array has empty string in url:%1").arg(string);
            continue;
        }
        QString entryBare = entry;
        if (entryBare.endsWith('/'))
            entryBare.chop(1);
        if (entry.compare(string, Qt::CaseInsensitive) == 0 ||
            entryBare.compare(bare, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

QString LinkCheckerUrl::getOnPageName() const {
    if (onPageName.isEmpty())
        return QString("");
    if (onPageName.size() == 1)
        return onPageName.first();
    return QString("%1 %2").arg(onPageName.size()).arg("occurrences over more than one page");
}

QString LinkCheckerUrl::getOnPageUrl() const {
    if (onPageUrl.isEmpty())
        return QString("");
    if (onPageUrl.size() == 1)
        return owner && owner->displayPageTitle() ? onPageName.value(0) : onPageUrl.first();
    return QString("%1 %2").arg(onPageUrl.size()).arg("occurrences over more than one page");
}

const QStringList& LinkCheckerUrl::getOnPagesArray() const {
    return owner && owner->displayPageTitle() ? onPageName : onPageUrl;
}

QString LinkCheckerUrl::getOnPagesHTML() const {
    const QStringList& shown = getOnPagesArray();
    QStringList links;
    for (qsizetype i = 0; i < onPageUrl.size(); ++i)
        links.append(QString("<a href = \"%1\" target=\"_blank\">%2</a>")
                         .arg(onPageUrl[i], truncateURLByAddingElipsisInMiddle(shown.value(i))));
    return links.join("<br />");
}

int LinkCheckerUrl::getLinkCount() const {
    return owner ? owner->numberOfLinksOnThisPage(getActualLinkUrl()) : 0;
}

// ---------------------------------------------------------------- renderings

QString LinkCheckerUrl::getLinkUrlHTML() const {
    return QString("<a href=\"%1\" target=\"_blank\">%2</a>")
        .arg(nsslinkUrl, truncateURLByAddingElipsisInMiddle(nsslinkUrl));
}

QString LinkCheckerUrl::getLinkRedirHTML() const {
    return QString("<a href=\"%1\" target=\"_blank\">%2</a>")
        .arg(nssredir, truncateURLByAddingElipsisInMiddle(nssredir));
}

QString LinkCheckerUrl::truncateURLByAddingElipsisInMiddle(const QString& text) {
    if (text.size() <= 50)
        return text;
    return QString("%1...%2").arg(text.left(23), text.right(27));
}

double LinkCheckerUrl::getTimeSinceSent() const {
    if (!sentRequest)
        return 0.0;
    return std::abs(double(sentRequest->msecsTo(QDateTime::currentDateTimeUtc()))) / 1000.0;
}

QString LinkCheckerUrl::getImageqty() const {
    return linkedImages.isEmpty() ? QString("") : QString::number(linkedImages.size());
}

QString LinkCheckerUrl::getTotalImageWeight() const {
    if (linkedImages.isEmpty())
        return QString("");
    qint64 bytes = 0;
    for (const auto& image : linkedImages)
        bytes += image->getFileSizeInBytes();
    return QString("%1 kb").arg(bytes / 1024);
}

qint64 LinkCheckerUrl::getTotalImageWeightAsNumber() const {
    qint64 kilobytes = 0;
    for (const auto& image : linkedImages)
        kilobytes += image->getFileSizeInKBytes();
    return kilobytes;
}

QStringList LinkCheckerUrl::getFlattenedLinkedImagesArray() const {
    QStringList urls;
    for (const auto& image : linkedImages)
        urls.append(image->getActualLinkUrl());
    return urls;
}

QString LinkCheckerUrl::getLastmodified() const {
    if (!targetLastModified)
        return QString("");
    QDateTime date = QDateTime::fromString(*targetLastModified, Qt::RFC2822Date);
    if (!date.isValid())
        date = QLocale::c().toDateTime(targetLastModified->trimmed(), "ddd, dd MMM yyyy HH:mm:ss 'GMT'");
    if (!date.isValid())
        date = QDateTime::fromString(*targetLastModified, Qt::ISODate);
    return date.isValid() ? date.toString("yyyy-MM-dd") : QString("");
}

QString LinkCheckerUrl::getRobots() const {
    if (headContainsNoFollow && headContainsNoIndex)
        return "nofollow,noindex";
    if (headContainsNoFollow)
        return "nofollow";
    if (headContainsNoIndex)
        return "noindex";
    return QString("");
}

// With several occurrences the first one speaks for all: "mixed" never arises, and the views
// are laid out for that.
int LinkCheckerUrl::isNofollow() const {
    return nofollow.isEmpty() ? 0 : int(nofollow.first());
}

QString LinkCheckerUrl::getNofollow() const {
    switch (isNofollow()) {
    case 0:
        return "No";
    case 1:
        return "Yes";
    default:
        return "mixed";
    }
}

bool LinkCheckerUrl::canonicalMatchesUrl() {
    return canonical.isEmpty() || isEqualToUrlTrimmedIgnoreTrailingSlash(canonical, false, true);
}

bool LinkCheckerUrl::contains(const QString& term) const {
    return nsslinkUrl.contains(term, Qt::CaseInsensitive) || nssredir.contains(term, Qt::CaseInsensitive) ||
           linkText.contains(term, Qt::CaseInsensitive) || status.contains(term, Qt::CaseInsensitive);
}

QVariant LinkCheckerUrl::getFieldByName(const QString& key) const {
    auto number = [](int value) { return QString::number(value); };
    auto numberOrEmpty = [](int value) { return value == -1 ? QString("") : QString::number(value); };
    auto timeOrEmpty = [](double value) {
        return value == 0.0 ? QString("") : QString::number(value, 'g', 6);
    };
    if (key == "canonical")
        return canonical;
    if (key == "changefrequency")
        return changeFrequency;
    if (key == "distancefromhome" || key == "distance")
        return number(distanceFromHome);
    if (key == "filesize")
        return getFileSize();
    if (key == "filesizecompressed")
        return getFileSizeCompressed();
    if (key == "headings")
        return headings;
    if (key == "keywords")
        return keywords;
    if (key == "onpageurlarray")
        return QVariant(getOnPagesArray());
    if (key == "onpagecount")
        return number(int(onPageUrl.size()));
    if (key == "onpagename")
        return getOnPageName();
    if (key == "onpageurl")
        return getOnPageUrl();
    if (key == "onpageurlhtml")
        return getOnPagesHTML();
    if (key == "onpageurlcsv")
        return getOnPagesCSV();
    if (key == "onpageurltext")
        return getOnPagesText();
    if (key == "linktext")
        return linkText;
    if (key == "linkpagetitle")
        return linkPageTitle;
    if (key == "linkurl")
        return nsslinkUrl;
    if (key == "actualurl")
        return getActualLinkUrl();
    if (key == "linkurlhtml")
        return getLinkUrlHTML();
    if (key == "linkredirhtml")
        return getLinkRedirHTML();
    if (key == "linkcount")
        return getLinkcount();
    if (key == "metadescription")
        return metaDescription;
    if (key == "nofollow")
        return getNofollow();
    if (key == "status")
        return status;
    if (key == "redir")
        return nssredir;
    if (key == "timestamp")
        return timestamp;
    if (key == "validatorstatus")
        return validatorStatus;
    if (key == "validatorerrors")
        return numberOrEmpty(validatorErrors);
    if (key == "validatorwarnings")
        return numberOrEmpty(validatorWarnings);
    if (key == "wordcount")
        return numberOrEmpty(wordCount);
    if (key == "responsetime")
        return timeOrEmpty(responseTimeInterval);
    if (key == "loadtime")
        return timeOrEmpty(loadTimeInterval);
    if (key == "imageweight")
        return getTotalImageWeight();
    if (key == "imageqty")
        return getImageqty();
    if (key == "spelling")
        return number(spelling);
    if (key == "grammar")
        return number(grammar);
    if (key == "totalOcurrences")
        return number(totalOcurrences);
    if (key == "ocurrencesinarchive")
        return number(ocurrencesInArchive);
    if (key == "lastmodified")
        return getLastmodified();
    if (key == "robots")
        return getRobots();
    return QString("");
}

double LinkCheckerUrl::getFieldAsNumberByName(const QString& key) const {
    if (key == "distancefromhome")
        return distanceFromHome;
    if (key == "responsetime")
        return responseTimeInterval;
    if (key == "loadtime")
        return loadTimeInterval;
    if (key == "filesize")
        return fileSize;
    if (key == "filesizecompressed")
        return fileSizeCompressed;
    if (key == "imageqty")
        return double(linkedImages.size());
    if (key == "imageweight")
        return getTotalImageWeightAsNumber();
    if (key == "validatorerrors")
        return validatorErrors;
    if (key == "validatorwarnings")
        return validatorWarnings;
    if (key == "totalocurrences")
        return totalOcurrences;
    if (key == "linkcount")
        return getLinkCount();
    if (key == "wordcount")
        return wordCount;
    if (key == "onpagecount")
        return double(onPageUrl.size());
    if (key == "spelling")
        return spelling;
    if (key == "grammar")
        return grammar;
    return 0.0;
}

// ---------------------------------------------------------------- term tests

bool LinkCheckerUrl::linkContainsOneOfTheseTerms(const QStringList* terms) const {
    if (!terms)
        return false;
    for (const QString& term : *terms)
        if (!term.isEmpty() && nsslinkUrl.contains(term, Qt::CaseInsensitive))
            return true;
    return false;
}

bool LinkCheckerUrl::dataContainsOneOfTheseTerms(const QStringList* terms) const {
    if (!terms)
        return false;
    const QString text = QString::fromUtf8(getData());
    for (const QString& term : *terms)
        if (countOcurrencesOfStringInString(term, text) > 0)
            return true;
    return false;
}

int LinkCheckerUrl::countOcurrencesOfStringInString(const QString& needle, const QString& haystack) {
    if (needle.isEmpty() || haystack.isEmpty())
        return 0;
    int found = 0;
    for (qsizetype i = haystack.indexOf(needle, 0, Qt::CaseInsensitive); i >= 0;
         i = haystack.indexOf(needle, i + 1, Qt::CaseInsensitive))
        ++found;
    return found;
}

// ---------------------------------------------------------------- plain fields

void LinkCheckerUrl::setLinkText(const QString& text) {
    if (text.isNull())
        return;
    if (text.contains(u"[img alt]"))
        isImage = true;
    linkText = text;
}

void LinkCheckerUrl::setSentRequest() {
    sentRequest = QDateTime::currentDateTimeUtc();
    // The stamp changes once a second while requests go out by the hundred: the text of the
    // current second is made once and shared, for as long as the locale stays the same.
    thread_local qint64 stampSecond = -1;
    thread_local QLocale stampLocale;
    thread_local QString stampText;
    const qint64 second = sentRequest->toSecsSinceEpoch();
    const QLocale locale;
    if (second != stampSecond || locale != stampLocale) {
        stampText = timestampText(sentRequest->toLocalTime(), locale);
        stampSecond = second;
        stampLocale = locale;
    }
    timestamp = stampText;
}

QString LinkCheckerUrl::timestampText(const QDateTime& when, const QLocale& locale) {
    // Qt has no medium style. The date is the long form without its weekday and with the
    // month abbreviated; the time is the short form with seconds after the minutes.
    QString date = locale.dateFormat(QLocale::LongFormat);
    static const QRegularExpression weekday(u"d{4}[,.]?\\s*|[,\\s]*d{4}"_s);
    date.remove(weekday);
    date.replace(u"MMMM"_s, u"MMM"_s);
    QString time = locale.timeFormat(QLocale::ShortFormat);
    const qsizetype minutes = time.indexOf(u"mm");
    if (!time.contains(u"ss") && minutes > 0)
        time.insert(minutes + 2, time[minutes - 1] + u"ss"_s);
    return locale.toString(when.date(), date.trimmed()) + u", "_s + locale.toString(when.time(), time);
}

void LinkCheckerUrl::setFileSize(qint64 bytes) {
    fileSizeBytes = bytes;
    fileSize = bytes / 1024;
}

void LinkCheckerUrl::clearData() {
    data.reset();
    cacheData.reset();
}

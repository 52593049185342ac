#pragma once

#include "crawl/LinkCheckerUrl.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <vector>

class LinkCheckerHub;
class QIODevice;
class SEOManager;

// The saved crawl: an XML property list whose root holds the records (`linkcheckerUrls`) and
// whether validation had been started (`validationKickedOff`). The file is written and read a
// record at a time, in the very bytes the property-list writer makes, so a crawl of hundreds of
// thousands of records never exists twice in memory.
namespace CrawlDatabase {

// The extension of the files, and the name of the one written at quit.
inline constexpr const char* extension = "plist";
inline constexpr const char* autosaveName = "autosavedData.plist";
// Larger files are refused before reading: a crawl at the largest links limit stays far below.
constexpr qint64 maxFileSize = qint64(1) << 30;

using Membership = std::function<bool(const LinkCheckerUrl&)>;

// The bytes of a file holding the records in their order; inSEOCollection says for each
// record whether it is one of the pages of the SEO collection.
QByteArray toXml(const std::vector<LinkCheckerUrlPtr>& records, const Membership& inSEOCollection,
                 bool validationKickedOff);
// The hub's records in their order.
std::vector<LinkCheckerUrlPtr> recordsOf(const LinkCheckerHub& hub);
// Writes the hub's records (all, or the bad ones only) atomically: a failed write leaves any
// earlier file as it was. False with the reason.
bool writeToLocation(const QString& path, const LinkCheckerHub& hub, const SEOManager& seo, bool allLinks,
                     bool validationKickedOff, QString* error = nullptr);

// Records read from a file and not yet handed to a hub.
struct Loaded {
    std::vector<LinkCheckerUrlPtr> records;
    std::vector<bool> inSEOCollection; // one per record
    bool validationKickedOff = false;
};
// Reads a file into new records owned by hub, which is not otherwise touched: a file that is
// not a saved crawl (unreadable, truncated, not a property list, a key of the wrong type, no
// records) gives false with the reason and leaves out empty.
bool readFile(const QString& path, LinkCheckerHub& hub, Loaded& out, QString* error = nullptr);
bool readData(const QByteArray& bytes, LinkCheckerHub& hub, Loaded& out, QString* error = nullptr);
// Replaces the hub's records by the loaded ones as a load does: the collection is emptied (its
// lookups and the SEO collection are not), each record is registered on its pages, added to
// the hub (which drops those beyond the links limit) and, when it was one, to the SEO
// collection; the hub then stands as after a finished crawl.
void apply(Loaded&& loaded, LinkCheckerHub& hub, SEOManager& seo);

} // namespace CrawlDatabase

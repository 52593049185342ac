#include "crawl/LinkCheckerHub.h"

#include "config/SiteStore.h"
#include "platform/UserInterface.h"
#include "reports/PageArchive.h"

#include <QFileInfo>

// The page archive as the crawl sees it: pages go in as they finish loading, the folder is
// emptied at each start and offered to the user at the end.

void LinkCheckerHub::archivePage(const LinkCheckerUrlPtr& page) {
    if (page)
        PageArchive::archivePageInBackground(page->getActualLinkUrl(), page->getData());
}

void LinkCheckerHub::clearArchiveFolder() {
    PageArchive::clearArchiveFolder();
}

void LinkCheckerHub::saveArchive() {
    PageArchive::waitForArchiveWrites();
    if (!QFileInfo(PageArchive::folderPath()).isDir())
        return;
    const QString folder = ui.chooseFolder("Archive pages", "Choose");
    if (!folder.isEmpty())
        PageArchive::copyArchiveTo(folder);
}

#include "views/KestOnPage.h"

#include "crawl/LinkCheckerUrl.h"

int KestOnPage::getColour() const {
    return lcurl ? lcurl->getColour() : 0;
}

QString KestOnPage::getFieldByName(const QString& key) const {
    if (!lcurl)
        return QString("");
    if (key == "onpageurl")
        return lcurl->getOnPageUrlArray().value(index, "");
    if (key == "linktext")
        return lcurl->getOnPageLinkTextArray().value(index, "");
    if (key == "onpagename")
        return lcurl->getOnPageNameArray().value(index, "");
    if (key == "nofollow") {
        const QList<bool>& nofollow = lcurl->getNofollowArray();
        if (index < 0 || index >= nofollow.size())
            return QString("");
        return nofollow[index] ? "Yes" : "No";
    }
    return lcurl->getFieldByName(key).toString();
}

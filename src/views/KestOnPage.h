#pragma once

#include <QString>
#include <memory>

class LinkCheckerUrl;

// A child row of the trees: one occurrence of a link, the record and a position in its
// on-page lists.
class KestOnPage {
  public:
    KestOnPage() = default;
    KestOnPage(std::shared_ptr<LinkCheckerUrl> record, int position)
        : lcurl(std::move(record)), index(position) {}

    void setLcurl(std::shared_ptr<LinkCheckerUrl> record) { lcurl = std::move(record); }
    void setIndex(int position) { index = position; }
    int getColour() const;
    const std::shared_ptr<LinkCheckerUrl>& getLinkCheckerUrl() const { return lcurl; }
    int getIndex() const { return index; }
    // The occurrence's own page, link text, page title and nofollow; other keys are the record's.
    QString getFieldByName(const QString& key) const;

  private:
    std::shared_ptr<LinkCheckerUrl> lcurl;
    int index = 0;
};

#pragma once

#include "views/KestDataObject.h"

#include <QString>
#include <memory>

class KestReportDataSource;
class LinkCheckerUrl;

// One row of the flat report: one occurrence of one link, as it stood when the report was
// built. Colour and the HTML forms of the URL still come through the record.
class KestReportItem : public KestDataObject {
  public:
    // What every row of one record holds alike, kept once for all of them: a large site gives
    // hundreds of thousands of rows from a few thousand records.
    struct RecordPart {
        QString linkPageTitle{""};
        QString linkUrl{""};
        QString status{""};
        QString redir{""};
        QString onPageName{""};
        QString timestamp{""};
        std::shared_ptr<LinkCheckerUrl> lcurl;
        int distanceFromHome = 0;
    };

    KestReportItem();
    explicit KestReportItem(std::shared_ptr<const RecordPart> part);

    bool contains(const QString& term) const override;
    QVariant getFieldByName(const QString& key) const override;
    int getColour() const;
    QString getOnPageUrlHTML() const;
    // Text order of the owner's sort field, reversed when the owner sorts descending.
    int caseInsensitiveCompare(const KestReportItem& other) const;

    // Setters of texts ignore a null, so no text field is ever null. A setter of a shared
    // field gives this row a part of its own first.
    void setLinkText(const QString& v) { setText(linkText, v); }
    void setLinkPageTitle(const QString& v) { setText(own().linkPageTitle, v); }
    void setLinkUrl(const QString& v) { setText(own().linkUrl, v); }
    void setStatus(const QString& v) { setText(own().status, v); }
    void setRedir(const QString& v) { setText(own().redir, v); }
    void setOnPageName(const QString& v) { setText(own().onPageName, v); }
    void setOnPageUrl(const QString& v) { setText(onPageUrl, v); }
    void setTimestamp(const QString& v) { setText(own().timestamp, v); }
    void setLcurl(std::shared_ptr<LinkCheckerUrl> record) { own().lcurl = std::move(record); }
    void setDistanceFromHome(int v) { own().distanceFromHome = v; }
    void setNofollow(bool v) { nofollow = v; }
    void setOwner(const KestReportDataSource* source) { owner = source; }

    const QString& getLinkText() const { return linkText; }
    const QString& getLinkPageTitle() const { return part->linkPageTitle; }
    const QString& getLinkUrl() const { return part->linkUrl; }
    const QString& getStatus() const { return part->status; }
    const QString& getRedir() const { return part->redir; }
    const QString& getOnPageName() const { return part->onPageName; }
    const QString& getOnPageUrl() const { return onPageUrl; }
    const QString& getTimestamp() const { return part->timestamp; }
    const std::shared_ptr<LinkCheckerUrl>& getLcurl() const { return part->lcurl; }
    int getDistanceFromHome() const { return part->distanceFromHome; }
    bool getNofollow() const { return nofollow; }

  private:
    static void setText(QString& field, const QString& value) {
        if (!value.isNull())
            field = value;
    }
    RecordPart& own();

    std::shared_ptr<const RecordPart> part;
    QString linkText{""};
    QString onPageUrl{""};
    bool nofollow = false;
    const KestReportDataSource* owner = nullptr;
};

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
    KestReportItem() = default;

    bool contains(const QString& term) const override;
    QVariant getFieldByName(const QString& key) const override;
    int getColour() const;
    QString getOnPageUrlHTML() const;
    // Text order of the owner's sort field, reversed when the owner sorts descending.
    int caseInsensitiveCompare(const KestReportItem& other) const;

    // Setters of texts ignore a null, so no text field is ever null.
    void setLinkText(const QString& v) { setText(linkText, v); }
    void setLinkPageTitle(const QString& v) { setText(linkPageTitle, v); }
    void setLinkUrl(const QString& v) { setText(linkUrl, v); }
    void setStatus(const QString& v) { setText(status, v); }
    void setRedir(const QString& v) { setText(redir, v); }
    void setOnPageName(const QString& v) { setText(onPageName, v); }
    void setOnPageUrl(const QString& v) { setText(onPageUrl, v); }
    void setTimestamp(const QString& v) { setText(timestamp, v); }
    void setLcurl(std::shared_ptr<LinkCheckerUrl> record) { lcurl = std::move(record); }
    void setDistanceFromHome(int v) { distanceFromHome = v; }
    void setNofollow(bool v) { nofollow = v; }
    void setOwner(const KestReportDataSource* source) { owner = source; }

    const QString& getLinkText() const { return linkText; }
    const QString& getLinkPageTitle() const { return linkPageTitle; }
    const QString& getLinkUrl() const { return linkUrl; }
    const QString& getStatus() const { return status; }
    const QString& getRedir() const { return redir; }
    const QString& getOnPageName() const { return onPageName; }
    const QString& getOnPageUrl() const { return onPageUrl; }
    const QString& getTimestamp() const { return timestamp; }
    const std::shared_ptr<LinkCheckerUrl>& getLcurl() const { return lcurl; }
    int getDistanceFromHome() const { return distanceFromHome; }
    bool getNofollow() const { return nofollow; }

  private:
    static void setText(QString& field, const QString& value) {
        if (!value.isNull())
            field = value;
    }

    QString linkText{""};
    QString linkPageTitle{""};
    QString linkUrl{""};
    QString status{""};
    QString redir{""};
    QString onPageName{""};
    QString onPageUrl{""};
    QString timestamp{""};
    std::shared_ptr<LinkCheckerUrl> lcurl;
    int distanceFromHome = 0;
    bool nofollow = false;
    const KestReportDataSource* owner = nullptr;
};

#include "gui/ResultsNotice.h"

ResultsNotice::ResultsNotice(QWidget* parent) : QLabel(parent) {
    setObjectName("resultsNotice");
    setWordWrap(true);
    setStyleSheet("QLabel { background: #fff4ce; color: #3d3000; padding: 6px 10px; border-radius: 4px; }");
    hide();
}

QString ResultsNotice::textFor(const QString& resultsSite, const QString& selectedSite,
                               LinkCheckerHub::CrawlState state) {
    switch (state) {
    case LinkCheckerHub::CrawlState::Running:
        return QString("A crawl of %1 is running. Its results show here when it ends, or when you pause it "
                       "and choose Show Partial Results.")
            .arg(resultsSite);
    case LinkCheckerHub::CrawlState::Paused:
        return QString("Partial results: the crawl of %1 is paused.").arg(resultsSite);
    default:
        if (resultsSite != selectedSite)
            return QString("These are the results of %1, not of the selected site %2; crawl %2 to see "
                           "its own.")
                .arg(resultsSite, selectedSite.isEmpty() ? QString("(none)") : selectedSite);
        return {};
    }
}

void ResultsNotice::update(const QString& resultsSite, const QString& selectedSite,
                           LinkCheckerHub::CrawlState state) {
    const QString text =
        state == LinkCheckerHub::CrawlState::Idle ? QString() : textFor(resultsSite, selectedSite, state);
    setText(text);
    setVisible(!text.isEmpty());
}

#include "gui/ResultsContextMenu.h"

#include "gui/QtUserInterface.h"
#include "gui/ResultsView.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QClipboard>

void installResultsContextMenu(QAbstractItemView* view, ResultsView& results) {
    view->setContextMenuPolicy(Qt::ActionsContextMenu);
    auto add = [view](const QString& name, const QString& title, auto command) {
        auto* action = new QAction(title, view);
        action->setObjectName(name);
        QObject::connect(action, &QAction::triggered, view, command);
        view->addAction(action);
    };
    auto separator = [view] {
        auto* line = new QAction(view);
        line->setSeparator(true);
        view->addAction(line);
    };
    auto open = [&results](const QString& url) {
        if (!url.isEmpty())
            results.userInterface().openInBrowser(url);
    };
    auto copy = [](const QString& url) {
        if (!url.isEmpty())
            QApplication::clipboard()->setText(url);
    };
    add("openInBrowser", "Open in Browser", [&results, open] { open(results.selectedLinkUrl()); });
    add("openPageItIsOn", "Open the Page It Is On", [&results, open] { open(results.selectedPageUrl()); });
    separator();
    add("copyURL", "Copy URL", [&results, copy] { copy(results.selectedLinkUrl()); });
    add("copyPageItIsOn", "Copy the Page It Is On", [&results, copy] { copy(results.selectedPageUrl()); });
    separator();
    add("inspect", "Inspect…", [&results] { results.doubleClick(); });
}

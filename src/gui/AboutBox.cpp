#include "gui/AboutBox.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QVBoxLayout>
#include <curl/curl.h>

namespace {

struct Library {
    const char* name;
    const char* use;
    const char* licence;
};

const Library libraries[] = {
    {"Qt 6", "window, events, files", "GNU LGPL 3.0"},
    {"libcurl", "HTTP and HTTPS requests", "curl licence (MIT/X style)"},
    {"libplist", "settings files and crawl databases", "GNU LGPL 2.1 or later"},
    {"Enchant 2", "spelling", "GNU LGPL 2.1 or later"},
    {"link-grammar", "grammar", "GNU LGPL 2.1"},
    {"poppler", "links in PDF documents", "GNU GPL 2.0 or later"},
};

} // namespace

AboutBox::AboutBox(QWidget* parent) : QDialog(parent) {
    setObjectName("aboutBox");
    setWindowTitle("About Trellium");
    auto* layout = new QVBoxLayout(this);
    auto* label = new QLabel(text());
    label->setObjectName("aboutText");
    label->setTextFormat(Qt::RichText);
    label->setWordWrap(true);
    label->setOpenExternalLinks(true);
    layout->addWidget(label);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    layout->addWidget(buttons);
}

QString AboutBox::text() {
    QString rows;
    for (const Library& library : libraries)
        rows += QString("<tr><td><b>%1</b></td><td>%2</td><td>%3</td></tr>")
                    .arg(library.name, library.use, library.licence);
    return QString("<h2>Trellium %1</h2><p>A website auditor: links, pages and reports.</p>"
                   "<p>Running on Qt %2 and libcurl %3.</p>"
                   "<p>Built on these libraries, each under its own licence:</p>"
                   "<table cellspacing=\"6\">%4</table>")
        .arg(TRELLIUM_VERSION, qVersion(), curl_version_info(CURLVERSION_NOW)->version, rows);
}

QUrl AboutBox::readmeUrl() {
    const QString installed = QCoreApplication::applicationDirPath() + "/../share/doc/trellium/README.md";
    if (QFileInfo::exists(installed))
        return QUrl::fromLocalFile(QFileInfo(installed).canonicalFilePath());
    return QUrl::fromLocalFile(TRELLIUM_README);
}

#include "gui/PreferencesDialog.h"

#include "analysis/SEOManager.h"

#include "config/Preferences.h"
#include "config/UAStringManager.h"
#include "gui/FieldChecks.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QTabWidget>
#include <QVBoxLayout>
#include <optional>

namespace {

// The limits are used as 32-bit integers.
constexpr double largestLimit = 2147483647;

// A sentence under a control that tells what a switch does beyond its label.
void explain(QFormLayout* form, const QString& name, const QString& text) {
    auto* label = new QLabel(text);
    label->setObjectName(name);
    label->setWordWrap(true);
    label->setStyleSheet("color: palette(mid); margin-left: 22px;");
    form->addRow("", label);
}

QFormLayout* page(QTabWidget* tabs, const QString& title) {
    auto* widget = new QWidget;
    auto* form = new QFormLayout(widget);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->setContentsMargins(16, 12, 16, 12);
    tabs->addTab(widget, title);
    return form;
}

} // namespace

PreferencesDialog::PreferencesDialog(Preferences& preferences_, QWidget* parent)
    : QDialog(parent), preferences(preferences_) {
    setWindowTitle("Preferences");
    setObjectName("preferences");
    resize(620, 520);
    auto* layout = new QVBoxLayout(this);
    auto* tabs = new QTabWidget;
    layout->addWidget(tabs);

    auto notify = [this] {
        if (changed)
            changed();
    };
    // A switch stored as a boolean, or as "YES"/"NO" for the keys that are kept that way.
    auto flag = [&](QFormLayout* form, const QString& key, const QString& label, const QString& tip,
                    bool yesNo = false) {
        auto* box = new QCheckBox(label);
        box->setObjectName(key);
        box->setToolTip(tip);
        box->setChecked(preferences.boolValue(key));
        form->addRow("", box);
        connect(box, &QCheckBox::toggled, this, [this, key, yesNo, notify](bool on) {
            preferences.setValue(key, yesNo ? QVariant(on ? "YES" : "NO") : QVariant(on));
            notify();
        });
    };
    // A text, or with a least value a whole number up to largestLimit, refused out of range
    // with the range said beside it.
    auto text = [&](QFormLayout* form, const QString& key, const QString& label, const QString& tip,
                    std::optional<int> least = std::nullopt) {
        auto* edit = new QLineEdit(preferences.stringValue(key));
        edit->setObjectName(key);
        edit->setToolTip(tip);
        if (!least) {
            form->addRow(label, edit);
            connect(edit, &QLineEdit::textEdited, this,
                    [this, key](const QString& value) { preferences.setValue(key, value); });
            return edit;
        }
        edit->setValidator(new QRegularExpressionValidator(QRegularExpression("\\d{0,10}"), edit));
        edit->setMaximumWidth(140);
        auto* row = new QWidget;
        auto* h = new QHBoxLayout(row);
        h->setContentsMargins(0, 0, 0, 0);
        h->addWidget(edit);
        auto* hint = new QLabel;
        hint->setObjectName(key + "Hint");
        hint->setStyleSheet("color: #b3261e;");
        hint->setWordWrap(true);
        hint->hide();
        h->addWidget(hint, 1);
        form->addRow(label, row);
        const QString before = preferences.stringValue(key);
        connect(edit, &QLineEdit::textEdited, this, [this, key, hint, before, least](const QString& value) {
            const QString problem = numberProblem(value, *least, largestLimit, true);
            hint->setText(problem);
            hint->setVisible(!problem.isEmpty());
            // Digits typed on the way to a refused number don't stay behind as the value.
            preferences.setValue(key, problem.isEmpty() ? QVariant(value.toInt()) : QVariant(before.toInt()));
        });
        return edit;
    };

    QFormLayout* general = page(tabs, "General");
    auto* results = new QComboBox;
    results->setObjectName("displayTrelliumResults");
    results->addItems({"In the main window", "In a window of their own"});
    results->setCurrentIndex(preferences.intValue("displayTrelliumResults") == 1 ? 1 : 0);
    general->addRow("Show results:", results);
    connect(results, &QComboBox::currentIndexChanged, this,
            [this](int index) { preferences.setValue("displayTrelliumResults", QString::number(index)); });
    auto* titles = new QComboBox;
    titles->setObjectName("KestreliaShowPageTitle");
    titles->addItems({"Page URLs", "Page titles"});
    titles->setCurrentIndex(preferences.intValue("KestreliaShowPageTitle") == 1 ? 1 : 0);
    general->addRow("Name pages by:", titles);
    connect(titles, &QComboBox::currentIndexChanged, this, [this, notify](int index) {
        preferences.setValue("KestreliaShowPageTitle", QString::number(index));
        notify();
    });
    flag(general, "dontShowTip", "Don't show tips", "Hide the tips shown at start.");
    // Stored at once, not with the rest at quit: the autosave at quit reads it.
    auto* keep = new QCheckBox("Keep the results when quitting");
    keep->setObjectName("autosave");
    keep->setToolTip(
        "Writes the results to autosavedData.plist at quit; the next start offers to reopen them.");
    keep->setChecked(preferences.boolValue("autosave"));
    general->addRow("", keep);
    connect(keep, &QCheckBox::toggled, this, [this](bool on) {
        QString why;
        if (!preferences.setValueAndStore("autosave", on, &why))
            QMessageBox::warning(this, "Preferences", "The choice could not be stored: " + why);
    });

    QFormLayout* crawl = page(tabs, "Crawling");
    auto* agent = new QComboBox;
    agent->setObjectName("userAgentString");
    agent->setEditable(true);
    // Choosing an agent only fills in the agent text, which stays free to edit.
    for (const auto& [title, string] : UAStringManager::agents())
        agent->addItem(title, string);
    agent->setEditText(preferences.stringValue("userAgentString"));
    agent->setToolTip("What the crawler calls itself in every request. Pick a browser or type your own.");
    crawl->addRow("User agent:", agent);
    connect(agent, &QComboBox::activated, this, [this, agent](int index) {
        agent->setEditText(agent->itemData(index).toString());
        preferences.setValue("userAgentString", agent->currentText());
    });
    connect(agent, &QComboBox::editTextChanged, this,
            [this](const QString& value) { preferences.setValue("userAgentString", value); });
    flag(crawl, "ignoreSubdomain", "Subdomains are part of the site",
         "Treat www.example.com and shop.example.com as one site.", true);
    flag(crawl, "trimWhitespace", "Trim white space in links",
         "Remove spaces around the addresses found in pages.", true);
    flag(crawl, "flagBlacklisted", "Flag links excluded by rules",
         "List links skipped by your rules among the "
         "flagged ones.");
    flag(crawl, "checkRobotstxt", "Read robots.txt", "Fetch the site's robots.txt at the start of a crawl.");
    explain(crawl, "checkRobotstxtNote",
            "Pages that robots.txt disallows are still checked, and only left out of XML sitemaps. To "
            "skip them in the crawl as well, turn on \"Obey robots.txt\" in a site's settings; that "
            "reads robots.txt whatever this says.");
    flag(crawl, "checkRobots", "Honour robots meta tags",
         "Don't follow pages whose robots meta tag says nofollow.");
    flag(crawl, "soft404Button", "Look for soft 404 pages",
         "Mark pages that answer 200 but say that the page was not found.");
    auto* terms = new QPlainTextEdit(preferences.stringValue("soft404Terms"));
    terms->setObjectName("soft404Terms");
    terms->setToolTip("One phrase a line; a page that contains one of them is a soft 404.");
    terms->setMaximumHeight(110);
    crawl->addRow("Soft 404 phrases:", terms);
    connect(terms, &QPlainTextEdit::textChanged, this,
            [this, terms] { preferences.setValue("soft404Terms", terms->toPlainText()); });
    text(crawl, "linkslimit", "Most links per crawl:", "A crawl stops taking new links beyond this number.",
         1);
    text(crawl, "levelslimit", "Deepest level followed:",
         "How many clicks from the starting page are followed; 0 reads the starting page only.", 0);
    text(crawl, "TrelliumMaxPageSize", "Largest page read (MB):",
         "A page or file larger than this, once uncompressed, is not read and gets the status "
         "\"page too large\". 0 reads pages of any size.");
    text(crawl, "TrelliumMaxRequestTime", "Longest request (seconds):",
         "A request still running after this long, however slowly data arrives, gets the status "
         "\"The request timed out.\".")
        ->setPlaceholderText("ten times the site's time-out");

    QFormLayout* colours = page(tabs, "Colours");
    flag(colours, "LorraneDisplayLabels", "Colour rows by status",
         "Tint each row of the link views by its status.");
    explain(colours, "coloursNote",
            "Good links are not tinted: a 2xx row stays plain unless it was redirected, and then takes "
            "the 3xx colour. The 2xx colour marks the count of checked links while no bad link was "
            "found; the 4xx colour marks it once one was.");
    for (const char* status : {"2xx", "3xx", "4xx", "5xx"}) {
        auto* button = new QPushButton;
        button->setObjectName(QString("colour%1").arg(status));
        const QString prefix = QString("Lorrane%1Colour").arg(status);
        auto paint = [this, button, prefix] {
            const QColor c = QColor::fromRgbF(float(preferences.value(prefix + "R").toDouble()),
                                              float(preferences.value(prefix + "G").toDouble()),
                                              float(preferences.value(prefix + "B").toDouble()),
                                              float(preferences.value(prefix + "A").toDouble()));
            button->setText(c.name(QColor::HexArgb));
            button->setStyleSheet(QString("background-color: %1;").arg(c.name(QColor::HexArgb)));
        };
        paint();
        connect(button, &QPushButton::clicked, this, [this, prefix, paint, notify] {
            const QColor now = QColor::fromRgbF(float(preferences.value(prefix + "R").toDouble()),
                                                float(preferences.value(prefix + "G").toDouble()),
                                                float(preferences.value(prefix + "B").toDouble()),
                                                float(preferences.value(prefix + "A").toDouble()));
            const QColor c = QColorDialog::getColor(now, this, "Row colour", QColorDialog::ShowAlphaChannel);
            if (!c.isValid())
                return;
            preferences.setValue(prefix + "R", float(c.redF()));
            preferences.setValue(prefix + "G", float(c.greenF()));
            preferences.setValue(prefix + "B", float(c.blueF()));
            preferences.setValue(prefix + "A", float(c.alphaF()));
            paint();
            notify();
        });
        colours->addRow(QString("%1 rows:").arg(status), button);
    }

    QFormLayout* jobs = page(tabs, "Other jobs");
    QLineEdit* validator =
        text(jobs, "validationURL",
             "Validator address:", "The W3C Markup Validator service that checks your HTML.");
    auto* validatorChoices = new QHBoxLayout;
    for (const auto& [title, url] : {std::pair{"Local", SEOManager::localValidatorUrl()},
                                     std::pair{"W3C", SEOManager::publicValidatorUrl()}}) {
        auto* button = new QPushButton(title);
        button->setObjectName(QString("validator%1").arg(title));
        validatorChoices->addWidget(button);
        connect(button, &QPushButton::clicked, this, [this, validator, url] {
            validator->setText(url);
            preferences.setValue("validationURL", url);
        });
    }
    validatorChoices->addStretch(1);
    jobs->addRow("", validatorChoices);
    text(jobs, "validationdelay",
         "Seconds between validations:", "A pause between two pages sent to the validator.");
    text(jobs, "validationtimeout", "Validation time-out:", "How long to wait for the validator's answer.");
    flag(jobs, "validateAll", "Validate every page", "Off validates the first page only.");
    text(jobs, "SEOtoomanylinks", "Too many links above:", "A page with more links than this is flagged.");
    text(jobs, "SEOmetadescriptionmin", "Shortest meta description:", "Characters.");
    text(jobs, "SEOmetadescriptionmax", "Longest meta description:", "Characters.");
    flag(jobs, "includelastmodinsitemap", "Write lastmod into sitemaps",
         "Use the pages' Last-Modified dates.");

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::close);
    layout->addWidget(buttons);
}

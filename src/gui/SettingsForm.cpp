#include "gui/SettingsForm.h"

#include "app/NewUIController.h"
#include "config/KestConfigManager.h"
#include "gui/FieldChecks.h"
#include "gui/LanguageChoice.h"
#include "gui/SitemapRulesBox.h"

#include <QCheckBox>
#include <QColor>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QScrollArea>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

namespace {

const char* const ruleTitles[] = {"Do not check", "Do not follow", "Only follow"};

// Beyond this a number of seconds means nothing to a crawl.
constexpr double longestSeconds = 99999;

// Why the text of a number field can't be taken, or "".
QString numberFieldProblem(const QString& key, const QString& text) {
    if (key == "numberOfThreads")
        return numberProblem(text, KestConfigManager::minimumNumberOfThreads,
                             KestConfigManager::maximumNumberOfThreads, true);
    return numberProblem(text, 0, longestSeconds, false, key == "timeOut");
}

} // namespace

SettingsForm::SettingsForm(KestConfigManager& config_, NewUIController& controller_, QWidget* parent)
    : QWidget(parent), config(config_), controller(controller_) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);

    // The selected site itself: its name and starting URL.
    auto* site = new QFormLayout;
    site->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    nameField = new QLineEdit;
    nameField->setObjectName("name");
    nameField->setToolTip("The name this site goes by in your list of sites.");
    urlField = new QLineEdit;
    urlField->setObjectName("url");
    urlField->setToolTip("Where the crawl starts: the address of the home page, a local folder of pages, "
                         "a text file of URLs or an XML sitemap.");
    urlHint = new QLabel("A site needs a starting URL.");
    urlHint->setObjectName("hint");
    urlHint->setStyleSheet("color: #b3261e;");
    urlHint->hide();
    site->addRow("Name:", nameField);
    site->addRow("Starting URL:", urlField);
    site->addRow("", urlHint);
    layout->addLayout(site);
    connect(nameField, &QLineEdit::editingFinished, this, [this] {
        if (loading || config.getSelectedRow() < 0 || nameField->text() == config.getNameOfSelectedSite())
            return;
        config.setNewName(nameField->text());
        config.saveMenuItem();
    });
    urlHint->setWordWrap(true);
    connect(urlField, &QLineEdit::textEdited, this, [this](const QString& text) {
        urlHint->setText(startingUrlProblem(text));
        urlHint->setVisible(!urlHint->text().isEmpty());
    });
    connect(urlField, &QLineEdit::editingFinished, this, [this] {
        const QString url = urlField->text().trimmed();
        if (loading || config.getSelectedRow() < 0)
            return;
        // A URL the crawl can't start from is not saved; the reason stays beside the field.
        if (!startingUrlProblem(url).isEmpty()) {
            urlHint->setText(startingUrlProblem(url));
            urlHint->show();
            return;
        }
        if (url == config.getUrlOfSelectedSite())
            return;
        config.setNewUrl(url);
        config.handleControl("url");
    });

    auto* tabs = new QTabWidget;
    tabs->setDocumentMode(true);
    layout->addWidget(tabs, 1);

    tabs->addTab(
        makeGroup({
            {"checkImages", "Check images", Kind::Flag,
             "Check the images of each page as well as its links."},
            {"followQuerystring", "Ignore querystrings", Kind::Flag,
             "Treat addresses that differ only after the '?' as one page, so that session ids and "
             "sort orders don't make endless copies."},
            {"ignoreSlash", "Ignore trailing slash", Kind::Flag,
             "Treat /folder and /folder/ as the same address."},
            {"followCheckbox", "Check the starting page only", Kind::Flag,
             "Check the links of the starting page and follow none of them."},
            {"nofollowCheckbox", "Don't follow nofollow links", Kind::Flag,
             "Check links marked rel=\"nofollow\" but don't crawl the pages behind them."},
            {"checkErrorPages", "Take links from error pages", Kind::Flag,
             "Also read the links of pages that answer with an error status, such as a custom "
             "404 page."},
            {"uniqueTitles", "Identify pages by unique title", Kind::Flag,
             "Don't follow a page whose title was seen already: useful where one page has many "
             "addresses."},
            {"wordpressUrls", "Addresses are permalinks without extension", Kind::Flag,
             "For sites such as WordPress: the last part of an address is a page, not a folder."},
            {"KestreliaHashIsBad", "Treat \"#\" and empty links as links", Kind::Flag,
             "Check links whose target is \"#\" or empty instead of ignoring them."},
            {"KestreliaSitemapOnly", "Don't check external links", Kind::Flag,
             "Links to other sites get the status \"Not checked\"."},
            {"blacklistByRobotsTxt", "Obey robots.txt", Kind::Flag,
             "Don't check addresses that the site's robots.txt disallows."},
            {"runJS", "Run scripts before reading pages", Kind::Flag,
             "Render each page with its JavaScript before looking for links (needs Chromium)."},
            {"parsePDFs", "Read links in PDF documents", Kind::Flag,
             "Look for links inside PDF files of the site."},
            {"archivePages", "Keep a copy of each page", Kind::Flag,
             "Archive the pages as they were crawled."},
            {"checkSpelling", "Check spelling", Kind::Flag, "Collect spelling findings of each page."},
            {"checkGrammar", "Check grammar", Kind::Flag, "Collect grammar findings of each page."},
            {"defaultLocalFileName", "Default file of a local folder:", Kind::Text,
             "The file tried for a folder when the site is a folder on this computer."},
            {"language", "Spelling language:", Kind::Language,
             "The language that spelling is checked in: one of the dictionaries installed on this computer."},
        }),
        "Crawl");
    tabs->addTab(makeRulesPage(), "Rules");
    tabs->addTab(
        makeGroup({
            {"customHeaderKey1", "Header 1 name:", Kind::Text, "An extra header sent with every request."},
            {"customHeaderValue1", "Header 1 value:", Kind::Text, "Its value."},
            {"customHeaderKey2", "Header 2 name:", Kind::Text, "An extra header sent with every request."},
            {"customHeaderValue2", "Header 2 value:", Kind::Text, "Its value."},
            {"customHeaderKey3", "Header 3 name:", Kind::Text, "An extra header sent with every request."},
            {"customHeaderValue3", "Header 3 value:", Kind::Text, "Its value."},
            {"TrelliumAttemptAuthentication", "Log in before crawling", Kind::Flag,
             "Post the user name and password below to the starting URL first. Use an account "
             "that can only read."},
            {"authenticationusername", "User name:", Kind::Text, "The account to log in with."},
            {"authenticationpassword", "Password:", Kind::Password,
             "Stored in plain text in the site's settings file."},
            {"authenticationusernamefieldname", "User name field:", Kind::Text,
             "The name of the login form's field that takes the user name."},
            {"authenticationpasswordfieldname", "Password field:", Kind::Text,
             "The name of the login form's field that takes the password."},
            {"customPostKey1", "Extra login field 1:", Kind::Text, "Another field of the login form."},
            {"customPostValue1", "Its value:", Kind::Text, ""},
            {"customPostKey2", "Extra login field 2:", Kind::Text, "Another field of the login form."},
            {"customPostValue2", "Its value:", Kind::Text, ""},
            {"customPostKey3", "Extra login field 3:", Kind::Text, "Another field of the login form."},
            {"customPostValue3", "Its value:", Kind::Text, ""},
        }),
        "Requests and login");
    tabs->addTab(makeGroup({
                     {"numberOfThreads", "Requests at once:", Kind::WholeNumber,
                      "How many requests may be waiting for an answer at one time. Fewer is kinder to "
                      "a small server."},
                     {"timeOut", "Time-out (seconds):", Kind::Seconds,
                      "How long to wait for an answer before a link counts as failed."},
                     {"delay", "Delay between requests (seconds):", Kind::Seconds,
                      "A pause before each request, to spare a busy server."},
                 }),
                 "Limits");

    config.ruleTableChanged = [this] { refreshRuleTable(); };
}

QWidget* SettingsForm::makeGroup(const QList<Field>& fields) {
    auto* scroll = new QScrollArea;
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    form->setContentsMargins(16, 12, 16, 12);
    form->setVerticalSpacing(8);
    for (const Field& field : fields)
        addField(form, field);
    scroll->setWidget(page);
    return scroll;
}

void SettingsForm::addField(QFormLayout* form, const Field& field) {
    const QString key = field.key;
    if (field.kind == Kind::Flag) {
        auto* box = new QCheckBox(field.label);
        box->setObjectName(key);
        box->setToolTip(field.tip);
        checkBoxes.insert(key, box);
        form->addRow("", box);
        connect(box, &QCheckBox::toggled, this, [this, key](bool on) { flagToggled(key, on); });
        if (key == "blacklistByRobotsTxt") {
            auto* note =
                new QLabel("Disallowed addresses get the status \"Disallowed by robots.txt\" and no "
                           "request. The preference \"Read robots.txt\" only reads the file, to keep "
                           "disallowed pages out of XML sitemaps; either one makes a crawl read it.");
            note->setObjectName("blacklistByRobotsTxtNote");
            note->setWordWrap(true);
            note->setStyleSheet("color: palette(mid); margin-left: 22px;");
            form->addRow("", note);
        }
        return;
    }
    if (field.kind == Kind::Language) {
        // The choice goes into the site's settings and to the checker at once.
        language = new LanguageChoice;
        language->setToolTip(field.tip);
        language->languageSelected = [this](const QString& name) {
            if (loading)
                return;
            config.changeSetting("language", name);
            if (config.newLanguageSelected)
                config.newLanguageSelected(name);
        };
        form->addRow(field.label, language);
        return;
    }
    auto* edit = new QLineEdit;
    edit->setObjectName(key);
    edit->setToolTip(field.tip);
    if (field.kind == Kind::Password)
        edit->setEchoMode(QLineEdit::PasswordEchoOnEdit);
    if (field.kind == Kind::WholeNumber) {
        // Digits only: a number out of range stays in view with the reason beside it.
        edit->setValidator(new QRegularExpressionValidator(QRegularExpression("\\d{0,9}"), edit));
        edit->setMaximumWidth(120);
    } else if (field.kind == Kind::Seconds) {
        edit->setValidator(
            new QRegularExpressionValidator(QRegularExpression("\\d{0,5}(\\.\\d{0,3})?"), edit));
        edit->setMaximumWidth(120);
    }
    lineEdits.insert(key, edit);
    const Kind kind = field.kind;
    if (kind == Kind::WholeNumber || kind == Kind::Seconds) {
        auto* row = new QWidget;
        auto* h = new QHBoxLayout(row);
        h->setContentsMargins(0, 0, 0, 0);
        h->addWidget(edit);
        auto* hint = new QLabel;
        hint->setObjectName(key + "Hint");
        hint->setStyleSheet("color: #b3261e;");
        // The row keeps its height when the hint comes and goes, so nothing jumps.
        QSizePolicy policy = hint->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        hint->setSizePolicy(policy);
        hint->hide();
        hints.insert(key, hint);
        h->addWidget(hint, 1);
        form->addRow(field.label, row);
        // A number field keeps its last good value until the text is a number again.
        connect(edit, &QLineEdit::textEdited, this, [this, key, kind] { textEdited(key, kind); });
        // Left with a refused number, the field shows again the value the setting kept.
        connect(edit, &QLineEdit::editingFinished, this, [this, key, edit] {
            const QString problem = numberFieldProblem(key, edit->text());
            if (loading)
                return;
            if (problem.isEmpty()) {
                loadedValues.insert(key, edit->text()); // where the next edit starts from
                return;
            }
            edit->setText(config.stringForKey(key));
            hints.value(key)->setText(QString("%1 Kept %2.").arg(problem, config.stringForKey(key)));
        });
    } else {
        form->addRow(field.label, edit);
        connect(edit, &QLineEdit::textEdited, this, [this, key, kind] { textEdited(key, kind); });
    }
}

void SettingsForm::textEdited(const QString& key, Kind kind) {
    if (loading)
        return;
    QLineEdit* edit = lineEdits.value(key);
    if (kind == Kind::WholeNumber || kind == Kind::Seconds) {
        const QString problem = numberFieldProblem(key, edit->text());
        hints.value(key)->setText(problem);
        hints.value(key)->setVisible(!problem.isEmpty());
        if (!problem.isEmpty()) {
            // Digits typed on the way to a refused number were taken one by one ("99" on the way
            // to "99999"); the setting goes back to what it was when this edit began.
            if (config.stringForKey(key) != loadedValues.value(key))
                config.changeSetting(key, loadedValues.value(key));
            return;
        }
    }
    config.changeSetting(key, edit->text());
}

void SettingsForm::flagToggled(const QString& key, bool on) {
    if (loading)
        return;
    if (key == "TrelliumAttemptAuthentication") {
        if (!controller.handleAuthenticationButton(on)) {
            loading = true;
            checkBoxes.value(key)->setChecked(false);
            loading = false;
        }
        return;
    }
    config.changeSetting(key, on ? "YES" : "NO");
    refreshEnabledFields();
}

void SettingsForm::refreshEnabledFields() {
    rules->setEnabled(true);
    for (int row = 0; row < rules->rowCount(); ++row) {
        const bool followRule = row >= config.getCheckBlacklistArray().size();
        for (int c = 0; c < rules->columnCount(); ++c)
            if (QTableWidgetItem* item = rules->item(row, c))
                item->setFlags(followRule && !config.followRuleFieldsEnabled
                                   ? Qt::NoItemFlags
                                   : Qt::ItemIsEnabled | Qt::ItemIsSelectable |
                                         (c == 2 ? Qt::ItemIsEditable : Qt::NoItemFlags));
    }
}

QWidget* SettingsForm::makeRulesPage() {
    auto* page = new QWidget;
    auto* layout = new QVBoxLayout(page);
    layout->setContentsMargins(16, 12, 16, 12);
    auto* intro =
        new QLabel("Rules keep parts of a site out of the crawl. \"Do not check\" skips links whose "
                   "address contains the text; \"Do not follow\" checks pages but doesn't read their "
                   "links; \"Only follow\" reads the links of matching pages only.");
    intro->setWordWrap(true);
    layout->addWidget(intro);

    auto* content = new QCheckBox("Rules also look in page content");
    content->setObjectName("blacklistCheckContent");
    content->setToolTip("\"Do not follow\" and \"Only follow\" also match text inside a page, not only its "
                        "address.");
    checkBoxes.insert("blacklistCheckContent", content);
    connect(content, &QCheckBox::toggled, this,
            [this](bool on) { flagToggled("blacklistCheckContent", on); });
    layout->addWidget(content);

    rules = new QTableWidget(0, 3);
    rules->setObjectName("ruleTable");
    rules->setHorizontalHeaderLabels({"Rule", "Scope", "Text"});
    rules->horizontalHeader()->setStretchLastSection(true);
    rules->verticalHeader()->hide();
    rules->setSelectionBehavior(QAbstractItemView::SelectRows);
    rules->setSelectionMode(QAbstractItemView::SingleSelection);
    layout->addWidget(rules, 1);
    layout->addWidget(new SitemapRulesBox(config), 1);
    // Editing a term deletes the row and appends the new text to the same list.
    connect(rules, &QTableWidget::itemChanged, this, [this](QTableWidgetItem* item) {
        if (loading || item->column() != 2)
            return;
        const int row = item->row();
        const int checks = int(config.getCheckBlacklistArray().size());
        const int follows = int(config.getFollowBlacklistArray().size());
        const QString title = row < checks             ? ruleTitles[0]
                              : row < checks + follows ? ruleTitles[1]
                                                       : ruleTitles[2];
        const QString text = item->text();
        rules->selectRow(row);
        QMetaObject::invokeMethod(
            this,
            [this, title, text] {
                deleteBlacklistRule();
                addBlacklistRule(title, text);
            },
            Qt::QueuedConnection);
    });

    auto* add = new QHBoxLayout;
    ruleTitle = new QComboBox;
    ruleTitle->setObjectName("ruleTitle");
    for (const char* title : ruleTitles)
        ruleTitle->addItem(title);
    ruleTerm = new QLineEdit;
    ruleTerm->setObjectName("ruleTerm");
    ruleTerm->setPlaceholderText("text in the address, such as /private/");
    auto* addButton = new QPushButton("Add Rule");
    addButton->setObjectName("addRule");
    auto* deleteButton = new QPushButton("Delete Rule");
    deleteButton->setObjectName("deleteRule");
    add->addWidget(ruleTitle);
    add->addWidget(ruleTerm, 1);
    add->addWidget(addButton);
    add->addWidget(deleteButton);
    layout->addLayout(add);
    connect(addButton, &QPushButton::clicked, this, [this] {
        addBlacklistRule(ruleTitle->currentText(), ruleTerm->text().trimmed());
        ruleTerm->clear();
    });
    connect(ruleTerm, &QLineEdit::returnPressed, addButton, &QPushButton::click);
    auto* ruleHint = new QLabel;
    ruleHint->setObjectName("ruleHint");
    ruleHint->setWordWrap(true);
    ruleHint->setStyleSheet("color: #b3261e;");
    ruleHint->hide();
    layout->addWidget(ruleHint);
    auto checkTerm = [this, ruleHint] {
        const QString problem = ruleTermProblem(ruleTitle->currentIndex() == 0, ruleTerm->text());
        ruleHint->setText(problem);
        ruleHint->setVisible(!problem.isEmpty());
    };
    connect(ruleTerm, &QLineEdit::textChanged, this, checkTerm);
    connect(ruleTitle, &QComboBox::currentIndexChanged, this, checkTerm);
    connect(deleteButton, &QPushButton::clicked, this, [this] { deleteBlacklistRule(); });
    return page;
}

void SettingsForm::addBlacklistRule(const QString& title, const QString& term) {
    if (!term.isEmpty()) {
        // A comma separates terms in the saved form, so it splits a term in two.
        const QStringList terms = KestConfigManager::trimEachItemInArray(term.split(','));
        if (title == ruleTitles[0])
            config.setCheckBlacklistArray(config.getCheckBlacklistArray() + terms);
        else if (title == ruleTitles[1])
            config.setFollowBlacklistArray(config.getFollowBlacklistArray() + terms);
        else
            config.setFollowWhitelistArray(config.getFollowWhitelistArray() + terms);
        refreshRuleTable();
    }
    config.setDocumentEdited(true);
    if (config.settingsHaveChanged)
        config.settingsHaveChanged();
}

void SettingsForm::deleteBlacklistRule() {
    const int row = rules->currentRow();
    if (row < 0)
        return;
    QStringList checks = config.getCheckBlacklistArray();
    QStringList follows = config.getFollowBlacklistArray();
    QStringList only = config.getFollowWhitelistArray();
    if (row < checks.size()) {
        checks.removeAt(row);
        config.setCheckBlacklistArray(checks);
    } else if (row < checks.size() + follows.size()) {
        follows.removeAt(row - checks.size());
        config.setFollowBlacklistArray(follows);
    } else if (row < checks.size() + follows.size() + only.size()) {
        only.removeAt(row - checks.size() - follows.size());
        config.setFollowWhitelistArray(only);
    } else {
        return;
    }
    refreshRuleTable();
    config.setDocumentEdited(true);
    if (config.settingsHaveChanged)
        config.settingsHaveChanged();
}

void SettingsForm::refreshRuleTable() {
    const bool wasLoading = loading;
    loading = true;
    const QString scope =
        config.flagForKey("blacklistCheckContent") ? "urls and content containing:" : "urls containing:";
    rules->setRowCount(0);
    const QList<const QStringList*> lists = {&config.getCheckBlacklistArray(),
                                             &config.getFollowBlacklistArray(),
                                             &config.getFollowWhitelistArray()};
    for (int l = 0; l < 3; ++l) {
        for (const QString& term : *lists[l]) {
            const int row = rules->rowCount();
            rules->insertRow(row);
            rules->setItem(row, 0, new QTableWidgetItem(ruleTitles[l]));
            rules->setItem(row, 1, new QTableWidgetItem(scope));
            auto* item = new QTableWidgetItem(term);
            // A rule kept from before may be one that never matches, or matches nearly all.
            const QString problem = ruleTermProblem(l == 0, term);
            if (!problem.isEmpty()) {
                item->setToolTip(problem);
                item->setForeground(QColor(0xb3, 0x26, 0x1e));
            }
            rules->setItem(row, 2, item);
        }
    }
    rules->setColumnWidth(0, 120);
    rules->setColumnWidth(1, config.ruleScopeColumnWidth + 80);
    refreshEnabledFields();
    loading = wasLoading;
}

void SettingsForm::load() {
    loading = true;
    const bool selected = config.getSelectedRow() >= 0;
    setEnabled(selected);
    nameField->setText(selected ? config.getNameOfSelectedSite() : QString());
    urlField->setText(selected ? config.getUrlOfSelectedSite() : QString());
    urlHint->hide();
    for (auto it = lineEdits.begin(); it != lineEdits.end(); ++it) {
        it.value()->setText(config.stringForKey(it.key()));
        loadedValues.insert(it.key(), config.stringForKey(it.key()));
        if (QLabel* hint = hints.value(it.key()))
            hint->hide();
    }
    for (auto it = checkBoxes.begin(); it != checkBoxes.end(); ++it)
        it.value()->setChecked(config.flagForKey(it.key()));
    language->showLanguage(config.stringForKey("language"));
    refreshRuleTable();
    loading = false;
}

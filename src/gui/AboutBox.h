#pragma once

#include <QDialog>
#include <QUrl>

// Help > About: the version, and the libraries the program is built on with their licences.
class AboutBox : public QDialog {
    Q_OBJECT
  public:
    explicit AboutBox(QWidget* parent = nullptr);

    // The text shown, rich text.
    static QString text();
    // The README to open from the Help menu: the installed copy, else the one of the source
    // tree the program was built from.
    static QUrl readmeUrl();
};

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

class QIODevice;

// The markup of an XML property list read from a device a chunk at a time, for a reader that
// walks a file of a hundred megabytes once: tags, and element texts with their entities and
// line ends decoded; comments, processing instructions and the doctype are passed over. It is
// not a general XML reader: a property list has no namespaces, no entities of its own and no
// mixed content, and this knows none of them.
//
// Parsing goes in units (a record, say). When a unit runs past the bytes in memory, the
// functions return false with needsMore() set, and the reader calls refill() and parses the
// unit again from its mark: any view handed out before the refill is then stale.
class PlistScanner {
  public:
    struct Tag {
        QByteArrayView name;
        bool closing = false; // </name>
        bool empty = false;   // <name/>
    };

    explicit PlistScanner(QIODevice& device);

    // Reads the first chunk, and turns a file in UTF-16 or another declared encoding into
    // UTF-8 first. False with the error when the device can't be read.
    bool start();

    // The next tag, past whitespace, comments, processing instructions and the doctype.
    bool tag(Tag& tag);
    // The text of the element `name` just opened (not self-closed), up to and with its end tag.
    // The view lasts until the next call.
    bool content(QByteArrayView name, QByteArrayView& text);
    // Passes over the value that `opened` began, whatever it holds.
    bool skip(const Tag& opened, int depth = 0);
    // Nothing but whitespace and comments is left.
    bool atEnd();

    // A unit ran past the bytes in memory: refill() and parse it again.
    bool needsMore() const { return shortInput; }
    qsizetype mark() const { return p - buffer.constData(); }
    // Keeps the bytes from mark on, reads more behind them and puts the cursor back at mark.
    bool refill(qsizetype mark);

    // A fault of the markup, said with its line.
    bool fail(const QString& why);
    bool failed() const { return !errorText.isEmpty(); }
    QString error() const { return errorText; }

  private:
    // True when n more bytes are in memory; at the end of the file a fault, else needsMore().
    bool have(qsizetype n);
    // Fewer than n bytes are in memory and more are to come: needsMore() is set.
    bool shortOf(qsizetype n);
    bool skipMarkup();
    bool skipPast(const char* terminator);
    bool decodeText(QByteArrayView name);
    bool appendEntity(const char*& q);
    qsizetype lineAt(const char* at) const;

    QIODevice& device;
    QByteArray buffer;
    const char* p = nullptr;
    const char* end = nullptr;
    bool atEof = false;
    bool shortInput = false;
    qsizetype linesBefore = 0; // line ends in the bytes already dropped
    QByteArray scratch;        // texts with entities or line ends, decoded
    QString errorText;
};

#pragma once

#include <QString>

// One tag as getTag read it: the text between '<' and '>', and whether a '/' stood in it.
class KestXmlTag {
  public:
    const QString& getData() const { return data; }
    void setData(const QString& text) { data = text; }
    bool isClosing() const { return closing; }
    void setClosing(bool value) { closing = value; }
    bool contains(QLatin1StringView text) const { return data.contains(text, Qt::CaseInsensitive); }
    bool contains(const QString& text) const { return data.contains(text, Qt::CaseInsensitive); }
    void curlUpAndDie() {}

  private:
    QString data;
    bool closing = false;
};

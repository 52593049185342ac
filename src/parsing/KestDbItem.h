#pragma once

#include <QString>

// One leaf of the small four-deep XML record format that getItem reads.
class KestDbItem {
  public:
    const QString& getData() const { return data; }
    const QString& getName() const { return name; }
    const QString& getParentName() const { return parentName; }
    const QString& getGrandParentName() const { return grandParentName; }
    bool isNewParent() const { return newParent; }
    bool isParentClosed() const { return parentClosed; }
    bool isGrandParentClosed() const { return grandParentClosed; }

    void setData(const QString& value) { data = QString(value.constData(), value.size()); }
    void setName(const QString& value) { name = QString(value.constData(), value.size()); }
    void setParentName(const QString& value) { parentName = QString(value.constData(), value.size()); }
    void setGrandParentName(const QString& value) {
        grandParentName = QString(value.constData(), value.size());
    }
    void setNewParent(bool value) { newParent = value; }
    void setParentClosed(bool value) { parentClosed = value; }
    void setGrandParentClosed(bool value) { grandParentClosed = value; }

  private:
    QString data;
    bool grandParentClosed = false;
    QString grandParentName;
    QString name;
    bool newParent = false;
    bool parentClosed = false;
    QString parentName;
};

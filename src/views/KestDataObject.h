#pragma once

#include <QString>
#include <QVariant>

// Base of every row of a results table: an id given by the table, two filter flags and
// the field vocabulary through which views and exports read values.
class KestDataObject {
  public:
    virtual ~KestDataObject() = default;

    virtual bool contains(const QString& term) const;
    virtual QVariant getFieldByName(const QString& key) const;
    virtual double getFieldAsNumberByName(const QString& key) const;
    virtual void releaseAll() {}

    int getID() const { return Id; }
    bool getVisible() const { return visible; }
    bool getVisible2() const { return visible2; }
    void setID(int value) { Id = value; }
    void setVisible(bool value) { visible = value; }
    void setVisible2(bool value) { visible2 = value; }

    // Whether a field sorts as a number rather than as text.
    static bool isNumber(const QString& key);

  private:
    bool visible = true;
    bool visible2 = true;
    int Id = 0;
};

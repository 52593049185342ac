#include "views/KestDataObject.h"

#include <QSet>

bool KestDataObject::contains(const QString&) const {
    return true;
}

QVariant KestDataObject::getFieldByName(const QString&) const {
    return QString();
}

double KestDataObject::getFieldAsNumberByName(const QString&) const {
    return 0.0;
}

bool KestDataObject::isNumber(const QString& key) {
    static const QSet<QString> numeric = {"distancefromhome",  "responsetime",       "loadtime",
                                          "filesize",          "filesizecompressed", "imageqty",
                                          "imageweight",       "totalocurrences",    "ocurrencesinarchive",
                                          "validatorwarnings", "validatorerrors",    "linkcount",
                                          "onpagecount",       "wordcount"};
    return numeric.contains(key);
}

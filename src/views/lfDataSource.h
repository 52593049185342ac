#pragma once

#include "views/KestDataObject.h"

#include <memory>
#include <vector>

// Base of every results table: an ordered collection of shared records, numbered as they arrive.
template <typename Item> class lfDataSource {
  public:
    using ItemPtr = std::shared_ptr<Item>;

    virtual ~lfDataSource() = default;

    // Appends and numbers a record. A limit above zero makes the collection refuse records beyond it.
    virtual void add(const ItemPtr& item) {
        if (!item || (capacityLimit > 0 && collection.size() >= size_t(capacityLimit)))
            return;
        item->setID(++highestId);
        collection.push_back(item);
    }
    virtual void clear() {
        collection.clear();
        highestId = 0;
    }
    // Plain index; out of range gives nothing.
    virtual ItemPtr getnthItem(qsizetype n) const {
        return n >= 0 && size_t(n) < collection.size() ? collection[size_t(n)] : nullptr;
    }
    qsizetype count() const { return qsizetype(collection.size()); }
    int getHighestId() const { return highestId; }
    void setCapacityLimit(qsizetype limit) { capacityLimit = limit; }

  protected:
    std::vector<ItemPtr> collection;
    int highestId = 0;
    qsizetype capacityLimit = 0;
};

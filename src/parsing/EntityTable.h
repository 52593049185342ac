#pragma once

#include <QChar>
#include <span>

// One row of the entity table: the full escape, ampersand and semicolon included, and its
// single UTF-16 code unit.
struct HtmlEntity {
    const char* escape;
    char16_t unit;
};

// The fixed table of 253 rows, searched in order.
std::span<const HtmlEntity> htmlEntityTable();

#include "views/LabelColours.h"

#include "config/Preferences.h"

#include <QString>

namespace {

LabelColour colourWell(const char* statusClass, const Preferences& preferences) {
    auto component = [&](const char* name) {
        return preferences.value(QString("Lorrane%1Colour%2").arg(statusClass, name)).toDouble();
    };
    return {component("R"), component("G"), component("B"), component("A")};
}

std::optional<LabelColour> wellForConstant(int constant, const Preferences& preferences) {
    static const char* const classes[] = {"2xx", "3xx", "4xx", "5xx"};
    if (constant < 1 || constant > 4)
        return std::nullopt;
    return colourWell(classes[constant - 1], preferences);
}

} // namespace

std::optional<LabelColour> KestLabelColours::rowColourForConstant(int constant,
                                                                  const Preferences& preferences) {
    if (!preferences.boolValue("LorraneDisplayLabels"))
        return std::nullopt;
    return wellForConstant(constant, preferences);
}

LabelColour KestLabelColours::labelColorForConstant(int constant, const Preferences& preferences) {
    return wellForConstant(constant, preferences).value_or(colorWellNone());
}

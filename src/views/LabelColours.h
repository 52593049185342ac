#pragma once

#include <optional>

class Preferences;

// A row colour, calibrated RGB with alpha, each component from 0 to 1.
struct LabelColour {
    double red = 0, green = 0, blue = 0, alpha = 1;
    bool operator==(const LabelColour&) const = default;
};

// The status classes' colours, read live from the preferences.
class KestLabelColours {
  public:
    // Row colour of a label constant: 1 to 4 the 2xx to 5xx colours, anything else none;
    // none for every constant while LorraneDisplayLabels is off.
    static std::optional<LabelColour> rowColourForConstant(int constant, const Preferences& preferences);
    // The highlighting's mapping: 1 to 4 as above, anything else the colorWellNone colour.
    static LabelColour labelColorForConstant(int constant, const Preferences& preferences);
    static LabelColour colorWellNone() { return {1, 1, 1, 0}; }
};

#pragma once

#include <QString>
#include <bitset>
#include <optional>

// A set of HTTP status codes as a user writes it: single codes, ranges and classes, separated
// by commas, e.g. "200..299,403" or "429,5xx".
class StatusCodeSet {
  public:
    // Nothing when the text is not such a list.
    static std::optional<StatusCodeSet> parse(const QString& text);
    bool contains(int code) const {
        return code >= 0 && code < int(codes.size()) && codes.test(size_t(code));
    }
    // The code a status text begins with ("404 not found < 301 moved permanently" gives 404),
    // 0 when it begins with no three-digit code (failures, "Not checked", ...).
    static int leadingCode(const QString& status);

  private:
    std::bitset<1000> codes;
};

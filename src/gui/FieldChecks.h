#pragma once

#include <QString>

// Checks that a form runs as the person types, each giving the reason a value can't be used,
// or an empty text when it can.

// A site's starting URL, read as the crawl will read it: the scheme must be one the crawl
// can fetch, a web address needs a valid host, and a local file or folder must exist.
QString startingUrlProblem(const QString& text);

// A term of a rule of one character: "Do not check" skips it, so it never matches; the
// follow rules match it in nearly every address.
QString ruleTermProblem(bool doNotCheck, const QString& term);

// A number typed into a field with a range; `whole` refuses a fraction. The reason names the
// range, and the text typed when it lies outside.
QString numberProblem(const QString& text, double minimum, double maximum, bool whole,
                      bool minimumExcluded = false);

#include "crawl/LinkCheckerUrl.h"

#include "reports/PageArchive.h"

#include <algorithm>

bool LinkCheckerUrl::countSEOTerm(const QString& term) {
    ocurrencesInUrl = countOcurrencesOfStringInString(term, getActualLinkUrl());
    ocurrencesInTitle = countOcurrencesOfStringInString(term, linkPageTitle);
    ocurrencesInDescription = countOcurrencesOfStringInString(term, metaDescription);
    ocurrencesInHeadings = countOcurrencesOfStringInString(term, headings);
    ocurrencesInKeywords = countOcurrencesOfStringInString(term, keywords);
    // The archived page holds the head's elements too; what is left is the rest of its text.
    // The URL is not part of the page, so its count stays.
    ocurrencesInArchive =
        std::max(0, countOcurrencesOfStringInArchive(term) - ocurrencesInTitle - ocurrencesInDescription -
                        ocurrencesInHeadings - ocurrencesInKeywords);
    totalOcurrences = ocurrencesInUrl + ocurrencesInTitle + ocurrencesInDescription + ocurrencesInHeadings +
                      ocurrencesInKeywords + ocurrencesInArchive;
    return totalOcurrences != 0;
}

int LinkCheckerUrl::countOcurrencesOfStringInArchive(const QString& term) const {
    return PageArchive::countOcurrencesOfStringInArchive(getActualLinkUrl(), term);
}

bool LinkCheckerUrl::archiveContainsOneOfTheseTerms(const QStringList& terms) const {
    return PageArchive::archiveContainsOneOfTheseTerms(getActualLinkUrl(), terms);
}

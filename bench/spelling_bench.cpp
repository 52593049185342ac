// Words checked per second by the page walks of the spelling and grammar checks, over real
// English prose (the GPL's plain text from Debian's common licences) and over a small repeated
// vocabulary as the generated benchmark sites have.
#include "parsing/KestParser.h"
#include "platform/SpellChecker.h"

#include <QFile>
#include <QLoggingCategory>
#include <benchmark/benchmark.h>

namespace {

QByteArray prose() {
    QFile file("/usr/share/common-licenses/GPL-3");
    QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    text.replace('<', ' ').replace('>', ' ').replace('&', ' ');
    return "<html><head><title>GPL</title></head>\n<body><p>" + text + "</p></body></html>";
}

QByteArray vocabulary() {
    QByteArray body;
    const char* words[] = {"site", "page", "links", "about", "contact", "news", "the", "and", "of", "qwzx"};
    for (int i = 0; i < 5000; ++i)
        body += QByteArray(words[i % 10]) + (i % 12 == 11 ? ". " : " ");
    return "<html><head><title>gen</title></head>\n<body><p>" + body + "</p></body></html>";
}

void run(benchmark::State& state, const QByteArray& page, bool grammar) {
    QLoggingCategory::setFilterRules("*.info=false");
    SpellChecker::sharedSpellChecker().setLanguage("en_US");
    auto parser =
        KestParser::initWithDataWithuserAgentStringWithSEOCachePageCheckNoIndexCheckNofollowUseEncoding(
            page, QString(), false, false, false, false, 4);
    const qint64 words = parser->getTextContent().split(' ', Qt::SkipEmptyParts).size();
    for (auto _ : state)
        benchmark::DoNotOptimize(grammar ? parser->getGrammarCount() : parser->getSpellingCount());
    state.counters["words/s"] =
        benchmark::Counter(double(words), benchmark::Counter::kIsIterationInvariantRate);
}

void BM_SpellingProse(benchmark::State& state) {
    run(state, prose(), false);
}
void BM_GrammarProse(benchmark::State& state) {
    run(state, prose(), true);
}
void BM_SpellingVocabulary(benchmark::State& state) {
    run(state, vocabulary(), false);
}
void BM_GrammarVocabulary(benchmark::State& state) {
    run(state, vocabulary(), true);
}

} // namespace

BENCHMARK(BM_SpellingProse)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GrammarProse)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_SpellingVocabulary)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GrammarVocabulary)->Unit(benchmark::kMillisecond)->Iterations(1);

#pragma once

#include <QtGlobal>
#include <vector>

// Where the bytes the reader looks for stand in one page: one bit per byte and kind, 64 bytes to
// a word. Built in one pass when the page is set, it turns "find the next '<'" or "count the
// words up to there" into a look at 64 bytes at a time. It only answers questions about the
// bytes; the reader's cursor rules stay where they are.
class PageIndex {
  public:
    enum Kind : unsigned {
        Lt = 1,
        Gt = 2,
        Slash = 4,
        Nul = 8,
        High = 16, // bytes from 0x80 up
        // Bytes that make or continue a word outside brackets: all but 1 to 38 and '>'.
        Word = 32,
    };

    // Best uses AVX2 where the processor has it, else SSE2 where built for it, else plain code;
    // the others are there so that tests can hold each way against the plain one.
    enum class Way { Best, Sse2, Plain };
    void build(const char* bytes, quint64 length, Way way = Way::Best);

    // The first position in [from, to) holding a byte of one of `kinds`, or `to`.
    quint64 next(unsigned kinds, quint64 from, quint64 to) const;
    // One past the last position in [from, to) holding a byte of one of `kinds`, or `from`.
    quint64 afterLast(unsigned kinds, quint64 from, quint64 to) const;
    bool has(Kind kind, quint64 at) const { return (bitsOf(blocks[at >> 6], kind) >> (at & 63)) & 1; }
    // Words that start in [from, to), a stretch outside brackets with no '<': a word starts at
    // each word byte that follows a byte that is not one; `wordBefore` stands for the byte
    // before `from`.
    qint32 wordStarts(quint64 from, quint64 to, bool wordBefore) const {
        if (from >= to)
            return 0;
        if ((from >> 6) != ((to - 1) >> 6))
            return wordStartsAcrossBlocks(from, to, wordBefore);
        // Most runs of text lie within one block.
        const quint64 word = blocks[from >> 6].word;
        const quint64 at = 1ull << (from & 63);
        const quint64 before = wordBefore ? (word << 1) | at : (word << 1) & ~at;
        const quint64 range = ~(at - 1) & (~0ull >> (63 - ((to - 1) & 63)));
        return bitCount(word & ~before & range);
    }

    struct Block {
        quint64 lt = 0, gt = 0, slash = 0, nul = 0, high = 0, word = 0;
    };

  private:
    qint32 wordStartsAcrossBlocks(quint64 from, quint64 to, bool wordBefore) const;
    // Without a popcount instruction in the baseline target the builtin becomes a library call.
    static qint32 bitCount(quint64 x) {
        x = x - ((x >> 1) & 0x5555555555555555ull);
        x = (x & 0x3333333333333333ull) + ((x >> 2) & 0x3333333333333333ull);
        x = (x + (x >> 4)) & 0x0F0F0F0F0F0F0F0Full;
        return static_cast<qint32>((x * 0x0101010101010101ull) >> 56);
    }
    static quint64 bitsOf(const Block& block, unsigned kinds) {
        quint64 bits = 0;
        if (kinds & Lt)
            bits |= block.lt;
        if (kinds & Gt)
            bits |= block.gt;
        if (kinds & Slash)
            bits |= block.slash;
        if (kinds & Nul)
            bits |= block.nul;
        if (kinds & High)
            bits |= block.high;
        if (kinds & Word)
            bits |= block.word;
        return bits;
    }

    std::vector<Block> blocks;
};

inline quint64 PageIndex::next(unsigned kinds, quint64 from, quint64 to) const {
    if (from >= to)
        return to;
    quint64 block = from >> 6;
    const quint64 lastBlock = (to - 1) >> 6;
    quint64 bits = bitsOf(blocks[block], kinds) & (~0ull << (from & 63));
    while (!bits) {
        if (++block > lastBlock)
            return to;
        bits = bitsOf(blocks[block], kinds);
    }
    const quint64 at = (block << 6) + static_cast<quint64>(__builtin_ctzll(bits));
    return at < to ? at : to;
}

inline quint64 PageIndex::afterLast(unsigned kinds, quint64 from, quint64 to) const {
    if (from >= to)
        return from;
    quint64 block = (to - 1) >> 6;
    const quint64 firstBlock = from >> 6;
    quint64 bits = bitsOf(blocks[block], kinds) & (~0ull >> (63 - ((to - 1) & 63)));
    while (!bits) {
        if (block == firstBlock)
            return from;
        bits = bitsOf(blocks[--block], kinds);
    }
    const quint64 at = (block << 6) + 63 - static_cast<quint64>(__builtin_clzll(bits));
    return at >= from ? at + 1 : from;
}

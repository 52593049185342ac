#include "parsing/PageIndex.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif
// AVX2 only where the processor has it, asked at run time; the build stays baseline x86-64.
#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define PAGE_INDEX_AVX2 1
#include <immintrin.h>
#endif

namespace {

bool isWordByte(signed char c) {
    return (c <= 0 || c >= 39) && c != '>';
}

#ifdef PAGE_INDEX_AVX2
__attribute__((target("avx2"))) inline quint64 bitsOf256(int shift, __m256i matches) {
    return static_cast<quint64>(static_cast<unsigned>(_mm256_movemask_epi8(matches))) << shift;
}

// Whole blocks from `from`, 32 bytes a step; returns where it stopped.
__attribute__((target("avx2"))) quint64 buildBlocksAvx2(PageIndex::Block* blocks, const char* bytes,
                                                        quint64 from, quint64 length) {
    const __m256i lt = _mm256_set1_epi8('<');
    const __m256i gt = _mm256_set1_epi8('>');
    const __m256i slash = _mm256_set1_epi8('/');
    const __m256i zero = _mm256_setzero_si256();
    const __m256i one = _mm256_set1_epi8(1);
    const __m256i lastSeparator = _mm256_set1_epi8(37); // bytes 1 to 38, less one
    quint64 i = from;
    for (; length - i >= 64; i += 64) {
        PageIndex::Block& block = blocks[i >> 6];
        for (int part = 0; part < 2; ++part) {
            const __m256i v = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + i + 32 * part));
            const int shift = 32 * part;
            const __m256i isGt = _mm256_cmpeq_epi8(v, gt);
            const __m256i less = _mm256_sub_epi8(v, one);
            const __m256i separator = _mm256_cmpeq_epi8(_mm256_min_epu8(less, lastSeparator), less);
            block.lt |= bitsOf256(shift, _mm256_cmpeq_epi8(v, lt));
            block.gt |= bitsOf256(shift, isGt);
            block.slash |= bitsOf256(shift, _mm256_cmpeq_epi8(v, slash));
            block.nul |= bitsOf256(shift, _mm256_cmpeq_epi8(v, zero));
            block.high |= bitsOf256(shift, v);
            block.word |= ~bitsOf256(shift, _mm256_or_si256(separator, isGt)) & (0xFFFFFFFFull << shift);
        }
    }
    return i;
}
#endif

#ifdef __SSE2__
quint64 buildBlocksSse2(PageIndex::Block* blocks, const char* bytes, quint64 from, quint64 length) {
    const __m128i lt = _mm_set1_epi8('<');
    const __m128i gt = _mm_set1_epi8('>');
    const __m128i slash = _mm_set1_epi8('/');
    const __m128i zero = _mm_setzero_si128();
    const __m128i one = _mm_set1_epi8(1);
    const __m128i lastSeparator = _mm_set1_epi8(37); // bytes 1 to 38, less one
    quint64 i = from;
    for (; length - i >= 64; i += 64) {
        PageIndex::Block& block = blocks[i >> 6];
        for (int part = 0; part < 4; ++part) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i + 16 * part));
            const int shift = 16 * part;
            auto bitsOf = [shift](__m128i matches) {
                return static_cast<quint64>(static_cast<unsigned>(_mm_movemask_epi8(matches))) << shift;
            };
            const __m128i isGt = _mm_cmpeq_epi8(v, gt);
            const __m128i less = _mm_sub_epi8(v, one);
            const __m128i separator = _mm_cmpeq_epi8(_mm_min_epu8(less, lastSeparator), less);
            block.lt |= bitsOf(_mm_cmpeq_epi8(v, lt));
            block.gt |= bitsOf(isGt);
            block.slash |= bitsOf(_mm_cmpeq_epi8(v, slash));
            block.nul |= bitsOf(_mm_cmpeq_epi8(v, zero));
            block.high |= bitsOf(v);
            block.word |= ~bitsOf(_mm_or_si128(separator, isGt)) & (0xFFFFull << shift);
        }
    }
    return i;
}
#endif

} // namespace

void PageIndex::build(const char* bytes, quint64 length, Way way) {
    blocks.assign(static_cast<size_t>((length + 63) / 64), Block{});
    quint64 i = 0;
#ifdef PAGE_INDEX_AVX2
    static const bool hasAvx2 = __builtin_cpu_supports("avx2");
    if (way == Way::Best && hasAvx2)
        i = buildBlocksAvx2(blocks.data(), bytes, i, length);
#endif
#ifdef __SSE2__
    if (way != Way::Plain)
        i = buildBlocksSse2(blocks.data(), bytes, i, length);
#endif
    for (; i < length; ++i) {
        Block& block = blocks[static_cast<size_t>(i >> 6)];
        const quint64 bit = 1ull << (i & 63);
        const signed char c = static_cast<signed char>(bytes[i]);
        block.lt |= c == '<' ? bit : 0;
        block.gt |= c == '>' ? bit : 0;
        block.slash |= c == '/' ? bit : 0;
        block.nul |= c == 0 ? bit : 0;
        block.high |= c < 0 ? bit : 0;
        block.word |= isWordByte(c) ? bit : 0;
    }
}

qint32 PageIndex::wordStartsAcrossBlocks(quint64 from, quint64 to, bool wordBefore) const {
    const quint64 first = from >> 6;
    const quint64 last = (to - 1) >> 6;
    qint32 starts = 0;
    quint64 carry = 0; // the word bit of the byte before the block
    for (quint64 b = first; b <= last; ++b) {
        const quint64 word = blocks[static_cast<size_t>(b)].word;
        quint64 before = (word << 1) | carry;
        carry = word >> 63;
        quint64 range = ~0ull;
        if (b == first) {
            const quint64 at = 1ull << (from & 63);
            range &= ~(at - 1);
            before = wordBefore ? before | at : before & ~at;
        }
        if (b == last)
            range &= ~0ull >> (63 - ((to - 1) & 63));
        starts += bitCount(word & ~before & range);
    }
    return starts;
}

#include "orna/ipl/demosaic.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace orna::ipl::detail {

namespace {

inline uint8_t Avg(uint8_t a, uint8_t b)
{
    return static_cast<uint8_t>((unsigned(a) + unsigned(b) + 1) >> 1);
}

// One pixel with mirrored neighbours; used for the borders and as the reference of the vector path.
inline void Pixel(const uint8_t* above, const uint8_t* row, const uint8_t* below, uint8_t* out, uint32_t w, uint32_t x,
                  bool redRow, bool colourAtEven, bool rgbOrder)
{
    const uint32_t l = x == 0 ? 1 : x - 1;
    const uint32_t r = x + 1 == w ? w - 2 : x + 1;
    const uint8_t c = row[x];
    const uint8_t vert = Avg(above[x], below[x]);
    const uint8_t horiz = Avg(row[l], row[r]);
    const uint8_t diag = Avg(Avg(above[l], above[r]), Avg(below[l], below[r]));
    const uint8_t cross = Avg(vert, horiz);
    const bool colour = ((x & 1) == 0) == colourAtEven;
    uint8_t red, green, blue;
    if (colour)
    {
        green = cross;
        red = redRow ? c : diag;
        blue = redRow ? diag : c;
    }
    else
    {
        green = c;
        red = redRow ? horiz : vert;
        blue = redRow ? vert : horiz;
    }
    out[4 * x + 0] = rgbOrder ? red : blue;
    out[4 * x + 1] = green;
    out[4 * x + 2] = rgbOrder ? blue : red;
    out[4 * x + 3] = 255;
}

#if defined(__x86_64__)
bool HasAvx2()
{
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}

__attribute__((target("avx2"))) inline __m256i Load(const uint8_t* p)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

// 32 pixels from x on; reads columns x-1 .. x+32 of the three rows.
__attribute__((target("avx2"))) inline void Block(const uint8_t* above, const uint8_t* row, const uint8_t* below,
                                                  uint8_t* out, uint32_t x, __m256i colourMask, bool redRow,
                                                  bool rgbOrder)
{
    const __m256i c = Load(row + x);
    const __m256i vert = _mm256_avg_epu8(Load(above + x), Load(below + x));
    const __m256i horiz = _mm256_avg_epu8(Load(row + x - 1), Load(row + x + 1));
    const __m256i diag = _mm256_avg_epu8(_mm256_avg_epu8(Load(above + x - 1), Load(above + x + 1)),
                                         _mm256_avg_epu8(Load(below + x - 1), Load(below + x + 1)));
    const __m256i cross = _mm256_avg_epu8(vert, horiz);
    const __m256i green = _mm256_blendv_epi8(c, cross, colourMask);
    const __m256i own = _mm256_blendv_epi8(horiz, c, colourMask);     // the colour of this row
    const __m256i other = _mm256_blendv_epi8(vert, diag, colourMask); // the other colour
    const __m256i red = redRow ? own : other;
    const __m256i blue = redRow ? other : own;
    const __m256i first = rgbOrder ? red : blue;
    const __m256i third = rgbOrder ? blue : red;
    const __m256i alpha = _mm256_set1_epi8(static_cast<char>(0xFF));
    const __m256i fgLo = _mm256_unpacklo_epi8(first, green), fgHi = _mm256_unpackhi_epi8(first, green);
    const __m256i taLo = _mm256_unpacklo_epi8(third, alpha), taHi = _mm256_unpackhi_epi8(third, alpha);
    const __m256i p0 = _mm256_unpacklo_epi16(fgLo, taLo); // pixels 0-3 | 16-19
    const __m256i p1 = _mm256_unpackhi_epi16(fgLo, taLo); // 4-7 | 20-23
    const __m256i p2 = _mm256_unpacklo_epi16(fgHi, taHi); // 8-11 | 24-27
    const __m256i p3 = _mm256_unpackhi_epi16(fgHi, taHi); // 12-15 | 28-31
    __m256i* o = reinterpret_cast<__m256i*>(out + 4 * size_t(x));
    _mm256_storeu_si256(o + 0, _mm256_permute2x128_si256(p0, p1, 0x20));
    _mm256_storeu_si256(o + 1, _mm256_permute2x128_si256(p2, p3, 0x20));
    _mm256_storeu_si256(o + 2, _mm256_permute2x128_si256(p0, p1, 0x31));
    _mm256_storeu_si256(o + 3, _mm256_permute2x128_si256(p2, p3, 0x31));
}

__attribute__((target("avx2"))) uint32_t RowAvx2(const uint8_t* above, const uint8_t* row, const uint8_t* below,
                                                 uint8_t* out, uint32_t w, bool redRow, bool colourAtEven,
                                                 bool rgbOrder)
{
    // Blocks start at odd x (1, 33, ...): lane i is a colour site when x + i is even for colourAtEven.
    alignas(32) uint8_t mask[32];
    for (int i = 0; i < 32; ++i)
        mask[i] = (((1 + i) & 1) == 0) == colourAtEven ? 0xFF : 0x00;
    const __m256i colourMask = _mm256_load_si256(reinterpret_cast<const __m256i*>(mask));
    uint32_t x = 1;
    for (; x + 33 <= w; x += 32)
        Block(above, row, below, out, x, colourMask, redRow, rgbOrder);
    return x;
}
#endif

#if defined(__x86_64__)
__attribute__((target("avx2"))) uint32_t CompactAvx2(const uint8_t* in, uint8_t* out, uint32_t w)
{
    const __m128i shuffle = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    uint32_t x = 0;
    // 4 pixels per 16-byte store, of which 12 bytes count; the next store overwrites the other 4, so the
    // loop keeps one block of room before the row end.
    for (; x + 8 <= w; x += 4)
    {
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 4 * size_t(x)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 3 * size_t(x)), _mm_shuffle_epi8(v, shuffle));
    }
    return x;
}
#endif

} // namespace

void CompactRow4To3(const uint8_t* in, uint8_t* out, uint32_t w)
{
    uint32_t x = 0;
#if defined(__x86_64__)
    if (HasAvx2())
        x = CompactAvx2(in, out, w);
#endif
    for (; x < w; ++x)
    {
        out[3 * x] = in[4 * x];
        out[3 * x + 1] = in[4 * x + 1];
        out[3 * x + 2] = in[4 * x + 2];
    }
}

void BayerRowKind(BayerPattern pattern, uint32_t y, bool& redRow, bool& colourAtEven)
{
    const bool even = (y & 1) == 0;
    switch (pattern)
    {
    case BayerPattern::RG:
        redRow = even, colourAtEven = even;
        break;
    case BayerPattern::BG:
        redRow = !even, colourAtEven = even;
        break;
    case BayerPattern::GR:
        redRow = even, colourAtEven = !even;
        break;
    case BayerPattern::GB:
        redRow = !even, colourAtEven = !even;
        break;
    case BayerPattern::None:
        redRow = true, colourAtEven = true;
        break;
    }
}

void DemosaicRowBGRA8(const uint8_t* above, const uint8_t* row, const uint8_t* below, uint8_t* out, uint32_t w,
                      bool redRow, bool colourAtEven, bool rgbOrder)
{
    uint32_t x = 1;
#if defined(__x86_64__)
    if (HasAvx2())
        x = RowAvx2(above, row, below, out, w, redRow, colourAtEven, rgbOrder);
#endif
    Pixel(above, row, below, out, w, 0, redRow, colourAtEven, rgbOrder);
    for (; x < w; ++x)
        Pixel(above, row, below, out, w, x, redRow, colourAtEven, rgbOrder);
}

} // namespace orna::ipl::detail

// Compiled with -O3 (see CMakeLists.txt): the group loops below are written so that the compiler can
// keep each group in registers and vectorise the shifts. 64-bit loads read up to 2 bytes beyond a group,
// so the main loops stop while 8 bytes still remain and the tails read byte by byte.
#include "orna/ipl/unpack.h"

#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#define ORNA_IPL_X86 1
#else
#define ORNA_IPL_X86 0
#endif

namespace orna::ipl::unpack {

namespace {

inline uint64_t Load64(const uint8_t* p)
{
    uint64_t v;
    std::memcpy(&v, p, sizeof(v));
    return v; // little-endian host (x86-64, aarch64)
}

template <typename Out, int Bits> inline Out Narrow(uint32_t value)
{
    if constexpr (sizeof(Out) == 1)
        return static_cast<Out>(value >> (Bits - 8));
    else
        return static_cast<Out>(value);
}

// PFNC 10p: continuous LSB-first stream, 4 pixels in 5 bytes.
template <typename Out> void P10(const uint8_t* src, Out* dst, size_t n)
{
    const size_t groups = n / 4;
    const size_t srcBytes = (n * 10 + 7) / 8;
    size_t g = 0;
    // A 64-bit load at group g reads bytes 5g..5g+7.
    for (; g < groups && 5 * g + 8 <= srcBytes; ++g)
    {
        const uint64_t v = Load64(src + 5 * g);
        Out* d = dst + 4 * g;
        d[0] = Narrow<Out, 10>(static_cast<uint32_t>(v) & 0x3FF);
        d[1] = Narrow<Out, 10>(static_cast<uint32_t>(v >> 10) & 0x3FF);
        d[2] = Narrow<Out, 10>(static_cast<uint32_t>(v >> 20) & 0x3FF);
        d[3] = Narrow<Out, 10>(static_cast<uint32_t>(v >> 30) & 0x3FF);
    }
    for (size_t i = 4 * g; i < n; ++i)
    {
        const size_t bit = i * 10;
        const size_t byte = bit / 8;
        uint32_t v = src[byte];
        if (byte + 1 < srcBytes)
            v |= uint32_t{src[byte + 1]} << 8;
        dst[i] = Narrow<Out, 10>((v >> (bit % 8)) & 0x3FF);
    }
}

// PFNC 12p: continuous LSB-first stream, 2 pixels in 3 bytes.
template <typename Out> void P12(const uint8_t* src, Out* dst, size_t n)
{
    const size_t quads = n / 4; // 4 pixels in 6 bytes
    const size_t srcBytes = (n * 12 + 7) / 8;
    size_t q = 0;
    for (; q < quads && 6 * q + 8 <= srcBytes; ++q)
    {
        const uint64_t v = Load64(src + 6 * q);
        Out* d = dst + 4 * q;
        d[0] = Narrow<Out, 12>(static_cast<uint32_t>(v) & 0xFFF);
        d[1] = Narrow<Out, 12>(static_cast<uint32_t>(v >> 12) & 0xFFF);
        d[2] = Narrow<Out, 12>(static_cast<uint32_t>(v >> 24) & 0xFFF);
        d[3] = Narrow<Out, 12>(static_cast<uint32_t>(v >> 36) & 0xFFF);
    }
    for (size_t i = 4 * q; i < n; ++i)
    {
        const size_t byte = i * 12 / 8;
        uint32_t v = src[byte];
        if (byte + 1 < srcBytes)
            v |= uint32_t{src[byte + 1]} << 8;
        dst[i] = Narrow<Out, 12>((i % 2 == 0 ? v : v >> 4) & 0xFFF);
    }
}

// Vendor g40: bytes 0..3 = bits 9..2 of pixels 0..3, byte 4 = the 2-bit remainders, pixel 0 lowest.
template <typename Out> void G40(const uint8_t* src, Out* dst, size_t n)
{
    const size_t groups = n / 4;
    for (size_t g = 0; g < groups; ++g)
    {
        const uint8_t* s = src + 5 * g;
        const uint32_t low = s[4];
        Out* d = dst + 4 * g;
        d[0] = Narrow<Out, 10>((uint32_t{s[0]} << 2) | (low & 3));
        d[1] = Narrow<Out, 10>((uint32_t{s[1]} << 2) | ((low >> 2) & 3));
        d[2] = Narrow<Out, 10>((uint32_t{s[2]} << 2) | ((low >> 4) & 3));
        d[3] = Narrow<Out, 10>((uint32_t{s[3]} << 2) | ((low >> 6) & 3));
    }
    // A partial last group still occupies five bytes (see CalculateStorageSizeOfPixels).
    for (size_t i = 4 * groups; i < n; ++i)
    {
        const uint8_t* s = src + 5 * groups;
        const size_t k = i % 4;
        dst[i] = Narrow<Out, 10>((uint32_t{s[k]} << 2) | ((s[4] >> (2 * k)) & 3));
    }
}

// Vendor g24: bytes 0..1 = bits 11..4 of pixels 0..1, byte 2 = the 4-bit remainders, pixel 0 lowest.
template <typename Out> void G24(const uint8_t* src, Out* dst, size_t n)
{
    const size_t pairs = n / 2;
    for (size_t p = 0; p < pairs; ++p)
    {
        const uint8_t* s = src + 3 * p;
        const uint32_t low = s[2];
        dst[2 * p] = Narrow<Out, 12>((uint32_t{s[0]} << 4) | (low & 0xF));
        dst[2 * p + 1] = Narrow<Out, 12>((uint32_t{s[1]} << 4) | (low >> 4));
    }
    if (n % 2)
    {
        const uint8_t* s = src + 3 * pairs;
        dst[n - 1] = Narrow<Out, 12>((uint32_t{s[0]} << 4) | (s[2] & 0xF));
    }
}

// --- AVX2 paths for the PFNC streams (chosen at run time; the loops above remain the reference and
// handle the tails). Each step reads 32 bytes at most from the current group, so a step runs only while
// that many bytes remain inside the buffer.
#if ORNA_IPL_X86
// 12p: 16 pixels from 24 bytes. Each 128-bit lane gets 12 bytes (8 pixels); pixel 2j takes bytes 3j,3j+1,
// pixel 2j+1 bytes 3j+1,3j+2; even pixels keep the low 12 bits, odd pixels drop the low 4.
__attribute__((target("avx2"))) inline __m256i P12Step(const uint8_t* s)
{
    const __m256i bytes =
        _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(s + 12), reinterpret_cast<const __m128i*>(s));
    const __m256i shuffle = _mm256_setr_epi8(0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11, 0, 1, 1, 2, 3, 4, 4, 5,
                                             6, 7, 7, 8, 9, 10, 10, 11);
    const __m256i words = _mm256_shuffle_epi8(bytes, shuffle);
    const __m256i even = _mm256_and_si256(words, _mm256_set1_epi16(0x0FFF));
    const __m256i odd = _mm256_srli_epi16(words, 4);
    return _mm256_blend_epi16(even, odd, 0xAA);
}

// 10p: 16 pixels from 20 bytes, 10 bytes (8 pixels) per lane. Pixel k sits at bit 10k: bytes 5k/4 and the
// next, shifted by 0, 2, 4, 6. A multiply by 2^(6-shift) moves the 10 bits to the top, a shift by 6 down.
__attribute__((target("avx2"))) inline __m256i P10Step(const uint8_t* s)
{
    const __m256i bytes =
        _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(s + 10), reinterpret_cast<const __m128i*>(s));
    const __m256i shuffle = _mm256_setr_epi8(0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9, 0, 1, 1, 2, 2, 3, 3, 4, 5,
                                             6, 6, 7, 7, 8, 8, 9);
    const __m256i words = _mm256_shuffle_epi8(bytes, shuffle);
    const __m256i scale = _mm256_setr_epi16(64, 16, 4, 1, 64, 16, 4, 1, 64, 16, 4, 1, 64, 16, 4, 1);
    return _mm256_srli_epi16(_mm256_mullo_epi16(words, scale), 6);
}

template <int Bits, typename Out>
__attribute__((target("avx2"))) size_t StreamAvx2(const uint8_t* src, Out* dst, size_t n)
{
    constexpr size_t kBytes = Bits == 12 ? 24 : 20; // per 16 pixels
    const size_t srcBytes = (n * Bits + 7) / 8;
    size_t i = 0, at = 0;
    // Two steps at a time for the 8-bit form (one 32-byte store).
    if constexpr (sizeof(Out) == 1)
    {
        for (; i + 32 <= n && at + kBytes + 32 <= srcBytes; i += 32, at += 2 * kBytes)
        {
            __m256i a = Bits == 12 ? P12Step(src + at) : P10Step(src + at);
            __m256i b = Bits == 12 ? P12Step(src + at + kBytes) : P10Step(src + at + kBytes);
            a = _mm256_srli_epi16(a, Bits - 8);
            b = _mm256_srli_epi16(b, Bits - 8);
            const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(a, b), 0xD8);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), packed);
        }
    }
    else
    {
        for (; i + 16 <= n && at + 32 <= srcBytes; i += 16, at += kBytes)
        {
            const __m256i v = Bits == 12 ? P12Step(src + at) : P10Step(src + at);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), v);
        }
    }
    return i; // a multiple of 16 pixels: the scalar code goes on from a group boundary
}

bool HasAvx2()
{
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}
#endif

template <int Bits, typename Out> void Stream(const uint8_t* src, Out* dst, size_t n)
{
    size_t done = 0;
#if ORNA_IPL_X86
    if (HasAvx2())
        done = StreamAvx2<Bits>(src, dst, n);
#endif
    const uint8_t* s = src + done * Bits / 8;
    if constexpr (Bits == 12)
        P12(s, dst + done, n - done);
    else
        P10(s, dst + done, n - done);
}

} // namespace

void P10To16(const uint8_t* src, uint16_t* dst, size_t n)
{
    Stream<10>(src, dst, n);
}
void P10To8(const uint8_t* src, uint8_t* dst, size_t n)
{
    Stream<10>(src, dst, n);
}
void P12To16(const uint8_t* src, uint16_t* dst, size_t n)
{
    Stream<12>(src, dst, n);
}
void P12To8(const uint8_t* src, uint8_t* dst, size_t n)
{
    Stream<12>(src, dst, n);
}
void G40To16(const uint8_t* src, uint16_t* dst, size_t n)
{
    G40(src, dst, n);
}
void G40To8(const uint8_t* src, uint8_t* dst, size_t n)
{
    G40(src, dst, n);
}
void G24To16(const uint8_t* src, uint16_t* dst, size_t n)
{
    G24(src, dst, n);
}
void G24To8(const uint8_t* src, uint8_t* dst, size_t n)
{
    G24(src, dst, n);
}

void P32To16(const uint8_t* src, uint16_t* dst, size_t n)
{
    for (size_t i = 0; i < n; ++i)
    {
        uint32_t w;
        std::memcpy(&w, src + 4 * i, 4);
        dst[3 * i] = static_cast<uint16_t>(w & 0x3FF);
        dst[3 * i + 1] = static_cast<uint16_t>((w >> 10) & 0x3FF);
        dst[3 * i + 2] = static_cast<uint16_t>((w >> 20) & 0x3FF);
    }
}

void Pack16ToP32(const uint16_t* src, uint8_t* dst, size_t n)
{
    for (size_t i = 0; i < n; ++i)
    {
        const uint32_t w = (uint32_t{src[3 * i]} & 0x3FF) | ((uint32_t{src[3 * i + 1]} & 0x3FF) << 10) |
                           ((uint32_t{src[3 * i + 2]} & 0x3FF) << 20);
        std::memcpy(dst + 4 * i, &w, 4);
    }
}

void Shift16To8(const uint16_t* src, uint8_t* dst, size_t count, int rightShift)
{
    for (size_t i = 0; i < count; ++i)
    {
        const uint32_t v = uint32_t{src[i]} >> rightShift;
        dst[i] = static_cast<uint8_t>(v > 255 ? 255 : v);
    }
}

void Shift16(const uint16_t* src, uint16_t* dst, size_t count, int leftShift)
{
    if (leftShift >= 0)
        for (size_t i = 0; i < count; ++i)
            dst[i] = static_cast<uint16_t>(src[i] << leftShift);
    else
        for (size_t i = 0; i < count; ++i)
            dst[i] = static_cast<uint16_t>(src[i] >> -leftShift);
}

void Expand8To16(const uint8_t* src, uint16_t* dst, size_t count, int leftShift)
{
    for (size_t i = 0; i < count; ++i)
        dst[i] = static_cast<uint16_t>(uint32_t{src[i]} << leftShift);
}

} // namespace orna::ipl::unpack

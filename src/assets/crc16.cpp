// CRC-16 (0x8005, MSB first): see crc16.h.
//
// The folded form keeps 128-bit remainders of interleaved 16-byte blocks
// (four of them, or sixteen in four 512-bit registers). Moving a 128-bit
// value V = H x^64 + L on by D bits is H (x^(64+D) mod P) + L (x^D mod P),
// two carry-less products of at most 80 bits; so V stays congruent to the
// message read so far, modulo P. At the end V x^16 is brought down to 64
// bits the same way and reduced by Barrett's method: the register the
// message leaves. The register after a message from a starting register s
// is that from zero plus s x^(8 length) mod P.
#include "assets/crc16.h"

#include <array>
#include <cstddef>

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
// GCC 12 takes the intrinsics' deliberately undefined start values for
// uninitialised reads.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#define KESTROVA_CRC16_FOLD 1
#endif

namespace kestrova {

namespace {

constexpr std::uint32_t kPolynomial = 0x8005;  // x^16 implied

constexpr std::array<std::uint16_t, 256> MakeTable() {
    std::array<std::uint16_t, 256> table{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte << 8;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 0x8000) != 0 ? (crc << 1) ^ kPolynomial : crc << 1;
        table[byte] = static_cast<std::uint16_t>(crc);
    }
    return table;
}

constexpr std::array<std::uint16_t, 256> kTable = MakeTable();

std::uint16_t Bytewise(std::uint16_t crc, const std::uint8_t* p, std::size_t count) {
    for (const std::uint8_t* const end = p + count; p != end; ++p) {
        crc = static_cast<std::uint16_t>((crc << 8) ^ kTable[(crc >> 8) ^ *p]);
    }
    return crc;
}

#ifdef KESTROVA_CRC16_FOLD

// The register after `count` zero bytes from `state`: state x^(8 count) mod P.
std::uint16_t ShiftState(std::uint16_t state, std::size_t count) {
    // Multiplication modulo P, and x^8 raised by squaring.
    const auto multiply = [](std::uint32_t a, std::uint32_t b) {
        std::uint32_t product = 0;
        for (int bit = 15; bit >= 0; --bit) {
            product <<= 1;
            if ((product & 0x10000) != 0) product ^= 0x10000 | kPolynomial;
            if (((b >> bit) & 1) != 0) product ^= a;
        }
        return product;
    };
    std::uint32_t result = state;
    std::uint32_t power = 0x100;  // x^8
    for (; count > 0; count >>= 1) {
        if ((count & 1) != 0) result = multiply(result, power);
        power = multiply(power, power);
    }
    return static_cast<std::uint16_t>(result);
}

// x^n mod P(x).
constexpr long long PowerMod(unsigned n) {
    std::uint32_t remainder = 1;
    for (unsigned i = 0; i < n; ++i) {
        remainder <<= 1;
        if ((remainder & 0x10000) != 0) remainder ^= 0x10000 | kPolynomial;
    }
    return remainder;
}

// x^64 / P(x), for the Barrett reduction of a 64-bit remainder.
constexpr std::uint64_t BarrettQuotient() {
    // x^64 is one bit past 64 bits: its first step of the division is done here.
    std::uint64_t remainder = std::uint64_t{kPolynomial} << 48;
    std::uint64_t quotient = std::uint64_t{1} << 48;
    for (int bit = 63; bit >= 16; --bit) {
        if (((remainder >> bit) & 1) != 0) {
            remainder ^= std::uint64_t{0x10000 | kPolynomial} << (bit - 16);
            quotient |= std::uint64_t{1} << (bit - 16);
        }
    }
    return quotient;
}

constexpr std::size_t kFoldMinimum = 64;

#define KESTROVA_NARROW __attribute__((target("pclmul,ssse3,sse4.1")))
#define KESTROVA_WIDE __attribute__((target("avx512f,avx512bw,vpclmulqdq,pclmul,ssse3,sse4.1")))

// Constants (x^(64+D) mod P, x^D mod P) move a 128-bit value on by D bits.
// The constants are worked out when compiling.
template <unsigned Bits>
KESTROVA_NARROW __m128i Step() {
    constexpr long long kHigh = PowerMod(64 + Bits);
    constexpr long long kLow = PowerMod(Bits);
    return _mm_set_epi64x(kHigh, kLow);
}

KESTROVA_NARROW __m128i Fold(__m128i value, __m128i step) {
    return _mm_xor_si128(_mm_clmulepi64_si128(value, step, 0x11), _mm_clmulepi64_si128(value, step, 0x00));
}

KESTROVA_NARROW __m128i ReverseBytes() { return _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15); }

// 16 bytes as one 128-bit number, the first byte the most significant.
KESTROVA_NARROW __m128i Load(const std::uint8_t* p) {
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), ReverseBytes());
}

// The register of a message congruent to `value`: value x^16 mod P. Two
// folds keep a value congruent to it in 80 bits, then 64; Barrett's
// quotient by P, from the top 48 bits, leaves the remainder.
KESTROVA_NARROW std::uint16_t Reduce(__m128i value) {
    constexpr long long kX64 = PowerMod(64);
    constexpr long long kQuotient = static_cast<long long>(BarrettQuotient());
    constexpr long long kP = 0x10000 | kPolynomial;
    const __m128i wide = Fold(value, Step<16>());
    const __m128i rest =
        _mm_xor_si128(_mm_move_epi64(wide), _mm_clmulepi64_si128(wide, _mm_set_epi64x(0, kX64), 0x01));
    const __m128i quotient =
        _mm_srli_si128(_mm_clmulepi64_si128(_mm_srli_epi64(rest, 16), _mm_set_epi64x(0, kQuotient), 0x00), 6);
    const __m128i remainder = _mm_xor_si128(rest, _mm_clmulepi64_si128(quotient, _mm_set_epi64x(0, kP), 0x00));
    return static_cast<std::uint16_t>(_mm_cvtsi128_si32(remainder));
}

KESTROVA_WIDE inline __m512i LoadWide(const std::uint8_t* p) {
    return _mm512_shuffle_epi8(_mm512_loadu_si512(p), _mm512_broadcast_i32x4(ReverseBytes()));
}

template <unsigned Bits>
KESTROVA_WIDE inline __m512i StepWide() {
    return _mm512_broadcast_i32x4(Step<Bits>());
}

// Each 128-bit lane moved on and the next bytes added.
KESTROVA_WIDE inline __m512i FoldWide(__m512i lanes, __m512i step, __m512i next) {
    return _mm512_ternarylogic_epi64(_mm512_clmulepi64_epi128(lanes, step, 0x11),
                                     _mm512_clmulepi64_epi128(lanes, step, 0x00), next, 0x96);  // a ^ b ^ c
}

// 64 bytes a step in four 128-bit lanes of each of four registers, then
// 64 a step in one; returns the one 128-bit value the lanes fold into.
// `value` stands for the bytes before p.
KESTROVA_WIDE __m128i FoldWide(__m128i value, const std::uint8_t*& p, std::size_t& count) {
    __m512i a0 = _mm512_xor_si512(LoadWide(p), _mm512_zextsi128_si512(Fold(value, Step<128>())));
    p += 64;
    count -= 64;
    if (count >= 192) {
        __m512i a1 = LoadWide(p);
        __m512i a2 = LoadWide(p + 64);
        __m512i a3 = LoadWide(p + 128);
        p += 192;
        count -= 192;
        const __m512i by2048 = StepWide<2048>();
        for (; count >= 256; p += 256, count -= 256) {
            a0 = FoldWide(a0, by2048, LoadWide(p));
            a1 = FoldWide(a1, by2048, LoadWide(p + 64));
            a2 = FoldWide(a2, by2048, LoadWide(p + 128));
            a3 = FoldWide(a3, by2048, LoadWide(p + 192));
        }
        // Each moved on to the end by its own distance: the products run side by side.
        a0 = FoldWide(a0, StepWide<1536>(), FoldWide(a1, StepWide<1024>(), FoldWide(a2, StepWide<512>(), a3)));
    }
    const __m512i by512 = StepWide<512>();
    for (; count >= 64; p += 64, count -= 64) a0 = FoldWide(a0, by512, LoadWide(p));
    // The four lanes, first to last, move on by 384, 256, 128 and 0 bits.
    constexpr long long kLanes[8] = {PowerMod(384), PowerMod(448), PowerMod(256), PowerMod(320),
                                     PowerMod(128), PowerMod(192), PowerMod(0),   PowerMod(64)};
    const __m512i lanes = _mm512_loadu_si512(kLanes);
    const __m512i moved = FoldWide(a0, lanes, _mm512_setzero_si512());
    const __m256i half = _mm256_xor_si256(_mm512_castsi512_si256(moved), _mm512_extracti64x4_epi64(moved, 1));
    return _mm_xor_si128(_mm256_castsi256_si128(half), _mm256_extracti128_si256(half, 1));
}

// The same with 128-bit registers, four of them.
KESTROVA_NARROW __m128i FoldNarrow(__m128i value, const std::uint8_t*& p, std::size_t& count) {
    __m128i a0 = _mm_xor_si128(Load(p), Fold(value, Step<128>()));
    __m128i a1 = Load(p + 16);
    __m128i a2 = Load(p + 32);
    __m128i a3 = Load(p + 48);
    p += 64;
    count -= 64;
    const __m128i by512 = Step<512>();
    for (; count >= 64; p += 64, count -= 64) {
        a0 = _mm_xor_si128(Fold(a0, by512), Load(p));
        a1 = _mm_xor_si128(Fold(a1, by512), Load(p + 16));
        a2 = _mm_xor_si128(Fold(a2, by512), Load(p + 32));
        a3 = _mm_xor_si128(Fold(a3, by512), Load(p + 48));
    }
    return _mm_xor_si128(_mm_xor_si128(Fold(a0, Step<384>()), Fold(a1, Step<256>())),
                         _mm_xor_si128(Fold(a2, Step<128>()), a3));
}

// The register after at least kFoldMinimum bytes from a zero register.
KESTROVA_NARROW std::uint16_t Folded(const std::uint8_t* p, std::size_t count, bool wide) {
    // Zeros in front leave a zero register as it is: so the bytes that do
    // not fill whole 16-byte blocks go first, behind zeros. Byte j of the
    // block (0 the least significant) is p[first - 1 - j], or 0 where that
    // index is negative.
    const std::size_t first = count % 16 == 0 ? 16 : count % 16;
    const __m128i place = _mm_sub_epi8(_mm_set1_epi8(static_cast<char>(first - 1)),
                                       _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    __m128i value = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)), place);
    p += first;
    count -= first;
    if (count >= 64) value = wide ? FoldWide(value, p, count) : FoldNarrow(value, p, count);
    const __m128i by128 = Step<128>();
    for (; count >= 16; p += 16, count -= 16) value = _mm_xor_si128(Fold(value, by128), Load(p));
    return Reduce(value);
}

#endif

}  // namespace

int Crc16Widest() {
#ifdef KESTROVA_CRC16_FOLD
    static const int widest = !(__builtin_cpu_supports("pclmul") && __builtin_cpu_supports("ssse3") &&
                                __builtin_cpu_supports("sse4.1"))
                                  ? 0
                              : __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                                      __builtin_cpu_supports("vpclmulqdq")
                                  ? 2
                                  : 1;
    return widest;
#else
    return 0;
#endif
}

std::uint16_t Crc16With(int width, std::uint16_t state, std::span<const std::uint8_t> bytes) {
#ifdef KESTROVA_CRC16_FOLD
    if (width > 0 && bytes.size() >= kFoldMinimum) {
        // A starting register adds its own value moved on past the bytes.
        const std::uint16_t crc = Folded(bytes.data(), bytes.size(), width == 2);
        return state == 0 ? crc : static_cast<std::uint16_t>(crc ^ ShiftState(state, bytes.size()));
    }
#else
    (void)width;
#endif
    return Bytewise(state, bytes.data(), bytes.size());
}

std::uint16_t Crc16(std::uint16_t state, std::span<const std::uint8_t> bytes) {
    return Crc16With(Crc16Widest(), state, bytes);
}

}  // namespace kestrova

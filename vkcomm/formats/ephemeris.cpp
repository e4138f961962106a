#include "vkcomm/formats/ephemeris.h"

#include <cmath>

namespace vkcomm {

namespace {

// The value of pi that IS-GPS-200 fixes for its semicircles.
constexpr double kGpsPi = 3.1415926535898;

// Ten words of 24 bits. Bits count from 0, the most significant bit of the first word.
class Subframe {
public:
    static constexpr std::size_t kSize = 30;

    explicit Subframe(const unsigned char* bytes) : m_bytes(bytes) {}

    // Up to 32 bits; the result fits T.
    template <typename T = std::uint32_t>
    T bits(std::size_t first, std::size_t count) const {
        std::uint64_t window = 0;
        for (std::size_t byte = first / 8; byte <= (first + count - 1) / 8; ++byte)
            window = window << 8 | m_bytes[byte];
        const std::size_t behind = 7 - (first + count - 1) % 8;
        return static_cast<T>(window >> behind & ((std::uint64_t{1} << count) - 1));
    }

    // In units of two to the power of exponent.
    double number(std::size_t first, std::size_t count, int exponent) const {
        return std::ldexp(static_cast<double>(bits(first, count)), exponent);
    }

    // Two's complement.
    double signedNumber(std::size_t first, std::size_t count, int exponent) const {
        const double value = static_cast<double>(bits(first, count));
        const double range = std::ldexp(1.0, static_cast<int>(count));
        return std::ldexp(bits(first, 1) != 0 ? value - range : value, exponent);
    }

    // Semicircles as sent, radians as given.
    double angle(std::size_t first, std::size_t count, int exponent) const {
        return signedNumber(first, count, exponent) * kGpsPi;
    }

    bool isNumber(unsigned id) const {
        constexpr unsigned kPreamble = 0x8B;
        return bits(0, 8) == kPreamble && bits(43, 3) == id;
    }

private:
    const unsigned char* m_bytes;
};

void loadClock(const Subframe& one, CEphemeris& out) {
    out.handoverSeconds = one.bits(24, 17) * 6;
    out.weekModulo1024 = one.bits<std::uint16_t>(48, 10);
    out.codesOnL2 = one.bits<std::uint8_t>(58, 2);
    out.uraIndex = one.bits<std::uint8_t>(60, 4);
    out.health = one.bits<std::uint8_t>(64, 6);
    out.iodc = static_cast<std::uint16_t>(one.bits(70, 2) << 8 | one.bits(168, 8));
    out.l2PDataOff = one.bits(72, 1) != 0;
    out.tgd = one.signedNumber(160, 8, -31);
    out.toc = one.number(176, 16, 4);
    out.af2 = one.signedNumber(192, 8, -55);
    out.af1 = one.signedNumber(200, 16, -43);
    out.af0 = one.signedNumber(216, 22, -31);
}

void loadOrbitInPlane(const Subframe& two, CEphemeris& out) {
    out.iodeSubframe2 = two.bits<std::uint8_t>(48, 8);
    out.crs = two.signedNumber(56, 16, -5);
    out.deltaN = two.angle(72, 16, -43);
    out.m0 = two.angle(88, 32, -31);
    out.cuc = two.signedNumber(120, 16, -29);
    out.e = two.number(136, 32, -33);
    out.cus = two.signedNumber(168, 16, -29);
    out.sqrtA = two.number(184, 32, -19);
    out.toe = two.number(216, 16, 4);
    out.fitBeyondFourHours = two.bits(232, 1) != 0;
    out.aodo = two.bits(233, 5) * 900;
}

void loadOrbitPlane(const Subframe& three, CEphemeris& out) {
    out.cic = three.signedNumber(48, 16, -29);
    out.omega0 = three.angle(64, 32, -31);
    out.cis = three.signedNumber(96, 16, -29);
    out.i0 = three.angle(112, 32, -31);
    out.crc = three.signedNumber(144, 16, -5);
    out.omega = three.angle(160, 32, -31);
    out.omegaDot = three.angle(192, 24, -43);
    out.iodeSubframe3 = three.bits<std::uint8_t>(216, 8);
    out.idot = three.angle(224, 14, -43);
}

}  // namespace

int CEphemeris::ConvertNovatelEphemeris(const unsigned char* body, CEphemeris& ephemeris) {
    return body ? ConvertNovatelEphemeris(ByteSpan(body, kNovatelBodySize), ephemeris) : 0;
}

int CEphemeris::ConvertNovatelEphemeris(ByteSpan body, CEphemeris& ephemeris) {
    if (body.size() < kNovatelBodySize) return 0;
    const unsigned char* const bytes = body.data();
    const Subframe one(bytes + 12);
    const Subframe two(bytes + 12 + Subframe::kSize);
    const Subframe three(bytes + 12 + 2 * Subframe::kSize);
    ephemeris.prn = loadLe<std::uint32_t>(bytes);
    ephemeris.week = loadLe<std::uint32_t>(bytes + 4);
    ephemeris.referenceSeconds = loadLe<std::uint32_t>(bytes + 8);
    loadClock(one, ephemeris);
    loadOrbitInPlane(two, ephemeris);
    loadOrbitPlane(three, ephemeris);
    ephemeris.subframesInPlace = one.isNumber(1) && two.isNumber(2) && three.isNumber(3);
    return 1;
}

}  // namespace vkcomm

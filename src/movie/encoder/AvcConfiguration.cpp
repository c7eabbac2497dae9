#include "movie/encoder/AvcConfiguration.h"

#include "movie/container/BoxWriter.h"

#include <algorithm>
#include <bit>

namespace kasto {

namespace {

using Bytes = std::span<const std::uint8_t>;

struct ParameterSets {
    std::vector<Bytes> sps;
    std::vector<Bytes> pps;
};

// Takes the given number of parameter sets from the front of `rest`. False if they are not all there.
bool takeSets(Bytes& rest, int count, std::vector<Bytes>& sets) {
    for (; count > 0; --count) {
        if (rest.size() < 2) return false;
        const auto length = static_cast<std::size_t>(rest[0] << 8 | rest[1]);
        if (length == 0 || rest.size() < 2 + length) return false;
        sets.push_back(rest.subspan(2, length));
        rest = rest.subspan(2 + length);
    }
    return true;
}

bool readSets(Bytes configuration, ParameterSets& sets) {
    if (configuration.size() < 6) return false;
    Bytes rest = configuration.subspan(6);
    if (!takeSets(rest, configuration[5] & 0x1f, sets.sps) || rest.empty()) return false;
    const int count = rest[0];
    rest = rest.subspan(1);
    return takeSets(rest, count, sets.pps) && !sets.sps.empty() && !sets.pps.empty();
}

// The unsigned Exp-Golomb number that begins with this byte of a parameter set; -1 if it does not end in it.
int idAt(Bytes set, std::size_t at) {
    const std::uint8_t byte = set.size() > at ? set[at] : 0;
    const int zeros = std::countl_zero(byte);
    return zeros > 3 ? -1 : (byte >> (7 - 2 * zeros)) - 1;
}

bool haveDifferentIds(const std::vector<Bytes>& a, const std::vector<Bytes>& b, std::size_t at) {
    std::vector<int> ids;
    for (const auto* sets : {&a, &b})
        for (const Bytes set : *sets) ids.push_back(idAt(set, at));
    std::ranges::sort(ids);
    return ids.front() >= 0 && std::ranges::adjacent_find(ids) == ids.end();
}

bool haveDifferentIds(const ParameterSets& a, const ParameterSets& b) {
    constexpr std::size_t kSpsIdAt = 4, kPpsIdAt = 1;
    return haveDifferentIds(a.sps, b.sps, kSpsIdAt) && haveDifferentIds(a.pps, b.pps, kPpsIdAt);
}

void writeSets(BoxWriter& out, std::uint8_t count, const std::vector<Bytes>& a, const std::vector<Bytes>& b) {
    out.u8(count);
    for (const auto* sets : {&a, &b})
        for (const Bytes set : *sets) {
            out.u16(static_cast<std::uint16_t>(set.size()));
            out.bytes(set);
        }
}

// What follows the parameter sets of profile High: 4:2:0, 8 bits of luma and chroma, no SPS extensions.
void writeFormat(BoxWriter& out) {
    for (const std::uint8_t byte : {0xfd, 0xf8, 0xf8, 0x00}) out.u8(byte);
}

}  // namespace

Result<std::vector<std::uint8_t>> avcDecoderConfiguration(std::span<const std::uint8_t> sps,
                                                          std::span<const std::uint8_t> pps) {
    constexpr std::uint8_t kProfileHigh = 100;
    if (sps.size() < 4 || pps.empty()) return failure("the encoder gave no usable parameter sets");
    if (sps[1] != kProfileHigh) return failure("the encoder does not encode H.264 High");

    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    out.u8(1);                     // version
    out.bytes(sps.subspan(1, 3));  // profile, constraints, level
    out.u8(0xff);                  // the length before a NAL unit has four bytes
    out.u8(0xe1);                  // one SPS
    out.u16(static_cast<std::uint16_t>(sps.size()));
    out.bytes(sps);
    out.u8(1);  // one PPS
    out.u16(static_cast<std::uint16_t>(pps.size()));
    out.bytes(pps);
    writeFormat(out);
    return bytes;
}

Result<std::vector<std::uint8_t>> mergedConfigurations(Bytes first, Bytes second) {
    ParameterSets a, b;
    if (!readSets(first, a) || !readSets(second, b) || !haveDifferentIds(a, b))
        return failure("the encoders' parameter sets cannot stand side by side");
    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    out.bytes(first.first(2));              // version, profile
    out.u8(first[2] & second[2]);           // constraints that both keep
    out.u8(std::max(first[3], second[3]));  // level
    out.u8(first[4]);                       // size of lengths
    writeSets(out, static_cast<std::uint8_t>(0xe0 | (a.sps.size() + b.sps.size())), a.sps, b.sps);
    writeSets(out, static_cast<std::uint8_t>(a.pps.size() + b.pps.size()), a.pps, b.pps);
    writeFormat(out);
    return bytes;
}

}  // namespace kasto

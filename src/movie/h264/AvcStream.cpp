#include "movie/h264/AvcStream.h"

#include "movie/container/BoxWriter.h"

#include <cstring>

namespace kasto {

namespace {

constexpr int kSequenceParameters = 7;
constexpr int kPictureParameters = 8;
constexpr int kDelimiter = 9;
constexpr std::uint8_t kProfileHigh = 100;

using Bytes = std::span<const std::uint8_t>;

int nalType(Bytes nal) { return nal[0] & 0x1f; }

// Where the next 00 00 01 begins at or after `from`; the end if there is none.
std::size_t findStartCode(Bytes stream, std::size_t from) {
    while (from + 3 <= stream.size()) {
        const void* one = std::memchr(stream.data() + from + 2, 1, stream.size() - from - 2);
        if (!one) break;
        const auto at = static_cast<std::size_t>(static_cast<const std::uint8_t*>(one) - stream.data());
        if (stream[at - 1] == 0 && stream[at - 2] == 0) return at - 2;
        from = at - 1;
    }
    return stream.size();
}

template <class F>
void forEachNal(Bytes stream, F&& use) {
    std::size_t code = findStartCode(stream, 0);
    while (code < stream.size()) {
        const std::size_t begin = code + 3;
        code = findStartCode(stream, begin);
        std::size_t end = code;
        // A NAL unit never ends in a zero byte: those belong to the next start code.
        while (end > begin && stream[end - 1] == 0) --end;
        if (end > begin) use(stream.subspan(begin, end - begin));
    }
}

}  // namespace

Result<std::vector<std::uint8_t>> avcDecoderConfiguration(Bytes startCodeStream) {
    Bytes sps, pps;
    int count = 0;
    forEachNal(startCodeStream, [&](Bytes nal) {
        if (nalType(nal) == kSequenceParameters) sps = nal;
        if (nalType(nal) == kPictureParameters) pps = nal;
        count += nalType(nal) == kSequenceParameters || nalType(nal) == kPictureParameters;
    });
    if (count != 2 || sps.size() < 4 || pps.empty())
        return failure("the encoder gave no usable parameter sets");
    if (sps[1] != kProfileHigh) return failure("the encoder does not encode H.264 High");

    std::vector<std::uint8_t> bytes;
    BoxWriter out(bytes);
    out.u8(1);
    out.bytes(sps.subspan(1, 3));
    out.u8(0xff);  // lengths take four bytes
    out.u8(0xe1);  // one set
    out.u16(static_cast<std::uint16_t>(sps.size()));
    out.bytes(sps);
    out.u8(1);
    out.u16(static_cast<std::uint16_t>(pps.size()));
    out.bytes(pps);
    out.u8(0xfd);  // 4:2:0
    out.u8(0xf8);  // 8 bits of luma
    out.u8(0xf8);  // 8 bits of chroma
    out.u8(0);     // no extension sets
    return bytes;
}

void appendAvcSample(Bytes startCodeStream, std::vector<std::uint8_t>& sample) {
    BoxWriter out(sample);
    forEachNal(startCodeStream, [&](Bytes nal) {
        const int type = nalType(nal);
        if (type == kSequenceParameters || type == kPictureParameters || type == kDelimiter) return;
        out.u32(static_cast<std::uint32_t>(nal.size()));
        out.bytes(nal);
    });
}

}  // namespace kasto

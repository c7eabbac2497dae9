#include "linux/ffmpeg/AnnexB.h"

#include "movie/encoder/AvcConfiguration.h"

#include <cstring>

namespace kasto::ffmpeg {

namespace {

enum NalType { sequenceParameterSet = 7, pictureParameterSet = 8, accessUnitDelimiter = 9 };

using Bytes = std::span<const std::uint8_t>;

int nalType(Bytes nal) { return nal[0] & 0x1f; }

// Where the next 00 00 01 begins at or after `from`; the stream's end if there is none.
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
        // A NAL unit never ends in a zero byte, so zeros before a start code belong to the start code.
        while (end > begin && stream[end - 1] == 0) --end;
        if (end > begin) use(stream.subspan(begin, end - begin));
    }
}

}  // namespace

Result<std::vector<std::uint8_t>> avcDecoderConfiguration(Bytes annexB) {
    Bytes sps, pps;
    int count = 0;
    forEachNal(annexB, [&](Bytes nal) {
        if (nalType(nal) == sequenceParameterSet) sps = nal;
        if (nalType(nal) == pictureParameterSet) pps = nal;
        count += nalType(nal) == sequenceParameterSet || nalType(nal) == pictureParameterSet;
    });
    if (count > 2) return failure("the encoder gave more than two parameter sets");
    return kasto::avcDecoderConfiguration(sps, pps);
}

void appendAvcSample(Bytes annexB, std::vector<std::uint8_t>& sample) {
    forEachNal(annexB, [&](Bytes nal) {
        const int type = nalType(nal);
        if (type == sequenceParameterSet || type == pictureParameterSet || type == accessUnitDelimiter)
            return;
        for (int shift = 24; shift >= 0; shift -= 8)
            sample.push_back(static_cast<std::uint8_t>(nal.size() >> shift));
        sample.insert(sample.end(), nal.begin(), nal.end());
    });
}

}  // namespace kasto::ffmpeg

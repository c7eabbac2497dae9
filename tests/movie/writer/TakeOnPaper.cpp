#include "movie/writer/TakeOnPaper.h"

#include "linux/ffmpeg/AacEncoder.h"
#include "movie/h264/SoftwareEncoder.h"
#include "support/TestFolder.h"
#include "support/WaitUntil.h"

#include <endian.h>

#include <algorithm>
#include <cstring>

namespace kasto::test {

MovieFileWriters softwareWriters() { return {openSoftwareEncoder, ffmpeg::openAacEncoder}; }

PixelBufferRef paintedPicture(const VideoInputSettings& settings, int luma, int cb, int cr, int texture) {
    auto picture = PixelBuffer::make(PixelFormat::i420, settings.width, settings.height);
    const int values[] = {luma, cb, cr};
    for (int i = 0; i < 3; ++i) {
        const auto& plane = picture->plane(i);
        std::memset(plane.data, values[i], static_cast<std::size_t>(plane.strideBytes * plane.height));
    }
    const auto& plane = picture->plane(0);
    for (int y = plane.height * 2 / 3; texture != 0 && y < plane.height; ++y)
        for (int x = 0; x < plane.width; ++x)
            plane.data[y * plane.strideBytes + x] =
                static_cast<std::uint8_t>(40 + (x / 5 * 7 + texture * 13) * (y / 3 + texture) % 160);
    return picture;
}

TakeOnPaper::TakeOnPaper(const std::filesystem::path& file, VideoInputSettings wanted,
                         MovieFileWriters writers)
    : settings(wanted),
      writer(writers.makeWriter(file, {300, 600}).value()),
      input(writer->addVideoInput(settings)),
      adaptor(writer->adaptor(*input)) {}

bool TakeOnPaper::start(MediaTime sessionStart) {
    const bool started = writer->startWriting();
    writer->startSession(sessionStart);
    return started;
}

bool TakeOnPaper::append(const PixelBufferRef& picture, std::int64_t timeUnits) {
    waitUntil([&] { return input->isReadyForMoreMediaData() || writer->error(); });
    nextUnits = timeUnits + 10;
    return adaptor->append(picture, {timeUnits, 600}, BlockSet::all(settings.width, settings.height));
}

void TakeOnPaper::appendMoving(int count) {
    for (int i = 0; i < count; ++i)
        append(paintedPicture(settings, 120, 128, 128, static_cast<int>(nextUnits / 10 % 97) + 1), nextUnits);
}

std::string outermostBoxes(const std::filesystem::path& file) {
    const std::string bytes = readFile(file);
    std::string types;
    for (std::size_t at = 0; at < bytes.size();) {
        std::uint32_t head[4]{};
        std::memcpy(head, &bytes[at], std::min(sizeof head, bytes.size() - at));
        // A size of 1 stands for the long one behind the type, of which the lower half is enough here.
        const std::size_t boxBytes = be32toh(head[0] == htobe32(1) ? head[3] : head[0]);
        if (boxBytes == 0 || at + boxBytes > bytes.size()) return types + "cut";
        types += bytes.substr(at + 4, 4) + ' ';
        at += boxBytes;
    }
    return types;
}

}  // namespace kasto::test

#include "linux/ffmpeg/HardwareEncoders.h"

#include "linux/ffmpeg/NvencEncoder.h"
#include "linux/ffmpeg/VaapiEncoder.h"

namespace kasto::ffmpeg {

std::vector<VideoEncoderMaker> hardwareEncoders() { return {openVaapiEncoder, openNvencEncoder}; }

}  // namespace kasto::ffmpeg

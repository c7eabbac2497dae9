#include "linux/pipewire/camera/CameraPictures.h"

#include <libyuv.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

namespace kasto::pipewire {

namespace {

// The newest picture, the one before in the compositor, one in the live view, one being drawn, and a spare.
constexpr int kPictures = 5;

constexpr int kMaxStrideBytes = 8 * CameraFormat::kMaxSidePx;

// The rows of one plane of a format.
struct PlaneShape {
    int rowBytes;
    int rows;
};

std::vector<PlaneShape> planeShapes(const CameraFormat& format) {
    const int width = format.width;
    const int height = format.height;
    const int halfWidth = (width + 1) / 2;
    const int halfHeight = (height + 1) / 2;
    switch (format.coding) {
        case CameraCoding::bgrx:
            return {{4 * width, height}};
        case CameraCoding::nv12:
            return {{width, height}, {2 * halfWidth, halfHeight}};
        case CameraCoding::i420:
            return {{width, height}, {halfWidth, halfHeight}, {halfWidth, halfHeight}};
        case CameraCoding::yuy2:
            return {{4 * halfWidth, height}};
        case CameraCoding::mjpeg:
            break;
    }
    return {};
}

// The valid bytes of a block of a buffer. Offset and size are written by the producer, so they are clamped to
// the mapped memory.
std::span<const std::uint8_t> bytesOf(const spa_data& block) {
    if (!block.data || !block.chunk || (block.chunk->flags & SPA_CHUNK_FLAG_CORRUPTED)) return {};
    const auto offset = std::min(block.chunk->offset, block.maxsize);
    const auto size = std::min(block.chunk->size, block.maxsize - offset);
    return {static_cast<const std::uint8_t*>(block.data) + offset, size};
}

// A camera that does not say which colours it uses has BT.601 in limited range.
const libyuv::YuvConstants& constantsFor(const CameraFormat& format) {
    const bool isFull = format.range == SPA_VIDEO_COLOR_RANGE_0_255;
    if (format.matrix == SPA_VIDEO_COLOR_MATRIX_BT709)
        return isFull ? libyuv::kYuvF709Constants : libyuv::kYuvH709Constants;
    return isFull ? libyuv::kYuvJPEGConstants : libyuv::kYuvI601Constants;
}

}  // namespace

void CameraPictures::EndJpeg::operator()(void* decoder) const { tjDestroy(decoder); }

CameraPictures::CameraPictures(const CameraFormat& format)
    : format_(format), pool_(PixelFormat::bgrx, format.width, format.height, kPictures) {}

PixelBufferRef CameraPictures::convert(const spa_buffer& buffer) {
    auto picture = pool_.take();
    if (!picture || !draw(buffer, picture->plane(0))) return {};
    return picture;
}

// The planes of a raw format lie in one block each, or one after the other in a single block.
std::vector<CameraPictures::Source> CameraPictures::planesOf(const spa_buffer& buffer) const {
    const auto shapes = planeShapes(format_);
    const bool isSingle = buffer.n_datas == 1;
    if (!isSingle && buffer.n_datas < shapes.size()) return {};
    std::vector<Source> planes;
    std::span<const std::uint8_t> rest;
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        const auto& block = buffer.datas[isSingle ? 0 : i];
        if (i == 0 || !isSingle) rest = bytesOf(block);
        if (rest.empty() || block.chunk->stride > kMaxStrideBytes) return {};
        int stride = block.chunk->stride;
        if (isSingle && i > 0 && format_.coding == CameraCoding::i420) stride = (stride + 1) / 2;
        if (stride == 0) stride = shapes[i].rowBytes;
        if (stride < shapes[i].rowBytes) return {};
        const auto size = static_cast<std::size_t>(stride) * static_cast<std::size_t>(shapes[i].rows);
        const auto padding = static_cast<std::size_t>(stride - shapes[i].rowBytes);
        if (rest.size() < size - padding) return {};
        planes.push_back({rest.data(), stride});
        rest = rest.subspan(std::min(rest.size(), size));
    }
    return planes;
}

bool CameraPictures::draw(const spa_buffer& buffer, const Plane& picture) {
    if (buffer.n_datas == 0) return false;
    if (format_.coding == CameraCoding::mjpeg) return drawJpeg(buffer, picture);
    const auto planes = planesOf(buffer);
    if (planes.empty()) return false;
    const int stride = static_cast<int>(picture.strideBytes);
    const auto& colours = constantsFor(format_);
    switch (format_.coding) {
        case CameraCoding::bgrx:
            return libyuv::ARGBCopy(planes[0].data, planes[0].strideBytes, picture.data, stride,
                                    format_.width, format_.height) == 0;
        case CameraCoding::nv12:
            return libyuv::NV12ToARGBMatrix(planes[0].data, planes[0].strideBytes, planes[1].data,
                                            planes[1].strideBytes, picture.data, stride, &colours,
                                            format_.width, format_.height) == 0;
        case CameraCoding::i420:
            return libyuv::I420ToARGBMatrix(planes[0].data, planes[0].strideBytes, planes[1].data,
                                            planes[1].strideBytes, planes[2].data, planes[2].strideBytes,
                                            picture.data, stride, &colours, format_.width,
                                            format_.height) == 0;
        case CameraCoding::yuy2:
            return drawYuy2(planes[0], picture);
        case CameraCoding::mjpeg:
            break;
    }
    return false;
}

bool CameraPictures::drawYuy2(const Source& source, const Plane& picture) {
    const int stride = static_cast<int>(picture.strideBytes);
    const int width = format_.width;
    const int height = format_.height;
    const auto& colours = constantsFor(format_);
    if (&colours == &libyuv::kYuvI601Constants)
        return libyuv::YUY2ToARGB(source.data, source.strideBytes, picture.data, stride, width, height) == 0;
    const int half = (width + 1) / 2;
    planar_.resize(static_cast<std::size_t>(width + 2 * half) * static_cast<std::size_t>(height));
    auto* y = planar_.data();
    auto* u = y + width * height;
    auto* v = u + half * height;
    return libyuv::YUY2ToI422(source.data, source.strideBytes, y, width, u, half, v, half, width, height) ==
               0 &&
           libyuv::I422ToARGBMatrix(y, width, u, half, v, half, picture.data, stride, &colours, width,
                                    height) == 0;
}

bool CameraPictures::drawJpeg(const spa_buffer& buffer, const Plane& picture) {
    if (!jpeg_) jpeg_.reset(tjInitDecompress());
    const auto bytes = bytesOf(buffer.datas[0]);
    const auto size = static_cast<unsigned long>(bytes.size());
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourSpace = 0;
    if (!jpeg_ || bytes.empty() ||
        tjDecompressHeader3(jpeg_.get(), bytes.data(), size, &width, &height, &subsampling, &colourSpace) !=
            0 ||
        width != format_.width || height != format_.height)
        return false;
    const int failed = tjDecompress2(jpeg_.get(), bytes.data(), size, picture.data, width,
                                     static_cast<int>(picture.strideBytes), height, TJPF_BGRX,
                                     TJFLAG_FASTUPSAMPLE | TJFLAG_FASTDCT);
    // Many cameras append padding to their JPEGs, which the decoder only warns of.
    return failed == 0 || tjGetErrorCode(jpeg_.get()) == TJERR_WARNING;
}

}  // namespace kasto::pipewire

#include "linux/pipewire/camera/CameraFormat.h"

#include <spa/param/format-utils.h>
#include <spa/pod/iter.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <tuple>

namespace kasto::pipewire {

namespace {

constexpr spa_rectangle kPreferredSize{1280, 720};
constexpr spa_fraction kPreferredRate{30, 1};
constexpr double kMinRate = 24;  // frames a second; a larger picture is not worth a lower rate

struct Coding {
    spa_video_format spaFormat;
    CameraCoding coding;
};
constexpr std::array kRawCodings{
    Coding{SPA_VIDEO_FORMAT_BGRx, CameraCoding::bgrx}, Coding{SPA_VIDEO_FORMAT_BGRA, CameraCoding::bgrx},
    Coding{SPA_VIDEO_FORMAT_NV12, CameraCoding::nv12}, Coding{SPA_VIDEO_FORMAT_I420, CameraCoding::i420},
    Coding{SPA_VIDEO_FORMAT_YUY2, CameraCoding::yuy2},
};

// The values of one property of a parameter: a default, then the alternatives or the two ends of a range.
template <class T>
struct Choice {
    std::span<const T> values;
    std::uint32_t type = SPA_CHOICE_None;

    // The alternatives. For a range that is nearest(min, max).
    template <class Nearest>
    std::vector<T> alternatives(Nearest nearest) const {
        const bool isRange = type == SPA_CHOICE_Range || type == SPA_CHOICE_Step;
        if (isRange && values.size() >= 3) return {nearest(values[1], values[2])};
        if (values.size() > 1) return {values.begin() + 1, values.end()};
        return {values.begin(), values.end()};
    }
};

template <class T>
Choice<T> choiceOf(const spa_pod& object, std::uint32_t key, std::uint32_t podType) {
    const auto* property = spa_pod_find_prop(&object, nullptr, key);
    if (!property) return {};
    std::uint32_t count = 0;
    std::uint32_t type = 0;
    const auto* first = spa_pod_get_values(&property->value, &count, &type);
    if (!first || first->type != podType || first->size != sizeof(T)) return {};
    return {{reinterpret_cast<const T*>(first + 1), count}, type};
}

double perSecond(const spa_fraction& rate) {
    return rate.num == 0 || rate.denom == 0 ? kPreferredRate.num : static_cast<double>(rate.num) / rate.denom;
}

spa_fraction offeredRate(const spa_pod& object) {
    const auto choice = choiceOf<spa_fraction>(object, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction);
    const auto rates = choice.alternatives([](const spa_fraction& min, const spa_fraction& max) {
        return perSecond(max) < perSecond(kPreferredRate)   ? max
               : perSecond(min) > perSecond(kPreferredRate) ? min
                                                            : kPreferredRate;
    });
    if (rates.empty()) return {0, 1};
    return *std::ranges::min_element(
        rates, {}, [](const spa_fraction& rate) { return std::abs(perSecond(rate) - kPreferredRate.num); });
}

std::vector<spa_rectangle> offeredSizes(const spa_pod& object) {
    return choiceOf<spa_rectangle>(object, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle)
        .alternatives([](const spa_rectangle& min, const spa_rectangle& max) {
            return spa_rectangle{
                std::clamp(kPreferredSize.width, min.width, std::max(min.width, max.width)),
                std::clamp(kPreferredSize.height, min.height, std::max(min.height, max.height))};
        });
}

std::vector<Coding> offeredCodings(const spa_pod& object) {
    std::uint32_t mediaType = 0;
    std::uint32_t subtype = 0;
    if (spa_format_parse(&object, &mediaType, &subtype) < 0 || mediaType != SPA_MEDIA_TYPE_video) return {};
    if (subtype == SPA_MEDIA_SUBTYPE_mjpg) return {{SPA_VIDEO_FORMAT_UNKNOWN, CameraCoding::mjpeg}};
    if (subtype != SPA_MEDIA_SUBTYPE_raw) return {};
    std::vector<Coding> codings;
    const auto choice = choiceOf<std::uint32_t>(object, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id);
    for (const auto format : choice.alternatives([](std::uint32_t first, std::uint32_t) { return first; })) {
        const auto known = std::ranges::find(kRawCodings, format, &Coding::spaFormat);
        if (known != kRawCodings.end()) codings.push_back(*known);
    }
    return codings;
}

bool isUsable(const spa_rectangle& size) {
    constexpr std::uint32_t kMax = CameraFormat::kMaxSidePx;
    return size.width > 0 && size.height > 0 && size.width <= kMax && size.height <= kMax;
}

// Formats sort by this; the smallest is the best.
auto rank(const CameraFormat& format) {
    const double rate = perSecond(format.framesPerSecond);
    const int pixels = format.width * format.height;
    const int preferred = static_cast<int>(kPreferredSize.width * kPreferredSize.height);
    const bool isLarge = pixels > preferred;
    return std::tuple(rate < kMinRate, isLarge, isLarge ? pixels : -pixels,
                      std::abs(rate - kPreferredRate.num), format.coding);
}

}  // namespace

void addOffered(const spa_pod& parameter, std::vector<CameraFormat>& formats) {
    for (const auto& coding : offeredCodings(parameter)) {
        for (const auto& size : offeredSizes(parameter)) {
            if (!isUsable(size)) continue;
            formats.push_back({.coding = coding.coding,
                               .spaFormat = coding.spaFormat,
                               .width = static_cast<int>(size.width),
                               .height = static_cast<int>(size.height),
                               .framesPerSecond = offeredRate(parameter)});
        }
    }
}

std::optional<CameraFormat> agreedFormat(const spa_pod& parameter) {
    std::vector<CameraFormat> formats;
    addOffered(parameter, formats);
    if (formats.size() != 1) return std::nullopt;
    spa_video_info_raw raw{};
    if (spa_format_video_raw_parse(&parameter, &raw) >= 0) {
        formats[0].matrix = raw.color_matrix;
        formats[0].range = raw.color_range;
    }
    return formats[0];
}

std::optional<CameraFormat> chooseFormat(std::span<const CameraFormat> formats) {
    const auto best = std::ranges::min_element(formats, {}, rank);
    return best == formats.end() ? std::nullopt : std::optional(*best);
}

const spa_pod* buildFormat(spa_pod_builder& builder, const CameraFormat& format) {
    const spa_rectangle size{static_cast<std::uint32_t>(format.width),
                             static_cast<std::uint32_t>(format.height)};
    if (format.coding == CameraCoding::mjpeg) {
        spa_video_info_mjpg info{};
        info.size = size;
        info.framerate = format.framesPerSecond;
        return spa_format_video_mjpg_build(&builder, SPA_PARAM_EnumFormat, &info);
    }
    spa_video_info_raw info{};
    info.format = format.spaFormat;
    info.size = size;
    info.framerate = format.framesPerSecond;
    return spa_format_video_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
}

}  // namespace kasto::pipewire

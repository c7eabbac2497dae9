#include "linux/x11/exclusion/PictFormats.h"

namespace kasto::x11 {

std::map<xcb_visualid_t, PictFormat> readPictFormats(const Connection& connection) {
    auto* c = connection.raw();
    const Reply<xcb_render_query_pict_formats_reply_t> reply(
        xcb_render_query_pict_formats_reply(c, xcb_render_query_pict_formats(c), nullptr));
    std::map<xcb_visualid_t, PictFormat> formats;
    if (!reply) return formats;
    std::map<xcb_render_pictformat_t, bool> alphas;
    for (auto info = xcb_render_query_pict_formats_formats_iterator(reply.get()); info.rem;
         xcb_render_pictforminfo_next(&info))
        alphas[info.data->id] = info.data->direct.alpha_mask != 0;
    for (auto screen = xcb_render_query_pict_formats_screens_iterator(reply.get()); screen.rem;
         xcb_render_pictscreen_next(&screen))
        for (auto depth = xcb_render_pictscreen_depths_iterator(screen.data); depth.rem;
             xcb_render_pictdepth_next(&depth))
            for (auto visual = xcb_render_pictdepth_visuals_iterator(depth.data); visual.rem;
                 xcb_render_pictvisual_next(&visual))
                formats[visual.data->visual] = {visual.data->format, alphas[visual.data->format]};
    return formats;
}

}  // namespace kasto::x11

#include "XClient.h"
#include "linux/x11/server/X11OverlaySupport.h"
#include "support/PrivateXServer.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>

namespace kasto::test {

using namespace x11;
namespace {

TEST(X11OverlaySupportTest, EachUserKeepsItsWindowsAboveThoseOfOthers) {
    const PrivateXServer server;
    XClient client(server.display());
    const auto support = X11OverlaySupport::open(server.display(), client.raw()).value();
    const auto isOnTop = [&](xcb_window_t window) {
        return waitUntil([&] {
            const Reply<xcb_query_tree_reply_t> tree(
                xcb_query_tree_reply(client.raw(), xcb_query_tree(client.raw(), client.root()), nullptr));
            const auto* windows = xcb_query_tree_children(tree.get());
            return windows[xcb_query_tree_children_length(tree.get()) - 1] == window;
        });
    };
    const auto show = [&] { return client.showWindow({0, 0, 50, 50}, 0x336699); };
    const auto outline = show(), hud = show(), picker = show();
    const auto overlay = support->keepAbove({outline, hud});
    show();
    EXPECT_TRUE(isOnTop(hud));
    auto pickers = support->keepAbove({picker});
    EXPECT_TRUE(isOnTop(picker));
    show();
    EXPECT_TRUE(isOnTop(picker));
    pickers.reset();
    client.hide(picker);
    show();
    EXPECT_TRUE(isOnTop(hud)) << "the overlay is still kept above";
}

}  // namespace
}  // namespace kasto::test

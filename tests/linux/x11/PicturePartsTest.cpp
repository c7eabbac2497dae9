#include "XClient.h"
#include "linux/x11/capture/PictureSet.h"
#include "linux/x11/capture/ReadPlan.h"
#include "linux/x11/capture/SharedMemory.h"
#include "linux/x11/server/Connection.h"
#include "support/PrivateXServer.h"

#include <gtest/gtest.h>
#include <xcb/shm.h>

namespace kasto::x11 {
namespace {

TEST(ReadPlanTest, ReadsAllThatIsNeededAndLittleElse) {
    const PixelRect area{0, 0, 1000, 1000};
    std::vector<PixelRect> dots;
    std::vector<PixelRect> manyDots;
    for (int i = 0; i < 20; ++i) dots.push_back({100 + i % 5 * 12, 300 + i / 5 * 12, 4, 4});
    for (int i = 0; i < 300; ++i) manyDots.push_back({i * 3, i * 2, 1, 1});
    const std::tuple<const char*, std::vector<PixelRect>, std::vector<PixelRect>> rows[] = {
        {"nothing", {}, {}},
        {"a cluster becomes its box", dots, {{100, 300, 52, 40}}},
        {"far apart stay apart", {{0, 0, 50, 50}, {900, 900, 50, 50}}, {{0, 0, 50, 50}, {900, 900, 50, 50}}},
        {"an outline is not filled",
         {{100, 100, 600, 4}, {100, 696, 600, 4}},
         {{100, 100, 600, 4}, {100, 696, 600, 4}}},
        {"most of it becomes all of it", {{0, 0, 1000, 650}}, {area}},
        {"too many become their box", manyDots, {{0, 0, 898, 599}}},
    };
    for (const auto& [name, needed, planned] : rows)
        EXPECT_EQ(planReads(Region(needed), area), planned) << name;
}

TEST(SharedMemoryTest, TheServerWritesAndTheMemoryOutlivesIt) {
    for (const auto way : {SharingMethod::descriptor, SharingMethod::systemV}) {
        test::PrivateXServer server(64, 64);
        test::XClient client(server.display());
        client.setRootColor(0x123456);
        auto connection = Connection::open(server.display());
        ASSERT_TRUE(connection.has_value());
        const auto memory = SharedMemory::make(*connection, 64 * 64 * 4, way);
        ASSERT_TRUE(memory.has_value()) << memory.error().description;
        const auto asked = xcb_shm_get_image(connection->raw(), connection->root(), 0, 0, 64, 64, ~0u,
                                             XCB_IMAGE_FORMAT_Z_PIXMAP, memory->segment(), 0);
        ASSERT_TRUE(Reply<void>(xcb_shm_get_image_reply(connection->raw(), asked, nullptr)));
        connection = failure("closed");
        server.kill();
        for (const auto rgb : test::Pixels(64, 64, memory->data(), 64 * 4).rgb) ASSERT_EQ(rgb, 0x123456u);
    }
}

}  // namespace
}  // namespace kasto::x11

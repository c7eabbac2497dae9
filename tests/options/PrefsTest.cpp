#include "options/PreferenceStore.h"
#include "options/Prefs.h"

#include <gtest/gtest.h>

namespace kasto {
namespace {

TEST(PrefsTest, WritesTheRegionSoThatItReadsBack) {
    PreferenceStore& store = Prefs::store();
    const Rect rect{-0.1, 1.0 / 3, 1e21, 5e-324};
    Prefs::setRegionRect(rect);
    EXPECT_EQ(store.string("regionRect"),
              "-0.1,0.3333333333333333,1000000000000000000000.0,0." + std::string(323, '0') + "5");
    EXPECT_EQ(Prefs::regionRect(), rect);
    Prefs::setRegionRect(std::nullopt);
    EXPECT_EQ(Prefs::regionRect(), std::nullopt);

    const std::pair<const char*, std::optional<Rect>> read[] = {
        {"10,20,300", {}},
        {"10,20,300,200,5", {}},
        {",10,,20x,a,20,300,200,", Rect{10, 20, 300, 200}},
        {"nan,inf,1e999,+10.0,2e1,300.,200", Rect{10, 20, 300, 200}},
        {"+-10,20,300,200", {}}};
    for (const auto& [text, expected] : read) {
        store.set("regionRect", text);
        EXPECT_EQ(Prefs::regionRect(), expected) << text;
    }
    store.set("regionDisplayID", 4294967295.0);
    EXPECT_EQ(Prefs::regionDisplayID(), 4294967295u);
    store.set("regionDisplayID", 4294967296.0);
    EXPECT_EQ(Prefs::regionDisplayID(), std::nullopt);
}

}  // namespace
}  // namespace kasto

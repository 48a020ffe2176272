#include "TarnApp/views/overlay/InputLevel.h"

#include <gtest/gtest.h>

#include "support/views/ViewWorld.h"

namespace tarn {
namespace {

TEST(InputLevel, FollowsAsOftenAsAMeterCanShowIt) {
    test::ViewWorld world;
    InputLevel meter;
    meter.setProperty("viewModel", QVariant::fromValue(world.vm()));
    meter.setSession(world.session(0));
    int changes = 0;
    QObject::connect(&meter, &InputLevel::levelChanged, [&] { ++changes; });
    world.vm()->startAll();
    world.settle();
    struct Row {
        int after;  // ms
        double level;
        float shown;
        int changes;
    };
    const Row rows[] = {
        {0, 0.5, 0.5F, 1},   {20, 0.25, 0.5F, 1}, {20, 0.125, 0.125F, 2}, {100, 0.125, 0.125F, 2},
        {0, 0.75, 0.75F, 3}, {10, 0, 0, 4},       {10, 0.5, 0, 4},        {30, 0.25, 0.25F, 5},
    };
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const Row& row = rows[i];
        world.pass(row.after);
        world.level(0, row.level);
        world.settle();
        EXPECT_EQ(meter.level(), row.shown) << "row " << i;
        EXPECT_EQ(changes, row.changes) << "row " << i;
    }
    world.vm()->setMode(AppMode::conversation);
    meter.setSession(world.session(1));
    EXPECT_EQ(meter.level(), 0) << "another session's level, at once";
    world.level(0, 0.5);
    world.settle();
    EXPECT_EQ(meter.level(), 0) << "no longer the old one's";
}

}  // namespace
}  // namespace tarn

// What the engines of runs are told of the user's wishes, and when.

#include <gmock/gmock.h>

#include <functional>

#include "ViewModelFixture.h"

namespace tarn {
namespace {

using test::ViewModelTest;
using testing::ElementsAre;

TEST_F(ViewModelTest, TurnsOthersDownByOneOfTheChoices) {
    struct Case {
        std::function<void(UserDefaults&, const char*)> store;
        int expected;
    };
    const auto number = [](double value) {
        return [value](UserDefaults& settings, const char* key) { settings.set(key, value); };
    };
    const std::vector<Case> cases{
        {[](UserDefaults& settings, const char* key) { settings.remove(key); }, -12},
        {[](UserDefaults& settings, const char* key) { settings.set(key, "-6"); }, -12},
        {[](UserDefaults& settings, const char* key) { settings.set(key, true); }, -12},
        {number(-7.5), -6},
        {number(6), 0},
        {number(-1e300), -20},
        {number(-12), -12},
    };
    for (const Case& c : cases) {
        c.store(*world_.defaults, "othersTurnedDown");
        EXPECT_EQ(make().othersTurnedDown(), c.expected);
    }
    make().setOthersTurnedDown(-19);
    EXPECT_EQ(make().othersTurnedDown(), -20);
}

TEST_F(ViewModelTest, EnginesHearOfOthersBeforeTheyPlayAndOfEveryChange) {
    auto& model = makeSignedIn();
    model.setMode(AppMode::conversation);
    model.sessions()[1]->setCaptureSource(CaptureSource::mic);
    model.setOthersTurnedDown(-6);
    EXPECT_THAT(world_.told, ElementsAre());
    world_.openBarrier.isClosed = true;  // the player runs already while the stream opens
    model.startAll();
    world_.settle();
    EXPECT_THAT(world_.told, testing::UnorderedElementsAre("player -6.0", "mic -6.0"));
    world_.openBarrier.open();
    world_.settle();
    world_.told.clear();
    model.setOthersTurnedDown(0);
    EXPECT_THAT(world_.told, ElementsAre("player running 0.0", "mic running 0.0"));
}

TEST_F(ViewModelTest, DubsOfSeveralRunsHavePlacesWhereTheUserWantsThat) {
    auto& model = makeSignedIn();
    const auto expect = [this](const std::vector<float>& places) {
        std::vector<float> now;
        for (const auto& [engine, place] : world_.places) {
            now.push_back(place);
        }
        EXPECT_THAT(now, testing::Pointwise(testing::FloatNear(1e-6F), places));
    };
    model.setMode(AppMode::conversation);
    model.addSession();
    model.addSession();
    model.sessions()[3]->setCaptureSource(CaptureSource::mic);
    model.startAll();
    world_.settle();
    expect({0, 0, 0, 0});
    model.setPlacesDubs(true);
    expect({-0.7F, -0.7F / 3, 0.7F / 3, 0.7F});
    model.removeSession(model.sessions()[2]);
    world_.settle();
    expect({-0.7F, 0, 0.7F});
    model.sessions()[0]->stop();
    world_.settle();
    expect({-0.7F, 0.7F});
    model.setMode(AppMode::solo);
    model.startAll();
    world_.settle();
    expect({0});
    EXPECT_TRUE(make().placesDubs());
}

}  // namespace
}  // namespace tarn

#include "TarnCore/audio/AudioDevices.h"

#include <gtest/gtest.h>

#include <unordered_set>

#include "FakeHardware.h"
#include "TarnCore/audio/MicPermission.h"
#include "support/RunTask.h"

namespace tarn::test {
namespace {

using Inputs = std::vector<AudioInputDevice>;

TEST(AudioDevicesTest, ListsWhatHasInputChannelsInOrder) {
    FakeHardware hardware;
    hardware.list->devices = {{.id = 40, .name = "Speakers", .uid = "out", .inputChannels = 0},
                              {.id = 41, .name = "Built-in", .uid = "mic", .inputChannels = 1},
                              {.id = 42, .name = std::nullopt, .uid = std::nullopt, .inputChannels = 2},
                              {.id = 43, .name = "Strange", .uid = "x", .inputChannels = std::nullopt}};
    const Inputs expected{{"mic", "Built-in", 41}, {"42", "Unknown", 42}};
    EXPECT_EQ(AudioDevices::inputs(hardware), expected);
    EXPECT_EQ(AudioDevices::inputs(hardware), expected);

    const std::vector<std::pair<std::optional<std::uint32_t>, std::optional<AudioInputDevice>>> defaults{
        {std::nullopt, std::nullopt},
        {40, std::nullopt},
        {41, expected[0]},
        {42, expected[1]},
        {99, std::nullopt}};
    for (const auto& [id, device] : defaults) {
        hardware.list->defaultInput = id;
        EXPECT_EQ(AudioDevices::defaultInput(hardware), device) << id.value_or(0);
    }

    hardware.list = failure(ErrorKind::unavailable, "no server");
    EXPECT_EQ(AudioDevices::inputs(hardware), Inputs());
    EXPECT_EQ(AudioDevices::defaultInput(hardware), std::nullopt);
}

TEST(AudioDevicesTest, DevicesAreEqualAndHashedByAllFields) {
    const AudioInputDevice device{"mic", "Built-in", 41};
    const std::unordered_set<AudioInputDevice> set{
        device, device, {"mic2", "Built-in", 41}, {"mic", "Other", 41}, {"mic", "Built-in", 42}};
    EXPECT_EQ(set.size(), 4U);
}

TEST(MicPermissionTest, AsksOnlyWhatIsNotDecided) {
    asio::io_context context;
    struct Row {
        AuthorizationStatus status;
        int raw;
        bool answer;
        bool granted;
        int asked;
    };
    for (const Row& row : {Row{AuthorizationStatus::notDetermined, 0, true, true, 1},
                           Row{AuthorizationStatus::notDetermined, 0, false, false, 1},
                           Row{AuthorizationStatus::restricted, 1, true, false, 0},
                           Row{AuthorizationStatus::denied, 2, true, false, 0},
                           Row{AuthorizationStatus::authorized, 3, false, true, 0}}) {
        FakeAccess access;
        access.now = row.status;
        access.answer = row.answer;
        EXPECT_EQ(static_cast<int>(MicPermission::status(access)), row.raw);
        EXPECT_EQ(runTask(context, MicPermission::request(access)), row.granted) << row.raw;
        EXPECT_EQ(access.asked, row.asked) << row.raw;
    }
    EXPECT_EQ(MicPermission::status(), AuthorizationStatus::authorized);
}

}  // namespace
}  // namespace tarn::test

// The question where to save, against portals that answer in all the ways in which portals do.
#include "TarnPlatform/desktop/FileChooser.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <mutex>
#include <optional>

#include "TarnPlatform/bus/BusThread.h"
#include "support/keyring/BusStandIn.h"
#include "support/keyring/PrivateKeyring.h"

namespace tarn {
namespace {

using test::PrivateKeyring;
using Outcome = FileChooser::Outcome;

/// A portal whose user answers before the call returns.
class StandInDialog {
public:
    StandInDialog(guint32 outcome, std::vector<const char*> uris, bool isWhole = true)
        : outcome_(outcome),
          uris_(std::move(uris)),
          portal_("org.freedesktop.portal.Desktop", path,
                  isWhole ? chooser : R"(<node><interface name="org.other"/></node>)",
                  [this](const std::string&, GVariant* arguments, const std::string& sender) {
                      return answer(arguments, sender);
                  }) {}
    std::string asked() const {
        const std::scoped_lock lock(mutex_);
        return asked_;
    }

private:
    static constexpr const char* path = "/org/freedesktop/portal/desktop";
    static constexpr const char* chooser =
        R"xml(<node><interface name="org.freedesktop.portal.FileChooser">
<method name="SaveFile"><arg type="s" direction="in"/><arg type="s" direction="in"/>
<arg type="a{sv}" direction="in"/><arg type="o" direction="out"/></method></interface></node>)xml";

    GVariant* answer(GVariant* arguments, std::string sender) {
        const Variant options(g_variant_get_child_value(arguments, 2));
        const char* token = "";
        g_variant_lookup(options.get(), "handle_token", "&s", &token);
        std::ranges::replace(sender, '.', '_');
        const std::string request = std::string(path) + "/request/" + sender.substr(1) + "/" + token;
        {
            const std::scoped_lock lock(mutex_);
            asked_ = Text(g_variant_print(arguments, FALSE)).get();
        }
        GVariantBuilder results;
        g_variant_builder_init(&results, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&results, "{sv}", "uris",
                              g_variant_new_strv(uris_.data(), static_cast<gssize>(uris_.size())));
        portal_.emit(request, "org.freedesktop.portal.Request", "Response",
                     g_variant_new("(ua{sv})", outcome_, &results));
        return g_variant_new("(o)", request.c_str());
    }

    const guint32 outcome_;
    const std::vector<const char*> uris_;
    mutable std::mutex mutex_;
    std::string asked_;
    test::BusStandIn portal_;
};

std::optional<std::pair<Outcome, std::filesystem::path>> ask() {
    BusThread bus;
    asio::io_context context;
    FileChooser chooser(bus, context.get_executor());
    std::optional<std::pair<Outcome, std::filesystem::path>> answer;
    chooser.askWhereToSave(
        {.title = "Keep", .accept = "Yes", .name = "talk.srt", .parent = "x11:1f"},
        [&](Outcome outcome, const std::filesystem::path& path) { answer.emplace(outcome, path); });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!answer && std::chrono::steady_clock::now() < deadline) {
        context.restart();
        context.run_one_until(
            std::min(deadline, std::chrono::steady_clock::now() + std::chrono::milliseconds(5)));
    }
    return answer;
}

TEST(FileChooserTest, TellsWhatTheUserChoseOrThatThereIsNoDialog) {
    const PrivateKeyring session(PrivateKeyring::Mode::absent);
    const auto nowhere = std::pair(Outcome::noDialog, std::filesystem::path());
    EXPECT_EQ(ask(), nowhere) << "no portal";
    const struct {
        guint32 outcome;
        std::vector<const char*> uris;
        Outcome told;
        const char* path;
    } rows[] = {{0, {"file:///tmp/a%20b/%E8%AF%9D.srt"}, Outcome::chosen, "/tmp/a b/话.srt"},
                {0, {"https://example.org/a.srt"}, Outcome::cancelled, ""},
                {0, {}, Outcome::cancelled, ""},
                {1, {"file:///tmp/a.srt"}, Outcome::cancelled, ""},
                {2, {}, Outcome::cancelled, ""}};
    for (const auto& row : rows) {
        const StandInDialog dialog(row.outcome, row.uris);
        const auto path = row.outcome == 0 ? row.path : "";
        EXPECT_EQ(ask(), std::pair(row.told, std::filesystem::path(path))) << row.outcome;
        EXPECT_THAT(dialog.asked(), testing::HasSubstr("'x11:1f', 'Keep', {"));
        EXPECT_THAT(dialog.asked(), testing::HasSubstr("'current_name': <'talk.srt'>"));
    }
    const StandInDialog without(0, {}, false);
    EXPECT_EQ(ask(), nowhere) << "a portal that has no such dialog";
}

}  // namespace
}  // namespace tarn

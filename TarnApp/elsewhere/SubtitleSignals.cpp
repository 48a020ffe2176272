#include "SubtitleSignals.h"

#include <utility>

#include "TarnPlatform/bus/BusConnection.h"

namespace tarn {
namespace {

constexpr const char* path = "/com/ostrel/tarn/Subtitles";
constexpr const char* interfaceName = "com.ostrel.tarn.Subtitles";
// Sources are counted from 1, as people count them.
constexpr const char* description = R"xml(<node><interface name="com.ostrel.tarn.Subtitles">
  <property name="Subtitles" type="a(isss)" access="read"/>
  <signal name="Changed"><arg type="i" name="source"/><arg type="s" name="name"/>
    <arg type="s" name="original"/><arg type="s" name="translation"/></signal>
</interface></node>)xml";

GDBusInterfaceInfo* subtitlesInterface() {
    static GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(description, nullptr);
    return node->interfaces[0];
}

GVariant* listOf(const std::vector<ShownSubtitle>& all) {
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(isss)"));
    gint32 number = 0;
    for (const ShownSubtitle& one : all) {
        g_variant_builder_add(&list, "(isss)", ++number, one.name.c_str(), one.original.c_str(),
                              one.translation.c_str());
    }
    return g_variant_builder_end(&list);
}

}  // namespace

/// Thread: the bus's.
class SubtitleSignals::Object {
public:
    explicit Object(BusConnection& bus) : bus_(bus) {
        bus_.whenConnected(lifeline_, [this](bool isConnected, const std::string&) {
            if (isConnected) {
                serve();
            }
        });
    }

    void show(std::size_t source, std::vector<ShownSubtitle> all) {
        all_ = std::move(all);
        if (!served_) {
            return;
        }
        if (source < all_.size()) {
            const ShownSubtitle& now = all_[source];
            bus_.emit(path, interfaceName, "Changed",
                      g_variant_new("(isss)", static_cast<gint32>(source) + 1, now.name.c_str(),
                                    now.original.c_str(), now.translation.c_str()));
        }
        GVariantBuilder changes;
        g_variant_builder_init(&changes, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&changes, "{sv}", "Subtitles", listOf(all_));
        bus_.emit(path, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                  g_variant_new("(sa{sv}@as)", interfaceName, &changes,
                                g_variant_new_array(G_VARIANT_TYPE_STRING, nullptr, 0)));
    }

private:
    void serve() {
        served_ = bus_.serve(path, subtitlesInterface(),
                             {.call =
                                  [](std::string_view, GVariant*, GDBusMethodInvocation* invocation) {
                                      g_dbus_method_invocation_return_error(invocation, G_DBUS_ERROR,
                                                                            G_DBUS_ERROR_UNKNOWN_METHOD,
                                                                            "There are no methods");
                                  },
                              .property = [this](std::string_view) { return listOf(all_); }});
    }

    BusConnection& bus_;
    const BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    BusConnection::Held served_;
    std::vector<ShownSubtitle> all_;
};

SubtitleSignals::SubtitleSignals(BusThread& bus) : bus_(bus) {
    bus_.post([this](BusConnection& connection) { object_ = std::make_unique<Object>(connection); });
}

SubtitleSignals::~SubtitleSignals() {
    bus_.run([this](BusConnection&) { object_.reset(); });
}

void SubtitleSignals::show(std::size_t source, std::vector<ShownSubtitle> all) {
    bus_.post([this, source, all = std::move(all)](BusConnection&) { object_->show(source, all); });
}

}  // namespace tarn

#include "TrayIcon.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "TarnPlatform/bus/BusConnection.h"
#include "TarnPlatform/bus/BusThread.h"

namespace tarn {
namespace {

// The protocol has three programs: the item, which is this one; the watcher, with which items register; and
// the host, which shows them. The item is an object with properties that the host reads, and signals that
// make it read again. Its menu is an object of a protocol of its own.
constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* itemInterface = "org.kde.StatusNotifierItem";
constexpr const char* menuInterface = "com.canonical.dbusmenu";
constexpr const char* itemPath = "/StatusNotifierItem";
constexpr const char* menuPath = "/StatusNotifierItem/Menu";

constexpr const char* description = R"xml(<node>
<interface name="org.kde.StatusNotifierItem">
  <property name="Category" type="s" access="read"/>
  <property name="Id" type="s" access="read"/>
  <property name="Title" type="s" access="read"/>
  <property name="Status" type="s" access="read"/>
  <property name="WindowId" type="i" access="read"/>
  <property name="IconName" type="s" access="read"/>
  <property name="IconPixmap" type="a(iiay)" access="read"/>
  <property name="OverlayIconName" type="s" access="read"/>
  <property name="AttentionIconName" type="s" access="read"/>
  <property name="ToolTip" type="(sa(iiay)ss)" access="read"/>
  <property name="ItemIsMenu" type="b" access="read"/>
  <property name="Menu" type="o" access="read"/>
  <method name="ContextMenu"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
  <method name="Activate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
  <method name="SecondaryActivate"><arg type="i" direction="in"/><arg type="i" direction="in"/></method>
  <method name="Scroll"><arg type="i" direction="in"/><arg type="s" direction="in"/></method>
  <signal name="NewTitle"/><signal name="NewIcon"/><signal name="NewToolTip"/>
  <signal name="NewStatus"><arg type="s"/></signal>
</interface>
<interface name="com.canonical.dbusmenu">
  <property name="Version" type="u" access="read"/>
  <property name="TextDirection" type="s" access="read"/>
  <property name="Status" type="s" access="read"/>
  <property name="IconThemePath" type="as" access="read"/>
  <method name="GetLayout"><arg type="i" direction="in"/><arg type="i" direction="in"/>
    <arg type="as" direction="in"/><arg type="u" direction="out"/><arg type="(ia{sv}av)" direction="out"/></method>
  <method name="GetGroupProperties"><arg type="ai" direction="in"/><arg type="as" direction="in"/>
    <arg type="a(ia{sv})" direction="out"/></method>
  <method name="GetProperty"><arg type="i" direction="in"/><arg type="s" direction="in"/>
    <arg type="v" direction="out"/></method>
  <method name="Event"><arg type="i" direction="in"/><arg type="s" direction="in"/>
    <arg type="v" direction="in"/><arg type="u" direction="in"/></method>
  <method name="EventGroup"><arg type="a(isvu)" direction="in"/><arg type="ai" direction="out"/></method>
  <method name="AboutToShow"><arg type="i" direction="in"/><arg type="b" direction="out"/></method>
  <method name="AboutToShowGroup"><arg type="ai" direction="in"/><arg type="ai" direction="out"/>
    <arg type="ai" direction="out"/></method>
  <signal name="ItemsPropertiesUpdated"><arg type="a(ia{sv})"/><arg type="a(ias)"/></signal>
  <signal name="LayoutUpdated"><arg type="u"/><arg type="i"/></signal>
  <signal name="ItemActivationRequested"><arg type="i"/><arg type="u"/></signal>
</interface></node>)xml";

GDBusNodeInfo* node() {
    static GDBusNodeInfo* const info = g_dbus_node_info_new_for_xml(description, nullptr);
    return info;
}

GVariant* picturesOf(const std::vector<TrayPicture>& pictures) {
    GVariantBuilder list;
    g_variant_builder_init(&list, G_VARIANT_TYPE("a(iiay)"));
    for (const auto& picture : pictures) {
        g_variant_builder_add(
            &list, "(ii@ay)", picture.width, picture.height,
            g_variant_new_fixed_array(G_VARIANT_TYPE_BYTE, picture.argb.data(), picture.argb.size(), 1));
    }
    return g_variant_builder_end(&list);
}

/// In labels of menus an underscore marks the access key, and two stand for one.
std::string escapedLabel(const std::string& label) {
    std::string escaped;
    for (const char character : label) {
        escaped.append(character == '_' ? 2 : 1, character);
    }
    return escaped;
}

GVariant* propertiesOf(const TrayRow& row) {
    GVariantBuilder all;
    g_variant_builder_init(&all, G_VARIANT_TYPE_VARDICT);
    if (row.id.empty()) {
        g_variant_builder_add(&all, "{sv}", "type", g_variant_new_string("separator"));
        return g_variant_builder_end(&all);
    }
    g_variant_builder_add(&all, "{sv}", "label", g_variant_new_string(escapedLabel(row.label).c_str()));
    g_variant_builder_add(&all, "{sv}", "enabled", g_variant_new_boolean(row.isEnabled));
    if (row.isChecked) {
        g_variant_builder_add(&all, "{sv}", "toggle-type", g_variant_new_string("checkmark"));
        g_variant_builder_add(&all, "{sv}", "toggle-state", g_variant_new_int32(*row.isChecked ? 1 : 0));
    }
    return g_variant_builder_end(&all);
}

}  // namespace

/// The icon's object on the bus, and its menu's. Rows have the ids 1, 2, … there, and the menu itself 0.
class TrayIcon::Item {
public:
    using Chosen = std::function<void(std::string id)>;

    Item(BusConnection& bus, std::string objectID, Chosen chosen)
        : objectID_(std::move(objectID)), chosen_(std::move(chosen)), bus_(bus) {
        bus_.whenConnected(lifeline_, [this](bool isConnected, const std::string&) {
            if (isConnected) {
                serve();
            }
        });
    }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;

    void change(TrayContent content) {
        const TrayContent before = std::exchange(content_, std::move(content));
        if (!std::exchange(hasContent_, true)) {
            announce();
            return;
        }
        if (held_.empty()) {
            return;  // there is no bus
        }
        if (content_.rows != before.rows) {
            // The menu reads the layout again when it hears of a newer revision.
            ++revision_;
            bus_.emit(menuPath, menuInterface, "LayoutUpdated", g_variant_new("(ui)", revision_, 0));
        }
        if (content_.pictures != before.pictures) {
            bus_.emit(itemPath, itemInterface, "NewIcon", nullptr);
        }
        if (content_.title != before.title) {
            bus_.emit(itemPath, itemInterface, "NewTitle", nullptr);
        }
        if (content_.tooltip != before.tooltip) {
            bus_.emit(itemPath, itemInterface, "NewToolTip", nullptr);
        }
    }

private:
    void serve() {
        const BusConnection::Object object{
            .call = [this](std::string_view method, GVariant* arguments,
                           GDBusMethodInvocation* invocation) { answer(method, arguments, invocation); },
            .property = [this](std::string_view name) { return property(name); }};
        held_.push_back(bus_.serve(itemPath, node()->interfaces[0], object));
        held_.push_back(bus_.serve(menuPath, node()->interfaces[1], object));
        held_.push_back(bus_.ownName(busName_, nullptr, {}));
        held_.push_back(bus_.watchName(watcherName, G_BUS_NAME_WATCHER_FLAGS_NONE, [this](bool isThere) {
            hasWatcher_ = isThere;
            announce();
        }));
    }

    /// Registers the icon, but not before there is something to show, since a watcher reads it at once.
    void announce() {
        if (hasWatcher_ && hasContent_) {
            bus_.call({watcherName, "/StatusNotifierWatcher", watcherName, "RegisterStatusNotifierItem",
                       g_variant_new("(s)", busName_.c_str())});
        }
    }

    // Every property of the interface has a value, since hosts ask for all of them: those that this icon has
    // no use for are empty.
    GVariant* property(std::string_view name) const {
        if (name == "Category") {
            return g_variant_new_string("ApplicationStatus");
        }
        if (name == "Id") {
            return g_variant_new_string(objectID_.c_str());
        }
        if (name == "Title") {
            return g_variant_new_string(content_.title.c_str());
        }
        if (name == "IconPixmap") {
            return picturesOf(content_.pictures);
        }
        if (name == "ToolTip") {
            return g_variant_new("(s@a(iiay)ss)", "", picturesOf({}), content_.title.c_str(),
                                 content_.tooltip.c_str());
        }
        if (name == "Menu") {
            return g_variant_new_object_path(menuPath);
        }
        if (name == "ItemIsMenu") {
            return g_variant_new_boolean(FALSE);
        }
        if (name == "WindowId") {
            return g_variant_new_int32(0);
        }
        if (name == "Version") {
            constexpr guint32 dbusmenuVersion = 3;
            return g_variant_new_uint32(dbusmenuVersion);
        }
        if (name == "TextDirection") {
            return g_variant_new_string("ltr");
        }
        if (name == "IconThemePath") {
            return g_variant_new_strv(nullptr, 0);
        }
        if (name == "Status") {  // of the icon and, with another vocabulary, of the menu
            return g_variant_new_string("Active");
        }
        return g_variant_new_string("");
    }

    const TrayRow* rowAt(gint32 id) const {
        const auto index = static_cast<std::size_t>(id) - 1;
        return id > 0 && index < content_.rows.size() ? &content_.rows[index] : nullptr;
    }

    // The menu is a tree of (id, properties, children). This one has a root and one level of rows, so that of
    // the depth that is asked for only 0, which means the item without its children, makes a difference.
    GVariant* layout(gint32 parent, gint32 depth) const {
        GVariantBuilder children;
        g_variant_builder_init(&children, G_VARIANT_TYPE("av"));
        GVariantBuilder own;
        g_variant_builder_init(&own, G_VARIANT_TYPE_VARDICT);
        if (parent == 0) {
            g_variant_builder_add(&own, "{sv}", "children-display", g_variant_new_string("submenu"));
            for (gint32 id = 1; depth != 0 && rowAt(id) != nullptr; ++id) {
                g_variant_builder_add(&children, "v",
                                      g_variant_new("(i@a{sv}@av)", id, propertiesOf(*rowAt(id)),
                                                    g_variant_new_array(G_VARIANT_TYPE_VARIANT, nullptr, 0)));
            }
        }
        const TrayRow* const row = rowAt(parent);
        GVariant* const properties = g_variant_builder_end(&own);
        GVariant* shown = properties;
        if (row != nullptr) {
            g_variant_unref(g_variant_ref_sink(properties));
            shown = propertiesOf(*row);
        }
        return g_variant_new("(u@(ia{sv}av))", revision_,
                             g_variant_new("(i@a{sv}av)", parent, shown, &children));
    }

    GVariant* groupProperties(GVariant* wanted) const {
        GVariantBuilder all;
        g_variant_builder_init(&all, G_VARIANT_TYPE("a(ia{sv})"));
        const auto add = [&](gint32 id) {
            if (const TrayRow* const row = rowAt(id)) {
                g_variant_builder_add(&all, "(i@a{sv})", id, propertiesOf(*row));
            }
        };
        GVariantIter ids;
        g_variant_iter_init(&ids, wanted);
        bool isAll = true;  // an empty list asks for every row
        for (gint32 id = 0; g_variant_iter_next(&ids, "i", &id) != FALSE;) {
            isAll = false;
            add(id);
        }
        for (gint32 id = 1; isAll && rowAt(id) != nullptr; ++id) {
            add(id);
        }
        return g_variant_new("(a(ia{sv}))", &all);
    }

    // A menu may be older than the rows: an event for a row that is gone, or disabled by now, does nothing.
    void happened(gint32 id, std::string_view event) {
        const TrayRow* const row = rowAt(id);
        if (event == "clicked" && row != nullptr && row->isEnabled && !row->id.empty()) {
            chosen_(row->id);
        }
    }

    void answer(std::string_view method, GVariant* arguments, GDBusMethodInvocation* invocation) {
        GVariant* reply = nullptr;
        // The other methods (Scroll, ContextMenu, the end of a menu) need an answer and nothing else.
        if (method == "Activate" || method == "SecondaryActivate") {
            chosen_({});
        } else if (method == "GetLayout") {
            gint32 parent = 0;
            gint32 depth = 0;
            g_variant_get(arguments, "(iias)", &parent, &depth, nullptr);
            if (parent != 0 && rowAt(parent) == nullptr) {
                g_dbus_method_invocation_return_error_literal(
                    invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS, "there is no such row");
                return;
            }
            reply = layout(parent, depth);
        } else if (method == "GetGroupProperties") {
            const Variant wanted(g_variant_get_child_value(arguments, 0));
            reply = groupProperties(wanted.get());
        } else if (method == "GetProperty") {
            gint32 id = 0;
            const char* name = nullptr;
            g_variant_get(arguments, "(i&s)", &id, &name);
            const TrayRow* const row = rowAt(id);
            const Variant all(row == nullptr ? nullptr : g_variant_ref_sink(propertiesOf(*row)));
            const Variant value(all ? g_variant_lookup_value(all.get(), name, nullptr) : nullptr);
            if (!value) {
                g_dbus_method_invocation_return_error_literal(
                    invocation, G_DBUS_ERROR, G_DBUS_ERROR_INVALID_ARGS, "there is no such property");
                return;
            }
            reply = g_variant_new("(v)", value.get());
        } else if (method == "Event") {
            gint32 id = 0;
            const char* event = nullptr;
            g_variant_get(arguments, "(i&svu)", &id, &event, nullptr, nullptr);
            happened(id, event);
        } else if (method == "EventGroup") {
            const Variant events(g_variant_get_child_value(arguments, 0));
            GVariantIter iterator;
            g_variant_iter_init(&iterator, events.get());
            gint32 id = 0;
            const char* event = nullptr;
            while (g_variant_iter_next(&iterator, "(i&svu)", &id, &event, nullptr, nullptr) != FALSE) {
                happened(id, event);
            }
            reply = g_variant_new("(ai)", nullptr);
        } else if (method == "AboutToShow") {
            reply = g_variant_new("(b)", FALSE);
        } else if (method == "AboutToShowGroup") {
            reply = g_variant_new("(aiai)", nullptr, nullptr);
        }
        g_dbus_method_invocation_return_value(invocation, reply);
    }

    const std::string objectID_;
    const std::string busName_ = "org.kde.StatusNotifierItem-" + std::to_string(::getpid()) + "-1";
    const Chosen chosen_;
    BusConnection& bus_;
    const BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    TrayContent content_;
    bool hasContent_ = false;
    bool hasWatcher_ = false;
    guint32 revision_ = 1;
    std::vector<BusConnection::Held> held_;
};

TrayIcon::TrayIcon(BusThread& bus, std::string objectID, SerialExecutor executor,
                   std::function<void(std::string id)> chosen)
    : bus_(bus), chosen_(std::move(executor), std::move(chosen)) {
    bus_.post([this, objectID = std::move(objectID)](BusConnection& connection) {
        item_ = std::make_unique<Item>(connection, objectID, chosen_.poster());
    });
}

TrayIcon::~TrayIcon() {
    bus_.run([this](BusConnection&) { item_.reset(); });
}

void TrayIcon::show(TrayContent content) {
    bus_.post([this, content = std::move(content)](BusConnection&) { item_->change(content); });
}

}  // namespace tarn

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/base/PostedCallback.h"

namespace tarn {

class BusThread;

/// A picture for the tray: `argb` has width × height pixels of four bytes, alpha first.
struct TrayPicture {
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::vector<std::uint8_t> argb;
    bool operator==(const TrayPicture&) const = default;
};

/// A row of the icon's menu. An empty `id` makes a separator.
struct TrayRow {
    std::string id;
    std::string label = {};
    bool isEnabled = true;
    std::optional<bool> isChecked = std::nullopt;  ///< nothing: a row without a check mark
    bool operator==(const TrayRow&) const = default;
};

struct TrayContent {
    std::string title;
    std::string tooltip;
    std::vector<TrayPicture> pictures;  ///< one picture in several sizes
    std::vector<TrayRow> rows;
    bool operator==(const TrayContent&) const = default;
};

/// The program's icon in the desktop's tray, by the protocols org.kde.StatusNotifierItem and
/// com.canonical.dbusmenu.
///
/// It is there whenever the desktop has a tray: one that comes late, or is started again, finds it. Without a
/// session bus nothing happens.
///
/// Threads: made, changed and destroyed on `executor`, where the callback is called, and never after the
/// destruction. Nothing here waits for the bus.
class TrayIcon {
public:
    /// `bus` must outlive this. `objectID`: tells this program's icon from others. `chosen` gets the id of a
    /// row that the user chose, or an empty one for the icon itself.
    TrayIcon(BusThread& bus, std::string objectID, SerialExecutor executor,
             std::function<void(std::string id)> chosen);
    ~TrayIcon();
    TrayIcon(const TrayIcon&) = delete;
    TrayIcon& operator=(const TrayIcon&) = delete;

    /// Shows this from now on.
    void show(TrayContent content);

private:
    class Item;
    BusThread& bus_;
    const PostedCallback<std::string> chosen_;
    std::unique_ptr<Item> item_;  ///< on the bus's thread
};

}  // namespace tarn

#pragma once

#include <QString>
#include <initializer_list>
#include <string>
#include <string_view>

#include "TarnPlatform/base/TextTable.h"

namespace tarn {

/// A language that the interface has texts in.
struct AppLanguage {
    using Value = TextLanguage;
    static constexpr Value en = Value::english;
    static constexpr Value zh = Value::chinese;

    /// By the first of the user's preferred languages: Chinese for any Chinese one, English for all others
    /// and where there is none. Read afresh on every call. Thread: any, while no other changes the
    /// environment.
    static Value systemDefault();

    /// What the interface speaks: by the stored preference, which is read afresh on every call. Thread: any.
    static Value shown();
};

/// In the language of the interface. Thread: any.
template <typename Key>
std::string text(Key key, std::initializer_list<std::string_view> arguments = {}) {
    return text(key, AppLanguage::shown(), arguments);
}
template <typename Key>
QString shown(Key key, std::initializer_list<std::string_view> arguments = {}) {
    return QString::fromStdString(text(key, arguments));
}

}  // namespace tarn

#pragma once

#include <QColor>
#include <QFont>
#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>
#include <string_view>

#include "TarnPlatform/settings/UserDefaults.h"

namespace tarn {

/// How the user wants subtitles to look. With nothing chosen they look as the window's own design has them.
/// Each choice is stored at once; what is stored and makes no sense counts as not chosen. Thread: main.
class SubtitleLook : public QObject {
    Q_OBJECT
    Q_PROPERTY(
        QString fontFamily READ fontFamily WRITE setFontFamily NOTIFY changed)  ///< empty: the desktop's
    Q_PROPERTY(
        int weight READ weight WRITE setWeight NOTIFY changed)  ///< 100 to 900; 0: of each line its own
    Q_PROPERTY(QString originalColor READ originalColor WRITE setOriginalColor NOTIFY changed)
    Q_PROPERTY(QString translationColor READ translationColor WRITE setTranslationColor NOTIFY changed)
    Q_PROPERTY(int outlineWidth READ outlineWidth WRITE setOutlineWidth NOTIFY changed)
    Q_PROPERTY(int backgroundOpacity READ backgroundOpacity WRITE setBackgroundOpacity NOTIFY changed)
    Q_PROPERTY(int leastBackground READ leastBackground CONSTANT)
    Q_PROPERTY(QString alignment READ alignment WRITE setAlignment NOTIFY changed)
    Q_PROPERTY(QString original READ original WRITE setOriginal NOTIFY changed)
    Q_PROPERTY(bool readingMode READ readingMode WRITE setReadingMode NOTIFY changed)
    Q_PROPERTY(int keptUtterances READ keptUtterances WRITE setKeptUtterances NOTIFY changed)
    Q_PROPERTY(bool isChanged READ isChanged NOTIFY changed)  ///< from the window's own design
    Q_PROPERTY(QStringList families READ families CONSTANT)   ///< of all installed fonts

public:
    static constexpr int usualOutline = 1;
    static constexpr int widestOutline = 4;
    static constexpr int usualKept = 3;
    static constexpr int mostKept = 5;

    explicit SubtitleLook(std::shared_ptr<UserDefaults> defaults);

    const QString& fontFamily() const { return values_.fontFamily; }
    int weight() const { return values_.weight; }
    const QString& originalColor() const { return values_.originalColor; }  ///< "#rrggbb"; empty: the theme's
    const QString& translationColor() const { return values_.translationColor; }
    int outlineWidth() const { return values_.outlineWidth; }  ///< points, 0 to `widestOutline`
    /// Percent: below this much of a background, texts are outlined.
    static constexpr int leastBackground() { return 50; }
    /// Percent, of the window while the pointer is elsewhere.
    int backgroundOpacity() const { return values_.backgroundOpacity; }
    const QString& alignment() const { return values_.alignment; }  ///< "start", "center" or "end"
    const QString& original() const { return values_.original; }    ///< "above", "below" or "hidden"
    bool readingMode() const { return values_.readingMode; }
    int keptUtterances() const { return values_.keptUtterances; }  ///< in reading mode, 1 to `mostKept`
    bool isChanged() const { return values_ != Values(); }
    static QStringList families();

    void setFontFamily(const QString& value);
    void setWeight(int value);
    void setOriginalColor(const QString& value);
    void setTranslationColor(const QString& value);
    void setOutlineWidth(int value);
    void setBackgroundOpacity(int value);
    void setAlignment(const QString& value);
    void setOriginal(const QString& value);
    void setReadingMode(bool value);
    void setKeptUtterances(int value);
    Q_INVOKABLE void reset();  ///< to the window's own design

    /// The interface's font with `family` before its own families.
    Q_INVOKABLE static QFont font(const QString& family, int pixelSize, int weight);
    /// The contrast ratio of two opaque colours, 1 to 21, as WCAG 2.1 defines it.
    static double contrast(const QColor& one, const QColor& other);

Q_SIGNALS:
    void changed();

private:
    struct Values {
        QString fontFamily;
        int weight = 0;
        QString originalColor;
        QString translationColor;
        int outlineWidth = usualOutline;
        int backgroundOpacity = 100;
        QString alignment = QStringLiteral("start");
        QString original = QStringLiteral("above");
        bool readingMode = false;
        int keptUtterances = usualKept;
        bool operator==(const Values&) const = default;
    };
    void load();
    template <typename Field, typename Stored>
    void assign(Field Values::* field, const Field& value, std::string_view key, const Stored& stored);
    void assignText(QString Values::* field, const QString& value, std::string_view key);

    const std::shared_ptr<UserDefaults> defaults_;
    Values values_;
};

}  // namespace tarn

#pragma once

#include <QObject>
#include <QString>
#include <memory>

#include "SubtitleFeed.h"
#include "SubtitleFile.h"
#include "SubtitlePage.h"
#include "SubtitleSignals.h"

namespace tarn {

/// The subtitles outside of the window, each way only once the user has turned it on: a page for OBS and
/// browsers, signals on the session bus, a text file. The wishes are stored. With none of them nothing is
/// followed. Thread: main.
class SubtitlesElsewhere : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool page READ page WRITE setPage NOTIFY changed)
    Q_PROPERTY(QString pageAddress READ pageAddress NOTIFY changed)  ///< empty while there is no page
    Q_PROPERTY(bool hasOtherPort READ hasOtherPort NOTIFY changed)   ///< than usual, which was taken
    Q_PROPERTY(bool bus READ bus WRITE setBus NOTIFY changed)
    Q_PROPERTY(QString busName READ busName CONSTANT)
    Q_PROPERTY(bool file READ file WRITE setFile NOTIFY changed)
    Q_PROPERTY(QString filePath READ filePath WRITE setFilePath NOTIFY changed)
    Q_PROPERTY(QString failure READ failure NOTIFY changed)  ///< what does not work, in the system's words

public:
    static constexpr std::uint16_t usualPort = 47654;

    /// What is given must outlive this.
    SubtitlesElsewhere(TranslateViewModel& vm, BusThread& bus);
    ~SubtitlesElsewhere() override;

    bool page() const { return wantsPage_; }
    bool bus() const { return signals_ != nullptr; }
    bool file() const { return wantsFile_; }
    QString pageAddress() const;
    bool hasOtherPort() const;
    static QString busName();
    const QString& filePath() const { return filePath_; }
    QString failure() const { return pageFailure_.isEmpty() ? fileFailure_ : pageFailure_; }

    void setPage(bool value);
    void setBus(bool value);
    void setFile(bool value);
    void setFilePath(const QString& value);  ///< an absolute one; any other leaves it as it is
    Q_INVOKABLE void renewKey();             ///< who has the old address sees nothing more

Q_SIGNALS:
    void changed();

private:
    void openPage();
    void openFile();
    void follow();
    void showAll();
    void show(std::size_t source);
    std::string key();

    TranslateViewModel& vm_;
    const std::shared_ptr<UserDefaults> defaults_;
    BusThread& busThread_;
    bool wantsPage_ = false;
    bool wantsFile_ = false;
    QString filePath_;
    QString pageFailure_;
    QString fileFailure_;
    std::unique_ptr<SubtitleFeed> feed_;  ///< while any of the three is there
    std::unique_ptr<SubtitlePage> page_;
    std::unique_ptr<SubtitleSignals> signals_;
    std::unique_ptr<SubtitleFile> file_;
};

}  // namespace tarn

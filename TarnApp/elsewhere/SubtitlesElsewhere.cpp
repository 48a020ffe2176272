#include "SubtitlesElsewhere.h"

#include <QRandomGenerator>
#include <filesystem>
#include <utility>

#include "TarnPlatform/base/UserFolders.h"

namespace tarn {
namespace {

// As they stand in the settings.
constexpr std::string_view pageKey = "elsewhere.page";
constexpr std::string_view portKey = "elsewhere.port";
constexpr std::string_view secretKey = "elsewhere.key";
constexpr std::string_view busKey = "elsewhere.bus";
constexpr std::string_view fileKey = "elsewhere.file";
constexpr std::string_view filePathKey = "elsewhere.filePath";

constexpr std::size_t keyLength = 32;

std::string newKey() {
    std::string key;
    for (int part = 0; part < 4; ++part) {
        key += QString::asprintf("%08x", QRandomGenerator::system()->generate()).toStdString();
    }
    return key;
}

bool isKey(const std::string& text) {
    return text.size() == keyLength && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

std::filesystem::path usualFile() {
    return UserFolders::runtime().value_or(UserFolders::data() / UserFolders::ownName) / "tarn-subtitles.txt";
}

/// The lines of the file: each source's translation, or what was said where there is none.
std::string linesOf(const std::vector<ShownSubtitle>& all) {
    std::string lines;
    for (const ShownSubtitle& one : all) {
        const std::string& text = one.translation.empty() ? one.original : one.translation;
        if (!text.empty()) {
            lines += text + "\n";
        }
    }
    return lines;
}

std::uint16_t portOf(const UserDefaults& defaults) {
    const auto stored = defaults.integer(portKey).value_or(SubtitlesElsewhere::usualPort);
    return stored >= 1024 && stored <= 65535 ? static_cast<std::uint16_t>(stored)
                                             : SubtitlesElsewhere::usualPort;
}

}  // namespace

SubtitlesElsewhere::SubtitlesElsewhere(TranslateViewModel& vm, BusThread& bus)
    : vm_(vm),
      defaults_(vm.services().defaults),
      busThread_(bus),
      filePath_(QString::fromStdString(defaults_->string(filePathKey).value_or(usualFile().string()))) {
    const auto isOn = [this](std::string_view name) { return defaults_->boolean(name).value_or(false); };
    wantsPage_ = isOn(pageKey);
    wantsFile_ = isOn(fileKey);
    if (wantsPage_) {
        openPage();
    }
    if (wantsFile_) {
        openFile();
    }
    if (isOn(busKey)) {
        signals_ = std::make_unique<SubtitleSignals>(busThread_);
    }
    follow();
}

SubtitlesElsewhere::~SubtitlesElsewhere() = default;

QString SubtitlesElsewhere::pageAddress() const {
    return page_ ? QString::fromStdString(page_->address()) : QString();
}

bool SubtitlesElsewhere::hasOtherPort() const {
    return page_ && page_->port() != portOf(*defaults_);
}

QString SubtitlesElsewhere::busName() {
    return QStringLiteral("com.ostrel.tarn.Subtitles");
}

void SubtitlesElsewhere::setPage(bool value) {
    if (std::exchange(wantsPage_, value) == value) {
        return;
    }
    defaults_->set(pageKey, value);
    pageFailure_.clear();
    page_.reset();
    if (value) {
        openPage();
    }
    follow();
    Q_EMIT changed();
}

void SubtitlesElsewhere::setBus(bool value) {
    if (value == bus()) {
        return;
    }
    defaults_->set(busKey, value);
    signals_ = value ? std::make_unique<SubtitleSignals>(busThread_) : nullptr;
    follow();
    Q_EMIT changed();
}

void SubtitlesElsewhere::setFile(bool value) {
    if (std::exchange(wantsFile_, value) == value) {
        return;
    }
    defaults_->set(fileKey, value);
    fileFailure_.clear();
    file_.reset();
    if (value) {
        openFile();
    }
    follow();
    Q_EMIT changed();
}

void SubtitlesElsewhere::setFilePath(const QString& value) {
    const std::filesystem::path path(value.trimmed().toStdString());
    if (path.is_absolute() && path.has_filename() && value.trimmed() != filePath_) {
        filePath_ = value.trimmed();
        defaults_->set(filePathKey, path.string());
        fileFailure_.clear();
        file_.reset();
        if (wantsFile_) {
            openFile();
            follow();
        }
    }
    Q_EMIT changed();  // what was typed may not be what there is
}

void SubtitlesElsewhere::renewKey() {
    defaults_->set(secretKey, newKey());
    if (wantsPage_) {
        page_.reset();
        openPage();
        follow();
    }
    Q_EMIT changed();
}

std::string SubtitlesElsewhere::key() {
    auto stored = defaults_->string(secretKey).value_or("");
    if (!isKey(stored)) {
        stored = newKey();
        defaults_->set(secretKey, stored);
    }
    return stored;
}

void SubtitlesElsewhere::openPage() {
    auto opened = SubtitlePage::open(NetworkContext::shared(), portOf(*defaults_), key());
    pageFailure_ = opened ? QString() : QString::fromStdString(opened.error().description);
    page_ = opened ? std::move(*opened) : nullptr;
}

void SubtitlesElsewhere::openFile() {
    const SessionServices& services = vm_.services().session;
    file_ = std::make_unique<SubtitleFile>(filePath_.toStdString(), services.main, services.clock,
                                           [this](const std::string& whyNot) {
                                               fileFailure_ = QString::fromStdString(whyNot);
                                               Q_EMIT changed();
                                           });
}

/// Follows the sessions as long as anybody shows what they say, and tells a newcomer what they say now.
void SubtitlesElsewhere::follow() {
    if (!page_ && !signals_ && !file_) {
        feed_.reset();
        return;
    }
    if (!feed_) {
        feed_ = std::make_unique<SubtitleFeed>(vm_);
        connect(feed_.get(), &SubtitleFeed::changed, this, &SubtitlesElsewhere::show);
        connect(feed_.get(), &SubtitleFeed::countChanged, this, &SubtitlesElsewhere::showAll);
    }
    showAll();
}

void SubtitlesElsewhere::showAll() {
    show(feed_->sources().size());
}

/// `source`: the one that has changed; none where there is no such source.
void SubtitlesElsewhere::show(std::size_t source) {
    const std::vector<ShownSubtitle>& all = feed_->sources();
    if (page_) {
        page_->show(all);
    }
    if (signals_) {
        signals_->show(source, all);
    }
    if (file_) {
        file_->show(linesOf(all));
    }
}

}  // namespace tarn

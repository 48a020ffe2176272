#include "SubtitlesElsewhere.h"

#include <QRandomGenerator>
#include <array>
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

SubtitlesElsewhere::SubtitlesElsewhere(TranslateViewModel& vm, BusThread& bus, NetworkContext network)
    : defaults_(vm.services().defaults),
      services_(vm.services().session),
      network_(std::move(network)),
      busThread_(bus),
      filePath_(QString::fromStdString(defaults_->string(filePathKey).value_or(usualFile().string()))),
      feed_(std::make_unique<SubtitleFeed>(vm)) {
    connect(feed_.get(), &SubtitleFeed::changed, this, &SubtitlesElsewhere::show);
    connect(feed_.get(), &SubtitleFeed::countChanged, this, [this] { show(feed_->sources().size()); });
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
    show(feed_->sources().size());
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
    Q_EMIT changed();
}

void SubtitlesElsewhere::setBus(bool value) {
    if (value == bus()) {
        return;
    }
    defaults_->set(busKey, value);
    signals_ = value ? std::make_unique<SubtitleSignals>(busThread_) : nullptr;
    show(feed_->sources().size());
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
        }
    }
    Q_EMIT changed();  // what was typed may not be what there is
}

void SubtitlesElsewhere::renewKey() {
    defaults_->set(secretKey, newKey());
    if (wantsPage_) {
        page_.reset();
        openPage();
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
    auto opened = SubtitlePage::open(network_, portOf(*defaults_), key());
    pageFailure_ = opened ? QString() : QString::fromStdString(opened.error().description);
    page_ = opened ? std::move(*opened) : nullptr;
    if (page_) {
        page_->show(feed_->sources());
    }
}

void SubtitlesElsewhere::openFile() {
    file_ = std::make_unique<SubtitleFile>(filePath_.toStdString(), services_.main, services_.clock,
                                           [this](const std::string& whyNot) {
                                               fileFailure_ = QString::fromStdString(whyNot);
                                               Q_EMIT changed();
                                           });
    file_->show(linesOf(feed_->sources()));
}

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

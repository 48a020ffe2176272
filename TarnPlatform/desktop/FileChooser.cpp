#include "FileChooser.h"

#include <optional>
#include <utility>

#include "TarnPlatform/base/PostedCallback.h"
#include "TarnPlatform/bus/BusConnection.h"
#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/bus/PortalRequest.h"

namespace tarn {
namespace {

/// Of a local file; empty where it is none.
std::filesystem::path pathOf(GVariant* results) {
    const gchar** uris = nullptr;
    if (results == nullptr || g_variant_lookup(results, "uris", "^a&s", &uris) == FALSE) {
        return {};
    }
    std::filesystem::path path;
    if (uris[0] != nullptr) {
        if (gchar* const name = g_filename_from_uri(uris[0], nullptr, nullptr)) {
            path = name;
            g_free(name);
        }
    }
    g_free(static_cast<void*>(uris));
    return path;
}

}  // namespace

/// One question. Thread: the bus's for `ask` and `endOnBus`; the executor's makes and destroys it.
class FileChooser::Dialog {
public:
    Dialog(SerialExecutor executor, const Answered& answered)
        : answered_(std::move(executor), answered), answer_(answered_.poster()) {}

    void ask(BusConnection& bus, const Question& question, const std::string& token) {
        bus.whenConnected(lifeline_, [this, &bus, question, token](bool isConnected, const std::string&) {
            if (isConnected) {
                send(bus, question, token);
            } else {
                answer_(Outcome::noDialog, {});
            }
        });
    }
    void endOnBus() {
        lifeline_.reset();
        request_.reset();
    }

private:
    void send(BusConnection& bus, const Question& question, const std::string& token) {
        GVariantBuilder options;
        g_variant_builder_init(&options, G_VARIANT_TYPE_VARDICT);
        g_variant_builder_add(&options, "{sv}", "handle_token", g_variant_new_string(token.c_str()));
        g_variant_builder_add(&options, "{sv}", "accept_label",
                              g_variant_new_string(question.accept.c_str()));
        g_variant_builder_add(&options, "{sv}", "current_name", g_variant_new_string(question.name.c_str()));
        request_.emplace(
            bus, "org.freedesktop.portal.FileChooser", "SaveFile",
            g_variant_new("(ssa{sv})", question.parent.c_str(), question.title.c_str(), &options), token,
            [this](PortalRequest::Outcome outcome, GVariant* results) {
                const auto path =
                    outcome == PortalRequest::Outcome::granted ? pathOf(results) : std::filesystem::path();
                // A portal whose dialog could not be shown says that it was refused, too: nothing tells them
                // apart.
                answer_(outcome == PortalRequest::Outcome::unavailable ? Outcome::noDialog
                        : path.empty()                                 ? Outcome::cancelled
                                                                       : Outcome::chosen,
                        path);
            });
    }

    const PostedCallback<Outcome, std::filesystem::path> answered_;
    const PostedCallback<Outcome, std::filesystem::path>::Function answer_;
    BusConnection::Lifeline lifeline_ = BusConnection::newLifeline();
    std::optional<PortalRequest> request_;
};

FileChooser::FileChooser(BusThread& bus, SerialExecutor executor)
    : bus_(bus), executor_(std::move(executor)) {}

FileChooser::~FileChooser() {
    end();
}

/// Nobody hears an answer to the question any more, not even one that has been posted.
void FileChooser::end() {
    if (dialog_) {
        bus_.run([this](BusConnection&) { dialog_->endOnBus(); });
        dialog_.reset();
    }
}

void FileChooser::askWhereToSave(Question question, const Answered& answered) {
    end();
    static int asked = 0;
    dialog_ = std::make_unique<Dialog>(executor_, answered);
    bus_.post([dialog = dialog_.get(), question = std::move(question),
               token = "tarnsave" + std::to_string(++asked)](BusConnection& connection) {
        dialog->ask(connection, question, token);
    });
}

}  // namespace tarn

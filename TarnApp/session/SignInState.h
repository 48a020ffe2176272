#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "SessionServices.h"
#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

/// Whether the user is signed in, and as whom. Reads the stored sign-in, opens the sign-in page, asks the
/// server about the account, and signs out. Thread: main.
class SignInState : public QObject {
    Q_OBJECT

public:
    /// Requires: `services` outlives it.
    explicit SignInState(const ViewModelServices& services);
    ~SignInState() override;

    /// Reads the stored sign-in; the answer may take long.
    void learn();

    // Until the keyring has answered, the user is neither signed in nor signed out.
    bool isSignedIn() const { return state_ == State::present; }
    bool isSignedOut() const { return state_ == State::absent; }
    bool isSignedOutByUser() const { return isSignedOut() && userSignedOut_; }
    const std::optional<UserAccount>& account() const { return account_; }
    /// The server's, or the stored one until the server has answered; empty where nobody is signed in.
    QString email() const;
    /// Uses the current sign-in; another object after each sign-in and sign-out.
    const std::shared_ptr<TarnServerClient>& serverClient() const { return serverClient_; }

    /// Empty where the web site is not known.
    std::optional<Url> page() const;
    /// Opens the page in the browser. False where it was not opened; where the browser is the cause,
    /// `pageAddress` shows the page's address from then on.
    bool openPage();
    const QString& pageAddress() const { return pageAddress_; }

    void succeeded();  ///< a token has been stored
    void lose();       ///< the token has been deleted
    void signOut();
    void expire();          ///< the token that is stored is not accepted any more; says so
    void refuse();          ///< the same, where the caller says so
    void foundSignedOut();  ///< a start has found out that no token is stored

Q_SIGNALS:
    void changed();
    void accountChanged();
    void accountChecked();  ///< reading the sign-in, or asking about the account, has ended, well or not
    void pageAddressChanged();
    void lost();
    void noticed(const QString& text);  ///< a notice for the user
    void failed(const QString& text);   ///< a lasting message for the user

private:
    enum class State : std::uint8_t { unknown, absent, present };

    static Task<void> readStored(QPointer<SignInState> weak);
    static Task<void> checkAccount(QPointer<SignInState> weak);
    static Task<void> tellServer(QPointer<SignInState> weak, std::shared_ptr<TarnServerClient> client,
                                 std::shared_ptr<Clock> clock);
    static Task<void> watchDeletion(QPointer<SignInState> weak, std::shared_ptr<Credentials> credentials);

    void setState(State value);
    void setAccount(std::optional<UserAccount> value);
    void setPageAddress(const QString& value);
    void startCheck();
    void readStoredEmail();
    void takeAccount(ServerResult<UserAccount> account);
    void rebuildServerClient();

    const ViewModelServices& services_;
    State state_ = State::unknown;
    bool userSignedOut_ = false;
    bool announcesSignIn_ = false;  ///< once the account is known
    std::optional<UserAccount> account_;
    std::string storedEmail_;
    QString pageAddress_;
    std::shared_ptr<TarnServerClient> serverClient_;
    TaskHandle learnTask_;
    TaskHandle accountTask_;
    TaskHandle signOutTask_;
};

}  // namespace tarn

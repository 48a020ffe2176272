// The token file on a real disk, changed by this process and by real `tarn-relay` processes at the same time.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>

#include "RelayProgram.h"
#include "TarnRelay/account/TokenRegistry.h"

namespace tarn::relay {
namespace {

using test::TemporaryFolder;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class TokenRegistryTest : public testing::Test {
protected:
    std::filesystem::path folder() const { return state_.file("tarn/relay"); }
    std::filesystem::path file() const { return folder() / "tokens.json"; }

    std::string contents() const { return test::readFile(file()); }

    static unsigned modeOf(const std::filesystem::path& path) {
        struct stat status{};
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }

    std::string issue(const std::string& email) {
        const auto token = tokens_.issue(email);
        EXPECT_TRUE(token) << token.error().description;
        return token.value_or("");
    }

    TemporaryFolder state_;
    TokenRegistry tokens_{state_.file("tarn/relay")};
};

TEST_F(TokenRegistryTest, KnowsATokenByItsHashOnlyUntilItIsRevoked) {
    const auto first = issue("ada@example.org");
    const auto second = issue("ada@example.org");
    const auto other = issue("bob@example.org");
    ASSERT_TRUE(tokens_.refresh());
    EXPECT_EQ(first.size(), 43U);  // 256 bits in base64url
    EXPECT_NE(first, second);
    const auto account = tokens_.find(first);
    ASSERT_TRUE(account);
    EXPECT_EQ(account->email, "ada@example.org");
    EXPECT_EQ(account->userId, tokens_.find(second)->userId);
    EXPECT_NE(account->userId, tokens_.find(other)->userId);
    EXPECT_FALSE(tokens_.find(first.substr(0, 42)));
    EXPECT_FALSE(tokens_.find(""));
    EXPECT_THAT(contents(),
                AllOf(HasSubstr("ada@example.org"), Not(HasSubstr(first)), Not(HasSubstr(second))));
    EXPECT_EQ(modeOf(folder()), 0700U);
    EXPECT_EQ(modeOf(folder().parent_path()), 0700U);
    EXPECT_EQ(modeOf(file()), 0600U);

    ASSERT_TRUE(tokens_.revokeToken(account->token));
    ASSERT_TRUE(tokens_.refresh());
    EXPECT_FALSE(tokens_.find(first));
    EXPECT_TRUE(tokens_.find(second));
    EXPECT_EQ(tokens_.revoke("ada@example.org").value_or(99), 1U);
    EXPECT_EQ(tokens_.revoke("ada@example.org").value_or(99), 0U);
    ASSERT_TRUE(tokens_.refresh());
    EXPECT_FALSE(tokens_.find(second));
    EXPECT_TRUE(tokens_.find(other));
}

TEST_F(TokenRegistryTest, RefusesWhatIsNotAnEmailAddress) {
    EXPECT_FALSE(tokens_.issue("\xff@example.org"));
    EXPECT_TRUE(tokens_.refresh());
}

TEST_F(TokenRegistryTest, LosesNoTokenWhenProcessesIssueAtOnce) {
    std::vector<std::unique_ptr<ChildProcess>> programs;
    for (int i = 0; i < 12; ++i) {
        programs.push_back(
            test::startRelay(state_, {"issue-token", "user" + std::to_string(i) + "@example.org"}));
        ASSERT_TRUE(programs.back());
    }
    auto inProcess = std::async(std::launch::async, [this] {
        std::vector<std::string> mine(20);
        for (auto& token : mine) {
            token = issue("me@example.org");
        }
        return mine;
    });
    std::vector<std::string> issued = inProcess.get();
    for (const auto& program : programs) {
        auto output = program->readToEnd(1000, test::soon()).value_or("");
        ASSERT_EQ(output.size(), 44U) << output;
        output.pop_back();
        issued.push_back(output);
    }
    ASSERT_TRUE(tokens_.refresh());
    for (const auto& token : issued) {
        EXPECT_TRUE(tokens_.find(token)) << token;
    }
    // Nothing but the list and its lock is left behind.
    using Iterator = std::filesystem::directory_iterator;
    EXPECT_EQ(std::distance(Iterator(folder()), Iterator()), 2);
}

TEST_F(TokenRegistryTest, KeepsTheNewestTokensOfAnAddress) {
    const auto other = issue("bob@example.org");
    std::vector<std::string> issued;
    for (int i = 0; i < 34; ++i) {
        issued.push_back(issue("ada@example.org"));
    }
    const auto left = folder() / ".tokens.json.1a2b.new";  // by a process that was killed
    std::ofstream(left) << "half of a list";
    ASSERT_TRUE(tokens_.refresh());
    EXPECT_FALSE(tokens_.find(issued[1]));
    EXPECT_TRUE(tokens_.find(issued[2]));
    EXPECT_TRUE(tokens_.find(issued[33]));
    EXPECT_TRUE(tokens_.find(other));
    const auto listed = test::runRelay(state_, {"list-tokens"}).output;
    EXPECT_EQ(std::ranges::count(listed, '\n'), 33);
    EXPECT_THAT(listed, testing::ContainsRegex("^bob@example.org\t20[-0-9]*T[:0-9]*Z\nada@example.org\t20"));
    EXPECT_EQ(tokens_.revoke("ada@example.org").value_or(99), 32U);
    EXPECT_FALSE(std::filesystem::exists(left));
}

TEST_F(TokenRegistryTest, LeavesADamagedFileAloneAndKeepsTheLastGoodTokens) {
    const auto token = issue("ada@example.org");
    ASSERT_TRUE(tokens_.refresh());
    for (const std::string damage :
         {"", "{\"tokens\":[", "[]", "{\"tokens\":{}}", "{\"tokens\":[{\"sha256\":\"zz\"}]}",
          "{\"tokens\":[{\"sha256\":\"ab\",\"email\":\"x\",\"issued\":\"\"}]}", "{\"tokens\":[1]}"}) {
        std::ofstream(file(), std::ios::trunc) << damage;
        const auto refreshed = tokens_.refresh();
        ASSERT_FALSE(refreshed) << damage;
        EXPECT_THAT(refreshed.error().description,
                    AllOf(HasSubstr("tokens.json"), HasSubstr("move it away")));
        EXPECT_TRUE(tokens_.find(token)) << damage;
        EXPECT_FALSE(tokens_.issue("bob@example.org")) << damage;
        EXPECT_FALSE(tokens_.revoke("ada@example.org")) << damage;
        EXPECT_EQ(contents(), damage);
    }
    std::filesystem::remove(file());
    EXPECT_TRUE(tokens_.refresh());
    EXPECT_FALSE(tokens_.find(token));
}

TEST_F(TokenRegistryTest, TrustsNothingThatOtherUsersCouldHaveWritten) {
    const auto token = issue("ada@example.org");
    using std::filesystem::perms;
    for (const auto& path : {folder(), file()}) {
        for (const auto others : {perms::group_write, perms::others_write}) {
            std::filesystem::permissions(path, others, std::filesystem::perm_options::add);
            TokenRegistry fresh(folder());
            const auto read = fresh.refresh();
            ASSERT_FALSE(read);
            EXPECT_EQ(read.error().kind, ErrorKind::system);
            EXPECT_THAT(read.error().description,
                        HasSubstr(path.string() + " can be changed by other users"));
            EXPECT_FALSE(tokens_.issue("bob@example.org"));
            std::filesystem::permissions(path, others, std::filesystem::perm_options::remove);
        }
    }
    if (::geteuid() == 0) {  // only root can give a file away
        ASSERT_EQ(::chown(file().c_str(), 65534, 65534), 0);
        const auto refused = TokenRegistry(folder()).refresh();
        ASSERT_FALSE(refused);
        EXPECT_THAT(refused.error().description, HasSubstr("belongs to another user"));
        ASSERT_EQ(::chown(file().c_str(), 0, 0), 0);
    }
    EXPECT_TRUE(tokens_.refresh());
    EXPECT_TRUE(tokens_.find(token));
}

}  // namespace
}  // namespace tarn::relay

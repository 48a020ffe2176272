// Deployment values from a file and an environment of the test's own.

#include "TarnCore/deployment/Deployment.h"

#include <gmock/gmock.h>

#include <fstream>
#include <map>

#include "support/Program.h"

namespace tarn {
namespace {

using testing::HasSubstr;

class DeploymentTest : public testing::Test {
protected:
    Result<DeploymentValues> load(const std::string& file,
                                  std::map<std::string, std::string> variables = {}) {
        if (file.empty()) {
            std::filesystem::remove(path_);
        } else {
            std::ofstream(path_) << file;
        }
        return Deployment::load({path_, [&](const char* name) -> std::optional<std::string> {
                                     const auto found = variables.find(name);
                                     return found == variables.end() ? std::nullopt
                                                                     : std::optional(found->second);
                                 }});
    }
    const test::TemporaryFolder folder_;
    const std::filesystem::path path_ = folder_.file("deployment.json");
};

TEST_F(DeploymentTest, LaysTheEnvironmentOverTheFileOverTheLocalRelay) {
    struct Case {
        std::string file;
        std::map<std::string, std::string> variables;
        std::string values;  // the API's URL, the web's, the issues', the service
        std::vector<std::string> providers{};
    };
    const std::string local = "http://127.0.0.1:8787/tarn http://127.0.0.1:8787  ";
    const Case cases[] = {
        {"", {}, local},
        {"{}", {{"TARN_API_URL", ""}}, local},
        {R"({"apiUrl":"acc.example.org:8443","unknown":[1]})",
         {},
         "https://acc.example.org:8443/tarn https://acc.example.org:8443  "},
        {R"({"apiUrl":"https://a.example/x","serviceHost":"s","webUrl":"w.example"})",
         {{"TARN_API_URL", "http://localhost:9/t/"},
          {"TARN_ISSUES_URL", "i.example"},
          {"TARN_SERVICE_HOST", "127.0.0.1:99"}},
         "http://localhost:9/t/ https://w.example https://i.example 127.0.0.1:99"},
        {R"({"apiUrl":"https://a.example/","issuesUrl":"http://i.example/q","serviceHost":"s"})",
         {{"TARN_WEB_URL", "localhost:8931/"}},
         "https://a.example/tarn http://localhost:8931 http://i.example/q s"},
        {R"({"signInProviders":["github","email"]})",
         {{"TARN_API_URL", "[::1]:8931"}},
         "http://[::1]:8931/tarn http://[::1]:8931  ",
         {"github", "email"}},
        {R"({"allowPlainHttp":true})",
         {{"TARN_API_URL", "http://192.168.1.5:8787/tarn"}},
         "http://192.168.1.5:8787/tarn http://192.168.1.5:8787  "},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.file);
        const auto values = load(entry.file, entry.variables);
        ASSERT_TRUE(values) << values.error().description;
        EXPECT_EQ(values->apiBase.text() + " " + values->webBase.text() + " " +
                      (values->issuesPage ? values->issuesPage->text() : "") + " " + values->serviceHost,
                  entry.values);
        EXPECT_EQ(values->signInProviders, entry.providers);
        EXPECT_EQ(values->isCompiledDefault, entry.values == local);
    }
}

TEST_F(DeploymentTest, NamesTheFileOrVariableThatMakesNoSense) {
    struct Case {
        std::string file;
        std::map<std::string, std::string> variables;
        std::string says;
    };
    const auto name = path_.string();
    const Case cases[] = {
        {"{\"apiUrl\":", {}, name + " is not valid JSON"},
        {std::string(10000, '['), {}, name + " is not valid JSON"},
        {"[]", {}, name + " must hold a JSON object"},
        {R"({"apiUrl":7})", {}, name + ": \"apiUrl\" must be a string"},
        {R"({"allowPlainHttp":"yes"})", {}, name + ": \"allowPlainHttp\" must be true or false"},
        {R"({"signInProviders":"email"})", {}, name + ": \"signInProviders\" must be a list"},
        {R"({"signInProviders":["email","phone"]})", {}, "must be a list of \"email\""},
        {R"({"serviceHost":"https://s"})", {}, name + ": \"serviceHost\" must be a host name"},
        {R"({"serviceHost":"user@s"})", {}, "must be a host name"},
        {R"({"apiUrl":"http:/example.org"})", {}, "must be an http or https URL"},
        {"", {{"TARN_API_URL", "a b"}}, "TARN_API_URL: must be an http or https URL"},
        {"", {{"TARN_WEB_URL", "https://u:p@a"}}, "TARN_WEB_URL: must have no user name"},
        {"", {{"TARN_API_URL", "https://a/tarn?x=1"}}, "must have no user name, query or fragment"},
        {"",
         {{"TARN_API_URL", "http://192.168.1.5/tarn"}},
         "TARN_API_URL: http://192.168.1.5/tarn would send the sign-in"},
        {"", {{"TARN_API_URL", "http://127.0.0.1.example.org/tarn"}}, "unencrypted"},
        {R"({"webUrl":"HTTP://w.example"})", {}, "unencrypted"},
        {std::string(70000, ' '), {}, name + " is too long"},
    };
    for (const auto& entry : cases) {
        SCOPED_TRACE(entry.file.substr(0, 60));
        const auto values = load(entry.file, entry.variables);
        ASSERT_FALSE(values);
        EXPECT_THAT(values.error().description, HasSubstr(entry.says));
        EXPECT_EQ(values.error().description.find('\n'), std::string::npos);
    }
    std::filesystem::remove(path_);
    std::filesystem::create_directory(path_);
    EXPECT_THAT(Deployment::load({path_, [](const char*) { return std::nullopt; }}).error().description,
                HasSubstr(name + " is not a file"));
}

}  // namespace
}  // namespace tarn

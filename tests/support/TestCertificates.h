#pragma once

#include <chrono>
#include <string>

namespace tarn::test {

/// A certificate authority made for one test, and certificates signed by it, as PEM text.
class TestCertificates {
public:
    TestCertificates();
    ~TestCertificates();
    TestCertificates(const TestCertificates&) = delete;
    TestCertificates& operator=(const TestCertificates&) = delete;

    /// Path of a file with the authority's certificate, gone with this object.
    const std::string& authorityFile() const { return authorityFile_; }

    struct Identity {
        std::string certificate;
        std::string key;
    };
    /// `names`: subject alternative names as OpenSSL writes them ("DNS:localhost,IP:127.0.0.1");
    /// empty: none, and the subject is called "localhost".
    Identity issue(const std::string& names, std::chrono::days validFrom = std::chrono::days(-1),
                   std::chrono::days validTo = std::chrono::days(1)) const;

private:
    struct Authority;
    Authority* authority_;
    std::string authorityFile_;
};

}  // namespace tarn::test

#include "TestCertificates.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace tarn::test {
namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

Key makeKey() {
    return {EVP_EC_gen("P-256"), &EVP_PKEY_free};
}

void addExtension(X509* certificate, X509* issuer, int id, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    auto* const extension = X509V3_EXT_conf_nid(nullptr, &context, id, value.c_str());
    if (extension == nullptr) {
        throw std::runtime_error("bad certificate extension " + value);
    }
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

Certificate makeCertificate(const std::string& name, EVP_PKEY* key, X509* issuer, long serial,
                            std::chrono::days validFrom, std::chrono::days validTo) {
    Certificate certificate(X509_new(), &X509_free);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), std::chrono::seconds(validFrom).count());
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), std::chrono::seconds(validTo).count());
    X509_set_pubkey(certificate.get(), key);
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(name.c_str()), -1, -1, 0);
    X509_set_issuer_name(certificate.get(),
                         X509_get_subject_name(issuer == nullptr ? certificate.get() : issuer));
    return certificate;
}

template <typename Write>
std::string toPem(Write write) {
    BIO* const memory = BIO_new(BIO_s_mem());
    write(memory);
    char* data = nullptr;
    const auto size = BIO_get_mem_data(memory, &data);
    std::string text(data, static_cast<std::size_t>(size));
    BIO_free(memory);
    return text;
}

std::string certificatePem(X509* certificate) {
    return toPem([certificate](BIO* out) { PEM_write_bio_X509(out, certificate); });
}

}  // namespace

struct TestCertificates::Authority {
    Key key = makeKey();
    Certificate certificate{nullptr, &X509_free};
};

TestCertificates::TestCertificates() : authority_(new Authority) {
    using std::chrono::days;
    auto& own = *authority_;
    static int count = 0;
    const auto name = "Test authority " + std::to_string(++count);
    own.certificate = makeCertificate(name, own.key.get(), nullptr, 1, days(-30), days(30));
    addExtension(own.certificate.get(), own.certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
    addExtension(own.certificate.get(), own.certificate.get(), NID_key_usage, "critical,keyCertSign,cRLSign");
    X509_sign(own.certificate.get(), own.key.get(), EVP_sha256());

    std::string path = "/tmp/tarn-test-ca-XXXXXX";
    const int file = ::mkstemp(path.data());
    const auto pem = certificatePem(own.certificate.get());
    if (file < 0 || ::write(file, pem.data(), pem.size()) != static_cast<ssize_t>(pem.size())) {
        throw std::runtime_error("cannot write the test authority");
    }
    ::close(file);
    authorityFile_ = path;
}

TestCertificates::~TestCertificates() {
    ::unlink(authorityFile_.c_str());
    delete authority_;
}

TestCertificates::Identity TestCertificates::issue(const std::string& names, std::chrono::days validFrom,
                                                   std::chrono::days validTo) const {
    const auto key = makeKey();
    X509* const issuer = authority_->certificate.get();
    const auto certificate = makeCertificate(names.empty() ? "localhost" : "Test server", key.get(), issuer,
                                             2, validFrom, validTo);
    if (!names.empty()) {
        addExtension(certificate.get(), issuer, NID_subject_alt_name, names);
    }
    X509_sign(certificate.get(), authority_->key.get(), EVP_sha256());
    return {certificatePem(certificate.get()), toPem([&](BIO* out) {
                PEM_write_bio_PrivateKey(out, key.get(), nullptr, nullptr, 0, nullptr, nullptr);
            })};
}

}  // namespace tarn::test

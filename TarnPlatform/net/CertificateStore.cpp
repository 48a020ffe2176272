#include "CertificateStore.h"

#include <openssl/x509.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tarn {
namespace {

std::string place(const char* variable, const char* otherwise) {
    const char* const named = std::getenv(variable);
    return named != nullptr && *named != '\0' ? named : otherwise;
}

bool holdsCertificates(const std::string& path) {
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line)) {
        if (line.starts_with("-----BEGIN ") && line.contains("CERTIFICATE-----")) {
            return true;
        }
    }
    return false;
}

/// OpenSSL looks certificates up by file names that end in a number, such as "5f15c80c.0"; others do not
/// count.
bool hasLookupNames(const std::string& folders) {
    std::size_t start = 0;
    while (start <= folders.size()) {
        const auto end = std::min(folders.find(':', start), folders.size());
        std::error_code unreadable;
        for (const auto& entry :
             std::filesystem::directory_iterator(folders.substr(start, end - start), unreadable)) {
            if (entry.path().extension() == ".0" && holdsCertificates(entry.path())) {
                return true;
            }
        }
        start = end + 1;
    }
    return false;
}

}  // namespace

Result<std::string> certificateStore() {
    auto file = place(X509_get_default_cert_file_env(), X509_get_default_cert_file());
    if (holdsCertificates(file)) {
        return file;
    }
    auto folder = place(X509_get_default_cert_dir_env(), X509_get_default_cert_dir());
    if (hasLookupNames(folder)) {
        return folder;
    }
    return failure(ErrorKind::tls, "no certificates in " + file + " or " + folder);
}

}  // namespace tarn

#include "tests/support/TrustedAuthority.h"

#include <windows.h>

#include <wincrypt.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "tests/support/ScopedVariable.h"

namespace test {
namespace {

std::string DerOf(const std::string& pem) {
    DWORD size = 0;
    const auto length = static_cast<DWORD>(pem.size());
    CryptStringToBinaryA(pem.data(), length, CRYPT_STRING_BASE64HEADER, nullptr, &size, nullptr, nullptr);
    std::string der(size, '\0');
    if (!CryptStringToBinaryA(pem.data(), length, CRYPT_STRING_BASE64HEADER,
                              reinterpret_cast<BYTE*>(der.data()), &size, nullptr, nullptr))
        throw std::runtime_error("no certificate in PEM");
    return der;
}

// One test process at a time changes the user's store or reads it whole. wine keeps it in the registry, and
// who lists a key there while others delete from it may miss entries.
class StoreTurn {
public:
    StoreTurn()
        : file_(CreateFileW((std::filesystem::temp_directory_path() / "quillmark-test-authorities").c_str(),
                            GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)) {
        OVERLAPPED range{};
        if (!LockFileEx(file_, LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &range))
            throw std::runtime_error("no turn at the user's store");
    }
    ~StoreTurn() { CloseHandle(file_); }
    StoreTurn(const StoreTurn&) = delete;
    StoreTurn& operator=(const StoreTurn&) = delete;

private:
    HANDLE file_;
};

// The user's store of authorities; what is changed in it is written down at the end.
class Store {
public:
    Store() : store_(CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, "Root")) {
        if (!store_)
            throw std::runtime_error("there is no user's store");
    }
    ~Store() {
        CertControlStore(store_, 0, CERT_STORE_CTRL_COMMIT, nullptr);
        CertCloseStore(store_, 0);
    }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    void Add(const std::string& der) const {
        if (!CertAddEncodedCertificateToStore(store_, X509_ASN_ENCODING, Bytes(der), Size(der),
                                              CERT_STORE_ADD_REPLACE_EXISTING, nullptr))
            throw std::runtime_error("the user's store takes no certificate");
    }
    void Remove(const std::string& der) const {
        for (PCCERT_CONTEXT at = nullptr; (at = CertEnumCertificatesInStore(store_, at)) != nullptr;) {
            if (der ==
                std::string_view(reinterpret_cast<const char*>(at->pbCertEncoded), at->cbCertEncoded)) {
                CertDeleteCertificateFromStore(at);
                return;
            }
        }
    }

    static const BYTE* Bytes(const std::string& der) { return reinterpret_cast<const BYTE*>(der.data()); }
    static DWORD Size(const std::string& der) { return static_cast<DWORD>(der.size()); }

private:
    HCERTSTORE store_;
};

// Makes the process read the store now. wine does so for the first certificate that it judges, and not again:
// of several authorities in one process it knows those that were there by then.
void ReadStoreNow(const std::string& der) {
    const PCCERT_CONTEXT certificate =
        CertCreateCertificateContext(X509_ASN_ENCODING, Store::Bytes(der), Store::Size(der));
    CERT_CHAIN_PARA wanted{};
    wanted.cbSize = sizeof wanted;
    PCCERT_CHAIN_CONTEXT chain = nullptr;
    if (CertGetCertificateChain(nullptr, certificate, nullptr, nullptr, &wanted, 0, nullptr, &chain))
        CertFreeCertificateChain(chain);
    CertFreeCertificateContext(certificate);
}

}  // namespace

struct TrustedAuthority::Means {
    ScopedVariable noProxy{"no_proxy", "*"};
    std::string der;  // empty for nobody
};

TrustedAuthority::TrustedAuthority(const std::string& pemFile) : means_(std::make_unique<Means>()) {
    std::ifstream file(pemFile, std::ios::binary);
    if (!file)
        return;
    means_->der = DerOf({std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()});
    const StoreTurn turn;
    Store().Add(means_->der);
    ReadStoreNow(means_->der);
}

TrustedAuthority::~TrustedAuthority() {
    if (means_->der.empty())
        return;
    const StoreTurn turn;
    Store().Remove(means_->der);
}

}  // namespace test

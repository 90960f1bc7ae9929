#include "platform/linux/TrustStore.h"

#include <curl/curl.h>
#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace quillmarkclient_linux {
namespace {

constexpr auto kStoreLifetime = std::chrono::hours(24);
constexpr std::size_t kMaxBundleBytes = std::size_t{64} * 1024 * 1024;  // the usual one has 200 KB
constexpr std::int64_t kNsPerSecond = 1'000'000'000;

struct BioDeleter {
    void operator()(BIO* bio) const { BIO_free(bio); }
};

struct X509InfosDeleter {
    void operator()(STACK_OF(X509_INFO) * infos) const { sk_X509_INFO_pop_free(infos, X509_INFO_free); }
};

// The whole of a regular file; empty for anything else. O_NONBLOCK, because opening a FIFO would wait for a
// writer.
std::string ReadRegularFile(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return {};
    const std::unique_ptr<const int, void (*)(const int*)> closer(&descriptor,
                                                                  [](const int* fd) { close(*fd); });
    struct stat facts {};
    if (fstat(descriptor, &facts) != 0 || !S_ISREG(facts.st_mode))
        return {};

    std::string text;
    std::array<char, 16384> piece{};
    for (;;) {
        const ssize_t count = read(descriptor, piece.data(), piece.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0 || text.size() > kMaxBundleBytes)
            return {};
        if (count == 0)
            return text;
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
}

// As OpenSSL reads a bundle: certificates and revocation lists, and nothing at all from a text that doesn't
// parse.
void AddBundle(X509_STORE* store, const std::string& path) {
    const std::string text = ReadRegularFile(path);
    const std::unique_ptr<BIO, BioDeleter> bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
    if (!bio)
        return;
    const std::unique_ptr<STACK_OF(X509_INFO), X509InfosDeleter> infos(
        PEM_X509_INFO_read_bio(bio.get(), nullptr, nullptr, nullptr));
    for (int i = 0; infos && i < sk_X509_INFO_num(infos.get()); ++i) {
        const X509_INFO* info = sk_X509_INFO_value(infos.get(), i);
        if (info->x509)
            X509_STORE_add_cert(store, info->x509);
        if (info->crl)
            X509_STORE_add_crl(store, info->crl);
    }
}

// libcurl sets these on every store that it meets. They are set here, so that no exchange changes the shared
// one.
constexpr unsigned long kStoreFlags = X509_V_FLAG_TRUSTED_FIRST | X509_V_FLAG_PARTIAL_CHAIN;

X509StorePointer Load(const TrustSources& sources) {
    X509StorePointer store(X509_STORE_new());
    if (!store || X509_STORE_set_flags(store.get(), kStoreFlags) != 1)
        return nullptr;
    AddBundle(store.get(), sources.file);
    X509_LOOKUP* folders = X509_STORE_add_lookup(store.get(), X509_LOOKUP_hash_dir());
    if (folders && !sources.directories.empty())
        X509_LOOKUP_add_dir(folders, sources.directories.c_str(), X509_FILETYPE_PEM);
    ERR_clear_error();  // what is missing is no error here, and must not look like one to the handshake
    return store;
}

// Reads the variable as OpenSSL itself does: not at all in a process with raised rights.
std::string VariableOr(const char* variable, const char* otherwise) {
    const char* value = secure_getenv(variable);
    return value ? value : otherwise ? otherwise : "";
}

}  // namespace

void X509StoreDeleter::operator()(X509_STORE* store) const noexcept {
    X509_STORE_free(store);
}

TrustSources SystemTrustSources() {
    const char* bundle = curl_version_info(CURLVERSION_NOW)->cainfo;
    return {VariableOr(X509_get_default_cert_file_env(), bundle ? bundle : X509_get_default_cert_file()),
            VariableOr(X509_get_default_cert_dir_env(), X509_get_default_cert_dir())};
}

// Never destroyed: an exchange on another thread may outlive the static objects of a process that ends.
TrustStore& TrustStore::OfProcess() {
    static TrustStore& store = *new TrustStore();
    return store;
}

TrustStore::TrustStore(Sources sources, Clock now) : sources_(std::move(sources)), now_(std::move(now)) {}

X509StorePointer TrustStore::Get() {
    const std::lock_guard lock(mutex_);
    auto sources = sources_();
    auto stamps =
        StampsOf(sources);  // taken before the reading, so that a change during it is seen next time
    const auto now = now_();
    if (!store_ || sources != loadedSources_ || stamps != loadedStamps_ ||
        now - loadedAt_ >= kStoreLifetime) {
        store_ = Load(sources);
        loadedSources_ = std::move(sources);
        loadedStamps_ = std::move(stamps);
        loadedAt_ = now;
        ++loadCount_;
    }
    if (!store_ || X509_STORE_up_ref(store_.get()) != 1)
        return nullptr;
    return X509StorePointer(store_.get());
}

std::uint64_t TrustStore::GetLoadCount() const {
    const std::lock_guard lock(mutex_);
    return loadCount_;
}

TrustStore::Stamp TrustStore::StampOf(const std::string& path) {
    struct stat facts {};
    if (stat(path.c_str(), &facts) != 0)
        return {};
    return {facts.st_dev, facts.st_ino, facts.st_size,
            facts.st_mtim.tv_sec * kNsPerSecond + facts.st_mtim.tv_nsec,
            facts.st_ctim.tv_sec * kNsPerSecond + facts.st_ctim.tv_nsec};
}

std::vector<TrustStore::Stamp> TrustStore::StampsOf(const TrustSources& sources) {
    std::vector<Stamp> stamps{StampOf(sources.file)};
    std::string_view rest = sources.directories;
    while (!rest.empty()) {
        const auto directory = rest.substr(0, rest.find(':'));
        rest.remove_prefix(std::min(directory.size() + 1, rest.size()));
        stamps.push_back(StampOf(std::string(directory)));
    }
    return stamps;
}

}  // namespace quillmarkclient_linux

#pragma once

#include <openssl/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace quillmarkclient_linux {

// Where the certificates of the trusted authorities stand.
struct TrustSources {
    std::string file;         // PEM bundle
    std::string directories;  // hashed folders, separated by ':'

    bool operator==(const TrustSources&) const = default;
};

// The system's own: the bundle that libcurl was built for and OpenSSL's folder, each replaced by OpenSSL's
// variable for it, SSL_CERT_FILE and SSL_CERT_DIR.
[[nodiscard]] TrustSources SystemTrustSources();

struct X509StoreDeleter {
    void operator()(X509_STORE* store) const noexcept;
};
using X509StorePointer = std::unique_ptr<X509_STORE, X509StoreDeleter>;

// The certificates against which servers are verified, loaded once and shared by all exchanges: with OpenSSL
// 3 reading a bundle takes ten times as long as a whole exchange.
//
// They are loaded anew when the file or a folder on disk changed, when the sources name others, or when a day
// has passed. What can't be read counts as empty, so nothing is trusted on its account; a FIFO or a device is
// never opened for reading.
//
// Any thread: a lock inside guards the store; whoever comes during a load waits for it.
class TrustStore {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    using Sources = std::function<TrustSources()>;

    static TrustStore& OfProcess();

    explicit TrustStore(Sources sources = SystemTrustSources, Clock now = std::chrono::steady_clock::now);

    // A share of the store; null when memory is exhausted.
    [[nodiscard]] X509StorePointer Get();

    // How often the certificates were loaded.
    [[nodiscard]] std::uint64_t GetLoadCount() const;

private:
    // What tells one state of a path from another; all zero for a path where nothing stands.
    struct Stamp {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t size = 0;
        std::int64_t modifiedNs = 0;
        std::int64_t changedNs = 0;

        bool operator==(const Stamp&) const = default;
    };

    [[nodiscard]] static Stamp StampOf(const std::string& path);
    [[nodiscard]] static std::vector<Stamp> StampsOf(const TrustSources& sources);

    const Sources sources_;
    const Clock now_;
    mutable std::mutex mutex_;
    X509StorePointer store_;
    TrustSources loadedSources_;
    std::vector<Stamp> loadedStamps_;
    std::chrono::steady_clock::time_point loadedAt_;
    std::uint64_t loadCount_ = 0;
};

}  // namespace quillmarkclient_linux

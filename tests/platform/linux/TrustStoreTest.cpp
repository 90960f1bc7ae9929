#include "platform/linux/TrustStore.h"

#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/x509_vfy.h>

#include <cstdio>
#include <string>

#include "tests/support/ScopedVariable.h"
#include "tests/support/TemporaryFolder.h"
#include "tools/sandbox/TestCertificates.h"

namespace {

using quillmarkclient_linux::SystemTrustSources;
using quillmarkclient_linux::TrustSources;
using quillmarkclient_linux::TrustStore;
using quillmarkclient_linux::X509StorePointer;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

Certificate ReadCertificate(const std::string& pem) {
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(
        BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free);
    return {PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr), X509_free};
}

bool Verifies(const X509StorePointer& store, const std::string& pem) {
    const auto certificate = ReadCertificate(pem);
    const std::unique_ptr<X509_STORE_CTX, decltype(&X509_STORE_CTX_free)> context(X509_STORE_CTX_new(),
                                                                                  X509_STORE_CTX_free);
    return X509_STORE_CTX_init(context.get(), store.get(), certificate.get(), nullptr) == 1 &&
           X509_verify_cert(context.get()) == 1;
}

class TrustStoreTest : public testing::Test {
protected:
    TrustStoreTest() { test::WriteWhole(sources.file, authority.certificatePem()); }

    // Puts the authority where OpenSSL looks for it in a hashed folder.
    static void HashInto(const test::TemporaryFolder& folder, const sandbox::TestAuthority& signer) {
        const auto certificate = ReadCertificate(signer.certificatePem());
        char name[16] = {};
        std::snprintf(name, sizeof name, "%08lx.0", X509_subject_name_hash(certificate.get()));
        test::WriteWhole(folder.PathOf(name), signer.certificatePem());
    }

    test::TemporaryFolder folder;
    sandbox::TestAuthority authority;
    std::string leaf = authority.issue().certificatePem;
    TrustSources sources{folder.PathOf("bundle.pem"), ""};
    std::chrono::steady_clock::time_point now{std::chrono::hours(1000)};
    TrustStore store{[this] { return sources; }, [this] { return now; }};
};

TEST_F(TrustStoreTest, LoadsOnce) {
    EXPECT_EQ(store.GetLoadCount(), 0u);  // not before it is needed
    const auto first = store.Get();
    const auto second = store.Get();
    EXPECT_EQ(first.get(), second.get());
    EXPECT_TRUE(Verifies(second, leaf));
    EXPECT_EQ(store.GetLoadCount(), 1u);
}

TEST_F(TrustStoreTest, LoadsAgainWhenTheFileChanges) {
    const std::string other = authority.issue(sandbox::CertificateFlaw::selfSigned).certificatePem;
    const struct {
        const char* name;
        std::function<void()> change;
        bool verifies;
    } rows[] = {
        {"rewritten in place", [&] { test::WriteWhole(sources.file, "\n" + other); }, false},
        {"replaced by a rename",
         [&] {
             test::WriteWhole(folder.PathOf("new"), authority.certificatePem());
             std::filesystem::rename(folder.PathOf("new"), sources.file);
         },
         true},
        {"removed", [&] { std::filesystem::remove(sources.file); }, false},
        {"there again", [&] { test::WriteWhole(sources.file, authority.certificatePem()); }, true},
        {"emptied", [&] { test::WriteWhole(sources.file, ""); }, false},
        {"several in one file", [&] { test::WriteWhole(sources.file, other + authority.certificatePem()); },
         true},
    };
    (void)store.Get();
    std::uint64_t loads = 1;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        row.change();
        EXPECT_EQ(Verifies(store.Get(), leaf), row.verifies);
        EXPECT_EQ(store.GetLoadCount(), ++loads);
        (void)store.Get();
        EXPECT_EQ(store.GetLoadCount(), loads);
    }
}

TEST_F(TrustStoreTest, LoadsAgainWhenADayHasPassed) {
    static const struct {
        const char* name;
        std::chrono::milliseconds later;
        std::uint64_t loads;
    } rows[] = {
        {"at once", std::chrono::hours(0), 1},
        {"just below a day", std::chrono::hours(24) - std::chrono::milliseconds(1), 1},
        {"a day", std::chrono::milliseconds(1), 2},
        {"just below the next", std::chrono::hours(24) - std::chrono::milliseconds(1), 2},
        {"the next", std::chrono::milliseconds(1), 3},
    };
    (void)store.Get();
    for (const auto& row : rows) {
        now += row.later;
        (void)store.Get();
        EXPECT_EQ(store.GetLoadCount(), row.loads) << row.name;
    }
}

TEST_F(TrustStoreTest, LoadsAgainWhenOtherSourcesAreNamed) {
    (void)store.Get();
    sources.file = folder.PathOf("elsewhere.pem");
    EXPECT_FALSE(Verifies(store.Get(), leaf));
    EXPECT_EQ(store.GetLoadCount(), 2u);
}

TEST_F(TrustStoreTest, AShareOutlivesAReload) {
    const auto held = store.Get();
    test::WriteWhole(sources.file, "");
    EXPECT_FALSE(Verifies(store.Get(), leaf));
    EXPECT_TRUE(Verifies(held, leaf));
}

TEST_F(TrustStoreTest, LooksIntoHashedFolders) {
    const test::TemporaryFolder empty;
    const test::TemporaryFolder hashed;
    HashInto(hashed, authority);
    const struct {
        const char* name;
        std::string directories;
        bool verifies;
    } rows[] = {
        {"none", "", false},
        {"an empty one", empty.Path().string(), false},
        {"the right one", hashed.Path().string(), true},
        {"the right one as the second", empty.Path().string() + ":" + hashed.Path().string(), true},
        {"a missing one", "/nonexistent/folder", false},
    };
    sources.file = folder.PathOf("missing");
    for (const auto& row : rows) {
        sources.directories = row.directories;
        EXPECT_EQ(Verifies(store.Get(), leaf), row.verifies) << row.name;
    }
}

TEST_F(TrustStoreTest, LoadsAgainWhenAFolderChanges) {
    const test::TemporaryFolder hashed;
    sources = {folder.PathOf("missing"), hashed.Path().string()};
    EXPECT_FALSE(Verifies(store.Get(), leaf));
    HashInto(hashed, authority);
    EXPECT_TRUE(Verifies(store.Get(), leaf));
    EXPECT_EQ(store.GetLoadCount(), 2u);
}

TEST(SystemTrustSourcesTest, FollowsOpenSslsVariables) {
    static const struct {
        const char* name;
        const char* file;
        const char* directories;
        TrustSources expected;
    } rows[] = {
        {"none set", nullptr, nullptr, {"/etc/ssl/certs/ca-certificates.crt", "/usr/lib/ssl/certs"}},
        {"the file", "/a/b.pem", nullptr, {"/a/b.pem", "/usr/lib/ssl/certs"}},
        {"the folders", nullptr, "/c:/d", {"/etc/ssl/certs/ca-certificates.crt", "/c:/d"}},
        {"both", "/a/b.pem", "/c", {"/a/b.pem", "/c"}},
        {"set to nothing", "", "", {"", ""}},
    };
    for (const auto& row : rows) {
        const test::ScopedVariable file("SSL_CERT_FILE", row.file);
        const test::ScopedVariable directories("SSL_CERT_DIR", row.directories);
        EXPECT_TRUE(SystemTrustSources() == row.expected)
            << row.name << ": " << SystemTrustSources().file << " " << SystemTrustSources().directories;
    }
}

}  // namespace

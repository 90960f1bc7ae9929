// What the crypto operations do with OpenSSL's own state: they ask nobody and leave the error queue alone.
// Known vectors and the argument rows stand in tests/platform/conformance, a second opinion in
// CryptoCommandTest.cpp.
#include "platform/common/Crypto.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/ui.h>

#include <memory>
#include <string>

#include "tests/platform/common/CryptoCalls.h"

namespace {

using quillmarkclient_common::RsaPublicDecrypt;
using test::Verdict;

int questionCount = 0;

// As long as one lives, OpenSSL's questions are counted and not answered.
class CountedQuestions {
public:
    CountedQuestions() {
        questionCount = 0;
        UI_method_set_opener(method_.get(), [](UI*) {
            ++questionCount;
            return 0;
        });
        UI_set_default_method(method_.get());
    }
    ~CountedQuestions() { UI_set_default_method(former_); }
    CountedQuestions(const CountedQuestions&) = delete;
    CountedQuestions& operator=(const CountedQuestions&) = delete;

private:
    const UI_METHOD* const former_ = UI_get_default_method();
    std::unique_ptr<UI_METHOD, decltype(&UI_destroy_method)> method_{UI_create_method("counting"),
                                                                     UI_destroy_method};
};

// OpenSSL would ask at the terminal for the password of such a text.
TEST(CommonCrypto, AnEncryptedKeyTextIsUnreadableAndAsksNobody) {
    const std::string text =
        "-----BEGIN PUBLIC KEY-----\n"
        "Proc-Type: 4,ENCRYPTED\n"
        "DEK-Info: AES-128-CBC,000102030405060708090A0B0C0D0E0F\n\n"
        "MDEyMzQ1Njc4OUFCQ0RFRg==\n"
        "-----END PUBLIC KEY-----\n";
    std::uint8_t* plain = nullptr;
    std::uint32_t size = 0;
    const CountedQuestions questions;
    EXPECT_EQ(RsaPublicDecrypt(text.c_str(), "12345678", 8, &plain, &size, nullptr), 0x81000010u);
    EXPECT_EQ(Verdict(text, "m", "AAAA"), 0u);
    EXPECT_EQ(questionCount, 0);

    // The counter sees who asks: without a callback of its own, OpenSSL does.
    const std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new_mem_buf(text.data(), -1), BIO_free);
    EXPECT_EQ(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr), nullptr);
    EXPECT_GT(questionCount, 0);
    ERR_clear_error();
}

constexpr char kRsaKey[] =
    "-----BEGIN PUBLIC KEY-----\n"
    "MIGfMA0GCSqGSIb3DQEBAQUAA4GNADCBiQKBgQCp/YYk6UOtjMkivkhJAK5fKK3U\n"
    "r9z+G5ulD6GcwFvkMygwl9IvKSiDJtlsfTVMFYpUai1ufIRxnxcEIyHQC1hdzU8e\n"
    "beOXqxYm5xrLEOuW+a4G0QuZnhXGj9iHItrhpETxU0VM6YU7Fn8jQuHV8EdHCHWV\n"
    "KzfCKAkQqy+f8il/VQIDAQAB\n"
    "-----END PUBLIC KEY-----\n";

TEST(CommonCrypto, FailuresLeaveTheErrorQueueOfTheThreadAsItWas) {
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 1);
    const unsigned long own = ERR_peek_last_error();
    std::uint8_t* plain = nullptr;
    std::uint32_t size = 0;
    EXPECT_EQ(RsaPublicDecrypt("no key", "12345678", 8, &plain, &size, nullptr), 0x81000010u);
    EXPECT_EQ(RsaPublicDecrypt(kRsaKey, "12345678", 8, &plain, &size, nullptr), 0x80000001u);
    const std::string aboveTheModulus(128, '\xFF');
    EXPECT_EQ(RsaPublicDecrypt(kRsaKey, aboveTheModulus.data(), 128, &plain, &size, nullptr), 0x81000010u);
    EXPECT_EQ(Verdict("no key", "m", "AAAA"), 0u);
    EXPECT_EQ(Verdict(kRsaKey, "m", "AAAA"), 0u);
    EXPECT_EQ(ERR_peek_last_error(), own);
    EXPECT_EQ(ERR_get_error(), own);
    EXPECT_EQ(ERR_get_error(), 0u);
}

}  // namespace

#include "tools/sandbox/Jwt.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/support/Command.h"
#include "tests/tools/sandbox/SandboxClient.h"

namespace {

using test::RunCommand;
using test_support::claimsOf;

class Jwt : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "jwt-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string write(const char* name, const std::string& text) const {
        const std::string path = (folder_ / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    // What the openssl command says of the signature of a token.
    int verify(const std::string& token, const std::string& keyPem) const {
        const std::size_t dot = token.rfind('.');
        std::string signature = token.substr(dot + 1);
        std::replace(signature.begin(), signature.end(), '-', '+');
        std::replace(signature.begin(), signature.end(), '_', '/');
        signature.append((4 - signature.size() % 4) % 4, '=');
        const std::string text = write("signature.txt", signature);
        const std::string bytes = (folder_ / "signature").string();
        EXPECT_EQ(RunCommand("openssl base64 -d -A -in " + text + " -out " + bytes).exitCode, 0);
        return RunCommand("openssl dgst -sha256 -verify " + write("key.pem", keyPem) + " -signature " +
                          bytes + " " + write("signed", token.substr(0, dot)))
            .exitCode;
    }

    std::filesystem::path folder_;
};

TEST_F(Jwt, OpensslVerifiesTheSignature) {
    const sandbox::TokenSigner signer;
    const std::string token = signer.sign(R"({"userid":"u-1"})");
    EXPECT_EQ(verify(token, signer.publicKeyPem()), 0);
}

TEST_F(Jwt, OpensslRefusesAChangedPayload) {
    const sandbox::TokenSigner signer;
    std::string token = signer.sign(R"({"userid":"u-1"})");
    char& letter = token[token.find('.') + 5];
    letter = letter == 'A' ? 'B' : 'A';
    EXPECT_NE(verify(token, signer.publicKeyPem()), 0);
}

TEST_F(Jwt, HeaderNamesTheAlgorithm) {
    const std::string token = sandbox::TokenSigner().sign("{}");
    EXPECT_EQ(token.substr(0, token.find('.')), "eyJhbGciOiJSUzI1NiIsInR5cCI6IkpXVCJ9");
}

TEST_F(Jwt, PayloadUsesThePlainAlphabet) {
    static const struct {
        const char* name;
        const char* json;
        const char* payload;
    } rows[] = {
        {"a slash", R"({"a":"???"})", "eyJhIjoiPz8/In0"},
        {"a plus", R"({"a":">>>>"})", "eyJhIjoiPj4+PiJ9"},
        {"no padding", R"({"a":1})", "eyJhIjoxfQ"},
    };
    for (const auto& row : rows) {
        const std::string token = sandbox::TokenSigner().sign(row.json);
        const std::size_t begin = token.find('.') + 1;
        EXPECT_EQ(token.substr(begin, token.rfind('.') - begin), row.payload) << row.name;
        EXPECT_EQ(claimsOf(token), row.json) << row.name;
    }
}

TEST_F(Jwt, TwoSignersOfAProcessShareTheKey) {
    EXPECT_EQ(sandbox::TokenSigner().publicKeyPem(), sandbox::TokenSigner().publicKeyPem());
}

TEST_F(Jwt, UrlAlphabetHasNeitherPlusNorSlash) {
    EXPECT_EQ(sandbox::encodeBase64Plain("\xfb\xff\xfe"), "+//+");
    EXPECT_EQ(sandbox::encodeBase64Url("\xfb\xff\xfe"), "-__-");
    EXPECT_EQ(sandbox::encodeBase64Url(""), "");
}

}  // namespace

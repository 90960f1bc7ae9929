#include "tools/sandbox/TestCertificates.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "tests/support/Command.h"

namespace {

using sandbox::CertificateFlaw;
using test::RunCommand;

class TestCertificates : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "certificates-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    std::string write(const char* name, const std::string& text) const {
        const std::string path = (folder_ / name).string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    std::filesystem::path folder_;
};

TEST_F(TestCertificates, OpensslJudgesEachFlaw) {
    static const struct {
        const char* name;
        CertificateFlaw flaw;
        const char* host;
        const char* says;
    } rows[] = {
        {"good, by name", CertificateFlaw::none, "-verify_hostname localhost", ": OK"},
        {"good, by address", CertificateFlaw::none, "-verify_ip 127.0.0.1", ": OK"},
        {"good, by the newer address", CertificateFlaw::none, "-verify_ip ::1", ": OK"},
        {"good, but another name", CertificateFlaw::none, "-verify_hostname example.test",
         "hostname mismatch"},
        {"expired", CertificateFlaw::expired, "-verify_hostname localhost", "certificate has expired"},
        {"not yet valid", CertificateFlaw::notYetValid, "-verify_hostname localhost", "not yet valid"},
        {"self-signed", CertificateFlaw::selfSigned, "-verify_hostname localhost", "self-signed certificate"},
        {"wrong host", CertificateFlaw::wrongHost, "-verify_hostname localhost", "hostname mismatch"},
        {"wrong host, by address", CertificateFlaw::wrongHost, "-verify_ip 127.0.0.1", "IP address mismatch"},
        {"wrong host, by its own", CertificateFlaw::wrongHost, "-verify_hostname elsewhere.example.test",
         ": OK"},
    };
    const sandbox::TestAuthority authority;
    const std::string ca = write("ca.pem", authority.certificatePem());
    for (const auto& row : rows) {
        const std::string server = write("server.pem", authority.issue(row.flaw).certificatePem);
        const auto said = RunCommand("openssl verify -x509_strict -purpose sslserver " +
                                     std::string(row.host) + " -CAfile " + ca + " " + server);
        EXPECT_NE(said.output.find(row.says), said.output.npos) << row.name << ": " << said.output;
    }
}

TEST_F(TestCertificates, AnotherAuthorityIsNoIssuer) {
    const std::string ca = write("ca.pem", sandbox::TestAuthority().certificatePem());
    const std::string server = write("server.pem", sandbox::TestAuthority().issue().certificatePem);
    EXPECT_NE(RunCommand("openssl verify -CAfile " + ca + " " + server).exitCode, 0);
}

TEST_F(TestCertificates, KeyBelongsToTheCertificate) {
    const sandbox::ServerCertificate server = sandbox::TestAuthority().issue();
    const auto ofKey = RunCommand("openssl pkey -pubout -in " + write("key.pem", server.keyPem));
    const auto ofCertificate =
        RunCommand("openssl x509 -noout -pubkey -in " + write("server.pem", server.certificatePem));
    EXPECT_EQ(ofKey.exitCode, 0);
    EXPECT_EQ(ofKey.output, ofCertificate.output);
}

}  // namespace

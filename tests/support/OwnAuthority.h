#pragma once

#include <string>

#include "tests/support/TemporaryFolder.h"
#include "tests/support/TrustedAuthority.h"
#include "tools/sandbox/TestCertificates.h"

namespace test {

// An authority of the test's own, which the process's exchanges trust as long as it lives.
class OwnAuthority {
public:
    OwnAuthority() : bundle_(folder_.PathOf("authority.pem")), trusted_(Written()) {}

    [[nodiscard]] const sandbox::TestAuthority& Authority() const { return authority_; }
    [[nodiscard]] const std::string& BundlePath() const { return bundle_; }

private:
    const std::string& Written() const {
        WriteWhole(bundle_, authority_.certificatePem());
        return bundle_;
    }

    sandbox::TestAuthority authority_;
    TemporaryFolder folder_;
    std::string bundle_;
    TrustedAuthority trusted_;
};

}  // namespace test

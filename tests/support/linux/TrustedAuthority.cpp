#include "tests/support/TrustedAuthority.h"

#include "tests/support/ScopedVariable.h"

namespace test {

struct TrustedAuthority::Means {
    ScopedVariable file;
    ScopedVariable folder;
    ScopedVariable noProxy;
};

TrustedAuthority::TrustedAuthority(const std::string& pemFile)
    : means_(new Means{{"SSL_CERT_FILE", pemFile.c_str()},
                       {"SSL_CERT_DIR", (pemFile + ".no-such-folder").c_str()},
                       {"no_proxy", "*"}}) {}

TrustedAuthority::~TrustedAuthority() = default;

}  // namespace test

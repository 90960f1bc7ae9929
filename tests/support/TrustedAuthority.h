#pragma once

#include <memory>
#include <string>

namespace test {

// Makes this process's exchanges trust the certificate of a PEM file until the scope ends, and keeps the
// machine's own proxy out of them. Linux: of all authorities this one alone. Windows: it is added to the
// user's store.
class TrustedAuthority {
public:
    // A file that does not exist is trusted by nobody: that is no fault.
    explicit TrustedAuthority(const std::string& pemFile);
    ~TrustedAuthority();
    TrustedAuthority(const TrustedAuthority&) = delete;
    TrustedAuthority& operator=(const TrustedAuthority&) = delete;

private:
    struct Means;
    std::unique_ptr<Means> means_;
};

}  // namespace test

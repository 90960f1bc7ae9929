#pragma once

#include "core/src/registry/RegistryClient.h"

namespace registry {

// Leaves nobody signed in when its scope ends without Dismiss, by an exception included: a host that hears of
// a failed sign-in must not find a session.
//
//   SessionGuard guard(client);
//   ...                          // may return a failure or throw
//   guard.Dismiss();
template <class Api>
class SessionGuard {
public:
    explicit SessionGuard(RegistryClient<Api>& client) noexcept : client_(&client) {}
    ~SessionGuard() {
        if (client_ != nullptr)
            client_->ResetAuthState();
    }
    SessionGuard(const SessionGuard&) = delete;
    SessionGuard& operator=(const SessionGuard&) = delete;

    void Dismiss() noexcept { client_ = nullptr; }

private:
    RegistryClient<Api>* client_;
};

}  // namespace registry

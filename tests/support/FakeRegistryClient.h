// A registry session that answers what a test says, for what the real one never does.
#pragma once

#include <functional>

#include "core/src/registry/RegistryClient.h"
#include "core/src/system/SystemApi.h"

namespace test {

class FakeRegistryClient final : public registry::RegistryClient<quillmarkclient_core::SystemApi> {
public:
    FakeRegistryClient()
        : RegistryClient(registry::kCustomer, "https://service.test", "", registry::RetryPolicy(), nullptr) {}
    ~FakeRegistryClient() override {
        if (atEnd)
            atEnd();
    }

    ResultCode Authorize(const portable_stl::string&, const portable_stl::string&,
                         registry::ServiceErrorInfo*, void*) override {
        return answer;
    }
    ResultCode AuthorizeSecondFactor(const portable_stl::string&, const portable_stl::string&,
                                     registry::ServiceErrorInfo*, void*) override {
        return answer;
    }
    ResultCode SelectContext(std::uint32_t, const portable_stl::string&, registry::ServiceErrorInfo*,
                             void*) override {
        return answer;
    }
    ResultCode GetContexts(portable_stl::vector<registry::ContextEntry>&, registry::ServiceErrorInfo*,
                           void*) override {
        return answer;
    }
    ResultCode AuthorizeSocialToken(const portable_stl::string&, const portable_stl::string&,
                                    const portable_stl::string&, registry::ServiceErrorInfo*,
                                    void*) override {
        return answer;
    }
    ResultCode AuthorizeSocialToken(const portable_stl::string&, const portable_stl::string&,
                                    registry::ServiceErrorInfo*, void*) override {
        return answer;
    }
    ResultCode AuthorizeSocialCode(const portable_stl::string&, std::uint32_t, const portable_stl::string&,
                                   registry::ServiceErrorInfo*, void*) override {
        return answer;
    }
    ResultCode AuthorizeSocialCode(const portable_stl::string&, std::uint32_t, registry::ServiceErrorInfo*,
                                   void*) override {
        return answer;
    }
    ResultCode GetAuthState(registry::AuthState& state) const override {
        if (++stateCalls == failingStateCall)
            return ResultCode::kInternalError;
        state.accessToken = token.text;
        state.identitySecret = identitySecret;
        state.contextMode = contextMode;
        state.contextId = contextId;
        return ResultCode::kSuccess;
    }
    ResultCode AcquireContextToken(std::uint32_t, const portable_stl::string&, registry::ServiceErrorInfo*,
                                   void*) override {
        return answer;
    }

    ResultCode answer = ResultCode::kSuccess;
    int failingStateCall = 0;  // counted from 1; 0: none fails
    mutable int stateCalls = 0;
    std::function<void()> atEnd;
};

}  // namespace test

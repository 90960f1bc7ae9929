// What the operations of the flat interface and of both native faces answer over a table that lacks one
// entry.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/ScriptedPlatform.h"

namespace test {

/// The code of `call`, the operation's name, without `entry`; 0 where the operation can do without.
inline std::uint32_t CodeWithoutEntry(const std::string& call, Operation entry) {
    static const struct {
        Operation entry;
        std::uint32_t code;
        std::vector<std::string> calls;
    } rows[] = {
        {Operation::HttpRequest,
         0x80000006u,
         {"SignIn", "ConfirmSecondFactor", "SignInToContext", "SignInWithSocialToken", "SignInWithSocialCode",
          "GetSocialProviders", "GetCustomerContexts", "RefreshAccessToken", "GetCustomerData"}},
        {Operation::Alloc,
         0x80000003u,
         {"GetSocialProviders", "GetCustomerContexts", "GetLastServiceError", "GetAccessToken",
          "GetIdentityToken", "RefreshAccessToken", "PersistIdentityToken", "GetBasicEndpoint",
          "GetCustomerData"}},
        {Operation::Alloc, 0x81000005u, {"GetDeviceId"}},
        {Operation::GetMachineIds, 0x81000005u, {"GetDeviceId"}},
        {Operation::FileRead, 0x81000002u, {"PersistIdentityToken"}},
        {Operation::FileSetSize, 0x81000003u, {"PersistIdentityToken"}},
        {Operation::FileWrite, 0x81000003u, {"PersistIdentityToken"}},
    };
    for (const auto& row : rows) {
        if (row.entry == entry && std::find(row.calls.begin(), row.calls.end(), call) != row.calls.end())
            return row.code;
    }
    return 0;
}

/// Whether blocks are left behind without `entry`.
inline bool LosesBlocks(Operation entry) {
    return entry == Operation::Free || entry == Operation::HttpFree || entry == Operation::FreeCryptoBuffer;
}

}  // namespace test

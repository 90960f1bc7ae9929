#pragma once

namespace registry {

// The endpoint bases of the account service. Each stands directly behind the service's base URL, which ends
// without a slash.
inline constexpr char kUserRegistry[] = "/api/registry";               // user, identity records, trust list
inline constexpr char kCustomerRegistry[] = "/api/customer/registry";  // customer sign-in and tokens
inline constexpr char kBusinessRegistry[] = "/api/business/registry";  // business sign-in and tokens

inline constexpr char kPublicRegistry[] = "/api/public/registry";      // lists that need no sign-in
inline constexpr char kPrincipalAdminIdentity[] = "/api/admin/id/v0";  // administrators
inline constexpr char kNamedOperations[] = "/api/quillmark";           // operations called by name

}  // namespace registry

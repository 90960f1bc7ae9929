// Reads an account of the seed file.

#include "tools/sandbox/SeedMembers.h"
#include "tools/sandbox/Totp.h"

namespace sandbox {
namespace {

using nlohmann::json;

AccountState readState(Members& members) {
    std::string word = "active";
    members.optional("state", word);
    const auto state = accountState(word);
    if (!state)
        throw SeedError(members.place() +
                        ": \"state\" is none of active, unverified, blocked, locked, failing");
    return *state;
}

AccountKind readKind(Members& members) {
    std::string word = "customer";
    members.optional("kind", word);
    const auto kind = accountKind(word);
    if (!kind)
        throw SeedError(members.place() + ": \"kind\" is none of customer, business, administrator");
    return *kind;
}

Scope readScope(const json& element, const std::string& place) {
    Scope scope;
    Members members(element, place);
    members.required("space", scope.space);
    members.required("role", scope.role);
    members.refuseOthers();
    return scope;
}

void readScopes(Members& members, std::vector<Scope>& scopes) {
    members.each("scopes",
                 [&](const json& scope, const auto& at) { scopes.push_back(readScope(scope, at)); });
}

TrustRight readRight(const json& element, const std::string& place) {
    TrustRight right;
    Members members(element, place);
    members.required("id", right.id);
    members.required("space", right.space);
    members.required("role", right.role);
    members.optional("bans", right.bans);
    members.refuseOthers();
    return right;
}

Trust readTrust(const json& element, const std::string& place) {
    Trust trust;
    Members members(element, place);
    members.required("id", trust.id);
    members.required("trustorId", trust.trustorId);
    members.required("type", trust.type);
    members.optional("name", trust.name);
    members.optional("firstName", trust.firstName);
    members.optional("middleName", trust.middleName);
    members.optional("lastName", trust.lastName);
    members.optional("email", trust.email);
    members.optional("phone", trust.phone);
    members.optional("businessContactNumber", trust.businessContactNumber);
    readScopes(members, trust.scopes);
    members.each("rights",
                 [&](const json& right, const auto& at) { trust.rights.push_back(readRight(right, at)); });
    members.refuseOthers();
    return trust;
}

Customer readCustomer(const json& element, const std::string& place) {
    Customer customer;
    Members members(element, place);
    members.required("id", customer.id);
    members.required("firstName", customer.firstName);
    members.required("lastName", customer.lastName);
    members.required("middleName", customer.middleName);
    members.required("email", customer.email);
    members.required("language", customer.language);
    members.required("country", customer.country);
    members.required("state", customer.state);
    members.required("city", customer.city);
    members.required("address", customer.address);
    members.required("emailConfirmed", customer.emailConfirmed);
    members.required("role", customer.role);
    members.required("gdprStatus", customer.gdprStatus);
    members.required("uwgStatus", customer.uwgStatus);
    members.refuseOthers();
    return customer;
}

void readTotpSecret(Members& members, Account& account) {
    if (!members.optional("totpSecret", account.totpSecret))
        return;
    if (decodeBase32(account.totpSecret).value_or("").empty())
        throw SeedError(members.place() + ": \"totpSecret\" is not base32");
}

// What only customers have: a second factor, contexts.
void readCustomersOwn(Members& members, Account& account) {
    readTotpSecret(members, account);
    members.required("ownContext", account.ownContext);
    members.optional("customerNumber", account.customerNumber);
    members.optional("customerContactNumber", account.customerContactNumber);
    members.each("trusts",
                 [&](const json& trust, const auto& at) { account.trusts.push_back(readTrust(trust, at)); });
}

}  // namespace

Account readAccount(const json& element, const std::string& place) {
    Account account;
    Members members(element, place);
    members.required("name", account.name);
    account.kind = readKind(members);
    members.required("login", account.login);
    members.requiredText("password", account.password);
    account.state = readState(members);
    if (account.kind == AccountKind::customer)
        readCustomersOwn(members, account);
    if (account.kind == AccountKind::business)
        members.optional("businessContactNumber", account.businessContactNumber);
    readScopes(members, account.scopes);
    json customer;
    members.required("customer", customer);
    account.customer = readCustomer(customer, place + ".customer");
    members.refuseOthers();
    return account;
}

}  // namespace sandbox

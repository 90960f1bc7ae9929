#include "tools/sandbox/Accounts.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <set>

#include "tools/sandbox/Totp.h"

namespace sandbox {
namespace {

using nlohmann::json;

// Reads the members of one object and knows its place in the file for the messages. A member that nobody
// asked for is an error: it is mostly a misspelt one.
class Members {
public:
    Members(const json& object, std::string place) : object_(object), place_(std::move(place)) {
        if (!object.is_object())
            throw SeedError(place_ + " is not an object");
    }

    template <typename Value>
    void required(const char* name, Value& out) {
        if (!optional(name, out))
            throw SeedError(place_ + " lacks \"" + name + "\"");
    }

    template <typename Value>
    bool optional(const char* name, Value& out) {
        known_.insert(name);
        if (!object_.contains(name))
            return false;
        try {
            object_.at(name).get_to(out);
        } catch (const json::exception&) {
            throw SeedError(place_ + ": \"" + name + "\" has the wrong type");
        }
        return true;
    }

    // Calls `read(element, place)` for each element of an array that may be missing.
    template <typename Read>
    void each(const char* name, Read read) {
        known_.insert(name);
        if (!object_.contains(name))
            return;
        if (!object_.at(name).is_array())
            throw SeedError(place_ + ": \"" + name + "\" is not an array");
        std::size_t index = 0;
        for (const json& element : object_.at(name))
            read(element, place_ + "." + name + "[" + std::to_string(index++) + "]");
    }

    void refuseOthers() const {
        for (const auto& member : object_.items()) {
            if (!known_.contains(member.key()))
                throw SeedError(place_ + " has the unknown member \"" + member.key() + "\"");
        }
    }

    [[nodiscard]] const std::string& place() const { return place_; }

private:
    const json& object_;
    std::string place_;
    std::set<std::string> known_;
};

struct StateWord {
    std::string_view word;
    AccountState state;
};

constexpr StateWord kStateWords[] = {
    {"active", AccountState::active},
    {"unverified", AccountState::unverified},
    {"blocked", AccountState::blocked},
    {"locked", AccountState::locked},
};

AccountState readState(Members& members) {
    std::string word = "active";
    members.optional("state", word);
    const auto* found = std::find_if(std::begin(kStateWords), std::end(kStateWords),
                                     [&word](const StateWord& row) { return row.word == word; });
    if (found == std::end(kStateWords))
        throw SeedError(members.place() + ": \"state\" is none of active, unverified, blocked, locked");
    return found->state;
}

Scope readScope(const json& element, const std::string& place) {
    Scope scope;
    Members members(element, place);
    members.required("space", scope.space);
    members.required("role", scope.role);
    members.refuseOthers();
    return scope;
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
    members.each("scopes",
                 [&](const json& scope, const auto& at) { trust.scopes.push_back(readScope(scope, at)); });
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

Account readAccount(const json& element, const std::string& place) {
    Account account;
    Members members(element, place);
    members.required("name", account.name);
    members.required("login", account.login);
    members.required("password", account.password);
    readTotpSecret(members, account);
    account.state = readState(members);
    members.required("ownContext", account.ownContext);
    members.optional("customerNumber", account.customerNumber);
    members.optional("customerContactNumber", account.customerContactNumber);
    json customer;
    members.required("customer", customer);
    account.customer = readCustomer(customer, place + ".customer");
    members.each("scopes",
                 [&](const json& scope, const auto& at) { account.scopes.push_back(readScope(scope, at)); });
    members.each("trusts",
                 [&](const json& trust, const auto& at) { account.trusts.push_back(readTrust(trust, at)); });
    members.refuseOthers();
    return account;
}

void readRule(Members& members, const char* name, std::int64_t& value) {
    members.optional(name, value);
    if (value <= 0)
        throw SeedError(members.place() + ": \"" + name + "\" must be greater than 0");
}

Rules readRules(const json& element) {
    Rules rules;
    Members members(element, "rules");
    readRule(members, "tokenLifetimeSeconds", rules.tokenLifetimeSeconds);
    readRule(members, "challengeLifetimeSeconds", rules.challengeLifetimeSeconds);
    readRule(members, "wrongCodesPerChallenge", rules.wrongCodesPerChallenge);
    readRule(members, "wrongPasswordsBeforeLock", rules.wrongPasswordsBeforeLock);
    readRule(members, "lockSeconds", rules.lockSeconds);
    members.refuseOthers();
    return rules;
}

// Logins are e-mail addresses and so compared exactly here; two equal ones would hide the second account.
void refuseDoubles(const Seed& seed) {
    std::set<std::string> seen;
    for (const Account& account : seed.accounts) {
        if (!seen.insert("name " + account.name).second)
            throw SeedError("two accounts have the name \"" + account.name + "\"");
        if (!seen.insert("login " + account.login).second)
            throw SeedError("two accounts have the login \"" + account.login + "\"");
    }
}

}  // namespace

Seed readSeed(std::string_view text) {
    const json document = json::parse(text, nullptr, false);
    if (document.is_discarded())
        throw SeedError("the seed is not JSON");
    Seed seed;
    Members members(document, "seed");
    json rules = json::object();
    members.optional("rules", rules);
    seed.rules = readRules(rules);
    members.each("accounts", [&](const json& account, const auto& at) {
        seed.accounts.push_back(readAccount(account, at));
    });
    members.refuseOthers();
    refuseDoubles(seed);
    return seed;
}

Seed readSeedFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw SeedError("the seed file " + path + " cannot be opened");
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    return readSeed(text);
}

std::string defaultSeedFile() {
    return QUILLMARK_SANDBOX_SEED_FILE;
}

const Account& accountNamed(const Seed& seed, std::string_view name) {
    const auto found = std::find_if(seed.accounts.begin(), seed.accounts.end(),
                                    [name](const Account& account) { return account.name == name; });
    if (found == seed.accounts.end())
        throw SeedError("there is no account of the name \"" + std::string(name) + "\"");
    return *found;
}

}  // namespace sandbox

#include "tools/sandbox/Accounts.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

#include "tools/sandbox/SeedMembers.h"

namespace sandbox {
namespace {

using nlohmann::json;

struct StateWord {
    std::string_view word;
    AccountState value;
};

constexpr StateWord kStateWords[] = {
    {"active", AccountState::active},   {"unverified", AccountState::unverified},
    {"blocked", AccountState::blocked}, {"locked", AccountState::locked},
    {"failing", AccountState::failing},
};

struct KindWord {
    std::string_view word;
    AccountKind value;
};

constexpr KindWord kKindWords[] = {
    {"customer", AccountKind::customer},
    {"business", AccountKind::business},
    {"administrator", AccountKind::administrator},
};

template <typename Row, std::size_t size>
auto valueOf(const Row (&rows)[size], std::string_view word) -> std::optional<decltype(rows->value)> {
    const auto* found =
        std::find_if(std::begin(rows), std::end(rows), [word](const Row& row) { return row.word == word; });
    if (found == std::end(rows))
        return std::nullopt;
    return found->value;
}

template <typename Entry>
const Entry& named(const std::vector<Entry>& entries, const char* what, std::string_view name) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [name](const Entry& entry) { return entry.name == name; });
    if (found == entries.end())
        throw SeedError(std::string("there is no ") + what + " of the name \"" + std::string(name) + "\"");
    return *found;
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

// How long work under an Idempotency-Key takes.
template <typename Rule>
void readBusy(Members& members, Rule& rule) {
    members.number("busyAnswers", 0, rule.busyAnswers);
    members.number("busySeconds", 0, rule.busySeconds);
    members.number("retryAfterSeconds", 0, rule.retryAfterSeconds);
}

}  // namespace

TicketRule readTicketRule(const json& element, const std::string& place) {
    TicketRule rule;
    Members members(element, place);
    readBusy(members, rule);
    members.refuseOthers();
    return rule;
}

FinalizationRule readFinalizationRule(const json& element, const std::string& place) {
    FinalizationRule rule;
    Members members(element, place);
    readBusy(members, rule);
    members.number("successStatus", 200, rule.successStatus);
    members.refuseOthers();
    if (rule.successStatus != 200 && rule.successStatus != 204)
        throw SeedError(place + ": \"successStatus\" is 200 or 204");
    return rule;
}

Rules readRules(const json& element, const std::string& place) {
    Rules rules;
    Members members(element, place);
    members.number("tokenLifetimeSeconds", 1, rules.tokenLifetimeSeconds);
    members.number("challengeLifetimeSeconds", 1, rules.challengeLifetimeSeconds);
    members.number("wrongCodesPerChallenge", 1, rules.wrongCodesPerChallenge);
    members.number("wrongPasswordsBeforeLock", 1, rules.wrongPasswordsBeforeLock);
    members.number("lockSeconds", 1, rules.lockSeconds);
    members.number("codeLifetimeSeconds", 1, rules.codeLifetimeSeconds);
    members.number("idempotencyLifetimeSeconds", 1, rules.idempotencyLifetimeSeconds);
    json finalization = json::object();
    members.optional("finalization", finalization);
    rules.finalization = readFinalizationRule(finalization, place + ".finalization");
    json tickets = json::object();
    members.optional("tickets", tickets);
    rules.tickets = readTicketRule(tickets, place + ".tickets");
    members.refuseOthers();
    return rules;
}

Seed readSeed(std::string_view text) {
    const json document = json::parse(text, nullptr, false);
    if (document.is_discarded())
        throw SeedError("the seed is not JSON");
    Seed seed;
    Members members(document, "seed");
    json rules = json::object();
    members.optional("rules", rules);
    seed.rules = readRules(rules, "rules");
    members.each("accounts", [&](const json& account, const auto& at) {
        seed.accounts.push_back(readAccount(account, at));
    });
    members.each("providers", [&](const json& provider, const auto& at) {
        seed.providers.push_back(readProvider(provider, at));
    });
    members.each("people", [&](const json& person, const auto& at) {
        seed.people.push_back(readSocialPerson(person, at));
    });
    members.each("feeds",
                 [&](const json& feed, const auto& at) { seed.feeds.push_back(readProductFeed(feed, at)); });
    members.refuseOthers();
    refuseDoubles(seed);
    refuseBrokenSocial(seed);
    refuseDoubleFeeds(seed);
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
    return named(seed.accounts, "account", name);
}

const SocialPerson& personNamed(const Seed& seed, std::string_view name) {
    return named(seed.people, "social person", name);
}

std::optional<AccountState> accountState(std::string_view word) {
    return valueOf(kStateWords, word);
}

std::optional<AccountKind> accountKind(std::string_view word) {
    return valueOf(kKindWords, word);
}

std::string_view accountKindWord(AccountKind kind) {
    for (const KindWord& row : kKindWords) {
        if (row.value == kind)
            return row.word;
    }
    return {};
}

}  // namespace sandbox

#include "tests/facade/ContextSeed.h"

#include <string>
#include <vector>

namespace test_support {

namespace {

enum class Contexts { ownAndPerson, twoPersons, none, several };

struct Row {
    const char* name;
    Contexts contexts;
    bool hasSecondFactor;
};

constexpr Row kRows[] = {
    {"own-and-person", Contexts::ownAndPerson, false},
    {"two-persons", Contexts::twoPersons, false},
    {"no-context", Contexts::none, false},
    {"factor-then-choice", Contexts::several, true},
    {"factor-then-one", Contexts::ownAndPerson, true},
    {"factor-then-none", Contexts::twoPersons, true},
};

sandbox::Trust trustOfPerson(const std::string& id) {
    sandbox::Trust trust;
    trust.id = "trust-" + id;
    trust.trustorId = id;
    trust.type = "Person";
    return trust;
}

void giveContexts(sandbox::Account& account, Contexts contexts, const sandbox::Seed& seed) {
    account.ownContext = contexts == Contexts::ownAndPerson || contexts == Contexts::several;
    if (contexts == Contexts::several)
        account.trusts = sandbox::accountNamed(seed, "several-contexts").trusts;
    if (contexts == Contexts::ownAndPerson || contexts == Contexts::twoPersons)
        account.trusts.push_back(trustOfPerson("person-1"));
    if (contexts == Contexts::twoPersons)
        account.trusts.push_back(trustOfPerson("person-2"));
}

sandbox::Account accountOf(const Row& row, const sandbox::Seed& seed) {
    sandbox::Account account = sandbox::accountNamed(seed, "plain");
    account.name = row.name;
    account.login = account.name + "@example.test";
    account.customer.email = account.login;
    if (row.hasSecondFactor)
        account.totpSecret = sandbox::accountNamed(seed, "second-factor").totpSecret;
    giveContexts(account, row.contexts, seed);
    return account;
}

sandbox::SocialPerson personOf(const sandbox::Account& account, const sandbox::Seed& seed) {
    sandbox::SocialPerson person;
    person.name = account.name;
    person.provider = seed.providers.front().key;
    person.accessToken = "token-" + account.name;
    person.code = "code-" + account.name;
    person.email = account.login;
    person.account = account.name;
    return person;
}

}  // namespace

sandbox::Seed contextSeed() {
    sandbox::Seed seed = sandbox::readSeedFile(sandbox::defaultSeedFile());
    for (const Row& row : kRows) {
        seed.accounts.push_back(accountOf(row, seed));
        seed.people.push_back(personOf(seed.accounts.back(), seed));
    }
    return seed;
}

}  // namespace test_support

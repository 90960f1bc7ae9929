// Reads providers and social people of the seed file.

#include <algorithm>
#include <set>

#include "tools/sandbox/SeedMembers.h"

namespace sandbox {
namespace {

// The texts of one kind that were seen so far.
class Unique {
public:
    explicit Unique(const char* sentence) : sentence_(sentence) {}

    void take(const std::string& text) {
        if (!seen_.insert(text).second)
            throw SeedError(sentence_ + (" \"" + text + "\""));
    }

private:
    std::string sentence_;
    std::set<std::string> seen_;
};

bool hasProvider(const Seed& seed, const std::string& key) {
    return std::any_of(seed.providers.begin(), seed.providers.end(),
                       [&key](const Provider& provider) { return provider.key == key; });
}

void refuseBrokenLinks(const Seed& seed, const SocialPerson& person) {
    const std::string place = "the social person \"" + person.name + "\"";
    if (!hasProvider(seed, person.provider))
        throw SeedError(place + " names the unknown provider \"" + person.provider + "\"");
    if (person.account.empty())
        return;
    const bool isThere =
        std::any_of(seed.accounts.begin(), seed.accounts.end(), [&person](const Account& account) {
            return account.name == person.account && account.kind != AccountKind::administrator;
        });
    if (!isThere)
        throw SeedError(place + " is linked to \"" + person.account +
                        "\", which is no account of a customer or a business");
}

}  // namespace

Provider readProvider(const nlohmann::json& element, const std::string& place) {
    Provider provider;
    Members members(element, place);
    members.requiredText("key", provider.key);
    members.requiredText("displayName", provider.displayName);
    members.refuseOthers();
    return provider;
}

SocialPerson readSocialPerson(const nlohmann::json& element, const std::string& place) {
    SocialPerson person;
    Members members(element, place);
    members.requiredText("name", person.name);
    members.requiredText("provider", person.provider);
    members.requiredText("accessToken", person.accessToken);
    members.requiredText("code", person.code);
    members.requiredText("email", person.email);
    members.optional("firstName", person.firstName);
    members.optional("lastName", person.lastName);
    members.optional("account", person.account);
    members.refuseOthers();
    return person;
}

void refuseBrokenSocial(const Seed& seed) {
    Unique keys("two providers have the key");
    Unique names("two social people have the name");
    Unique tokens("two social people have the access token");
    Unique codes("two social people have the code");
    for (const Provider& provider : seed.providers)
        keys.take(provider.key);
    for (const SocialPerson& person : seed.people) {
        names.take(person.name);
        tokens.take(person.accessToken);
        codes.take(person.code);
        refuseBrokenLinks(seed, person);
    }
}

}  // namespace sandbox

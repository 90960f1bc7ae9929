#include "tools/sandbox/SocialBook.h"

#include <algorithm>

#include "tools/sandbox/Expiry.h"
#include "tools/sandbox/Random.h"

namespace sandbox {

constexpr std::size_t kCodeBytes = 16;

void SocialBook::reset(const Seed& seed, AccountBook& accounts, std::int64_t codesExpireAt) {
    seed_ = &seed;
    codes_.clear();
    links_.clear();
    signUps_.clear();
    for (const SocialPerson& person : seed.people) {
        codes_[person.code] = {&person, codesExpireAt, false};
        if (person.account.empty())
            continue;
        AccountRecord* account = accounts.ofName(person.account);
        if (account == nullptr)
            throw SeedError("there is no account of the name \"" + person.account + "\"");
        link(person, *account);
    }
}

bool SocialBook::hasProvider(std::string_view key) const {
    return std::any_of(seed_->providers.begin(), seed_->providers.end(),
                       [key](const Provider& provider) { return provider.key == key; });
}

const SocialPerson* SocialBook::ofToken(std::string_view provider, std::string_view accessToken) const {
    const auto found = std::find_if(seed_->people.begin(), seed_->people.end(), [&](const auto& person) {
        return person.provider == provider && person.accessToken == accessToken;
    });
    return found == seed_->people.end() ? nullptr : &*found;
}

std::string SocialBook::issueCode(const SocialPerson& person, std::int64_t expiresAt) {
    std::string code = randomHex(kCodeBytes);
    codes_[code] = {&person, expiresAt, false};
    return code;
}

AuthorizationCode* SocialBook::codeOf(const std::string& code, std::int64_t now) {
    return findLive(codes_, code, now);
}

void SocialBook::forgetExpired(std::int64_t now) {
    eraseExpired(codes_, now);
}

AccountRecord* SocialBook::accountOf(const SocialPerson& person) const {
    const auto found = links_.find(&person);
    return found == links_.end() ? nullptr : found->second;
}

SignUp& SocialBook::signUpOf(const SocialPerson& person) {
    const auto found = std::find_if(signUps_.begin(), signUps_.end(),
                                    [&person](const SignUp& signUp) { return signUp.person == &person; });
    if (found != signUps_.end())
        return *found;
    SignUp& begun = signUps_.emplace_back();
    begun.person = &person;
    return begun;
}

}  // namespace sandbox

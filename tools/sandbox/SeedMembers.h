// One object of the seed file, read member by member.
//
// Knows its place in the file for the messages. A member that nobody asked for is an error: it is mostly a
// misspelt one. All functions throw SeedError with a sentence.
#pragma once

#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "tools/sandbox/Accounts.h"

namespace sandbox {

class Members {
public:
    // `object` must outlive the reader.
    Members(const nlohmann::json& object, std::string place) : object_(object), place_(std::move(place)) {
        if (!object.is_object())
            throw SeedError(place_ + " is not an object");
    }

    template <typename Value>
    void required(const char* name, Value& out) {
        if (!optional(name, out))
            throw SeedError(place_ + " lacks \"" + name + "\"");
    }

    // False if there is none; `out` is left alone then.
    template <typename Value>
    bool optional(const char* name, Value& out) {
        known_.insert(name);
        if (!object_.contains(name))
            return false;
        try {
            object_.at(name).get_to(out);
        } catch (const nlohmann::json::exception&) {
            throw SeedError(place_ + ": \"" + name + "\" has the wrong type");
        }
        return true;
    }

    // As `required`, for a text that must say something.
    void requiredText(const char* name, std::string& out) {
        required(name, out);
        if (out.empty())
            throw SeedError(place_ + ": \"" + name + "\" is empty");
    }

    // As `optional`, for a whole number from `least` on. The end keeps sums with a clock in range.
    void number(const char* name, std::int64_t least, std::int64_t& out) {
        if (object_.contains(name) && !object_.at(name).is_number_integer())
            throw SeedError(place_ + ": \"" + name + "\" has the wrong type");
        optional(name, out);
        if (out < least || out > kMostNumber)
            throw SeedError(place_ + ": \"" + name + "\" must be at least " + std::to_string(least) +
                            " and at most " + std::to_string(kMostNumber));
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
        for (const nlohmann::json& element : object_.at(name))
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
    static constexpr std::int64_t kMostNumber = 1'000'000'000;

    const nlohmann::json& object_;
    std::string place_;
    std::set<std::string> known_;
};

// Readers of single parts; each takes the element and its place in the file.
[[nodiscard]] Rules readRules(const nlohmann::json& element, const std::string& place);
[[nodiscard]] FinalizationRule readFinalizationRule(const nlohmann::json& element, const std::string& place);
[[nodiscard]] TicketRule readTicketRule(const nlohmann::json& element, const std::string& place);
[[nodiscard]] ProductFeed readProductFeed(const nlohmann::json& element, const std::string& place);
[[nodiscard]] Account readAccount(const nlohmann::json& element, const std::string& place);
[[nodiscard]] Provider readProvider(const nlohmann::json& element, const std::string& place);
[[nodiscard]] SocialPerson readSocialPerson(const nlohmann::json& element, const std::string& place);

// Checks that names, keys, tokens and codes are the only ones of their kind and that links lead somewhere.
void refuseBrokenSocial(const Seed& seed);

// Checks that no two feeds have one name.
void refuseDoubleFeeds(const Seed& seed);

}  // namespace sandbox

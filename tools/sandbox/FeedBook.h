// The update feeds, one for each product and language, and what is wrong with them at the moment. Not
// guarded: AccountService holds its mutex around every use.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "tools/sandbox/Accounts.h"

namespace sandbox {

enum class FeedState {
    whole,
    malformed,  // ends in the middle of an item
    empty,      // not a byte
    noItems,    // a channel that offers nothing
    missing,
};

// The words of the control path.
[[nodiscard]] std::optional<FeedState> feedState(std::string_view word);

class FeedBook {
public:
    // `seed` must live until the next reset.
    void reset(const Seed& seed);

    // By the whole name, such as "harbour_home_en"; nothing if there is no such feed now.
    [[nodiscard]] std::optional<std::string> documentOf(std::string_view name) const;
    // False if the seed has no such feed.
    bool setState(std::string_view name, FeedState state);

private:
    struct Feed {
        const ProductFeed* product = nullptr;
        std::string language;
        FeedState state = FeedState::whole;
    };
    std::map<std::string, Feed, std::less<>> feeds_;
};

}  // namespace sandbox

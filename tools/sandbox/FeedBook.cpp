#include "tools/sandbox/FeedBook.h"

#include <algorithm>
#include <iterator>

#include "tools/sandbox/FeedDocument.h"

namespace sandbox {
namespace {

struct StateWord {
    std::string_view word;
    FeedState value;
};

constexpr StateWord kStateWords[] = {
    {"whole", FeedState::whole},      {"malformed", FeedState::malformed}, {"empty", FeedState::empty},
    {"no-items", FeedState::noItems}, {"missing", FeedState::missing},
};

// Up to the middle, in front of the next end of an element: there the reader still waits for several.
std::string brokenOff(std::string document) {
    document.resize(document.find("</", document.size() / 2));
    return document;
}

}  // namespace

std::optional<FeedState> feedState(std::string_view word) {
    const auto* found = std::find_if(std::begin(kStateWords), std::end(kStateWords),
                                     [word](const StateWord& row) { return row.word == word; });
    if (found == std::end(kStateWords))
        return std::nullopt;
    return found->value;
}

void FeedBook::reset(const Seed& seed) {
    feeds_.clear();
    for (const ProductFeed& product : seed.feeds) {
        for (const std::string& language : product.languages)
            feeds_[product.name + "_" + language] = {&product, language};
    }
}

std::optional<std::string> FeedBook::documentOf(std::string_view name) const {
    const auto found = feeds_.find(name);
    if (found == feeds_.end())
        return std::nullopt;
    const Feed& feed = found->second;
    switch (feed.state) {
        case FeedState::whole:
            return feedDocument(*feed.product, feed.language);
        case FeedState::malformed:
            return brokenOff(feedDocument(*feed.product, feed.language));
        case FeedState::noItems:
            return feedWithoutItems(*feed.product, feed.language);
        case FeedState::empty:
            return std::string();
        case FeedState::missing:
            break;
    }
    return std::nullopt;
}

bool FeedBook::setState(std::string_view name, FeedState state) {
    const auto found = feeds_.find(name);
    if (found != feeds_.end())
        found->second.state = state;
    return found != feeds_.end();
}

}  // namespace sandbox

// Reads the update feeds of the seed file.

#include <algorithm>
#include <set>

#include "tools/sandbox/FeedDocument.h"
#include "tools/sandbox/SeedMembers.h"

namespace sandbox {
namespace {

// Clients ask in lower case.
bool isFeedName(const std::string& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char byte) {
        return (byte >= 'a' && byte <= 'z') || (byte >= '0' && byte <= '9') || byte == '_';
    });
}

std::string readName(const nlohmann::json& element, const std::string& place) {
    if (!element.is_string() || !isFeedName(element.get<std::string>()))
        throw SeedError(place + " is no text of a-z, 0-9 and underscores");
    return element.get<std::string>();
}

}  // namespace

ProductFeed readProductFeed(const nlohmann::json& element, const std::string& place) {
    ProductFeed feed;
    Members members(element, place);
    nlohmann::json name;
    members.required("name", name);
    feed.name = readName(name, place + ".name");
    members.requiredText("title", feed.title);
    members.each("languages", [&](const nlohmann::json& language, const auto& at) {
        feed.languages.push_back(readName(language, at));
    });
    if (feed.languages.empty())
        throw SeedError(place + " lacks \"languages\"");
    members.requiredText("newestVersion", feed.newestVersion);
    if (!buildVersion(feed.newestVersion))
        throw SeedError(place + ": \"newestVersion\" is no three numbers such as 8.4.2");
    feed.builds = 1;
    members.number("builds", 1, feed.builds);
    members.refuseOthers();
    return feed;
}

void refuseDoubleFeeds(const Seed& seed) {
    std::set<std::string> seen;
    for (const ProductFeed& feed : seed.feeds) {
        for (const std::string& language : feed.languages) {
            if (!seen.insert(feed.name + "_" + language).second)
                throw SeedError("two feeds have the name \"" + feed.name + "_" + language + "\"");
        }
    }
}

}  // namespace sandbox

#include "core/src/client/UpdateFeed.h"

#include <cstddef>
#include <cstdint>

#include "core/src/client/XmlNode.h"
#include "core/src/json/Json.h"

namespace quillmarkclient_core {

using portable_stl::string;

namespace {

constexpr std::int32_t kNoNumber = -1;
constexpr char kPlatform[] = "Windows";
constexpr char kArchitecture[] = "x64";

std::int32_t ParsePart(const char* text, std::size_t length) noexcept {
    const bool isNegative = length != 0 && text[0] == '-';
    const std::size_t start = isNegative ? 1 : 0;
    if (start == length)
        return kNoNumber;
    const std::int64_t largest = std::int64_t{INT32_MAX} + (isNegative ? 1 : 0);
    std::int64_t value = 0;
    for (std::size_t i = start; i < length; ++i) {
        if (text[i] < '0' || text[i] > '9')
            return kNoNumber;
        value = value * 10 + (text[i] - '0');
        if (value > largest)
            return kNoNumber;
    }
    return static_cast<std::int32_t>(isNegative ? -value : value);
}

// The number in front of the next dot; `start` moves behind that.
std::int32_t TakePart(const string& version, std::size_t& start) noexcept {
    const std::size_t dot = version.find('.', start);
    const std::size_t end = dot == string::npos ? version.size() : dot;
    const std::int32_t part = ParsePart(version.data() + start, end - start);
    start = dot == string::npos ? end : dot + 1;
    return part;
}

// What the choice looks at. The first child of a name counts, but for the categories.
struct Item {
    const xml::XmlNode* title = nullptr;
    const xml::XmlNode* enclosure = nullptr;
    const xml::XmlNode* content = nullptr;
    bool hasPlatform = false;
    bool hasArchitecture = false;
};

Item ReadItem(const xml::XmlNode& node) {
    Item item;
    item.title = xml::FindXmlChild(node, "title", false);
    item.enclosure = xml::FindXmlChild(node, "enclosure", false);
    item.content = xml::FindXmlChild(node, "content:encoded", false);
    for (const xml::XmlNode& child : node.children) {
        if (!json::KeyEquals(child.name, "category"))
            continue;
        item.hasPlatform = item.hasPlatform || json::KeyEquals(child.text, kPlatform);
        item.hasArchitecture = item.hasArchitecture || json::KeyEquals(child.text, kArchitecture);
    }
    return item;
}

bool IsCandidate(const Item& item, const string& currentVersion) {
    return item.title != nullptr && item.content != nullptr && item.hasPlatform && item.hasArchitecture &&
           IsNewerVersion(item.title->text, currentVersion);
}

string UrlOf(const xml::XmlNode& enclosure) {
    for (const xml::XmlAttribute& attribute : enclosure.attributes) {
        if (json::KeyEquals(attribute.name, "url"))
            return attribute.value;
    }
    return {};
}

}  // namespace

bool IsNewerVersion(const string& version, const string& other) noexcept {
    std::size_t start = 0;
    std::size_t otherStart = 0;
    while (start < version.size() && otherStart < other.size()) {
        const std::int32_t part = TakePart(version, start);
        const std::int32_t otherPart = TakePart(other, otherStart);
        if (part != otherPart)
            return part > otherPart;
    }
    return false;
}

ResultCode ChooseUpdate(const string& feed, const string& currentVersion, ProductUpdateInfo& result) {
    xml::XmlNode document;
    if (xml::ParseXml(feed, document) != 0)
        return ResultCode::kFeedInvalid;
    const xml::XmlNode* const rss = xml::FindXmlChild(document, "rss", false);
    const xml::XmlNode* const channel = rss != nullptr ? xml::FindXmlChild(*rss, "channel", false) : nullptr;
    if (channel == nullptr)
        return ResultCode::kFeedInvalid;
    for (const xml::XmlNode& node : channel->children) {
        if (!json::KeyEquals(node.name, "item"))
            continue;
        const Item item = ReadItem(node);
        if (!IsCandidate(item, currentVersion))
            continue;
        if (!result.version.empty() && !IsNewerVersion(item.title->text, result.version))
            continue;
        result.version = item.title->text;
        result.description = item.content->text;
        if (item.enclosure != nullptr)
            result.url = UrlOf(*item.enclosure);
    }
    return result.version.empty() ? ResultCode::kNoUpdate : ResultCode::kSuccess;
}

string FeedName(const string& feedName, const string& feedVariant, const string& language) {
    return LowerCase(feedName + "_" + feedVariant + "_" + language);
}

string LowerCase(const string& text) {
    string lower = text;
    for (char& character : lower) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    }
    return lower;
}

}  // namespace quillmarkclient_core

#include "tools/sandbox/FeedDocument.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <vector>

namespace sandbox {
namespace {

struct Phrases {
    std::string_view channel;
    std::string_view whatIsNew;
    std::string_view faster;
    std::string_view repaired;
    std::string_view preview;
    std::string_view noticeTitle;
    std::string_view notice;
};

constexpr Phrases kEnglish = {
    "New builds of ",
    "What's new in ",
    "Backups to network folders start faster.",
    "Restoring a file whose name holds \"&\" works again.",
    "An early look for the curious: don't use it for data that you love.",
    "Maintenance on Sunday",
    "Downloads pause for an hour. See you on the other side!",
};

constexpr Phrases kGerman = {
    "Neue Versionen von ",
    "Neu in ",
    "Sicherungen in Netzwerkordner beginnen früher.",
    "Dateien, deren Name ein \"&\" enthält, lassen sich wieder zurückholen.",
    "Ein früher Blick für Neugierige – bitte nicht für Daten, die Ihnen lieb sind.",
    "Wartung am Sonntag",
    "Eine Stunde lang gibt es keine Downloads. Schöne Grüße!",
};

struct Platform {
    std::string_view system;
    std::string_view architecture;
    std::string_view file;
};

constexpr Platform kPlatforms[] = {
    {"Windows", "x64", "setup-x64.exe"},
    {"Windows", "x86", "setup-x86.exe"},
    {"Linux", "x64", "installer-x64.run"},
};
constexpr const Platform& kLinux = kPlatforms[2];

const Phrases& phrasesOf(const std::string& language) {
    return language == "de" ? kGerman : kEnglish;
}

std::string escaped(std::string_view text) {
    std::string result;
    for (const char byte : text) {
        switch (byte) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += byte;
        }
    }
    return result;
}

std::string element(const char* name, std::string_view text) {
    return std::string("    <") + name + ">" + escaped(text) + "</" + name + ">\n";
}

std::string versionText(const BuildVersion& version) {
    return std::to_string(version[0]) + "." + std::to_string(version[1]) + "." + std::to_string(version[2]);
}

// The build before that one: 8.4.0 follows 8.3.3, 8.0.0 follows 7.5.3. False at 1.0.0.
bool stepBack(BuildVersion& version) {
    constexpr int lastPatch = 3;
    constexpr int lastMinor = 5;
    if (version[2]-- > 0)
        return true;
    version[2] = lastPatch;
    if (version[1]-- > 0)
        return true;
    version[1] = lastMinor;
    return --version[0] > 0;
}

// Newest first.
std::vector<BuildVersion> versionsOf(const ProductFeed& product) {
    std::vector<BuildVersion> versions;
    BuildVersion version = buildVersion(product.newestVersion).value();
    do
        versions.push_back(version);
    while (static_cast<std::int64_t>(versions.size()) < product.builds && stepBack(version));
    return versions;
}

// Every second build was published behind the next newer one.
void orderByPublication(std::vector<BuildVersion>& versions) {
    for (std::size_t at = 0; at + 1 < versions.size(); at += 2)
        std::swap(versions[at], versions[at + 1]);
}

// A date as RSS has it (RFC 822), the given number of weeks before the first Monday of 2025: always a Monday,
// and in English under any locale.
std::string dateText(std::size_t weeksAgo) {
    using namespace std::chrono;
    constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                       "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const year_month_day day{sys_days{2025y / January / 6} - days{7 * weeksAgo}};
    char text[64];
    const int length =
        std::snprintf(text, sizeof text, "Mon, %02u %s %d 08:00:00 +0000", static_cast<unsigned>(day.day()),
                      kMonths[static_cast<unsigned>(day.month()) - 1], static_cast<int>(day.year()));
    return {text, static_cast<std::size_t>(length)};
}

struct Item {
    std::string title;
    std::string html;
    std::string date;
    const Platform* platform = nullptr;  // null: nothing to download
    std::string line;                    // a category
};

std::string releaseNotes(const ProductFeed& product, const Phrases& phrases, const std::string& version) {
    return "<h2>" + std::string(phrases.whatIsNew) + escaped(product.title) + " " + version +
           "</h2>\n<ul>\n<li>" + std::string(phrases.faster) + "</li>\n<li>" + escaped(phrases.repaired) +
           "</li>\n</ul>\n<p>&copy; <a href=\"https://news.example.test/?p=" + product.name +
           "&v=" + version + "\">" + escaped(product.title) + "</a></p>";
}

std::string download(const ProductFeed& product, const std::string& language, const Item& item) {
    return "https://downloads.example.test/" + product.name + "/" + item.title + "/" +
           std::string(item.platform->file) + "?lang=" + language + "&source=feed";
}

std::string platformPart(const ProductFeed& product, const std::string& language, const Item& item) {
    const std::string url = download(product, language, item);
    return "    <category domain=\"platform\">" + std::string(item.platform->system) +
           "</category>\n    <category domain=\"architecture\">" + std::string(item.platform->architecture) +
           "</category>\n" + element("category", item.line) + "    <enclosure url=\"" + escaped(url) +
           "\" length=\"73400320\" type=\"application/octet-stream\" />\n";
}

std::string itemText(const ProductFeed& product, const std::string& language, const Item& item) {
    std::string text = "    <item>\n    <!-- post <" + item.title + "> -->\n";
    text += element("title", item.title);
    text += element("link", "https://news.example.test/?p=" + product.name + "&source=feed");
    text += element("pubDate", item.date);
    text += "    <dc:creator><![CDATA[Release <team>]]></dc:creator>\n";
    if (item.platform != nullptr)
        text += platformPart(product, language, item);
    text += "    <guid isPermaLink=\"false\">" + escaped(item.title + " " + item.date) + "</guid>\n";
    text += "    <content:encoded><![CDATA[" + item.html + "]]></content:encoded>\n";
    return text + "    </item>\n";
}

std::string head(const ProductFeed& product, const std::string& language) {
    const std::string self = "https://news.example.test/feeds/" + product.name + "_" + language + "/rss";
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!-- made by the content system; don't edit -->\n"
           "<rss version=\"2.0\"\n"
           "    xmlns:content=\"http://purl.org/rss/1.0/modules/content/\"\n"
           "    xmlns:dc=\"http://purl.org/dc/elements/1.1/\"\n"
           "    xmlns:atom=\"http://www.w3.org/2005/Atom\">\n"
           "  <channel>\n" +
           element("title", product.title) + "    <atom:link href=\"" + self +
           "\" rel=\"self\" type=\"application/rss+xml\" />\n" +
           element("link", "https://news.example.test/") +
           element("description", std::string(phrasesOf(language).channel) + product.title) +
           element("lastBuildDate", dateText(0)) + element("language", language);
}

constexpr std::string_view kTail = "  </channel>\n</rss>\n";

// What no Windows host may take for a build of its own.
std::vector<Item> itemsOnTop(const ProductFeed& product, const Phrases& phrases) {
    const BuildVersion newest = buildVersion(product.newestVersion).value();
    const std::string preview = versionText({newest[0] + 1, 0, 0});
    return {{std::string(phrases.noticeTitle),
             "<p>" + std::string(phrases.notice) + "</p>",
             dateText(0),
             nullptr,
             {}},
            {preview, "<p>" + std::string(phrases.preview) + "</p>", dateText(0), &kLinux, "Preview"}};
}

}  // namespace

std::optional<BuildVersion> buildVersion(std::string_view text) {
    constexpr int greatest = 999;
    BuildVersion version{};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (std::size_t part = 0; part < version.size(); ++part) {
        if (part > 0 && (at == end || *at++ != '.'))
            return std::nullopt;
        const auto read = std::from_chars(at, end, version[part]);
        if (read.ec != std::errc() || version[part] < 0 || version[part] > greatest)
            return std::nullopt;
        at = read.ptr;
    }
    return at == end && version[0] > 0 ? std::optional(version) : std::nullopt;
}

std::string feedDocument(const ProductFeed& product, const std::string& language) {
    const Phrases& phrases = phrasesOf(language);
    std::string text = head(product, language);
    for (const Item& item : itemsOnTop(product, phrases))
        text += itemText(product, language, item);
    std::vector<BuildVersion> versions = versionsOf(product);
    orderByPublication(versions);
    for (std::size_t at = 0; at < versions.size(); ++at) {
        const std::string version = versionText(versions[at]);
        for (const Platform& platform : kPlatforms)
            text += itemText(
                product, language,
                {version, releaseNotes(product, phrases, version), dateText(at), &platform, "Stable"});
    }
    return text.append(kTail);
}

std::string feedWithoutItems(const ProductFeed& product, const std::string& language) {
    return head(product, language).append(kTail);
}

}  // namespace sandbox

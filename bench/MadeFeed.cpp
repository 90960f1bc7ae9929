#include "bench/MadeFeed.h"

#include <iterator>
#include <random>

namespace bench {

namespace {

constexpr std::size_t kHtmlBytes = 3000;  // at least, in an item

// What the HTML of release notes is made of.
const char* const kNotes[] = {
    "<h2>What&rsquo;s new</h2>\n",
    "<p>This build brings a <strong>faster</strong> engine &amp; fixes what you told us of.</p>\n",
    "<ul>\n  <li>Backups to a network folder go on where they were cut off</li>\n"
    "  <li>Restore points show their size</li>\n</ul>\n",
    "<p><a href=\"https://help.example.com/article?id=4711&amp;lang=en\" target=\"_blank\">Read "
    "more</a></p>\n",
    "<p>Gr\xc3\xb6\xc3\x9f"
    "ere Datentr\xc3\xa4ger werden schneller gepr\xc3\xbc"
    "ft.&nbsp;Danke!</p>\n",
    "<img src=\"https://cdn.example.com/notes/shot.png\" alt=\"The new list\" width=\"640\" height=\"360\" "
    "/>\n",
    "<blockquote><em>&ldquo;It just works.&rdquo;</em></blockquote>\n<hr />\n",
};

const char* const kSubjects[] = {"Backup &amp; restore", "Drivers",
                                 "\xd0\x9d\xd0\xbe\xd0\xb2\xd0\xbe\xd0\xb5", "Security &lt;important&gt;"};

std::string Html(std::mt19937& random) {
    std::string html;
    while (html.size() < kHtmlBytes)
        html += kNotes[random() % std::size(kNotes)];
    return html;
}

std::string Item(std::mt19937& random) {
    const std::string version = std::to_string(1 + random() % 9) + "." + std::to_string(random() % 20) + "." +
                                std::to_string(random() % 5000);
    const std::string number = std::to_string(random());
    return "    <item>\n      <title>" + version +
           "</title>\n      <link>https://updates.example.com/notes?build=" + version +
           "&amp;channel=stable</link>\n      <guid isPermaLink=\"false\">build:" + number +
           "</guid>\n      <pubDate>Wed, 17 Jan 2024 08:30:00 +0000</pubDate>\n"
           "      <dc:creator><![CDATA[Release team]]></dc:creator>\n      <description>Build " +
           version + ": fixes &amp; improvements, see &quot;" + number +
           "&quot;</description>\n      <content:encoded><![CDATA[" + Html(random) +
           "]]></content:encoded>\n      <!-- who may have it -->\n      <category>Windows</category>\n"
           "      <category>x64</category>\n      <category "
           "domain=\"https://updates.example.com/subjects\">" +
           kSubjects[random() % std::size(kSubjects)] +
           "</category>\n      <enclosure url=\"https://cdn.example.com/setup.exe?build=" + version +
           "&amp;key=" + number + "\" length=\"" + std::to_string(random() % 100'000'000) +
           "\" type=\"application/octet-stream\"/>\n      <media:thumbnail url=\"https://cdn.example.com/" +
           number + ".png\" width=\"120\" height=\"90\"/>\n    </item>\n";
}

}  // namespace

std::string MakeFeed(std::size_t bytes) {
    std::mt19937 random(20240117);
    std::string feed =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- generated -->\n"
        "<rss version=\"2.0\" xmlns:content=\"http://purl.org/rss/1.0/modules/content/\"\n"
        "     xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:media=\"http://search.yahoo.com/mrss/\">\n"
        "  <channel>\n    <title>Product updates</title>\n    <link>https://updates.example.com/</link>\n"
        "    <description>Builds for Windows &amp; others</description>\n    <language>en</language>\n";
    while (feed.size() + kHtmlBytes < bytes)
        feed += Item(random);
    return feed + "  </channel>\n</rss>\n";
}

}  // namespace bench

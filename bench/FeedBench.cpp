// Reads update feeds into a tree with this library's XML reader, pugixml and libxml2, all in one run, and
// then documents that are large or hostile. Ends with a table of ratios.
//
// A read is timed from the text to the tree and on to the end of the tree, in processor time. To build a tree
// takes its time by the size of the text. To end one takes more a byte when it no longer fits the caches: the
// growth of the feed is told with and without.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <pugixml.hpp>
#include <string>
#include <utility>

#include "bench/MadeFeed.h"
#include "bench/MedianReporter.h"
#include "core/src/client/XmlNode.h"
#include "tests/support/SmallStack.h"

namespace {

constexpr int kRepetitions = 9;

portable_stl::string Text(const std::string& text) {
    return {text.data(), text.size()};
}

// What the update check looks at, to see that the libraries read the same.
struct Contents {
    std::size_t items = 0;
    std::string texts;

    void Add(const char* version, const char* notes, const char* url) {
        ++items;
        texts.append(version).append(1, '\n').append(notes).append(1, '\n').append(url).append(1, '\n');
    }
    bool operator==(const Contents& other) const { return items == other.items && texts == other.texts; }
};

// Each library shows itself the same way: a tree, how to fill it, what it holds.
struct Ours {
    static constexpr const char* kName = "ours";
    using Source = portable_stl::string;
    using Tree = xml::XmlNode;
    static Source MakeSource(const std::string& text) { return Text(text); }
    static bool Read(const Source& source, Tree& tree) { return xml::ParseXml(source, tree) == 0; }
    static const char* TextOf(const Tree& item, const char* name) {
        const Tree* const child = xml::FindXmlChild(item, name, true);
        return child != nullptr ? child->text.c_str() : "";
    }
    static Contents ContentsOf(const Tree& tree) {
        Contents contents;
        const Tree* const rss = xml::FindXmlChild(tree, "rss", true);
        const Tree* const channel = rss != nullptr ? xml::FindXmlChild(*rss, "channel", true) : nullptr;
        if (channel == nullptr)
            return contents;
        for (const Tree& item : channel->children) {
            const Tree* const enclosure = xml::FindXmlChild(item, "enclosure", true);
            if (item.name == "item" && enclosure != nullptr)
                contents.Add(TextOf(item, "title"), TextOf(item, "content:encoded"),
                             enclosure->attributes[0].value.c_str());
        }
        return contents;
    }
};

struct Pugi {
    static constexpr const char* kName = "pugixml";
    using Source = std::string;
    using Tree = pugi::xml_document;
    static const Source& MakeSource(const std::string& text) { return text; }
    static bool Read(const Source& source, Tree& tree) {
        return static_cast<bool>(tree.load_buffer(source.data(), source.size()));
    }
    static Contents ContentsOf(const Tree& tree) {
        Contents contents;
        for (const pugi::xml_node item : tree.child("rss").child("channel").children("item"))
            contents.Add(item.child_value("title"), item.child_value("content:encoded"),
                         item.child("enclosure").attribute("url").value());
        return contents;
    }
};

struct LibXml {
    static constexpr const char* kName = "libxml2";
    struct Free {
        void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    };
    using Source = std::string;
    using Tree = std::unique_ptr<xmlDoc, Free>;
    static const Source& MakeSource(const std::string& text) { return text; }
    static bool Read(const Source& source, Tree& tree) {
        tree.reset(xmlReadMemory(source.data(), static_cast<int>(source.size()), "feed.xml", nullptr, 0));
        return tree != nullptr;
    }
    static xmlNode* ChildOf(xmlNode* node, const char* name) {
        for (xmlNode* child = node != nullptr ? node->children : nullptr; child != nullptr;
             child = child->next)
            if (child->name != nullptr && std::strcmp(reinterpret_cast<const char*>(child->name), name) == 0)
                return child;
        return nullptr;
    }
    static std::string Take(xmlChar* text) {
        std::string copy = text != nullptr ? reinterpret_cast<const char*>(text) : "";
        xmlFree(text);
        return copy;
    }
    static Contents ContentsOf(const Tree& tree) {
        Contents contents;
        xmlNode* const channel = ChildOf(xmlDocGetRootElement(tree.get()), "channel");
        for (xmlNode* item = channel != nullptr ? channel->children : nullptr; item != nullptr;
             item = item->next) {
            xmlNode* const enclosure = ChildOf(item, "enclosure");
            if (enclosure == nullptr)
                continue;
            const std::string version = Take(xmlNodeGetContent(ChildOf(item, "title")));
            const std::string notes = Take(xmlNodeGetContent(ChildOf(item, "encoded")));
            const std::string url = Take(xmlGetProp(enclosure, reinterpret_cast<const xmlChar*>("url")));
            contents.Add(version.c_str(), notes.c_str(), url.c_str());
        }
        return contents;
    }
};

// A tree of millions of nodes leaves the allocator work that the next large allocation would pay for.
void SettleAllocator() {
    (void)malloc_trim(0);
}

template <class Library>
void ReadFeed(benchmark::State& state, const std::string& feed) {
    SettleAllocator();
    const auto source = Library::MakeSource(feed);
    while (state.KeepRunning()) {
        typename Library::Tree tree;
        if (!Library::Read(source, tree))
            state.SkipWithError("the feed can't be read");
        benchmark::DoNotOptimize(tree);
    }
}

// The end of the tree is left out.
void BuildTree(benchmark::State& state, const std::string& feed) {
    SettleAllocator();
    const portable_stl::string source = Text(feed);
    while (state.KeepRunning()) {
        xml::XmlNode tree;
        if (xml::ParseXml(source, tree) != 0)
            state.SkipWithError("the feed can't be read");
        state.PauseTiming();
        xml::ClearXml(tree);
        state.ResumeTiming();
    }
}

template <class Library>
Contents ReadContents(const std::string& feed) {
    const auto source = Library::MakeSource(feed);
    typename Library::Tree tree;
    return Library::Read(source, tree) ? Library::ContentsOf(tree) : Contents{};
}

bool ReadTheSame(const std::string& feed) {
    const Contents ours = ReadContents<Ours>(feed);
    (void)std::printf("%zu bytes, %zu items\n", feed.size(), ours.items);
    return ours.items > 100 && ours == ReadContents<Pugi>(feed) && ours == ReadContents<LibXml>(feed);
}

// On the stack of a small thread, where a reader that recursed would end the program.
void ReadHostile(benchmark::State& state, const std::string& document, std::int32_t expected) {
    SettleAllocator();
    const portable_stl::string source = Text(document);
    while (state.KeepRunning()) {
        std::int32_t result = 1;
        test::RunOnSmallStack([&source, &result] {
            xml::XmlNode tree;
            result = xml::ParseXml(source, tree);
        });
        if (result != expected)
            state.SkipWithError("another verdict");
    }
}

std::string Repeated(const char* part, std::size_t count) {
    std::string text;
    text.reserve(std::strlen(part) * count);
    for (std::size_t i = 0; i < count; ++i)
        text += part;
    return text;
}

std::string OpenTags(std::size_t bytes) {
    return Repeated("<a>", bytes / 3);
}

std::string NestedTags(std::size_t bytes) {
    return Repeated("<a>", bytes / 7) + Repeated("</a>", bytes / 7);
}

// In no order.
std::string Attributes(std::size_t count) {
    std::string tag = "<a";
    for (std::size_t i = 0; i < count; ++i)
        tag += " n" + std::to_string(i * 7919 % count) + "=\"\"";
    return tag + "/>";
}

std::string AttributesWithOneTwice(std::size_t count) {
    std::string tag = Attributes(count);
    return tag.insert(tag.size() - 2, " n0=\"\"");
}

// A document of two sizes, whose time may grow as its size does. The bound leaves room for sorting and for
// what no cache holds.
struct Growth {
    const char* name;
    std::string (*make)(std::size_t size);
    std::size_t small;
    std::size_t large;
    std::int32_t result;
    double bound;
};

constexpr Growth kGrowths[] = {
    {"nested tags", &NestedTags, 5'000'000, 50'000'000, 0, 2.0},
    {"tags never closed", &OpenTags, 5'000'000, 50'000'000, -1, 2.0},
    {"attributes", &Attributes, 10'000, 100'000, 0, 2.0},
    {"attributes, one twice", &AttributesWithOneTwice, 10'000, 100'000, -1, 2.0},
};

constexpr std::size_t kFeedBytes = 2'000'000;
constexpr std::size_t kLargeFeedBytes = 50'000'000;
constexpr double kAllowedToLibXml = 1.0;
constexpr double kAllowedToPugi = 3.0;
constexpr double kAllowedBuildGrowth = 1.5;
constexpr double kAllowedReadGrowth = 2.5;  // a square would be 25

constexpr const char* kBuild = "build alone";

std::string Large(const char* name) {
    return std::string(name) + ", 50 MB";
}
std::string SmallName(const Growth& growth) {
    return std::string(growth.name) + ", small";
}
std::string LargeName(const Growth& growth) {
    return std::string(growth.name) + ", large";
}

template <class... Arguments>
void Register(const std::string& name, Arguments&&... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), std::forward<Arguments>(arguments)...)
        ->Unit(benchmark::kMillisecond)
        ->MeasureProcessCPUTime()
        ->MinTime(0.1)
        ->Repetitions(kRepetitions)
        ->ReportAggregatesOnly();
}

class Table {
public:
    explicit Table(const std::map<std::string, double>& medians) : medians_(medians) {}

    // A value that is no number does not hold either.
    void Print(const char* what, const std::string& name, const std::string& against, double scale,
               double bound) {
        const double ratio = Median(name) / Median(against) / scale;
        (void)std::printf("%-46s %6.2f (below %.2f)\n", what, ratio, bound);
        holds_ = holds_ && ratio > 0 && ratio < bound;
    }
    [[nodiscard]] bool Holds() const { return holds_; }

private:
    [[nodiscard]] double Median(const std::string& name) const {
        const auto found = medians_.find(name);
        return found == medians_.end() ? 0 : found->second;
    }

    const std::map<std::string, double>& medians_;
    bool holds_ = true;
};

}  // namespace

int main(int argc, char** argv) {
    const std::string feed = bench::MakeFeed(kFeedBytes);
    const std::string largeFeed = bench::MakeFeed(kLargeFeedBytes);
    if (!ReadTheSame(feed)) {
        (void)std::fprintf(stderr, "feed_bench: the libraries read different feeds\n");
        return EXIT_FAILURE;
    }
    Register(Ours::kName, ReadFeed<Ours>, feed);
    Register(Pugi::kName, ReadFeed<Pugi>, feed);
    Register(LibXml::kName, ReadFeed<LibXml>, feed);
    Register(Large(Ours::kName), ReadFeed<Ours>, largeFeed);
    Register(kBuild, BuildTree, feed);
    Register(Large(kBuild), BuildTree, largeFeed);
    for (const Growth& growth : kGrowths) {
        Register(SmallName(growth), ReadHostile, growth.make(growth.small), growth.result);
        Register(LargeName(growth), ReadHostile, growth.make(growth.large), growth.result);
    }

    bench::MedianReporter reporter;
    if (!bench::RunByTurns(argc, argv, reporter))
        return EXIT_FAILURE;
    Table table(reporter.processorMedians);
    table.Print("feed of 2 MB, ours / libxml2", Ours::kName, LibXml::kName, 1, kAllowedToLibXml);
    table.Print("feed of 2 MB, ours / pugixml", Ours::kName, Pugi::kName, 1, kAllowedToPugi);
    (void)std::printf("time per byte or attribute, a large document / a small one\n");
    const double feedScale = static_cast<double>(largeFeed.size()) / static_cast<double>(feed.size());
    table.Print("feed, without the end of the tree", Large(kBuild), kBuild, feedScale, kAllowedBuildGrowth);
    table.Print("feed", Large(Ours::kName), Ours::kName, feedScale, kAllowedReadGrowth);
    for (const Growth& growth : kGrowths)
        table.Print(growth.name, LargeName(growth), SmallName(growth),
                    static_cast<double>(growth.large) / static_cast<double>(growth.small), growth.bound);
    return table.Holds() ? EXIT_SUCCESS : EXIT_FAILURE;
}

// Reads and writes documents like those of the service with this library's JSON, nlohmann-json and the
// RapidJSON document tree, all in one run, and ends with a table of ratios: below 1 this library is ahead.
//
// A read is timed from the text to the tree and on to the end of the tree, a write from the tree to a fresh
// text. Ratios and times per byte are of medians over the repetitions.
#include <benchmark/benchmark.h>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "core/src/json/Json.h"

namespace {

constexpr int kRepetitions = 9;

struct DocumentSize {
    const char* name;
    std::size_t bytes;
};
constexpr DocumentSize kSizes[] = {{"1 KB", 1'000}, {"100 KB", 100'000}, {"10 MB", 10'000'000}};

std::string HexDigits(std::mt19937& random, int count) {
    std::string digits;
    for (int i = 0; i < count; ++i)
        digits += "0123456789abcdef"[random() % 16];
    return digits;
}

// One customer's context, as the service lists them: identifiers, names, flags, rights, an address.
std::string Record(std::mt19937& random) {
    static const char* const names[] = {"Anna Schmidt", "J\xc3\xbcrgen Wei\xc3\x9f", "O'Neill & Sons",
                                        "Caf\\u00e9 \\\"Central\\\"", "\xd0\x98\xd0\xb2\xd0\xb0\xd0\xbd"};
    static const char* const rights[] = {"products.download", "tickets.create", "backups.report",
                                         "admins.manage"};
    const std::string name = names[random() % std::size(names)];
    std::string record =
        "{\"id\":\"" + HexDigits(random, 8) + "-" + HexDigits(random, 4) + "-" + HexDigits(random, 12) +
        "\",\"name\":\"" + name + "\",\"email\":\"user" + std::to_string(random() % 100000) +
        "@example.com\",\"isOrganization\":" + (random() % 2 != 0 ? "true" : "false") +
        ",\"parentId\":null,\"seats\":" + std::to_string(random() % 5000) +
        ",\"quota\":" + std::to_string(random() % 100) + ".25,\"createdAt\":\"2024-0" +
        std::to_string(1 + random() % 9) + "-17T08:30:00Z\",\"avatar\":\"https:\\/\\/cdn.example.com\\/a\\/" +
        HexDigits(random, 24) + ".png\",\"rights\":[";
    const std::size_t rightCount = 1 + random() % std::size(rights);
    for (std::size_t i = 0; i < rightCount; ++i)
        record += std::string(i == 0 ? "" : ",") + "{\"name\":\"" + rights[i] +
                  "\",\"role\":" + std::to_string(random() % 1000) + "}";
    return record +
           "],\"address\":{\"street\":\"Hauptstra\xc3\x9f"
           "e " +
           std::to_string(random() % 200) + "\",\"city\":\"Berlin\",\"zip\":\"" +
           std::to_string(10000 + random() % 80000) + "\",\"country\":\"DE\"}}";
}

std::string MakeDocument(std::size_t bytes) {
    std::mt19937 random(20240117);
    std::string text = "{\"requestId\":\"" + HexDigits(random, 32) + "\",\"contexts\":[";
    for (bool isFirst = true; text.size() + 300 < bytes; isFirst = false) {
        if (!isFirst)
            text += ',';
        text += Record(random);
    }
    return text + "],\"hasMore\":false}";
}

void Require(bool condition, const char* what) {
    if (condition)
        return;
    static_cast<void>(std::fprintf(stderr, "json_bench: %s\n", what));
    std::exit(1);
}

// Each library shows itself the same way: a tree, how to fill it, how to write it.
struct Ours {
    static constexpr const char* kName = "ours";
    using Text = portable_stl::string;
    using Tree = json::JsonNode;
    static Text MakeText(const std::string& text) { return Text(text.data(), text.size()); }
    static void Read(const Text& text, Tree& tree) {
        Require(json::ParseJson(text, tree), "ours can't read");
    }
    static std::size_t Write(const Tree& tree) {
        portable_stl::string text;
        json::WriteJson(tree, text, false);
        benchmark::DoNotOptimize(text.data());
        return text.size();
    }
};

struct Nlohmann {
    static constexpr const char* kName = "nlohmann";
    using Text = std::string;
    using Tree = nlohmann::json;
    static const Text& MakeText(const std::string& text) { return text; }
    static void Read(const Text& text, Tree& tree) { tree = nlohmann::json::parse(text); }
    static std::size_t Write(const Tree& tree) {
        const std::string text = tree.dump();
        benchmark::DoNotOptimize(text.data());
        return text.size();
    }
};

struct Rapid {
    static constexpr const char* kName = "rapidjson";
    using Text = std::string;
    using Tree = rapidjson::Document;
    static const Text& MakeText(const std::string& text) { return text; }
    static void Read(const Text& text, Tree& tree) {
        Require(!tree.Parse(text.data(), text.size()).HasParseError(), "rapidjson can't read");
    }
    static std::size_t Write(const Tree& tree) {
        rapidjson::StringBuffer text;
        rapidjson::Writer<rapidjson::StringBuffer> writer(text);
        Require(tree.Accept(writer), "rapidjson can't write");
        benchmark::DoNotOptimize(text.GetString());
        return text.GetSize();
    }
};

template <class Library>
void RunRead(benchmark::State& state, const std::string& document) {
    const auto text = Library::MakeText(document);
    for (auto _ : state) {
        typename Library::Tree tree;
        Library::Read(text, tree);
        benchmark::DoNotOptimize(tree);
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(document.size()));
}

template <class Library>
void RunWrite(benchmark::State& state, const std::string& document) {
    typename Library::Tree tree;
    Library::Read(Library::MakeText(document), tree);
    std::size_t written = 0;
    for (auto _ : state)
        written += Library::Write(tree);
    state.SetBytesProcessed(static_cast<std::int64_t>(written));
}

std::string CaseName(const char* operation, const char* size, const char* library) {
    return std::string(operation) + "/" + size + "/" + library;
}

template <class Library>
void Register(const DocumentSize& size, const std::string& document) {
    const auto set = [](benchmark::internal::Benchmark* one) {
        one->Repetitions(kRepetitions)->ReportAggregatesOnly(true)->MinTime(0.1);
    };
    set(benchmark::RegisterBenchmark(CaseName("read", size.name, Library::kName).c_str(), RunRead<Library>,
                                     document));
    set(benchmark::RegisterBenchmark(CaseName("write", size.name, Library::kName).c_str(), RunWrite<Library>,
                                     document));
}

// Prints as usual and keeps the medians, in nanoseconds of processor time.
class MedianKeeper : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.aggregate_name == "median")
                medians_[run.run_name.function_name] =
                    run.cpu_accumulated_time / static_cast<double>(run.iterations) * 1e9;
        ConsoleReporter::ReportRuns(runs);
    }

    double Median(const char* operation, const char* size, const char* library) const {
        const auto found = medians_.find(CaseName(operation, size, library));
        return found == medians_.end() ? 0 : found->second;
    }

private:
    std::map<std::string, double> medians_;
};

// What we hold ourselves to: ahead of nlohmann-json, and a time per byte that does not grow with the
// document.
constexpr double kAllowedToNlohmann = 1.0;
constexpr double kAllowedGrowth = 1.5;  // from 100 KB to 10 MB

// Prints the ratios; false when one of them is above its bound, or was not measured.
bool PrintTable(const MedianKeeper& medians, const std::map<std::string, std::size_t>& bytes) {
    std::printf("\n%-6s %-7s %12s %14s %15s %18s\n", "", "size", "ns per byte", "ours/nlohmann",
                "ours/rapidjson", "per byte / 100 KB");
    bool holds = true;
    for (const char* operation : {"read", "write"}) {
        const double flat =
            medians.Median(operation, "100 KB", "ours") / static_cast<double>(bytes.at("100 KB"));
        for (const DocumentSize& size : kSizes) {
            const double ours = medians.Median(operation, size.name, "ours");
            const double perByte = ours / static_cast<double>(bytes.at(size.name));
            const double toNlohmann = ours / medians.Median(operation, size.name, "nlohmann");
            const double toRapidjson = ours / medians.Median(operation, size.name, "rapidjson");
            std::printf("%-6s %-7s %12.2f %14.2f %15.2f %18.2f\n", operation, size.name, perByte, toNlohmann,
                        toRapidjson, perByte / flat);
            // Written so that a value that is no number does not hold.
            holds = holds && ours > 0 && toNlohmann < kAllowedToNlohmann && perByte / flat <= kAllowedGrowth;
        }
    }
    return holds;
}

}  // namespace

int main(int argc, char** argv) {
    std::map<std::string, std::size_t> bytes;
    for (const DocumentSize& size : kSizes) {
        const std::string document = MakeDocument(size.bytes);
        bytes[size.name] = document.size();
        Register<Ours>(size, document);
        Register<Nlohmann>(size, document);
        Register<Rapid>(size, document);
    }
    // Interleaved, so that a slow moment of the machine meets all libraries.
    std::vector<char*> arguments(argv, argv + argc);
    char interleave[] = "--benchmark_enable_random_interleaving=true";
    arguments.insert(arguments.begin() + 1, interleave);
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return EXIT_FAILURE;
    MedianKeeper medians;
    benchmark::RunSpecifiedBenchmarks(&medians);
    if (PrintTable(medians, bytes))
        return EXIT_SUCCESS;
    std::printf("above its bound: ours/nlohmann below %.2f, per byte at most %.2f times that of 100 KB\n",
                kAllowedToNlohmann, kAllowedGrowth);
    return EXIT_FAILURE;
}

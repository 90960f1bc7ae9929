// Composes the backup metadata document of a computer with many restore points with this library and with
// nlohmann-json, which builds the same document of the same record. Ends with the ratio.
//
// A document is timed from the record to its text and on to the end of the tree, in processor time.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

#include "bench/MedianReporter.h"
#include "core/src/client/BackupMetadata.h"

namespace {

using backupmetadata::BackupMetadata;
using backupmetadata::RestorePointInfo;
using nlohmann::ordered_json;

constexpr int kRepetitions = 9;
constexpr std::size_t kRestorePoints = 10'000;
constexpr double kAllowedRatio = 1.0;

portable_stl::string Text(const std::string& text) {
    return {text.data(), text.size()};
}

// As a backup product fills it. The texts have no slash: we write one with a backslash, nlohmann-json does
// not.
RestorePointInfo MakeRestorePoint(std::size_t index) {
    const std::string number = std::to_string(100'000 + index);
    RestorePointInfo point;
    point.type = index % 7 == 0 ? backupmetadata::kFull : backupmetadata::kIncremental;
    point.state = static_cast<std::uint32_t>(index % 3);
    point.backupId = Text("7d9f1c52-0b6e-4a55-9f0e-" + std::to_string(index % 20));
    point.restorePointId = Text("c0ffee00-1111-4222-8333-000000" + number);
    point.name = Text("Tages\xc3\xa4nderung \"B\xc3\xbcro\" " + number);
    point.container = Text("D:\\Backups\\Office\\chain-" + number);
    point.restorePointSource = "C:\\Users";
    point.restorePointPath = Text("D:\\Backups\\Office\\chain-" + number + "\\point.bak");
    point.restorePointArcId = Text("arc-" + number);
    point.restorePointResult = "ok";
    point.created = "2024-01-17T08:30:00Z";
    point.finished = "2024-01-17T08:42:17Z";
    point.lastVerificationDate = index % 4 == 0 ? "2024-01-18T02:00:00Z" : "";
    point.verificationResult = index % 4 == 0 ? "sound" : "";
    point.warning = index % 10 == 0 ? "2 files were in use:\n\tmail.pst\n\tlog.txt" : "";
    point.targetType = static_cast<std::uint32_t>(index % 5);
    point.isEncrypted = index % 2 == 0;
    point.isPinned = index % 30 == 0;
    point.operations = static_cast<std::uint32_t>(index % 16);
    point.size = index % 50 == 0 ? UINT64_MAX : 1'099'511'627'776 + index;
    point.request = static_cast<std::uint32_t>(index % 3);
    return point;
}

BackupMetadata MakeMetadata() {
    BackupMetadata metadata;
    metadata.hasRestorePoints = true;
    for (std::size_t i = 0; i < kRestorePoints; ++i)
        metadata.restorePoints.push_back(MakeRestorePoint(i)).value();
    return metadata;
}

std::string Bytes(const portable_stl::string& text) {
    return {text.data(), text.size()};
}

// What a user of nlohmann-json would write for the same document.
ordered_json ToJson(const RestorePointInfo& point) {
    static const char* const requests[] = {"create", "update", "delete"};
    static const char* const targets[] = {"localFolder", "externalDrive", "networkFolder", "cloudAzure",
                                          "cloudAmazon"};
    static const char* const states[] = {"sound", "unavailable", "error"};
    static const char* const types[] = {"full", "inc", "diff"};
    static const char* const operations[] = {"restore", "explore", "delete", "mailNotification"};
    const bool isDeletion = point.request == backupmetadata::kDelete;
    ordered_json json;
    if (!isDeletion)
        json["container"] = Bytes(point.container);
    json["backupId"] = Bytes(point.backupId);
    json["restorePointId"] = Bytes(point.restorePointId);
    if (!isDeletion) {
        json["created"] = Bytes(point.created);
        json["finished"] = Bytes(point.finished);
        json["error"] = Bytes(point.error);
        json["warning"] = Bytes(point.warning);
        json["isEncrypted"] = point.isEncrypted;
        json["isPinned"] = point.isPinned;
        json["lastVerificationDate"] = Bytes(point.lastVerificationDate);
        json["verificationResult"] = Bytes(point.verificationResult);
        json["name"] = Bytes(point.name);
        json["restorePointPath"] = Bytes(point.restorePointPath);
        json["restorePointArcId"] = Bytes(point.restorePointArcId);
        json["restorePointSource"] = Bytes(point.restorePointSource);
        json["targetType"] = targets[point.targetType];
        json["restorePointResult"] = Bytes(point.restorePointResult);
        for (std::size_t bit = 0; bit < std::size(operations); ++bit)
            if ((point.operations >> bit & 1) != 0)
                json["operations"].push_back(operations[bit]);
        if (point.size == UINT64_MAX)
            json["size"] = -1;
        else
            json["size"] = point.size;
        json["state"] = states[point.state];
        json["type"] = types[point.type];
    }
    json["request"] = requests[point.request];
    return json;
}

std::string WriteByNlohmann(const BackupMetadata& metadata) {
    ordered_json root;
    root["version"] = 1;
    ordered_json& points = root["restorePoints"];
    for (const RestorePointInfo& point : metadata.restorePoints)
        points.push_back(ToJson(point));
    return root.dump();
}

void Ours(benchmark::State& state, const BackupMetadata& metadata) {
    while (state.KeepRunning()) {
        portable_stl::string text;
        if (!backupmetadata::WriteMetadataDocument(metadata, nullptr, text))
            state.SkipWithError("our document failed");
        benchmark::DoNotOptimize(text.data());
    }
}

void Nlohmann(benchmark::State& state, const BackupMetadata& metadata) {
    while (state.KeepRunning()) {
        const std::string text = WriteByNlohmann(metadata);
        benchmark::DoNotOptimize(text.data());
    }
}

bool WriteTheSame(const BackupMetadata& metadata) {
    portable_stl::string text;
    if (!backupmetadata::WriteMetadataDocument(metadata, nullptr, text))
        return false;
    (void)std::printf("%zu restore points, %zu bytes\n", metadata.restorePoints.size(), text.size());
    return Bytes(text) == WriteByNlohmann(metadata);
}

}  // namespace

int main(int argc, char** argv) {
    const BackupMetadata metadata = MakeMetadata();
    if (!WriteTheSame(metadata)) {
        (void)std::fprintf(stderr, "metadata_bench: the libraries write different documents\n");
        return EXIT_FAILURE;
    }
    for (auto* made : {benchmark::RegisterBenchmark("Ours", Ours, std::cref(metadata)),
                       benchmark::RegisterBenchmark("Nlohmann", Nlohmann, std::cref(metadata))})
        made->Unit(benchmark::kMillisecond)
            ->MeasureProcessCPUTime()
            ->MinTime(0.1)
            ->Repetitions(kRepetitions)
            ->ReportAggregatesOnly();
    bench::MedianReporter reporter;
    if (!bench::RunByTurns(argc, argv, reporter))
        return EXIT_FAILURE;
    const double ratio = reporter.processorMedians["Ours"] / reporter.processorMedians["Nlohmann"];
    (void)std::printf("metadata document, ours / nlohmann-json: %.2f (below %.2f)\n", ratio, kAllowedRatio);
    return ratio < kAllowedRatio ? EXIT_SUCCESS : EXIT_FAILURE;
}

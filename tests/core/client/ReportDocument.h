// The document of a report, written by hand.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace report_test {

using Attributes = std::vector<std::pair<std::string, std::string>>;

// The whole text for these attributes, keys and values in their order. Their texts need no escapes.
inline std::string Document(const char* type, const Attributes& attributes) {
    std::string text = std::string(R"({{"entityTypeKey":")") + type + R"(","attributeValues":[)";
    for (const auto& [key, value] : attributes) {
        if (text.back() != '[')
            text += ",";
        text += R"({"attributeKey":")" + key + R"(","valueLocales":[{"value":")" + value + R"("}]})";
    }
    return text + "]}}";
}

inline std::string BackupDocument(const Attributes& attributes) {
    return Document("Online_Backup_Report_Request", attributes);
}

inline std::string WipeDocument(const Attributes& attributes) {
    return Document("Online_Report_Request", attributes);
}

// Numbers are always there.
inline std::string EmptyWipeDocument() {
    return WipeDocument({
        {"Pass_Count", "0"},
        {"Verify_Pass_Count", "0"},
        {"Checked_Sectors_InPercents", "0"},
        {"Mask_1", "0"},
        {"Mask_2", "0"},
        {"Mask_3", "0"},
        {"Mask_4", "0"},
        {"Pass_Count_1", "0"},
        {"Pass_Count_2", "0"},
        {"Pass_Count_3", "0"},
        {"Pass_Count_4", "0"},
        {"Group_Passes", "0"},
        {"Total_Bad_Blocks", "0"},
        {"First_Sector", "0"},
        {"Middle_Sector", "0"},
        {"End_Sector", "0"},
    });
}

}  // namespace report_test

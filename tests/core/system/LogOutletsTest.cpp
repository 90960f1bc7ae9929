#include "core/src/system/LogOutlets.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using quillmarkclient_core::ProcessLogOutlets;
using quillmarkclient_core::ReportError;

struct Report {
    std::uint32_t code;
    std::string message;
    std::string source;
    std::uint32_t line;
    bool operator==(const Report&) const = default;
};
std::vector<Report> reports;
std::vector<std::string> traces;

void RecordError(std::uint32_t code, const char* message, const char* source, std::uint32_t line) {
    reports.push_back({code, message, source, line});
}

__attribute__((format(printf, 1, 2))) void RecordTrace(const char* format, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    traces.emplace_back(line);
}

class LogOutlets : public ::testing::Test {
protected:
    LogOutlets() {
        reports.clear();
        traces.clear();
        ProcessLogOutlets() = {};
    }
    ~LogOutlets() override { ProcessLogOutlets() = {}; }
};

TEST_F(LogOutlets, AreNullAtTheStart) {
    EXPECT_EQ(quillmarkclient_core::LogOutlets().trace, nullptr);
    EXPECT_EQ(quillmarkclient_core::LogOutlets().error, nullptr);
}

TEST_F(LogOutlets, AreOnePairForTheProcess) {
    EXPECT_EQ(&ProcessLogOutlets(), &ProcessLogOutlets());
}

TEST_F(LogOutlets, WithoutThemNothingIsWrittenAndTheCodeComesBack) {
    QUILLMARK_TRACE("%s", "unheard");
    EXPECT_EQ(ReportError(ResultCode::kEncrypt, "core/src/core/Cryptographer_impl", 7), ResultCode::kEncrypt);
    EXPECT_TRUE(reports.empty());
    EXPECT_TRUE(traces.empty());
}

TEST_F(LogOutlets, AReportCarriesCodeTextSourceAndLine) {
    ProcessLogOutlets().error = RecordError;
    EXPECT_EQ(ReportError(ResultCode::kSecondFactorRequired, "core/src/quillmarkclient", 42),
              ResultCode::kSecondFactorRequired);
    EXPECT_EQ(reports,
              (std::vector<Report>{{0x82000012u, "Second factor required", "core/src/quillmarkclient", 42}}));
}

TEST_F(LogOutlets, AReportOfANumberWithoutTextSaysSo) {
    ProcessLogOutlets().error = RecordError;
    ReportError(static_cast<ResultCode>(0x84000004u), "core/src/client/Client", 1);
    EXPECT_EQ(reports,
              (std::vector<Report>{{0x84000004u, "Unknown error code", "core/src/client/Client", 1}}));
}

TEST_F(LogOutlets, AReportMayHaveItsOwnWords) {
    using quillmarkclient_core::ReportErrorText;
    ReportErrorText(ResultCode::kSuccess, "unheard", "core/src/client/Client", 1);
    ProcessLogOutlets().error = RecordError;
    ReportErrorText(ResultCode::kSuccess, "{\"status\":\"Error\"}", "core/src/client/Client", 7);
    ReportErrorText(ResultCode::kEncrypt, "100%s %n", "core/src/client/Client", 8);
    EXPECT_EQ(reports, (std::vector<Report>{{0u, "{\"status\":\"Error\"}", "core/src/client/Client", 7},
                                            {0x8100000Eu, "100%s %n", "core/src/client/Client", 8}}));
}

TEST_F(LogOutlets, EachOutletWorksWithoutTheOther) {
    ProcessLogOutlets().error = RecordError;
    QUILLMARK_TRACE("%s", "unheard");
    ReportError(ResultCode::kEncrypt, "core/src/core/Cryptographer_impl", 1);
    EXPECT_TRUE(traces.empty());
    EXPECT_EQ(reports.size(), 1u);
    ProcessLogOutlets() = {.trace = RecordTrace, .error = nullptr};
    ReportError(ResultCode::kDecrypt, "core/src/core/Cryptographer_impl", 1);
    QUILLMARK_TRACE("%s", "heard");
    EXPECT_EQ(reports.size(), 1u);
    EXPECT_EQ(traces, (std::vector<std::string>{"heard"}));
}

TEST_F(LogOutlets, TracedDataIsNoFormat) {
    ProcessLogOutlets().trace = RecordTrace;
    QUILLMARK_TRACE("%s", "100%s %n %1");
    QUILLMARK_TRACE("try %u of %u", 2u, 5u);
    EXPECT_EQ(traces, (std::vector<std::string>{"100%s %n %1", "try 2 of 5"}));
}

TEST_F(LogOutlets, ATraceIsOneStatement) {
    ProcessLogOutlets().trace = RecordTrace;
    if (reports.empty())
        QUILLMARK_TRACE("%s", "then");
    else
        QUILLMARK_TRACE("%s", "else");
    EXPECT_EQ(traces, (std::vector<std::string>{"then"}));
}

}  // namespace

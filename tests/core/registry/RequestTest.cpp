#include "core/src/registry/Request.h"

#include "core/src/registry/Request_impl.h"
#include "core/src/system/LogOutlets.h"
#include "tests/core/registry/RegistryFixture.h"
#include "tests/support/LinearCost.h"
#include "tests/support/VirtualSlot.h"

namespace {

using quillmarkclient_core::SystemApi;
using quillmarkclient_core::Token;
using test::Headers;
using test::HeadersOf;
using test::Text;

// The least that a request has to supply.
class PlainRequest : public registry::Request<SystemApi> {
public:
    const portable_stl::vector<registry::NameValue>& GetHeaders() const override { return headers; }
    portable_stl::string GetBody() const override { return body; }
    portable_stl::string GetMethod() const override { return "POST"; }
    portable_stl::string GetUrl() const override { return url; }
    ResultCode CheckResponse(std::uint32_t, const portable_stl::string&,
                             registry::ServiceErrorInfo**) override {
        return ResultCode::kSuccess;
    }
};

TEST(Request, AddHeaderKeepsBothOfOneName) {
    PlainRequest request;
    request.AddHeader("A", "1");
    request.AddHeader("A", "2");
    EXPECT_EQ(HeadersOf(request), (Headers{{"A", "1"}, {"A", "2"}}));
}

TEST(Request, SetHeaderReplacesTheFirstOfItsName) {
    const struct {
        const char* name;
        const char* setName;
        Headers expected;
    } rows[] = {
        {"the first of two", "A", {{"A", "new"}, {"B", "2"}, {"A", "3"}}},
        {"one in the middle", "B", {{"A", "1"}, {"B", "new"}, {"A", "3"}}},
        {"another case is another name", "a", {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"a", "new"}}},
        {"a longer name is another name", "AA", {{"A", "1"}, {"B", "2"}, {"A", "3"}, {"AA", "new"}}},
    };
    for (const auto& row : rows) {
        PlainRequest request;
        request.AddHeader("A", "1");
        request.AddHeader("B", "2");
        request.AddHeader("A", "3");
        request.SetHeader(row.setName, "new");
        EXPECT_EQ(HeadersOf(request), row.expected) << row.name;
    }
}

TEST(Request, SetHeaderTwiceLeavesOneHeader) {
    PlainRequest request;
    request.SetHeader("Authorization", "first");
    request.SetHeader("Authorization", "second");
    EXPECT_EQ(HeadersOf(request), (Headers{{"Authorization", "second"}}));
    request.SetHeader("authorization", "third");
    EXPECT_EQ(HeadersOf(request), (Headers{{"Authorization", "second"}, {"authorization", "third"}}));
}

TEST(Request, SetHeaderAddsThroughTheVirtualOperation) {
    class CountingRequest final : public PlainRequest {
    public:
        void AddHeader(const portable_stl::string& name, const portable_stl::string& value) override {
            ++added;
            Request::AddHeader(name, value);
        }
        int added = 0;
    };
    CountingRequest request;
    request.SetHeader("A", "1");
    request.SetHeader("A", "2");
    EXPECT_EQ(request.added, 1);
}

TEST(Request, HandsOutItsFlags) {
    PlainRequest request;
    EXPECT_EQ(request.GetFlags(), 0u);
    request.flags = 5;
    EXPECT_EQ(request.GetFlags(), 5u);
}

TEST(Request, DescribesItself) {
    PlainRequest request;
    EXPECT_EQ(Text(request.Describe()), "\tXmlHttp parameters: \n\turl: \n\theaders:\n\tbody: \n")
        << "nothing at all";
    request.url = "https://x/y?z=%s";
    request.AddHeader("A", "1");
    request.AddHeader("B", "");
    request.body = "{\"a\":\"b\"}";
    EXPECT_EQ(Text(request.Describe()),
              "\tXmlHttp parameters: \n\turl: https://x/y?z=%s\n\theaders:\n\t\tA : 1\n\t\tB : \n"
              "\tbody: {\"a\":\"b\"}\n");
}

TEST(Request, ManyHeadersAreDescribedAtLinearCost) {
    test::ExpectLinearCost(10'000, [](std::size_t headers) {
        PlainRequest request;
        for (std::size_t i = 0; i < headers; ++i)
            request.AddHeader("Name", "value");
        portable_stl::string text;
        const std::size_t bytes = test::AllocatedBytes([&] { text = request.Describe(); });
        EXPECT_EQ(text.size(), std::string("\tXmlHttp parameters: \n\turl: \n\theaders:\n\tbody: \n").size() +
                                   headers * 15);
        return bytes;
    });
}

TEST(Request, SlotsStandInOrder) {
    using Base = registry::Request<SystemApi>;
    // The destructor takes two slots, behind AddHeader.
    EXPECT_EQ(test::SlotOf(&Base::AddHeader), 0u);
    EXPECT_EQ(test::SlotOf(&Base::GetHeaders), 3u);
    EXPECT_EQ(test::SlotOf(&Base::GetBody), 4u);
    EXPECT_EQ(test::SlotOf(&Base::GetMethod), 5u);
    EXPECT_EQ(test::SlotOf(&Base::GetUrl), 6u);
    EXPECT_EQ(test::SlotOf(&Base::CheckResponse), 7u);
    EXPECT_EQ(test::SlotOf(&Base::GetFlags), 8u);
    EXPECT_EQ(test::SlotOf(&Base::SetHeader), 9u);
    EXPECT_EQ(test::SlotOf(&Base::Describe), 10u);
}

TEST(LogRequest, WritesNameAndTextAsData) {
    test::ScriptedPlatform platform;
    registry::LogRequest("Some %s Request", "\turl: /a%20b?%n%s\n");
    EXPECT_EQ(platform.traceLines, (test::Lines{"Some %s Request:\n\turl: /a%20b?%n%s\n"}));
}

std::string seenFormat;

// The outlet is printf-like by its type.
void KeepFormat(const char* format, ...) {  // NOLINT(cert-dcl50-cpp)
    seenFormat = format;
}

TEST(LogRequest, UsesTheFormatOfOneText) {
    seenFormat.clear();
    quillmarkclient_core::ProcessLogOutlets().trace = &KeepFormat;
    registry::LogRequest("Name", "text");
    quillmarkclient_core::ProcessLogOutlets() = {};
    EXPECT_EQ(seenFormat, "%s");
}

TEST(LogRequest, IsSilentWithoutAnOutlet) {
    quillmarkclient_core::ProcessLogOutlets() = {};
    registry::LogRequest("Name", "text");
}

TEST(BuildBearer, NeedsTheMark) {
    EXPECT_EQ(Text(registry::BuildBearer(Token("a.b.c", true))), "Bearer a.b.c");
    EXPECT_EQ(Text(registry::BuildBearer(Token("a.b.c", false))), "");
    EXPECT_EQ(Text(registry::BuildBearer(Token("", true))), "Bearer ");
    EXPECT_EQ(Text(registry::BuildBearer(Token())), "");
}

}  // namespace

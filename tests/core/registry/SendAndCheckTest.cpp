#include "core/src/registry/SendAndCheck.h"

#include "core/src/registry/requests/InformationRequests.h"
#include "tests/core/registry/RegistryFixture.h"

namespace {

using test::Code;
using test::RequestPointer;
using test::SystemApi;
using test::Text;

using SendFunction = ResultCode (*)(registry::RegistryClient<SystemApi>&, RequestPointer&,
                                    portable_stl::string&, registry::ServiceErrorInfo*, void*);

constexpr struct {
    const char* name;
    SendFunction send;
    bool isAuthorized;
} kFunctions[] = {
    {"SendAndCheck", &registry::SendAndCheck<SystemApi>, true},
    {"SendDirectlyAndCheck", &registry::SendDirectlyAndCheck<SystemApi>, false},
};

class SendAndCheck : public test::RegistryTest {
protected:
    static RequestPointer Make() {
        return portable_stl::make_unique<registry::GetCustomerInfoRequest<SystemApi>>(
            registry::GetCustomerInfoParams{test::kBaseUrl});
    }
};

TEST_F(SendAndCheck, ARequestThatCouldNotBeMadeIsNotSent) {
    for (const auto& row : kFunctions) {
        RequestPointer none;
        portable_stl::string body;
        EXPECT_EQ(row.send(client, none, body, &errorInfo, context), ResultCode::kInsufficientResources)
            << row.name;
    }
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(SendAndCheck, OneOfThemIsAuthorized) {
    for (const auto& row : kFunctions) {
        RequestPointer request = Make();
        portable_stl::string body;
        platform.AnswerWith(200, "body");
        EXPECT_EQ(row.send(client, request, body, &errorInfo, context), ResultCode::kSuccess) << row.name;
        EXPECT_EQ(Text(body), "body") << row.name;
        EXPECT_EQ(LastRequest().Header("Authorization"), row.isAuthorized ? "Bearer old.e30.sig" : "(none)")
            << row.name;
    }
}

TEST_F(SendAndCheck, ARefusalGoesThroughTheRequestsTableAndFillsTheRecord) {
    for (const auto& row : kFunctions) {
        RequestPointer request = Make();
        portable_stl::string body;
        errorInfo = {};
        platform.AnswerWith(404, R"({"title":"gone"})");
        EXPECT_EQ(row.send(client, request, body, &errorInfo, context), ResultCode::kCustomerNotFound)
            << row.name;
        EXPECT_EQ(errorInfo.httpCode, 404u) << row.name;
        EXPECT_EQ(Text(errorInfo.title), "gone") << row.name;

        platform.AnswerWith(404, R"({"title":"gone"})");
        EXPECT_EQ(row.send(client, request, body, nullptr, context), ResultCode::kCustomerNotFound)
            << row.name << ": without a record";
    }
}

TEST_F(SendAndCheck, AFailureOfTheTransportIsNotChecked) {
    for (const auto& row : kFunctions) {
        RequestPointer request = Make();
        portable_stl::string body;
        errorInfo.title = "former";
        platform.FailExchange(0x81000014);
        EXPECT_EQ(row.send(client, request, body, &errorInfo, context), ResultCode::kTimedOut) << row.name;
        EXPECT_EQ(Text(errorInfo.title), "former") << row.name;
    }
}

}  // namespace

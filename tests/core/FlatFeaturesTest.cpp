// The update check, tickets and administrators through the flat operations.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/FlatFixture.h"

namespace {

using quillmarkclient::ClientContext;
using quillmarkclient::CustomerRequest;
using quillmarkclient::KeyValuePair;
using quillmarkclient::PrincipalAdmin;
using quillmarkclient::PrincipalAdminRequest;
using quillmarkclient::ProductUpdateInfo;
using test::Operation;
using Strings = std::vector<std::string>;

const char kEnglish[] = "GET /feeds/foo_bar_en/rss";
const char kTickets[] = "POST /api/quillmark/CUSTOMER_TICKET_REGISTRATION";
const char kAdmins[] = "POST /api/admin/id/v0/principals/admins";

const char kFeed[] =
    "<rss><channel><item><title>2.0</title><content:encoded>news</content:encoded><category>Windows"
    "</category><category>x64</category><enclosure url=\"u\"/></item></channel></rss>";
const char kFiled[] = R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":)"
                      R"("CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"4711"}]}]})";

template <class T>
T* Unset() {
    return reinterpret_cast<T*>(0x5a);  // never followed
}

class FlatFeatures : public test::FlatFixture {
protected:
    FlatFeatures() {
        service.Answer(kEnglish, 200, kFeed);
        service.Answer(kTickets, 200, kFiled);
        service.Answer(kAdmins, 200, R"([{"id":"7","name":"n","email":"e","description":"d"}])");
    }

    // Nothing was asked and the one report is of `code`.
    void ExpectRefused(ResultCode code, ResultCode expected) {
        EXPECT_EQ(code, expected);
        ExpectReported(expected);
        EXPECT_EQ(platform.errors.size(), 1u);
        EXPECT_TRUE(platform.requests.empty());
    }
    // The core reported and then the flat operation did.
    void ExpectTwoReports(std::uint32_t code) {
        ASSERT_EQ(platform.errors.size(), 2u);
        EXPECT_EQ(platform.errors[0].source, "core/src/client/Client");
        EXPECT_EQ(platform.errors[1].source, "core/src/quillmarkclient");
        EXPECT_EQ(platform.errors[0].code, code);
        EXPECT_EQ(platform.errors[1].code, code);
    }
};

struct Call {
    const char* name;
    // Runs the operation with good arguments, or without an out pointer; a made block is freed.
    ResultCode (*run)(ClientContext* context, bool withOut);
};

constexpr Call kCalls[] = {
    {"GetProductUpdateInfo",
     [](ClientContext* c, bool withOut) {
         auto* out = Unset<ProductUpdateInfo>();
         const auto code = quillmarkclient::GetProductUpdateInfo(c, "foo", "bar", "1.0", "en",
                                                                 withOut ? &out : nullptr, nullptr);
         if (!IsSuccess(code))
             EXPECT_TRUE(out == Unset<ProductUpdateInfo>() || out == nullptr);
         else
             quillmarkclient::FreeMemory(c, out, nullptr);
         return code;
     }},
    {"CreateTicket",
     [](ClientContext* c, bool withOut) {
         const CustomerRequest request{"a@b.c", "Title", "Text", nullptr};
         char* out = Unset<char>();
         const auto code = quillmarkclient::CreateTicket(c, &request, withOut ? &out : nullptr, nullptr);
         if (!IsSuccess(code))
             EXPECT_TRUE(out == Unset<char>() || out == nullptr);
         else
             quillmarkclient::FreeMemory(c, out, nullptr);
         return code;
     }},
    {"CreatePrincipalAdmin",
     [](ClientContext* c, bool withOut) {
         const PrincipalAdminRequest request{"n", "e", "p", "d"};
         auto* out = Unset<PrincipalAdmin>();
         const auto code =
             quillmarkclient::CreatePrincipalAdmin(c, &request, withOut ? &out : nullptr, nullptr);
         if (!IsSuccess(code))
             EXPECT_TRUE(out == Unset<PrincipalAdmin>() || out == nullptr);
         else
             quillmarkclient::FreeMemory(c, out, nullptr);
         return code;
     }},
};

TEST_F(FlatFeatures, TheHandleComesFirstAndTheOutSecond) {
    StartSignedIn();
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        Forget();
        ExpectRefused(call.run(nullptr, true), ResultCode::kNotInitialized);
        Forget();
        ExpectRefused(call.run(nullptr, false), ResultCode::kNotInitialized);
        auto core = std::move(context->core);
        Forget();
        ExpectRefused(call.run(context, true), ResultCode::kNotInitialized);
        Forget();
        ExpectRefused(call.run(context, false), ResultCode::kNotInitialized);
        context->core = std::move(core);
        Forget();
        ExpectRefused(call.run(context, false), ResultCode::kInvalidParameters);
        EXPECT_EQ(call.run(context, true), ResultCode::kSuccess);
    }
}

TEST_F(FlatFeatures, TheErrorRecordMayBeAbsent) {
    StartSignedIn();
    auto record = std::move(context->lastServiceError);
    for (const Call& call : kCalls) {
        EXPECT_EQ(call.run(context, true), ResultCode::kSuccess) << call.name;
    }
    service.Answer(kEnglish, 500, R"({"title":"t"})");
    service.Answer(kTickets, 500, R"({"title":"t"})");
    service.Answer(kAdmins, 500, R"({"title":"t"})");
    for (const Call& call : kCalls) {
        EXPECT_FALSE(IsSuccess(call.run(context, true))) << call.name;
    }
    context->lastServiceError = std::move(record);
}

TEST_F(FlatFeatures, ACoreWithoutASessionIsAnInternalError) {
    StartSignedIn();
    auto* session = context->core->registryClient;
    context->core->registryClient = nullptr;
    for (const Call& call : kCalls) {
        SCOPED_TRACE(call.name);
        Forget();
        EXPECT_EQ(call.run(context, true), ResultCode::kInternalError);
        ExpectTwoReports(0x80000001);
        EXPECT_TRUE(platform.requests.empty());
    }
    context->core->registryClient = session;
}

TEST_F(FlatFeatures, AFailureIsReportedByBothLayersAndTold) {
    static const struct {
        std::size_t call;
        const char* line;
        std::uint32_t status;
        std::uint32_t code;
    } rows[] = {
        {0, kEnglish, 404, 0x84000004}, {0, kEnglish, 500, 0x84000006}, {1, kTickets, 201, 0x80000001},
        {1, kTickets, 400, 0x80000001}, {2, kAdmins, 403, 0x82000007},  {2, kAdmins, 409, 0x82000004},
    };
    StartSignedIn();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        Forget();
        service.Answer(row.line, row.status, R"({"title":"why"})");
        EXPECT_EQ(static_cast<std::uint32_t>(kCalls[row.call].run(context, true)), row.code);
        ExpectTwoReports(row.code);
        EXPECT_EQ(context->lastServiceError->httpCode, row.status);
        EXPECT_EQ(context->lastServiceError->resultCode, row.code);
        EXPECT_STREQ(context->lastServiceError->title.c_str(), "why");
    }
}

TEST_F(FlatFeatures, WithoutMemoryForTheRecordTheOutIsNull) {
    StartSignedIn();
    auto* info = Unset<ProductUpdateInfo>();
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(quillmarkclient::GetProductUpdateInfo(context, "foo", "bar", "1.0", "en", &info, nullptr),
              ResultCode::kInsufficientResources);
    EXPECT_EQ(info, nullptr);

    const PrincipalAdminRequest admin{"n", "e", "p", "d"};
    auto* made = Unset<PrincipalAdmin>();
    platform.FailCall(Operation::Alloc, 1);
    EXPECT_EQ(quillmarkclient::CreatePrincipalAdmin(context, &admin, &made, nullptr),
              ResultCode::kInsufficientResources);
    EXPECT_EQ(made, nullptr);

    const CustomerRequest ticket{"a@b.c", "Title", "Text", nullptr};
    char* number = Unset<char>();
    platform.FailCall(Operation::Alloc, 1, 2);  // the first one is the list of identifiers, for the key
    EXPECT_EQ(quillmarkclient::CreateTicket(context, &ticket, &number, nullptr),
              ResultCode::kInsufficientResources);
    EXPECT_EQ(number, nullptr);

    ASSERT_EQ(platform.errors.size(), 6u);
    for (std::size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(platform.errors[i].code, 0x80000003u);
        EXPECT_EQ(platform.errors[i].source, i % 2 == 0 ? "core/src/PodMaker" : "core/src/quillmarkclient");
    }
}

TEST_F(FlatFeatures, EmptyTextsOfTheUpdateCheckAreRefused) {
    Start();
    const char* const good[] = {"foo", "bar", "1.0", "en"};
    for (std::size_t which = 0; which < 4; ++which) {
        for (const char* const bad : {static_cast<const char*>(nullptr), ""}) {
            SCOPED_TRACE(which);
            Forget();
            const char* texts[] = {good[0], good[1], good[2], good[3]};
            texts[which] = bad;
            auto* info = Unset<ProductUpdateInfo>();
            ExpectRefused(quillmarkclient::GetProductUpdateInfo(context, texts[0], texts[1], texts[2],
                                                                texts[3], &info, nullptr),
                          ResultCode::kInvalidParameters);
            EXPECT_EQ(info, Unset<ProductUpdateInfo>());
        }
    }
}

TEST_F(FlatFeatures, AnUpdateIsOneBlock) {
    Start();
    Forget();
    const auto allocations = platform.CallCount(Operation::Alloc);
    ProductUpdateInfo* info = nullptr;
    ASSERT_EQ(quillmarkclient::GetProductUpdateInfo(context, "Foo", "BAR", "1.0", "EN", &info, nullptr),
              ResultCode::kSuccess);
    EXPECT_EQ(platform.CallCount(Operation::Alloc), allocations + 1);
    EXPECT_STREQ(info->version, "2.0");
    EXPECT_STREQ(info->description, "news");
    EXPECT_STREQ(info->url, "u");
    EXPECT_EQ(info->version - reinterpret_cast<char*>(info), 24);
    EXPECT_EQ(info->description - info->version, 4);
    EXPECT_EQ(info->url - info->description, 5);
    EXPECT_EQ(Lines(), Strings{kEnglish});
    EXPECT_EQ(platform.requests[0].Header("Authorization"), "(none)") << "nobody needs to be signed in";
    EXPECT_EQ(quillmarkclient::FreeMemory(context, info, nullptr), ResultCode::kSuccess);
}

TEST_F(FlatFeatures, AnUpdateWithoutAnAddressHasAnEmptyOne) {
    Start();
    service.Answer(kEnglish, 200,
                   "<rss><channel><item><title>2</title><content:encoded/><category>Windows</category>"
                   "<category>x64</category></item></channel></rss>");
    ProductUpdateInfo* info = nullptr;
    ASSERT_EQ(quillmarkclient::GetProductUpdateInfo(context, "foo", "bar", "1.0", "en", &info, nullptr),
              ResultCode::kSuccess);
    EXPECT_STREQ(info->version, "2");
    EXPECT_STREQ(info->description, "");
    EXPECT_STREQ(info->url, "");
    quillmarkclient::FreeMemory(context, info, nullptr);
}

TEST_F(FlatFeatures, NullTextsOfATicketAreRefusedHereAndEmptyOnesByTheCore) {
    StartSignedIn();
    char* number = Unset<char>();
    ExpectRefused(quillmarkclient::CreateTicket(context, nullptr, &number, nullptr),
                  ResultCode::kInvalidParameters);
    for (std::size_t which = 0; which < 3; ++which) {
        SCOPED_TRACE(which);
        const char* texts[] = {"a@b.c", "Title", "Text"};
        texts[which] = nullptr;
        CustomerRequest request{texts[0], texts[1], texts[2], nullptr};
        Forget();
        ExpectRefused(quillmarkclient::CreateTicket(context, &request, &number, nullptr),
                      ResultCode::kInvalidParameters);
        texts[which] = "";
        request = {texts[0], texts[1], texts[2], nullptr};
        Forget();
        EXPECT_EQ(quillmarkclient::CreateTicket(context, &request, &number, nullptr),
                  ResultCode::kInvalidParameters);
        ExpectTwoReports(0x80000002);
        EXPECT_TRUE(platform.requests.empty());
    }
    EXPECT_EQ(number, Unset<char>());
}

TEST_F(FlatFeatures, TheParametersOfATicketEndAtTheFirstNull) {
    static const KeyValuePair one{"a", "1"}, two{"b", "2"}, bare{nullptr, nullptr}, valueless{"c", nullptr};
    static const struct {
        const char* name;
        std::vector<const KeyValuePair*> list;
        const char* member;
    } rows[] = {
        {"none", {nullptr}, ""},
        {"two", {&one, &two, nullptr}, R"(,"additionalParameters":{"a":"1","b":"2"})"},
        {"what is behind the end is not seen",
         {&one, nullptr, &two, nullptr},
         R"(,"additionalParameters":{"a":"1"})"},
        {"null texts read as empty", {&valueless, &bare, nullptr}, R"(,"additionalParameters":{"c":"",""})"},
    };
    Start();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        const CustomerRequest request{"a@b.c", "Title", "Text", row.list.data()};
        char* number = nullptr;
        ASSERT_EQ(quillmarkclient::CreateTicket(context, &request, &number, nullptr), ResultCode::kSuccess);
        EXPECT_STREQ(number, "4711");
        quillmarkclient::FreeMemory(context, number, nullptr);
        EXPECT_EQ(platform.requests.at(0).body,
                  std::string(R"({"email":"a@b.c","title":"Title","description":"Text")") + row.member + "}");
    }
}

TEST_F(FlatFeatures, AnUnreadableNumberIsAnEmptyText) {
    Start();
    service.Answer(kTickets, 200, "<html>");
    const CustomerRequest request{"a@b.c", "Title", "Text", nullptr};
    char* number = nullptr;
    ASSERT_EQ(quillmarkclient::CreateTicket(context, &request, &number, nullptr), ResultCode::kSuccess);
    ASSERT_NE(number, nullptr);
    EXPECT_STREQ(number, "");
    quillmarkclient::FreeMemory(context, number, nullptr);
    ASSERT_EQ(platform.errors.size(), 1u);
    EXPECT_EQ(platform.errors[0].code, 0x81000013u);
    EXPECT_EQ(platform.errors[0].source, "core/src/tickets/requests/CreateTicket_impl");
}

TEST_F(FlatFeatures, WhatAnAdministratorNeeds) {
    static const char kDefaults[] = R"([{"name":"Super User","email":"e","password":"p",)"
                                    R"("description":"Super user created via tessaly.quillmarkclient",)"
                                    R"("isEnabled":true}])";
    static const struct {
        const char* name;
        PrincipalAdminRequest request;
        const char* body;  // null: refused
    } rows[] = {
        {"all",
         {"n", "e", "p", "d"},
         R"([{"name":"n","email":"e","password":"p","description":"d","isEnabled":true}])"},
        {"null for the optional ones", {nullptr, "e", "p", nullptr}, kDefaults},
        {"empty optional ones", {"", "e", "p", ""}, kDefaults},
        {"blanks are texts",
         {" ", "e", "p", " "},
         R"([{"name":" ","email":"e","password":"p","description":" ","isEnabled":true}])"},
        {"no email", {"n", nullptr, "p", "d"}, nullptr},
        {"an empty email", {"n", "", "p", "d"}, nullptr},
        {"no password", {"n", "e", nullptr, "d"}, nullptr},
        {"an empty password", {"n", "e", "", "d"}, nullptr},
    };
    StartSignedIn();
    auto* admin = Unset<PrincipalAdmin>();
    ExpectRefused(quillmarkclient::CreatePrincipalAdmin(context, nullptr, &admin, nullptr),
                  ResultCode::kInvalidParameters);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Forget();
        admin = Unset<PrincipalAdmin>();
        const auto code = quillmarkclient::CreatePrincipalAdmin(context, &row.request, &admin, nullptr);
        if (row.body == nullptr) {
            ExpectRefused(code, ResultCode::kInvalidParameters);
            EXPECT_EQ(admin, Unset<PrincipalAdmin>());
            continue;
        }
        ASSERT_EQ(code, ResultCode::kSuccess);
        EXPECT_EQ(platform.requests.at(0).body, row.body);
        quillmarkclient::FreeMemory(context, admin, nullptr);
    }
}

TEST_F(FlatFeatures, AnAdministratorIsOneBlock) {
    StartSignedIn();
    const auto allocations = platform.CallCount(Operation::Alloc);
    const PrincipalAdminRequest request{"n", "e", "p", "d"};
    PrincipalAdmin* admin = nullptr;
    ASSERT_EQ(quillmarkclient::CreatePrincipalAdmin(context, &request, &admin, nullptr),
              ResultCode::kSuccess);
    EXPECT_EQ(platform.CallCount(Operation::Alloc), allocations + 1);
    EXPECT_STREQ(admin->id, "7");
    EXPECT_STREQ(admin->name, "n");
    EXPECT_STREQ(admin->email, "e");
    EXPECT_STREQ(admin->description, "d");
    EXPECT_EQ(admin->id - reinterpret_cast<char*>(admin), 32);
    EXPECT_EQ(admin->name - admin->id, 2);
    EXPECT_EQ(admin->email - admin->name, 2);
    EXPECT_EQ(admin->description - admin->email, 2);
    quillmarkclient::FreeMemory(context, admin, nullptr);
}

TEST_F(FlatFeatures, AnAdministratorNeedsASession) {
    Start();
    Forget();
    EXPECT_EQ(kCalls[2].run(context, true), ResultCode::kAuthorizationDenied);
    ExpectTwoReports(0x82000002);
    EXPECT_TRUE(platform.requests.empty());
}

}  // namespace

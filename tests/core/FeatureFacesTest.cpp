// The features through the native faces: three methods of the client and three slots of the interface.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "core/src/QuillmarkClientInstance.h"
#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/HookedTable.h"
#include "tests/support/NativeFixture.h"

namespace {

using quillmarkclient::BackupMetadataRecord;
using quillmarkclient::IQuillmarkClient;
using quillmarkclient::OnlineBackupReportRecord;
using quillmarkclient::OnlineReportRecord;
using quillmarkclient::PrincipalAdminValue;
using quillmarkclient::ProductUpdateInfoValue;
using quillmarkclient::QuillmarkClient;
using test::Operation;
using Pairs = std::vector<std::pair<std::string, std::string>>;
using Strings = std::vector<std::string>;

const char kEnglish[] = "GET /feeds/foo_bar_en/rss";
const char kTickets[] = "POST /api/quillmark/CUSTOMER_TICKET_REGISTRATION";
const char kAdmins[] = "POST /api/admin/id/v0/principals/admins";
const char kWebhook[] = "POST /api/quillmark/webhook?name=brx-backup-metadata";

// Made once: what a call allocates is its own.
const Pairs kParameters = {{"a key that is too long for the short form", "1"}, {"b", "2"}};

// Every out value, filled with what no operation gives.
struct Outs {
    ProductUpdateInfoValue info{"unset", "unset", "unset"};
    std::string number = "unset";
    PrincipalAdminValue admin{"unset", "unset", "unset", "unset"};

    [[nodiscard]] bool AreUnset() const {
        return info.version == "unset" && info.description == "unset" && info.url == "unset" &&
               number == "unset" && admin.id == "unset" && admin.name == "unset" && admin.email == "unset" &&
               admin.description == "unset";
    }
};

constexpr struct {
    const char* name;
    const char* line;  // of its request
    ResultCode (*run)(QuillmarkClient& client, Outs& outs);
} kMethods[] = {
    {"GetProductUpdateInfo", kEnglish,
     [](QuillmarkClient& c, Outs& o) { return c.GetProductUpdateInfo("foo", "bar", "1.0", "en", o.info); }},
    {"CreateTicket", kTickets,
     [](QuillmarkClient& c, Outs& o) {
         return c.CreateTicket("a@b.c", "Title", "Text", kParameters, o.number);
     }},
    {"CreatePrincipalAdmin", kAdmins,
     [](QuillmarkClient& c, Outs& o) { return c.CreatePrincipalAdmin("n", "e", "p", "d", o.admin); }},
};

// The records of the slots have nothing in them.
constexpr BackupMetadataRecord kMetadata{};
constexpr OnlineBackupReportRecord kBackup{};
constexpr OnlineReportRecord kWipe{};

constexpr struct {
    const char* name;
    ResultCode (*run)(IQuillmarkClient& face, bool withRecord);
} kSlots[] = {
    {"SendBackupMetadata",
     [](IQuillmarkClient& face, bool with) { return face.SendBackupMetadata(with ? &kMetadata : nullptr); }},
    {"SendOnlineBackupReport",
     [](IQuillmarkClient& face, bool with) {
         return face.SendOnlineBackupReport(with ? &kBackup : nullptr);
     }},
    {"SendOnlineReport",
     [](IQuillmarkClient& face, bool with) { return face.SendOnlineReport(with ? &kWipe : nullptr); }},
};

class FeatureFaces : public test::NativeFixture {
protected:
    FeatureFaces() {
        service.Answer(
            kEnglish, 200,
            "<rss><channel><item><title>2.0</title><content:encoded>news that are too long for the "
            "short form</content:encoded><category>Windows</category><category>x64</category>"
            "<enclosure url=\"u\"/></item></channel></rss>");
        service.Answer(kTickets, 200,
                       R"({"id":"1","entityTypeKey":"T","attributeValues":[{"attributeKey":)"
                       R"("CUSTOMER_TICKET_NUMBER","valueLocales":[{"value":"4711"}]}]})");
        service.Answer(kAdmins, 200, R"([{"id":"7","name":"n","email":"e","description":"d"}])");
        service.Answer(kWebhook, 200, "");
    }
    ~FeatureFaces() override {
        if (face != nullptr)
            face->Release();
    }
    void Create() {
        face = client->CreateInterface();
        ASSERT_NE(face, nullptr);
    }

    IQuillmarkClient* face = nullptr;
};

TEST_F(FeatureFaces, UninitialisedAnswerSo) {
    Outs outs;
    for (const auto& method : kMethods)
        EXPECT_EQ(method.run(*client, outs), ResultCode::kNotInitialized) << method.name;
    EXPECT_TRUE(outs.AreUnset());
    face = new quillmarkclient::QuillmarkClientInstance(nullptr);
    face->AddRef();
    for (const auto& slot : kSlots) {
        EXPECT_EQ(slot.run(*face, true), ResultCode::kNotInitialized) << slot.name;
        EXPECT_EQ(slot.run(*face, false), ResultCode::kNotInitialized) << slot.name;
    }
    EXPECT_TRUE(platform.logOrder.empty());
}

TEST_F(FeatureFaces, ValuesAreCopied) {
    InitAndSignIn();
    const long blocks = platform.BlocksOut();
    Outs outs;
    for (const auto& method : kMethods)
        EXPECT_EQ(method.run(*client, outs), ResultCode::kSuccess) << method.name;
    EXPECT_EQ(outs.info.version, "2.0");
    EXPECT_EQ(outs.info.description, "news that are too long for the short form");
    EXPECT_EQ(outs.info.url, "u");
    EXPECT_EQ(outs.number, "4711");
    EXPECT_EQ(outs.admin.id, "7");
    EXPECT_EQ(outs.admin.name, "n");
    EXPECT_EQ(outs.admin.email, "e");
    EXPECT_EQ(outs.admin.description, "d");
    EXPECT_EQ(platform.RequestLines(test::kServiceUrl), (Strings{kEnglish, kTickets, kAdmins}));
    EXPECT_EQ(platform.requests[1].body,
              R"({"email":"a@b.c","title":"Title","description":"Text","additionalParameters":)"
              R"({"a key that is too long for the short form":"1","b":"2"}})");
    EXPECT_EQ(platform.BlocksOut(), blocks) << "the records have gone back";
}

TEST_F(FeatureFaces, TheOrderOfTicketParametersIsTheCallers) {
    static const struct {
        const char* name;
        Pairs pairs;
        const char* member;
    } rows[] = {
        {"none", {}, ""},
        {"not sorted",
         {{"b", "2"}, {"a", "1"}, {"b", "3"}},
         R"(,"additionalParameters":{"b":"2","a":"1","b":"3"})"},
        {"what is behind a zero byte is not seen",
         {{std::string("k\0x", 3), std::string("v\0x", 3)}},
         R"(,"additionalParameters":{"k":"v"})"},
    };
    Init();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.requests.clear();
        std::string number;
        EXPECT_EQ(client->CreateTicket("e", "t", "d", row.pairs, number), ResultCode::kSuccess);
        EXPECT_EQ(platform.requests.at(0).body,
                  std::string(R"({"email":"e","title":"t","description":"d")") + row.member + "}");
    }
}

TEST_F(FeatureFaces, AnAdministratorsEmptyTextsHaveDefaults) {
    InitAndSignIn();
    Outs outs;
    EXPECT_EQ(client->CreatePrincipalAdmin("", "e", "p", "", outs.admin), ResultCode::kSuccess);
    const auto body = nlohmann::json::parse(platform.requests.at(0).body);
    EXPECT_EQ(body[0]["name"], "Super User");
    EXPECT_EQ(body[0]["description"], "Super user created via tessaly.quillmarkclient");
    EXPECT_EQ(client->CreatePrincipalAdmin("n", "", "p", "d", outs.admin), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->CreatePrincipalAdmin("n", "e", "", "d", outs.admin), ResultCode::kInvalidParameters);
}

TEST_F(FeatureFaces, EmptyTextsOfTheOthersAreRefused) {
    InitAndSignIn();
    Outs outs;
    EXPECT_EQ(client->GetProductUpdateInfo("", "b", "1", "en", outs.info), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->GetProductUpdateInfo("f", "", "1", "en", outs.info), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->GetProductUpdateInfo("f", "b", "", "en", outs.info), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->GetProductUpdateInfo("f", "b", "1", "", outs.info), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->CreateTicket("", "t", "d", {}, outs.number), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->CreateTicket("e", "", "d", {}, outs.number), ResultCode::kInvalidParameters);
    EXPECT_EQ(client->CreateTicket("e", "t", "", {}, outs.number), ResultCode::kInvalidParameters);
    EXPECT_TRUE(platform.requests.empty());
    EXPECT_TRUE(outs.AreUnset());
}

TEST_F(FeatureFaces, FailuresLeaveOutsAsTheyWereAndAreTold) {
    static constexpr std::uint32_t kCodes[] = {0x84000006, 0x80000001, 0x82000003};
    InitAndSignIn();
    Outs outs;
    for (std::size_t i = 0; i < 3; ++i) {
        SCOPED_TRACE(kMethods[i].name);
        service.Answer(kMethods[i].line, 500, R"({"title":"why"})");
        EXPECT_EQ(static_cast<std::uint32_t>(kMethods[i].run(*client, outs)), kCodes[i]);
        quillmarkclient::ServiceErrorValue error;
        EXPECT_EQ(client->GetLastServiceError(error), ResultCode::kSuccess);
        EXPECT_EQ(error.resultCode, kCodes[i]);
        EXPECT_EQ(error.httpCode, 500u);
        EXPECT_EQ(error.title, "why");
    }
    EXPECT_TRUE(outs.AreUnset());
}

TEST_F(FeatureFaces, TheSlotsTakeTheirRecords) {
    InitAndSignIn();
    Create();
    for (const auto& slot : kSlots) {
        EXPECT_EQ(slot.run(*face, false), ResultCode::kInvalidParameters) << slot.name;
        EXPECT_EQ(slot.run(*face, true), ResultCode::kSuccess) << slot.name;
    }
    EXPECT_EQ(platform.RequestLines(test::kServiceUrl), Strings{kWebhook}) << "reports go nowhere";
    EXPECT_EQ(platform.requests[0].body, R"({"version":1})");
    EXPECT_EQ(platform.requests[0].Header("Authorization"), "Bearer own-token");
    service.Answer(kWebhook, 400, R"({"title":"why"})");
    EXPECT_EQ(static_cast<std::uint32_t>(face->SendBackupMetadata(&kMetadata)), 0x83000001u);
    quillmarkclient::ServiceErrorRecord* error = nullptr;
    EXPECT_EQ(face->GetLastServiceError(&error), ResultCode::kSuccess);
    EXPECT_EQ(error, nullptr) << "the webhook's refusal is not kept";
}

TEST_F(FeatureFaces, NothingThrownLeavesThemAndTheLockIsFree) {
    static const struct {
        const char* name;
        void (*raise)();
    } throwers[] = {
        {"a standard exception", [] { throw std::runtime_error("bad conversion"); }},
        {"an exception of the core", [] { throw portable_stl::bad_alloc(); }},
        {"no exception class at all", [] { throw 7; }},
    };
    static constexpr Operation kThrowing[] = {Operation::HttpRequest, Operation::Alloc, Operation::Md5,
                                              Operation::GetMachineIds, Operation::GetTime};
    InitAndSignIn();
    Create();
    const long blocks = platform.BlocksOut();
    unsigned thrown = 0;
    const auto expectContained = [&](const char* name, const auto& run) {
        for (const auto& thrower : throwers) {
            for (const Operation operation : kThrowing) {
                SCOPED_TRACE(std::string(name) + ", " + thrower.name);
                const unsigned before = thrown;
                platform.before = [&](Operation now) {
                    if (now == operation && thrown == before) {
                        ++thrown;
                        thrower.raise();
                    }
                };
                const ResultCode code = run();
                platform.before = nullptr;
                EXPECT_EQ(code, thrown != before ? ResultCode::kInternalError : ResultCode::kSuccess);
                EXPECT_EQ(platform.BlocksOut(), blocks);
                EXPECT_TRUE(client->IsSignedIn()) << "the lock is free";
            }
        }
    };
    for (const auto& method : kMethods) {
        expectContained(method.name, [&] {
            Outs outs;
            const ResultCode code = method.run(*client, outs);
            EXPECT_TRUE(IsSuccess(code) || outs.AreUnset());
            return code;
        });
    }
    for (const auto& slot : kSlots)
        expectContained(slot.name, [&] { return slot.run(*face, true); });
    EXPECT_GT(thrown, 20u) << "too few calls reach the platform";
}

struct Pause {
    test::AllocationPause pause;
};

TEST_F(FeatureFaces, EachAllocationFailsInTurn) {
    test::ScriptedDefaultTable() = test::Hooked<Pause>(platform.table);
    QuillmarkClient::SetLogCallbacks(nullptr, nullptr);
    InitAndSignIn();
    Create();
    const long blocks = platform.BlocksOut();
    const auto failEach = [&](const char* name, const auto& run) {
        SCOPED_TRACE(name);
        for (std::size_t nth = 1;; ++nth) {
            ASSERT_LT(nth, 5000u);
            auto code = ResultCode::kSuccess;
            bool failed = false;
            Outs outs;
            {
                test::FailingAllocation failing(nth);
                code = run(outs);
                failed = failing.HasFailed();
            }
            EXPECT_EQ(platform.BlocksOut(), blocks) << nth;
            EXPECT_TRUE(IsSuccess(code) || outs.AreUnset()) << nth;
            if (!failed) {
                EXPECT_EQ(code, ResultCode::kSuccess);
                EXPECT_GT(nth, 3u) << "nothing fails";
                return;
            }
            EXPECT_TRUE(code == ResultCode::kInternalError || code == ResultCode::kInsufficientResources)
                << nth;
        }
    };
    for (const auto& method : kMethods)
        failEach(method.name, [&](Outs& outs) { return method.run(*client, outs); });
    for (const auto& slot : kSlots)
        failEach(slot.name, [&](Outs&) { return slot.run(*face, true); });
}

}  // namespace

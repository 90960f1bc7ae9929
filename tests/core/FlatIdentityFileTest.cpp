// The identity's secret in a JSON document of the host: which texts are taken, what comes back, what stays.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "portable_stl/exception.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/FakeRegistryClient.h"
#include "tests/support/FlatFixture.h"
#include "tests/support/HookedTable.h"
#include "tests/support/SmallStack.h"

namespace {

using namespace std::string_literals;
using quillmarkclient::PersistIdentityToken;
using test::Operation;
using Strings = std::vector<std::string>;

constexpr char kPath[] = "host/settings.json";

// The fakes' own allocations do not fail.
struct Pause {
    test::AllocationPause pause;
};

class FlatIdentityFile : public test::FlatFixture {
protected:
    FlatIdentityFile() {
        Start();
        context->registryClient->identitySecret = "s-1";
        Forget();
    }

    ResultCode Persist() { return PersistIdentityToken(context, kPath, nullptr); }
    // The document behind a call that succeeds.
    std::string Persisted(const std::string& document) {
        platform.files[kPath] = document;
        EXPECT_EQ(Persist(), ResultCode::kSuccess);
        return platform.files[kPath];
    }
    void ExpectOneReport(ResultCode code) {
        EXPECT_EQ(platform.errors.size(), 1u);
        ExpectReported(code);
        Forget();
    }
};

TEST_F(FlatIdentityFile, TakesADocumentAndSetsTheMember) {
    static const struct {
        const char* name;
        std::string document;
        std::string expected;
    } rows[] = {
        {"empty file", "", R"({"identityToken":"s-1"})"},
        {"empty object", "{}", R"({"identityToken":"s-1"})"},
        {"empty object with blanks", " \r\n{ \t}\r\n", R"({"identityToken":"s-1"})"},
        {"an empty text for a root", R"("")", R"({"identityToken":"s-1"})"},
        {"other members keep their order", R"({"b":1,"a":2})", R"({"b":1,"a":2,"identityToken":"s-1"})"},
        {"the member is there", R"({"identityToken":"old","a":1})", R"({"identityToken":"s-1","a":1})"},
        {"in the middle, and stays there", R"({"a":1,"identityToken":"old","b":2})",
         R"({"a":1,"identityToken":"s-1","b":2})"},
        {"the member is empty", R"({"identityToken":""})", R"({"identityToken":"s-1"})"},
        {"null", R"({"identityToken":null})", R"({"identityToken":"s-1"})"},
        {"a number", R"({"identityToken":12})", R"({"identityToken":"s-1"})"},
        {"an object loses its members", R"({"identityToken":{"a":{"b":[1]}},"c":3})",
         R"({"identityToken":"s-1","c":3})"},
        {"an empty object", R"({"identityToken":{}})", R"({"identityToken":"s-1"})"},
        {"an array loses its elements", R"({"identityToken":[1,[2]],"c":3})",
         R"({"identityToken":"s-1","c":3})"},
        {"the name in another case stays so", R"({"IdentityTOKEN":"old"})", R"({"IdentityTOKEN":"s-1"})"},
        {"the first of two", R"({"identityToken":"x","identityToken":"y"})",
         R"({"identityToken":"s-1","identityToken":"y"})"},
        {"the first of two, whatever the case", R"({"IDENTITYTOKEN":"x","identityToken":"y"})",
         R"({"IDENTITYTOKEN":"s-1","identityToken":"y"})"},
        {"a nested one is none", R"({"a":{"identityToken":"x"}})",
         R"({"a":{"identityToken":"x"},"identityToken":"s-1"})"},
        {"a name that only begins so", R"({"identityTokens":"x"})",
         R"({"identityTokens":"x","identityToken":"s-1"})"},
        {"duplicates of others are kept", R"({"a":1,"a":2})", R"({"a":1,"a":2,"identityToken":"s-1"})"},
        {"literals and numbers stand as written", R"({"a":true,"b":false,"c":null,"d":-1.50E+3,"e":007})",
         R"({"a":true,"b":false,"c":null,"d":-1.50E+3,"e":007,"identityToken":"s-1"})"},
        {"empty containers", R"({"a":[],"b":{},"c":[[]],"d":[{}]})",
         R"({"a":[],"b":{},"c":[[]],"d":[{}],"identityToken":"s-1"})"},
        {"strings keep their meaning", R"({"a":"q\"b\\s\/t\tn\n\u00e9\ud83d\ude00"})",
         "{\"a\":\"q\\\"b\\\\s\\/t\\tn\\n\xc3\xa9\xf0\x9f\x98\x80\",\"identityToken\":\"s-1\"}"},
        {"a slash gets its backslash", R"({"url":"https://x/y"})",
         R"({"url":"https:\/\/x\/y","identityToken":"s-1"})"},
        {"CRLF and tabs between the tokens go", "{\r\n\t\"a\" : 1 ,\r\n\t\"b\" : [ 1 , 2 ]\r\n}\r\n",
         R"({"a":1,"b":[1,2],"identityToken":"s-1"})"},
        {"line breaks in a string become escapes", "{\"a\":\"x\r\ny\"}",
         R"({"a":"x\r\ny","identityToken":"s-1"})"},
        {"a byte-order mark goes", "\xef\xbb\xbf{\"a\":1}", R"({"a":1,"identityToken":"s-1"})"},
        {"a trailing comma goes", R"({"a":1,"b":[1,2,],})", R"({"a":1,"b":[1,2],"identityToken":"s-1"})"},
        {"Latin-1 in a string stays", "{\"a\":\"\xe9\"}", "{\"a\":\"\xe9\",\"identityToken\":\"s-1\"}"},
        {"what stands behind a zero byte goes", "{\"a\":1}\0rest"s, R"({"a":1,"identityToken":"s-1"})"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Persisted(row.document), row.expected) << row.name;
    EXPECT_TRUE(platform.logOrder.empty());
    EXPECT_TRUE(platform.requests.empty());
}

TEST_F(FlatIdentityFile, LeavesARefusedDocumentByteForByte) {
    static const struct {
        const char* name;
        std::string document;
    } rows[] = {
        {"an array", R"([{"a":1}])"},
        {"an empty array", "[]"},
        {"an array of nothing but a comma", "[,]"},
        {"a string", R"("text")"},
        {"a number", "12"},
        {"null", "null"},
        {"true", "true"},
        {"blanks", " \r\n\t"},
        {"a byte-order mark alone", "\xef\xbb\xbf"},
        {"one zero byte", "\0"s},
        {"a comment behind a value", "{\"a\":1 // one\n}"},
        {"a comment behind a comma", "{\"a\":1,\n // two\n\"b\":2}"},
        {"a comment in front", "// settings\n{\"a\":1}"},
        {"a comment at the end", "{\"a\":1}\n// end\n"},
        {"a block comment", "{/* none */\"a\":1}"},
        {"a hash comment", "# settings\n{\"a\":1}"},
        {"two documents", R"({"a":1}{"b":2})"},
        {"text behind the root", R"({"a":1} x)"},
        {"cut in a string", R"({"a":"b)"},
        {"cut behind a colon", R"({"a":)"},
        {"cut behind the brace", "{"},
        {"no comma", R"({"a":1 "b":2})"},
        {"no colon", R"({"a" 1})"},
        {"two colons", R"({"a"::1})"},
        {"two commas", R"({"a":1,,"b":2})"},
        {"UTF-16", "\xff\xfe{\0}\0"s},
        {"a zero escape in a string", R"({"a":"b\u0000c"})"},
        {"an INI file", "[settings]\r\nname=value\r\n"},
        {"XML", "<settings/>"},
        {"YAML", "a: 1\nb: 2\n"},
        {"a text", "s-1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files[kPath] = row.document;
        const auto writes = platform.CallCount(Operation::FileWrite);
        const auto cuts = platform.CallCount(Operation::FileSetSize);
        EXPECT_EQ(static_cast<std::uint32_t>(Persist()), 0x85000001u);
        ExpectOneReport(ResultCode::kSecretsFormat);
        EXPECT_EQ(platform.files[kPath], row.document);
        EXPECT_EQ(platform.CallCount(Operation::FileWrite), writes);
        EXPECT_EQ(platform.CallCount(Operation::FileSetSize), cuts);
    }
}

TEST_F(FlatIdentityFile, AMissingFileIsMadeAndNotRead) {
    platform.files.clear();
    EXPECT_EQ(Persist(), ResultCode::kSuccess);
    EXPECT_EQ(platform.CallCount(Operation::FileRead), 0u);
    EXPECT_EQ(platform.files, (std::map<std::string, std::string>{{kPath, R"({"identityToken":"s-1"})"}}));
}

TEST_F(FlatIdentityFile, ASecondCallChangesNothing) {
    const std::string once = Persisted(R"({"a":[1,{"b":"c/d"}]})");
    EXPECT_EQ(Persisted(once), once);
}

TEST_F(FlatIdentityFile, TheSecretIsWrittenAsAString) {
    static const struct {
        const char* name;
        const char* secret;
        std::string written;
    } rows[] = {
        {"a word", "abc", R"("abc")"},
        {"digits", "123", R"("123")"},
        {"a literal", "null", R"("null")"},
        {"quotes, slashes, controls", "a\"b\\c/d\ne\tf\rg\bh\fi", R"("a\"b\\c\/d\ne\tf\rg\bh\fi")"},
        {"JSON", R"({"a":1})", R"("{\"a\":1}")"},
        {"UTF-8", "\xc3\xa9", "\"\xc3\xa9\""},
        {"no UTF-8", "\xff", "\"\xff\""},
    };
    for (const auto& row : rows) {
        context->registryClient->identitySecret = row.secret;
        EXPECT_EQ(Persisted(R"({"a":1})"), R"({"a":1,"identityToken":)" + row.written + "}") << row.name;
        EXPECT_EQ(Persisted(R"({"identityToken":{"a":1}})"), R"({"identityToken":)" + row.written + "}")
            << row.name;
    }
}

TEST_F(FlatIdentityFile, HugeDocumentsComeThrough) {
    std::string members;
    for (int i = 0; i < 100'000; ++i)
        members += "\"member-" + std::to_string(i) + "\":[true,\"value " + std::to_string(i) + "\"],";
    members.pop_back();
    EXPECT_EQ(Persisted("{" + members + "}"), "{" + members + R"(,"identityToken":"s-1"})");

    const std::string text(16 << 20, 'x');
    EXPECT_EQ(Persisted(R"({"a":")" + text + R"("})"), R"({"a":")" + text + R"(","identityToken":"s-1"})");
}

TEST_F(FlatIdentityFile, DepthIsNoDangerToASmallStack) {
    constexpr int kDepth = 200'000;
    std::string opening;
    for (int i = 0; i < kDepth; ++i)
        opening += i % 2 == 0 ? R"({"a":)" : "[";
    std::string closing;
    for (int i = kDepth; i-- > 0;)
        closing += i % 2 == 0 ? '}' : ']';
    const std::string deep = opening + "1" + closing;
    platform.files[kPath] = R"({"identityToken":)" + deep + "}";
    test::RunOnSmallStack([&] { EXPECT_EQ(Persist(), ResultCode::kSuccess); });
    EXPECT_EQ(platform.files[kPath], R"({"identityToken":"s-1"})");
    platform.files[kPath] = R"({"deep":)" + deep + "}";
    test::RunOnSmallStack([&] { EXPECT_EQ(Persist(), ResultCode::kSuccess); });
    EXPECT_EQ(platform.files[kPath], R"({"deep":)" + deep + R"(,"identityToken":"s-1"})");
    // Unclosed, at any depth, it stays as it is.
    platform.files[kPath] = opening;
    test::RunOnSmallStack([&] { EXPECT_EQ(Persist(), ResultCode::kSecretsFormat); });
    EXPECT_EQ(platform.files[kPath], opening);
}

TEST_F(FlatIdentityFile, ChecksComeInTheirOrderBeforeTheFileIsTouched) {
    platform.files[kPath] = "no JSON";
    EXPECT_EQ(PersistIdentityToken(nullptr, kPath, nullptr), ResultCode::kInvalidParameters);
    ExpectOneReport(ResultCode::kInvalidParameters);
    Without(&quillmarkclient::ClientContext::registryClient, [&] {
        EXPECT_EQ(PersistIdentityToken(context, nullptr, nullptr), ResultCode::kInvalidParameters)
            << "before the missing session";
        ExpectOneReport(ResultCode::kInvalidParameters);
        EXPECT_EQ(Persist(), ResultCode::kRegistryNotInitialized);
        ExpectOneReport(ResultCode::kRegistryNotInitialized);
    });
    context->registryClient->identitySecret = "";
    EXPECT_EQ(Persist(), ResultCode::kAuthorizationDenied);
    ExpectOneReport(ResultCode::kAuthorizationDenied);
    for (const Operation operation : {Operation::FileRead, Operation::FileWrite, Operation::FileSetSize})
        EXPECT_EQ(platform.CallCount(operation), 0u);
}

TEST_F(FlatIdentityFile, EachReportHasALineOfItsOwn) {
    EXPECT_FALSE(IsSuccess(PersistIdentityToken(nullptr, kPath, nullptr)));
    Without(&quillmarkclient::ClientContext::registryClient, [&] { EXPECT_FALSE(IsSuccess(Persist())); });
    context->registryClient->identitySecret = "";
    EXPECT_FALSE(IsSuccess(Persist()));
    context->registryClient->identitySecret = "s-1";
    platform.files[kPath] = "{}";
    platform.FailCall(Operation::FileRead, 0x81000002u);
    EXPECT_FALSE(IsSuccess(Persist()));
    platform.files[kPath] = "[]";
    EXPECT_FALSE(IsSuccess(Persist()));
    platform.files[kPath] = "{}";
    platform.FailCall(Operation::FileWrite, 0x81000003u);
    EXPECT_FALSE(IsSuccess(Persist()));
    ASSERT_EQ(platform.errors.size(), 6u);
    for (std::size_t i = 1; i < platform.errors.size(); ++i)
        EXPECT_GT(platform.errors[i].line, platform.errors[i - 1].line) << i;
}

TEST_F(FlatIdentityFile, AnUnreadableStateIsTracedNotReported) {
    auto session = portable_stl::make_unique<test::FakeRegistryClient>();
    session->failingStateCall = 1;
    context->core->registryClient = session.get();
    context->registryClient = std::move(session);
    platform.files[kPath] = "{}";
    EXPECT_EQ(Persist(), ResultCode::kInternalError);
    EXPECT_EQ(platform.logOrder, Strings{"T Get token data failed: Internal program error"});
    EXPECT_EQ(platform.files[kPath], "{}");
}

TEST_F(FlatIdentityFile, KindsThatHaveNoIdentityAreDenied) {
    static const struct {
        const char* name;
        std::uint32_t kind;
        ResultCode expected;
    } rows[] = {
        {"customer", 0, ResultCode::kSuccess},
        {"business", 1, ResultCode::kSuccess},
        {"administrator", 2, ResultCode::kAuthorizationDenied},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        init.clientKind = row.kind;
        Start();
        context->registryClient->identitySecret = "s-1";
        EXPECT_EQ(Persist(), row.expected);
    }
}

TEST_F(FlatIdentityFile, EachFailingOperationHasItsCodeAndLeavesWhatIsLeft) {
    static const struct {
        const char* name;
        Operation operation;
        std::uint32_t platformCode;
        std::uint32_t expected;
        const char* left;
    } rows[] = {
        {"a size that can't be had is a document that is not there", Operation::FileGetSize, 0x81000008u, 0,
         R"({"identityToken":"s-1"})"},
        {"no block", Operation::Alloc, 1, 0x80000003u, R"({"a":1})"},
        {"the file can't be opened to read", Operation::FileRead, 0x81000001u, 0x81000002u, R"({"a":1})"},
        {"the file can't be read", Operation::FileRead, 0x81000002u, 0x81000002u, R"({"a":1})"},
        {"the file can't be opened to be emptied", Operation::FileSetSize, 0x81000001u, 0x81000003u,
         R"({"a":1})"},
        {"the file can't be emptied", Operation::FileSetSize, 0x81000009u, 0x81000003u, R"({"a":1})"},
        {"the file can't be opened to write", Operation::FileWrite, 0x81000001u, 0x81000003u, ""},
        {"the file can't be written", Operation::FileWrite, 0x81000003u, 0x81000003u, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files[kPath] = R"({"a":1})";
        platform.FailCall(row.operation, row.platformCode);
        EXPECT_EQ(static_cast<std::uint32_t>(Persist()), row.expected);
        EXPECT_EQ(platform.files[kPath], row.left);
        EXPECT_EQ(platform.BlocksOut(), 1) << "the context alone";
        if (row.expected != 0)
            ExpectOneReport(static_cast<ResultCode>(row.expected));
    }
}

TEST_F(FlatIdentityFile, EachAllocationFailsBeforeTheFileIsTouched) {
    init.table = test::Hooked<Pause>(platform.table);
    Start();
    context->registryClient->identitySecret = "a secret that is longer than the short form";
    quillmarkclient::SetLogCallbacks(nullptr, nullptr);
    const std::string document =
        R"({"a long name of the host's member":{"b":[1,"a long text of the host's"]}})";
    std::size_t failures = 0;
    for (std::size_t nth = 1;; ++nth) {
        ASSERT_LT(nth, 1000u);
        platform.files[kPath] = document;
        bool failed = false;
        {
            const test::FailingAllocation failing(nth);
            try {
                EXPECT_EQ(Persist(), ResultCode::kSuccess);
            } catch (const portable_stl::exception&) {
                failed = true;
            }
            if (!failing.HasFailed())
                break;
        }
        EXPECT_TRUE(failed) << nth;
        EXPECT_EQ(platform.files[kPath], document) << nth;
        EXPECT_EQ(platform.BlocksOut(), 1) << nth;
        ++failures;
    }
    EXPECT_GT(failures, 10u);
}

TEST_F(FlatIdentityFile, TheDocumentIsReadAndWrittenAsAWholeUnderItsPath) {
    platform.files = {{kPath, "{}"}, {"host/settings.json.bak", "{}"}};
    const auto sizesAsked = platform.CallCount(Operation::FileGetSize);
    EXPECT_EQ(Persist(), ResultCode::kSuccess);
    EXPECT_EQ(platform.CallCount(Operation::FileGetSize), sizesAsked + 1);
    EXPECT_EQ(platform.CallCount(Operation::FileRead), 1u);
    EXPECT_EQ(platform.CallCount(Operation::FileSetSize), 1u);
    EXPECT_EQ(platform.CallCount(Operation::FileWrite), 1u);
    EXPECT_EQ(platform.files.size(), 2u) << "no file beside it";
    EXPECT_EQ(platform.files["host/settings.json.bak"], "{}");
}

}  // namespace

#include "core/src/core/TokenFiles.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "core/src/core/Cryptographer.h"
#include "core/src/core/TokenFiles_impl.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/ScriptedPlatform.h"

namespace {

using quillmarkclient_core::Cryptographer;
using quillmarkclient_core::SystemApi;
using test::Operation;

// What the files ask of a registry session, recorded.
struct RecordingRegistry {
    struct Renewal {
        std::string secret;
        std::uint32_t mode;
        std::string contextId;
        const void* errorInfo;
        const void* context;
    };

    void SetAccessToken(const portable_stl::string& text, bool present, void* context) {
        tokens.emplace_back(text.c_str(), present, context);
    }
    ResultCode ReauthorizeViaIdentity(const portable_stl::string& secret, std::uint32_t mode,
                                      const portable_stl::string& contextId, int* errorInfo, void* context) {
        renewals.push_back(
            {std::string(secret.data(), secret.size()), mode, contextId.c_str(), errorInfo, context});
        return renewalResult;
    }

    std::vector<std::tuple<std::string, bool, void*>> tokens;
    std::vector<Renewal> renewals;
    ResultCode renewalResult = ResultCode::kSuccess;
};

struct Session {
    using Api = SystemApi;

    portable_stl::string storagePath = "store/";
    portable_stl::shared_ptr<Cryptographer<SystemApi>> cryptographer =
        portable_stl::make_shared<Cryptographer<SystemApi>>(false);
    RecordingRegistry* registryClient = nullptr;
};

class TokenFiles : public ::testing::Test {
protected:
    TokenFiles() { session.registryClient = &registry; }

    // Puts `text` behind the cipher of the given pair of keys, as the library does.
    std::string Enciphered(const std::string& text, bool useAlternateKeys = false) {
        const auto cipher = portable_stl::make_shared<Cryptographer<SystemApi>>(useAlternateKeys);
        EXPECT_EQ(quillmarkclient_core::WriteEncryptedFile<SystemApi>(
                      "made", portable_stl::string(text.data(), text.size()), &cipher, nullptr),
                  ResultCode::kSuccess);
        std::string content = platform.files["made"];
        platform.files.erase("made");
        return content;
    }

    std::string PlainText(const std::string& path) {
        portable_stl::string text;
        EXPECT_EQ(quillmarkclient_core::ReadEncryptedFile<SystemApi>(path.c_str(), text,
                                                                     &session.cryptographer, nullptr),
                  ResultCode::kSuccess);
        return text.c_str();
    }

    ResultCode LoadIdentity() {
        return quillmarkclient_core::LoadIdentityFile(session, &errorInfo, &contextMark);
    }
    ResultCode LoadContext() { return quillmarkclient_core::LoadContextFile(session, &contextMark); }

    test::ScriptedPlatform platform;
    RecordingRegistry registry;
    Session session;
    int errorInfo = 0;
    int contextMark = 0;
};

TEST_F(TokenFiles, NamesAreFixedTexts) {
    EXPECT_STREQ(quillmarkclient_core::identityFileName, "LIC0");
    EXPECT_STREQ(quillmarkclient_core::contextFileName, "LIC");
}

TEST_F(TokenFiles, IdentityIsStoredAsThreeQuotedMembersInOrder) {
    static const struct {
        const char* name;
        const char* token;
        std::uint32_t mode;
        const char* contextId;
        const char* plain;
    } rows[] = {
        {"own context", "secret", 0, "", R"({"identityToken":"secret","contextType":"b2c","contextId":""})"},
        {"organisation", "secret", 1, "t-1",
         R"({"identityToken":"secret","contextType":"b2b","contextId":"t-1"})"},
        {"none chosen is b2c", "secret", 2, "",
         R"({"identityToken":"secret","contextType":"b2c","contextId":""})"},
        {"any other mode is b2c", "secret", 7, "x",
         R"({"identityToken":"secret","contextType":"b2c","contextId":"x"})"},
        {"a slash is escaped", "a/b", 0, "c/d",
         R"({"identityToken":"a\/b","contextType":"b2c","contextId":"c\/d"})"},
        {"digits stay quoted", "123", 0, "4",
         R"({"identityToken":"123","contextType":"b2c","contextId":"4"})"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        quillmarkclient_core::StoreIdentityFile(session, row.token, row.mode, row.contextId, nullptr);
        EXPECT_EQ(PlainText("store/LIC0"), row.plain);
    }
    EXPECT_EQ(platform.files.size(), 1u);
    EXPECT_TRUE(platform.logOrder.empty());
}

TEST_F(TokenFiles, ContextTokenIsStoredAsOneQuotedMember) {
    quillmarkclient_core::StoreContextFile(session, "aa.bb/cc", nullptr);
    EXPECT_EQ(PlainText("store/LIC"), R"({"contextToken":"aa.bb\/cc"})");
    EXPECT_EQ(platform.files.size(), 1u);
}

TEST_F(TokenFiles, NothingReadableIsInTheFile) {
    quillmarkclient_core::StoreIdentityFile(session, "very-secret-token", 0, "", nullptr);
    EXPECT_EQ(platform.files["store/LIC0"].find("very-secret"), std::string::npos);
    EXPECT_EQ(platform.files["store/LIC0"].find_first_not_of(
                  "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/="),
              std::string::npos);
}

TEST_F(TokenFiles, StoringReplacesTheWholeFile) {
    quillmarkclient_core::StoreIdentityFile(session, portable_stl::string(std::string(500, 'x').c_str()), 1,
                                            "long", nullptr);
    quillmarkclient_core::StoreIdentityFile(session, "s", 0, "", nullptr);
    EXPECT_EQ(PlainText("store/LIC0"), R"({"identityToken":"s","contextType":"b2c","contextId":""})");
}

TEST_F(TokenFiles, FailedStoreIsTracedWithTheCodesText) {
    static const struct {
        const char* name;
        Operation operation;
        const char* identityLine;
        const char* contextLine;
    } rows[] = {
        {"can't be emptied", Operation::FileSetSize, "Can not store identity token: Can not set a file size",
         "Can not store context token: Can not set a file size"},
        {"can't be written", Operation::FileWrite, "Can not store identity token: Can not write a file",
         "Can not store context token: Can not write a file"},
        {"can't be enciphered", Operation::Encrypt, "Can not store identity token: Can not encrypt data",
         "Can not store context token: Can not encrypt data"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.traceLines.clear();
        platform.FailCall(row.operation, 0x80000001u);
        quillmarkclient_core::StoreIdentityFile(session, "secret", 0, "", nullptr);
        platform.FailCall(row.operation, 0x80000001u);
        quillmarkclient_core::StoreContextFile(session, "token", nullptr);
        EXPECT_EQ(platform.traceLines, (std::vector<std::string>{row.identityLine, row.contextLine}));
    }
}

TEST_F(TokenFiles, FailedWriteLeavesTheFileEmpty) {
    platform.files["store/LIC0"] = "former";
    platform.FailCall(Operation::FileWrite, 0x81000003u);
    quillmarkclient_core::StoreIdentityFile(session, "secret", 0, "", nullptr);
    EXPECT_EQ(platform.files["store/LIC0"], "");
}

TEST_F(TokenFiles, IdentityIsReadInBothForms) {
    static const struct {
        const char* name;
        const char* plain;
        const char* secret;
        std::uint32_t mode;
        const char* contextId;
    } rows[] = {
        {"all three members", R"({"identityToken":"abc","contextType":"b2b","contextId":"t-1"})", "abc", 1,
         "t-1"},
        {"token alone", R"({"identityToken":"abc"})", "abc", 0, ""},
        {"own context", R"({"identityToken":"abc","contextType":"b2c","contextId":""})", "abc", 0, ""},
        {"member names in any case", R"({"IDENTITYTOKEN":"abc","CONTEXTTYPE":"b2b","ContextID":"t"})", "abc",
         1, "t"},
        {"the kind is compared exactly", R"({"identityToken":"abc","contextType":"B2B","contextId":"t"})",
         "abc", 0, "t"},
        {"the first of two members", R"({"identityToken":"abc","identityToken":"def"})", "abc", 0, ""},
        {"an escaped slash", R"({"identityToken":"a\/b"})", "a/b", 0, ""},
        {"null is the text null", R"({"identityToken":null})", "null", 0, ""},
        {"a number is its text", R"({"identityToken":12.50})", "12.50", 0, ""},
        {"a bare token", "aaa.bbb.ccc", "aaa.bbb.ccc", 0, ""},
        {"a bare token with text behind it", "aaa bbb", "aaa bbb", 0, ""},
        {"JSON that ends early", R"({"identityToken":"abc")", R"({"identityToken":"abc")", 0, ""},
        {"two documents", R"({"identityToken":"abc"}{})", R"({"identityToken":"abc"}{})", 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        registry.renewals.clear();
        platform.files["store/LIC0"] = Enciphered(row.plain);
        EXPECT_EQ(LoadIdentity(), ResultCode::kSuccess);
        ASSERT_EQ(registry.renewals.size(), 1u);
        EXPECT_EQ(registry.renewals[0].secret, row.secret);
        EXPECT_EQ(registry.renewals[0].mode, row.mode);
        EXPECT_EQ(registry.renewals[0].contextId, row.contextId);
        EXPECT_EQ(registry.renewals[0].errorInfo, &errorInfo);
        EXPECT_EQ(registry.renewals[0].context, &contextMark);
    }
    EXPECT_TRUE(registry.tokens.empty());
    EXPECT_TRUE(platform.logOrder.empty());
}

TEST_F(TokenFiles, IdentityFileThatNamesNoIdentityIsReported) {
    static const struct {
        const char* name;
        const char* plain;
    } rows[] = {
        {"empty object", "{}"},
        {"no member", R"({"contextType":"b2b","contextId":"t"})"},
        {"empty token", R"({"identityToken":""})"},
        {"member without a value", R"({"identityToken":})"},
        {"a nested object as the token", R"({"identityToken":{"a":1}})"},
        {"empty array", "[]"},
        {"array of an object", R"([{"identityToken":"abc"}])"},
        {"a number", "12345"},
        {"a literal", "true"},
        {"null", "null"},
        {"one byte", "x"},
        {"a quoted text", R"("abc.def")"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.logOrder.clear();
        platform.files["store/LIC0"] = Enciphered(row.plain);
        EXPECT_EQ(LoadIdentity(), ResultCode::kInternalError);
        EXPECT_EQ(platform.logOrder,
                  (std::vector<std::string>{"T Can not parse identityToken from json string.",
                                            "E 80000001 core/src/core/helper"}));
    }
    ASSERT_FALSE(platform.errors.empty());
    EXPECT_GT(platform.errors[0].line, 0u);
    EXPECT_EQ(platform.errors[0].message, "Internal program error");
    EXPECT_TRUE(registry.renewals.empty());
}

TEST_F(TokenFiles, AbsentAndDamagedFilesAreNoFailureAndDoNothing) {
    const std::string whole = Enciphered(R"({"identityToken":"abc","contextToken":"def"})");
    const struct {
        const char* name;
        bool exists;
        std::string content;
    } rows[] = {
        {"missing", false, ""},
        {"empty", true, ""},
        {"blanks", true, " \r\n\t "},
        {"cut in the middle of a unit", true, whole.substr(0, whole.size() / 2 - 3)},
        {"short", true, "QUJD"},
        {"raw bytes of no whole unit", true, "\x01!\xff@#"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.files.clear();
        if (row.exists)
            platform.files["store/LIC0"] = platform.files["store/LIC"] = row.content;
        EXPECT_EQ(LoadContext(), ResultCode::kSuccess);
        EXPECT_EQ(LoadIdentity(), ResultCode::kSuccess);
        EXPECT_EQ(platform.files.size(), row.exists ? 2u : 0u);
    }
    EXPECT_TRUE(registry.tokens.empty());
    EXPECT_TRUE(registry.renewals.empty());
    EXPECT_TRUE(platform.logOrder.empty());
}

TEST_F(TokenFiles, GarbageIsSentWholeAsTheSecret) {
    const std::string ours = R"({"identityToken":"abc","contextType":"b2b","contextId":"t-1"})";
    const struct {
        const char* name;
        std::string content;
    } rows[] = {
        {"another key", Enciphered(ours, true)},
        {"sixteen bytes that are no base64", "@@@@@@@@!!!!!!!!"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        registry.renewals.clear();
        platform.files["store/LIC0"] = row.content;
        const std::string garbage = PlainText("store/LIC0");
        ASSERT_FALSE(garbage.empty());
        ASSERT_NE(garbage, ours);
        EXPECT_EQ(LoadIdentity(), ResultCode::kSuccess);
        ASSERT_EQ(registry.renewals.size(), 1u);
        EXPECT_EQ(registry.renewals[0].secret, garbage);
        EXPECT_EQ(registry.renewals[0].mode, 0u);
        EXPECT_EQ(registry.renewals[0].contextId, "");
    }
}

TEST_F(TokenFiles, TheServicesAnswerIsNotLookedAt) {
    platform.files["store/LIC0"] = Enciphered(R"({"identityToken":"abc"})");
    registry.renewalResult = ResultCode::kAuthorizationDenied;
    EXPECT_EQ(LoadIdentity(), ResultCode::kSuccess);
    EXPECT_EQ(registry.renewals.size(), 1u);
    EXPECT_TRUE(platform.logOrder.empty());
}

TEST_F(TokenFiles, ContextTokenIsRestoredWithItsMarkClear) {
    static const struct {
        const char* name;
        const char* plain;
        const char* token;  // null: none is set
    } rows[] = {
        {"the member", R"({"contextToken":"aa.bb.cc"})", "aa.bb.cc"},
        {"in another case", R"({"CONTEXTTOKEN":"aa"})", "aa"},
        {"beside others", R"({"a":1,"contextToken":"bb","b":2})", "bb"},
        {"empty", R"({"contextToken":""})", ""},
        {"null is the text null", R"({"contextToken":null})", "null"},
        {"no member", R"({"identityToken":"aa"})", nullptr},
        {"empty object", "{}", nullptr},
        {"a scalar", "12345", nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        registry.tokens.clear();
        platform.files["store/LIC"] = Enciphered(row.plain);
        EXPECT_EQ(LoadContext(), ResultCode::kSuccess);
        ASSERT_EQ(registry.tokens.size(), row.token == nullptr ? 0u : 1u);
        if (row.token == nullptr)
            continue;
        EXPECT_EQ(registry.tokens[0], std::make_tuple(row.token, false, static_cast<void*>(&contextMark)));
    }
    EXPECT_TRUE(registry.renewals.empty());
}

TEST_F(TokenFiles, ContextFileThatIsNoJsonIsACode) {
    static const struct {
        const char* name;
        const char* plain;
    } rows[] = {
        {"a bare token", "aaa.bbb.ccc"},
        {"an object without its end", R"({"contextToken":"aa")"},
    };
    for (const auto& row : rows) {
        platform.files["store/LIC"] = Enciphered(row.plain);
        EXPECT_EQ(LoadContext(), ResultCode::kJsonParse) << row.name;
    }
    platform.files["store/LIC"] = Enciphered(R"({"contextToken":"aa"})", true);
    EXPECT_EQ(LoadContext(), ResultCode::kJsonParse) << "another key";
    EXPECT_TRUE(registry.tokens.empty());
}

TEST_F(TokenFiles, ReadFailuresComeBackAndChangeNothing) {
    static const struct {
        const char* name;
        Operation operation;
        std::uint32_t code;
        ResultCode expected;
    } rows[] = {
        {"size", Operation::FileGetSize, 0x81000008u, ResultCode::kFileGetSize},
        {"read", Operation::FileRead, 0x81000002u, ResultCode::kFileRead},
        {"open", Operation::FileRead, 0x81000001u, ResultCode::kFileRead},
        {"decipher", Operation::Decrypt, 0x8100000Cu, ResultCode::kDecrypt},
    };
    platform.files["store/LIC0"] = platform.files["store/LIC"] =
        Enciphered(R"({"identityToken":"a","contextToken":"b"})");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        platform.FailCall(row.operation, row.code);
        EXPECT_EQ(LoadContext(), row.expected);
        platform.FailCall(row.operation, row.code);
        EXPECT_EQ(LoadIdentity(), row.expected);
    }
    EXPECT_TRUE(registry.tokens.empty());
    EXPECT_TRUE(registry.renewals.empty());
}

TEST_F(TokenFiles, WhatWasStoredIsWhatIsRestored) {
    const std::string secret = "a/b\"c\\d \xc3\xa9 {}";
    quillmarkclient_core::StoreIdentityFile(session, secret.c_str(), 1, "id/1", nullptr);
    quillmarkclient_core::StoreContextFile(session, secret.c_str(), nullptr);
    EXPECT_EQ(LoadContext(), ResultCode::kSuccess);
    EXPECT_EQ(LoadIdentity(), ResultCode::kSuccess);
    ASSERT_EQ(registry.renewals.size(), 1u);
    EXPECT_EQ(registry.renewals[0].secret, secret);
    EXPECT_EQ(registry.renewals[0].mode, 1u);
    EXPECT_EQ(registry.renewals[0].contextId, "id/1");
    ASSERT_EQ(registry.tokens.size(), 1u);
    EXPECT_EQ(std::get<0>(registry.tokens[0]), secret);
}

TEST_F(TokenFiles, TheFolderIsJoinedAsItStands) {
    session.storagePath = "";
    quillmarkclient_core::StoreContextFile(session, "t", nullptr);
    session.storagePath = "c:\\x\\";
    quillmarkclient_core::StoreContextFile(session, "t", nullptr);
    EXPECT_EQ(platform.files.count("LIC"), 1u);
    EXPECT_EQ(platform.files.count("c:\\x\\LIC"), 1u);
}

}  // namespace

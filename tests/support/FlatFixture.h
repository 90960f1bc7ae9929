// A client over a scripted platform and service, driven through the flat operations.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/src/ClientContext.h"
#include "core/src/FlatOperations.h"
#include "core/src/Version.h"
#include "core/src/core/Cryptographer.h"
#include "core/src/system/SystemApi.h"
#include "tests/support/ScriptedPlatform.h"
#include "tests/support/ScriptedService.h"

namespace test {

class FlatFixture : public ::testing::Test {
protected:
    FlatFixture() : init{} {
        init.version = quillmarkclient::kLibraryVersion;
        init.table = platform.table;
        init.storagePath = "store/";
        init.serviceUrl = kServiceUrl;
    }
    ~FlatFixture() override {
        Stop();
        if (!blocksMayBeLost)
            platform.ExpectNoBlocks();
    }

    /// Starts the client on what the files hold; ends the former one.
    void Start() {
        Stop();
        ASSERT_EQ(quillmarkclient::Initialize(&init, &context, nullptr), ResultCode::kSuccess);
        ASSERT_NE(context, nullptr);
    }
    void Stop() {
        quillmarkclient::Shutdown(context, nullptr);
        context = nullptr;
    }
    /// A started client, signed in, with nothing recorded yet.
    void StartSignedIn() {
        Start();
        ASSERT_EQ(quillmarkclient::SignIn(context, "anna", "pw", nullptr), ResultCode::kSuccess);
        Forget();
    }
    void Forget() {
        platform.requests.clear();
        platform.traceLines.clear();
        platform.errors.clear();
        platform.logOrder.clear();
    }

    [[nodiscard]] std::vector<std::string> Lines() const { return platform.RequestLines(kServiceUrl); }

    /// The text that a flat operation hands out; "(none)" after a failure.
    using TextOperation = ResultCode (*)(quillmarkclient::ClientContext*, char**, void*);
    [[nodiscard]] std::string Text(TextOperation operation) {
        char* text = nullptr;
        if (!IsSuccess(operation(context, &text, nullptr)))
            return "(none)";
        const std::string copy = text;
        quillmarkclient::FreeMemory(context, text, nullptr);
        return copy;
    }
    [[nodiscard]] std::string AccessToken() { return Text(&quillmarkclient::GetAccessToken); }
    [[nodiscard]] bool IsSignedIn() const { return quillmarkclient::IsSignedIn(context, nullptr) != 0; }

    /// What a token file holds behind its cipher.
    [[nodiscard]] std::string FileText(const std::string& path) const {
        portable_stl::string text;
        EXPECT_EQ(quillmarkclient_core::ReadEncryptedFile<quillmarkclient_core::SystemApi>(
                      path.c_str(), text, &context->cryptographer, nullptr),
                  ResultCode::kSuccess);
        return text.c_str();
    }

    /// The first line of each entry of the log, in their order.
    [[nodiscard]] std::vector<std::string> LogHeads() const {
        std::vector<std::string> heads;
        for (const std::string& line : platform.logOrder)
            heads.push_back(line.substr(0, line.find('\n')));
        return heads;
    }

    /// Takes away one object of the context, runs `use`, and puts the object back.
    template <class Object, class Use>
    void Without(Object quillmarkclient::ClientContext::*object, Use use) {
        Object taken = std::move(context->*object);
        context->*object = Object();
        use();
        context->*object = std::move(taken);
    }
    /// Runs `use` on each handle that lacks what a sign-in needs, the null one first.
    template <class Use>
    void WithEachBadHandle(Use use) {
        using Context = quillmarkclient::ClientContext;
        use(nullptr);
        Without(&Context::registryClient, [&] { use(context); });
        Without(&Context::lastServiceError, [&] { use(context); });
        Without(&Context::core, [&] { use(context); });
    }

    /// The last report was of `code`, by the flat operations.
    void ExpectReported(ResultCode code) {
        ASSERT_FALSE(platform.errors.empty());
        const ReportedError& error = platform.errors.back();
        EXPECT_EQ(error.code, static_cast<std::uint32_t>(code));
        EXPECT_EQ(error.message, GetErrorText(code));
        EXPECT_EQ(error.source, "core/src/quillmarkclient");
        EXPECT_GT(error.line, 0u);
    }

    bool blocksMayBeLost = false;  // set by a test that takes the way back from them
    ScriptedPlatform platform;
    ScriptedService service{platform};
    quillmarkclient::QuillmarkClientInit init;
    quillmarkclient::ClientContext* context = nullptr;
};

}  // namespace test

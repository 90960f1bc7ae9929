// A QuillmarkClient over a scripted platform and service. Programs that use it link
// quillmark_scripted_default_table.
#pragma once

#include <gtest/gtest.h>

#include "core/src/QuillmarkClient.h"
#include "tests/support/ScriptedDefaultTable.h"
#include "tests/support/ScriptedPlatform.h"
#include "tests/support/ScriptedService.h"

namespace test {

class NativeFixture : public ::testing::Test {
protected:
    NativeFixture() { ScriptedDefaultTable() = platform.table; }
    ~NativeFixture() override {
        client.reset();
        if (!blocksMayBeLost)
            platform.ExpectNoBlocks();
    }

    void Init() { ASSERT_EQ(client->Init("store", kServiceUrl), ResultCode::kSuccess); }
    void InitAndSignIn() {
        Init();
        ASSERT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
        platform.requests.clear();
        platform.traceLines.clear();
        platform.errors.clear();
        platform.logOrder.clear();
    }

    bool blocksMayBeLost = false;  // set by a test that takes the way back from them
    ScriptedPlatform platform;
    ScriptedService service{platform};
    std::unique_ptr<quillmarkclient::QuillmarkClient> client =
        std::make_unique<quillmarkclient::QuillmarkClient>();
};

}  // namespace test

// What both native faces make of a platform that throws where it should take a block back.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "tests/platform/linux/ChildProcess.h"
#include "tests/support/HookedTable.h"
#include "tests/support/NativeCalls.h"

namespace {

using test::kNativeCalls;
using test::NativeCall;
using test::Operation;
using test::Outs;

constexpr Operation kReleases[] = {Operation::Free, Operation::HttpFree, Operation::FreeCryptoBuffer};

class QuillmarkClientReleases : public test::FacesFixture {
protected:
    ~QuillmarkClientReleases() override { test::throwing = {}; }
};

// In a child, because what is thrown on the way out of a scope would end the process.
TEST_F(QuillmarkClientReleases, AThrowingReleaseStaysInside) {
    blocksMayBeLost = true;
    test::ScriptedDefaultTable() = test::Throwing(platform.table);
    quillmarkclient::QuillmarkClient::SetLogCallbacks(nullptr, nullptr);
    Prepare();
    for (const Operation operation : kReleases) {
        for (const NativeCall& call : kNativeCalls) {
            SCOPED_TRACE(std::string(call.name) + ", entry " +
                         std::to_string(static_cast<std::uint32_t>(operation)));
            EXPECT_EQ(test::InChild([&] {
                          test::throwing = {operation, 1, [] { throw 7; }};
                          Outs outs;
                          static_cast<void>(call.run(Both(), outs));
                          test::throwing = {};
                          return client->SignIn("anna", "pw") == ResultCode::kSuccess ? "usable"
                                                                                      : "not usable";
                      }),
                      "usable");
        }
    }
}

}  // namespace

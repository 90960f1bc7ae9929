// A document of the host's on a real disk, and a context over this system's platform that puts its identity's
// secret into it.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "core/src/ClientContext.h"
#include "core/src/FlatOperations.h"
#include "core/src/Version.h"
#include "tests/support/TemporaryFolder.h"

namespace test {

inline constexpr char kDocument[] = R"({"a":1})";
inline constexpr char kPersisted[] = R"({"a":1,"identityToken":"s-1"})";
inline constexpr char kMade[] = R"({"identityToken":"s-1"})";

class IdentityFileFixture : public ::testing::Test {
protected:
    IdentityFileFixture() {
        quillmarkclient::QuillmarkClientInit init{};
        init.version = quillmarkclient::kLibraryVersion;
        init.table = quillmarkclient_core::DefaultPlatformTable();
        init.serviceUrl = "https://service.test";
        const std::string store = folder.PathOf("store");
        init.storagePath = store.c_str();
        EXPECT_EQ(quillmarkclient::Initialize(&init, &context, nullptr), ResultCode::kSuccess);
        context->registryClient->identitySecret = "s-1";
        WriteWhole(Path(), kDocument);
    }
    ~IdentityFileFixture() override {
        quillmarkclient::Shutdown(context, nullptr);
        quillmarkclient::ClientContext::Api::SetTable({});
    }

    [[nodiscard]] std::string Path(const std::string& name = "file") const { return folder.PathOf(name); }
    [[nodiscard]] std::uint32_t Persist(const std::string& path) {
        return static_cast<std::uint32_t>(
            quillmarkclient::PersistIdentityToken(context, path.c_str(), nullptr));
    }

    TemporaryFolder folder;
    quillmarkclient::ClientContext* context = nullptr;
};

}  // namespace test

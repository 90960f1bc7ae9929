// The files that a client leaves for its next start, written or read through the platform table of this
// system.
//
//     stored_files write FOLDER
//     stored_files read FOLDER
//
// The first leaves a sign-in (LIC0 and LIC), a key (LIC2) and an identity in a host's document; the second
// tells what a client that starts on these files makes of them.
//
// Prints one JSON object. test_files.py has one system read what the other one wrote.
#include <nlohmann/json.hpp>

#include <cstring>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>

#include "core/src/ClientContext.h"
#include "core/src/FlatOperations.h"
#include "core/src/Version.h"
#include "core/src/core/TokenFiles.h"
#include "core/src/registry/IdempotencyKeyStore.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TrustedAuthority.h"

namespace test {
namespace {

using nlohmann::ordered_json;
using quillmarkclient::ClientContext;
using Api = ClientContext::Api;

constexpr char kSecret[] = "identity secret gr\xC3\xBC\xC3\x9F/\"\\ 0123456789";
constexpr char kContextToken[] = "e30.eyJzdWIiOiJ1LTEifQ.c2ln";
constexpr char kScope[] = "SCOPE";
constexpr char kContent[] = "one operation, gr\xC3\xBC\xC3\x9F";

void Require(ResultCode code, const char* what) {
    if (!IsSuccess(code))
        throw std::runtime_error(std::string("no success: ") + what);
}

// A client on the folder's files. Its service refuses whatever it is asked, and remembers it.
class Host {
public:
    explicit Host(const std::string& folder) : folder_(folder), trusted_(folder + "/nobody.pem") {
        service_.SetDefault([](const WireRequest&) { return Answer::Of(401, {}, "{}"); });
        quillmarkclient::QuillmarkClientInit init{};
        init.version = quillmarkclient::kLibraryVersion;
        init.table = quillmarkclient_core::DefaultPlatformTable();
        const std::string url = service_.Url();
        init.serviceUrl = url.c_str();
        init.storagePath = folder_.c_str();
        Require(quillmarkclient::Initialize(&init, &context_, nullptr), "a client");
    }
    ~Host() { quillmarkclient::Shutdown(context_, nullptr); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    [[nodiscard]] ordered_json Write() {
        quillmarkclient_core::StoreIdentityFile(*context_->core, portable_stl::string(kSecret), 1, "t-1",
                                                nullptr);
        quillmarkclient_core::StoreContextFile(*context_->core, portable_stl::string(kContextToken), nullptr);
        context_->registryClient->identitySecret = kSecret;
        Persist();
        return {{"key", Key()}};
    }

    [[nodiscard]] ordered_json Read() {
        ordered_json report;
        report["asked"] = ordered_json::array();
        for (const auto& request : service_.Requests())
            report["asked"].push_back({request.method + " " + request.target, request.body});
        report["accessToken"] = AccessToken();
        report["keys"] = context_->registryClient->idempotencyEntries.size();
        report["key"] = Key();
        registry::SaveEntries<Api>(portable_stl::string((folder_ + "/LIC2.again").c_str()), nullptr,
                                   context_->registryClient->idempotencyEntries);
        context_->registryClient->identitySecret = "another secret";
        Persist();
        return report;
    }

private:
    void Persist() {
        Require(quillmarkclient::PersistIdentityToken(context_, (folder_ + "/host.json").c_str(), nullptr),
                "the identity in its document");
    }

    [[nodiscard]] std::string Key() {
        const auto key = registry::GetOrCreateKey<Api>(portable_stl::string((folder_ + "/").c_str()),
                                                       context_->registryClient->idempotencyEntries, kScope,
                                                       portable_stl::string(kContent), nullptr);
        return {key.data(), key.size()};
    }

    [[nodiscard]] std::string AccessToken() {
        char* text = nullptr;
        Require(quillmarkclient::GetAccessToken(context_, &text, nullptr), "the access token");
        const std::string copy = text;
        Require(quillmarkclient::FreeMemory(context_, text, nullptr), "the text's way back");
        return copy;
    }

    const std::string folder_;
    const TrustedAuthority trusted_;
    ScriptedServer service_;
    ClientContext* context_ = nullptr;
};

}  // namespace
}  // namespace test

int main(int argc, char** argv) {
    try {
        if (argc != 3)
            throw std::invalid_argument("say write or read, and a folder");
        test::Host host(argv[2]);
        std::cout << (std::strcmp(argv[1], "write") == 0 ? host.Write() : host.Read()).dump() << "\n";
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "stored_files: " << error.what() << "\n";
        return 1;
    }
}

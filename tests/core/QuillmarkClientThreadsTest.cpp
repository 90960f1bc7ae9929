// The native faces with several threads at once; runs under ThreadSanitizer too.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/NativeFixture.h"

namespace {

using quillmarkclient::CustomerContext;
using quillmarkclient::IQuillmarkClient;

constexpr int kThreads = 4;
constexpr int kRounds = 50;

template <class Work>
void InThreads(Work work) {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&work, i] { work(i); });
    for (std::thread& thread : threads)
        thread.join();
}

class QuillmarkClientThreads : public test::NativeFixture {};

TEST_F(QuillmarkClientThreads, CallsOnOneCoreAreOneAtATime) {
    InitAndSignIn();
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    platform.responder = [&, serve = platform.responder](const test::RecordedRequest& request) {
        if (inside.fetch_add(1) != 0)
            ++overlaps;
        std::this_thread::yield();
        auto answer = serve(request);
        inside.fetch_sub(1);
        return answer;
    };
    IQuillmarkClient* face = client->CreateInterface();
    ASSERT_NE(face, nullptr);
    std::atomic<int> failures{0};
    InThreads([&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            std::string text;
            quillmarkclient::CustomerDataValue data;
            bool isGood = true;
            switch ((thread + round) % 8) {
                case 0:
                    isGood = IsSuccess(client->GetCustomerData(data)) && data.id == "42";
                    break;
                case 1:
                    isGood = IsSuccess(client->RefreshAccessToken(text)) && text == "own-token";
                    break;
                case 2:
                    isGood = client->IsSignedIn() && face->IsSignedIn();
                    break;
                case 4: {
                    std::vector<std::string> providers;
                    isGood = IsSuccess(client->GetSocialProviders(providers)) && providers.size() == 3;
                    break;
                }
                case 5: {
                    char* names = nullptr;
                    isGood = IsSuccess(face->GetSocialProviders(&names)) && names[0] == 'a';
                    face->FreeMemory(names);
                    break;
                }
                case 6:
                    isGood = IsSuccess(client->PersistIdentityToken("host.json"));
                    break;
                case 3:
                    isGood = IsSuccess(client->GetDeviceId(text)) && !text.empty();
                    break;
                default: {
                    CustomerContext** list = nullptr;
                    isGood = IsSuccess(face->GetCustomerContexts(&list)) && list[0] != nullptr;
                    face->FreeMemory(list);
                }
            }
            if (!isGood)
                ++failures;
        }
    });
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(face->Release(), 0u);
}

TEST_F(QuillmarkClientThreads, SignInsAndSignOutsMayMeet) {
    Init();
    InThreads([&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            switch ((thread + round) % 5) {
                case 0:
                    EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
                    break;
                case 1:
                    EXPECT_EQ(client->SignInWithSocialToken("acme", "st-1"), ResultCode::kSuccess);
                    break;
                case 2:
                    EXPECT_EQ(client->SignInWithSocialCode("c-1", 1), ResultCode::kSuccess);
                    break;
                case 3:
                    EXPECT_EQ(client->UseAccessToken("t-1"), ResultCode::kSuccess);
                    break;
                default:
                    client->SignOut();
            }
        }
    });
    EXPECT_EQ(client->SignIn("anna", "pw"), ResultCode::kSuccess);
    EXPECT_TRUE(client->IsSignedIn());
}

TEST_F(QuillmarkClientThreads, ReferencesMoveBetweenThreads) {
    Init();
    IQuillmarkClient* face = client->CreateInterface();
    ASSERT_NE(face, nullptr);
    for (int i = 0; i < kThreads; ++i)
        face->AddRef();
    std::atomic<int> ends{0};
    client.reset();
    EXPECT_EQ(face->Release(), static_cast<std::uint32_t>(kThreads));
    InThreads([&](int) {
        for (int round = 0; round < kRounds; ++round) {
            face->AddRef();
            EXPECT_FALSE(face->IsSignedIn());
            EXPECT_GT(face->Release(), 0u);
        }
        if (face->Release() == 0)
            ++ends;
    });
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(platform.BlocksOut(), 0) << "the last thread ended the core";
}

TEST_F(QuillmarkClientThreads, TheLastHoldersThreadEndsTheCore) {
    for (const bool isClientLast : {true, false}) {
        SCOPED_TRACE(isClientLast);
        client = std::make_unique<quillmarkclient::QuillmarkClient>();
        Init();
        IQuillmarkClient* face = client->CreateInterface();
        ASSERT_NE(face, nullptr);
        std::thread::id endedOn;
        platform.before = [&](test::Operation operation) {
            if (operation == test::Operation::Free)
                endedOn = std::this_thread::get_id();
        };
        if (!isClientLast)
            client.reset();
        std::thread::id worker;
        std::thread thread([&] {
            worker = std::this_thread::get_id();
            face->Release();
        });
        thread.join();
        EXPECT_EQ(platform.BlocksOut(), isClientLast ? 1 : 0);
        client.reset();
        EXPECT_EQ(endedOn, isClientLast ? std::this_thread::get_id() : worker);
        platform.before = nullptr;
        EXPECT_EQ(platform.BlocksOut(), 0);
    }
}

TEST_F(QuillmarkClientThreads, BlocksMoveBetweenThreads) {
    InitAndSignIn();
    IQuillmarkClient* face = client->CreateInterface();
    ASSERT_NE(face, nullptr);
    constexpr int kEach = kThreads * kRounds;
    std::vector<char*> blocks(kEach);
    InThreads([&](int thread) {
        for (int i = thread; i < kEach; i += kThreads)
            EXPECT_EQ(face->GetSocialProviders(&blocks[static_cast<std::size_t>(i)]), ResultCode::kSuccess);
    });
    InThreads([&](int thread) {
        for (int i = (thread + 1) % kThreads; i < kEach; i += kThreads)
            EXPECT_EQ(face->FreeMemory(blocks[static_cast<std::size_t>(i)]), ResultCode::kSuccess);
    });
    EXPECT_EQ(platform.BlocksOut(), 1);
    EXPECT_EQ(face->Release(), 0u);
}

TEST_F(QuillmarkClientThreads, CountsAreExactUnderContention) {
    Init();
    IQuillmarkClient* face = client->CreateInterface();
    ASSERT_NE(face, nullptr);
    constexpr int kMany = 2000;
    InThreads([&](int thread) {
        for (int round = 0; round < kMany; ++round) {
            if (thread % 2 == 0) {
                face->AddRef();
            } else {
                face->AddRef();
                EXPECT_GT(face->Release(), 0u);
            }
        }
    });
    constexpr std::uint32_t kLeft = kMany * (kThreads / 2) + 1;
    EXPECT_EQ(face->AddRef(), kLeft + 1);
    std::atomic<std::uint32_t> zeros{0};
    face->Release();
    face->Release();
    InThreads([&](int) {
        for (std::uint32_t round = 0; round < (kLeft - 1) / kThreads; ++round)
            zeros += face->Release() == 0 ? 1 : 0;
    });
    EXPECT_EQ(zeros, 1u);
}

TEST_F(QuillmarkClientThreads, EachThreadMayMakeItsOwnInterface) {
    InitAndSignIn();
    InThreads([&](int) {
        for (int round = 0; round < kRounds; ++round) {
            IQuillmarkClient* face = client->CreateInterface();
            ASSERT_NE(face, nullptr);
            EXPECT_TRUE(face->IsSignedIn());
            EXPECT_EQ(face->Release(), 0u);
        }
    });
    EXPECT_EQ(platform.BlocksOut(), 1);
}

TEST_F(QuillmarkClientThreads, TextsAreAskedForWithoutALock) {
    InThreads([&](int) {
        for (int round = 0; round < kRounds; ++round)
            EXPECT_EQ(quillmarkclient::QuillmarkClient::GetErrorMessage(ResultCode::kLocked).substr(0, 18),
                      "Account was locked");
    });
}

}  // namespace

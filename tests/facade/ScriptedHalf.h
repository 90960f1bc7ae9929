// A private half of the process's Client over a scripted server of its own, so that every byte it sends is in
// sight, and its language is the test's to choose.
//
//     ScriptedHalf host("de");
//     host.server.Enqueue(test::Answer::Of(404));
//     QCOMPARE(host.answerTo([&] { host.half.startCheckForUpdates("Harbour", "Home", "1"); }),
//     QString("...")); QCOMPARE(host.targets(), QStringList{"/feeds/harbour_home_de/rss",
//     "/feeds/harbour_home_en/rss"});
//
// The signals come from the one Client, which is made by the first of these and asks no service. One at a
// time.
#pragma once

#include <QtCore/QCoreApplication>
#include <QtCore/QTemporaryDir>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "facade/src/ClientPrivate.h"
#include "tests/facade/HostFixture.h"
#include "tests/support/ScriptedServer.h"

namespace test_support {

class ScriptedHalf {
public:
    explicit ScriptedHalf(const QString& language = "en")
        : half(&client(), params(language)), recorder(client()) {}

    [[nodiscard]] QString answerTo(const std::function<void()>& call) { return recorder.answerTo(call); }

    // Signs somebody in whose access token is `token`, with a secret to renew it by or without.
    void signIn(const std::string& token, bool hasSecret) {
        server.SetDefault([token, hasSecret](const test::WireRequest& request) {
            if (request.target.starts_with(kTrustsPath))
                return test::Answer::Of(200, {}, "[]");
            if (request.target.starts_with(kIdentitiesPath) && !hasSecret)
                return test::Answer::Of(404);
            if (request.target.starts_with(kIdentitiesPath + "/7/token"))
                return test::Answer::Of(200, {}, "secret-7");
            if (request.target.starts_with(kIdentitiesPath))
                return test::Answer::Of(200, {}, kIdentityRecords);
            return test::Answer::Of(200, {}, R"({"accessToken":")" + token + "\"}");
        });
        const QString line = answerTo([this] { half.startSignIn("anna", "password"); });
        if (line != "signInSucceeded anna")
            qFatal("the script of the sign-in is wrong: %s", qPrintable(line));
        seen_ = server.Requests().size();
    }

    // What came since the sign-in, if there was one.
    [[nodiscard]] std::vector<test::WireRequest> requests() const {
        auto all = server.Requests();
        all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(seen_));
        return all;
    }
    [[nodiscard]] QStringList targets() const {
        QStringList result;
        for (const auto& request : requests())
            result << QString::fromStdString(request.target);
        return result;
    }

    test::ScriptedServer server;
    QTemporaryDir storage;
    Quillmark::ClientPrivate half;
    SignalRecorder recorder;

private:
    [[nodiscard]] Quillmark::Client& client() const {
        return *Quillmark::Client::create(QCoreApplication::instance(), params({}));
    }
    [[nodiscard]] Quillmark::ClientParams params(const QString& language) const {
        Quillmark::ClientParams result;
        result.serviceUrl = QUrl(QString::fromStdString(server.Url()));
        result.storagePath = storage.path();
        result.language = language;
        return result;
    }

    static constexpr const char* kIdentityRecords =
        R"([{"id":"7","name":"VQM_Identity","type":"VQM_Access","role":"Regular"}])";

    std::size_t seen_ = 0;
};

}  // namespace test_support

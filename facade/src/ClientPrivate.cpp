#include "facade/src/ClientPrivate.h"

#include <utility>

#include "facade/src/LogRouting.h"

namespace Quillmark {

namespace {

// A machine with one core would get one thread, and a long exchange would hold up the start of all else.
constexpr int kMinThreads = 2;

bool logHooksInstalled = false;  // written under Client::createLock

}  // namespace

ClientPrivate::ClientPrivate(Client* client, const ClientParams& params)
    : QObject(client), pool(new QThreadPool(this)), q(client), language(params.language) {
    if (pool->maxThreadCount() < kMinThreads)
        pool->setMaxThreadCount(kMinThreads);
    if (!logHooksInstalled) {
        installLogHooks();
        logHooksInstalled = true;
    }

    auto started = std::make_unique<quillmarkclient::QuillmarkClient>();
    if (!IsSuccess(started->Init(params.toNativeParams())))
        return;
    instance = std::move(started);
    loadAccessToken();
    nativeInterface.reset(instance->CreateInterface());
}

ClientPrivate::~ClientPrivate() = default;

quillmarkclient::QuillmarkClient& ClientPrivate::native() const {
    Q_CHECK_PTR(instance);
    return *instance;
}

Client& ClientPrivate::host() const {
    Q_CHECK_PTR(q);
    return *q;
}

}  // namespace Quillmark

#include "NativeSession.h"

using Quillmark::SignIn::ContextType;
using Quillmark::SignIn::SignInContext;

NativeSession::NativeSession(const Quillmark::Client& client)
    : native_(static_cast<quillmarkclient::IQuillmarkClient*>(client.getInstance())) {
    native_->AddRef();
}

NativeSession::~NativeSession() {
    native_->Release();
}

QUILLMARKCLIENT_ERROR NativeSession::signInWithSocialToken(const QString& provider,
                                                           const QString& token) const {
    return native_->SignInWithSocialToken(provider.toUtf8().constData(), token.toUtf8().constData());
}

QList<SignInContext> NativeSession::contexts() const {
    quillmarkclient::CustomerContext** list = nullptr;
    QList<SignInContext> contexts;
    if (!IsSuccess(native_->GetCustomerContexts(&list)))
        return contexts;
    for (auto** entry = list; *entry != nullptr; ++entry)
        contexts.append({QString::fromUtf8((*entry)->id), QString::fromUtf8((*entry)->name),
                         (*entry)->kind == 1 ? ContextType::Organization : ContextType::Personal});
    native_->FreeMemory(list);
    return contexts;
}

QUILLMARKCLIENT_ERROR NativeSession::sendBackupMetadata(
    const quillmarkclient::BackupMetadataRecord& record) const {
    return native_->SendBackupMetadata(&record);
}

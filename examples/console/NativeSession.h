// The client's session through its native interface: for what the facade has no method for.
#pragma once

#include <Quillmark/Client.h>

#include <QtCore/QList>
#include <QtCore/QString>

#include "core/src/IQuillmarkClient.h"

// Holds a reference of its own, so that the interface stays. Every call blocks for its exchanges.
class NativeSession {
public:
    explicit NativeSession(const Quillmark::Client& client);
    ~NativeSession();
    NativeSession(const NativeSession&) = delete;
    NativeSession& operator=(const NativeSession&) = delete;

    [[nodiscard]] QUILLMARKCLIENT_ERROR signInWithSocialToken(const QString& provider,
                                                              const QString& token) const;
    /// Those to choose from; none after a failure.
    [[nodiscard]] QList<Quillmark::SignIn::SignInContext> contexts() const;
    [[nodiscard]] QUILLMARKCLIENT_ERROR sendBackupMetadata(
        const quillmarkclient::BackupMetadataRecord& record) const;

private:
    quillmarkclient::IQuillmarkClient* native_;
};

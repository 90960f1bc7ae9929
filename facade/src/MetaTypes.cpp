// Registers the types of the signals when the library is loaded, so that QMetaType finds them by name before
// the first connection too.
#include <Quillmark/Client.h>

namespace {

void registerMetaTypes() {
    qRegisterMetaType<QUILLMARKCLIENT_ERROR>();
    qRegisterMetaType<Quillmark::SignIn::SignInProcessResult>();
    qRegisterMetaType<Quillmark::SignIn::UserInfo>();
    qRegisterMetaType<Quillmark::Updates::UpdateInfo>();
    qRegisterMetaType<Quillmark::CustomerRequest::CustomerRequestResult>();
}

}  // namespace

Q_CONSTRUCTOR_FUNCTION(registerMetaTypes)

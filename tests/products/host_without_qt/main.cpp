// Starts a client by the native face and by the flat operations, and asks each what needs no network.
#include <cstdio>
#include <cstring>
#include <string>

#include "core/src/FlatOperations.h"
#include "core/src/QuillmarkClient.h"

int main() {
    quillmarkclient::QuillmarkClient client;
    std::string endpoint;
    if (!IsSuccess(client.Init("", "https://account.example.test")) ||
        !IsSuccess(client.GetBasicEndpoint(endpoint)) || endpoint != "https://account.example.test" ||
        client.IsSignedIn())
        return 1;

    quillmarkclient::IQuillmarkClient* face = client.CreateInterface();
    if (face == nullptr || face->GetVersion() != quillmarkclient::GetLibraryVersion() || face->Release() != 0)
        return 2;

    if (std::strcmp(GetErrorText(QUILLMARKCLIENT_ERROR::kNotImplemented), "Not implemented") != 0)
        return 3;
    std::puts("the native core answers");
    return 0;
}

// A host without Qt: a principal administrator signs in and makes another one.
//
//   quillmark-admin https://account.example ~/.example
//
// Asks for the administrator's login and password, then for the e-mail address and password of the new one.
// It is built with the compiler and standard library of the native core, so it may use the class of standard
// strings; any other host takes the flat operations. The session ends with the program and leaves nothing
// behind.
//
// Exit code: 0 the administrator was made, 1 he was not, 2 wrong usage.
#include <cstdint>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <optional>
#include <string>

#include "core/src/QuillmarkClient.h"
#include "examples/common/EchoOff.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;
constexpr std::uint32_t kAdministrators = 2;

std::optional<std::string> ask(const char* question) {
    std::cout << question << std::flush;
    std::string line;
    if (!std::getline(std::cin, line))
        return std::nullopt;
    if (isatty(STDIN_FILENO) == 0)
        std::cout << '\n';  // nobody pressed the key that ends the line
    return line;
}

std::optional<std::string> askSecret(const char* question) {
    const EchoOff echoOff;
    auto answer = ask(question);
    if (isatty(STDIN_FILENO) != 0)
        std::cout << '\n';
    return answer;
}

// The code with its text, and what the service said if it refused.
int showFailure(quillmarkclient::QuillmarkClient& client, const char* what, ResultCode code) {
    std::cout << what << ": 0x" << std::hex << static_cast<std::uint32_t>(code) << "  "
              << quillmarkclient::QuillmarkClient::GetErrorMessage(code) << '\n';
    quillmarkclient::ServiceErrorValue error;
    if (IsSuccess(client.GetLastServiceError(error)) &&
        error.resultCode == static_cast<std::uint32_t>(code) && !error.detail.empty())
        std::cout << "  " << std::dec << error.httpCode << ' ' << error.errorCode << "  " << error.detail
                  << '\n';
    return kFailed;
}

bool signIn(quillmarkclient::QuillmarkClient& client) {
    const auto login = ask("Login: ");
    const auto password = login ? askSecret("Password: ") : std::nullopt;
    if (!password)
        return false;
    if (const auto code = client.SignIn(*login, *password); !IsSuccess(code)) {
        (void)showFailure(client, "Nobody is signed in", code);  // it says why; the caller ends the program
        return false;
    }
    std::cout << "Signed in\n";
    return true;
}

int createAdministrator(quillmarkclient::QuillmarkClient& client) {
    const auto email = ask("E-mail address of the new administrator: ");
    const auto password = email ? askSecret("His password: ") : std::nullopt;
    if (!password)
        return kFailed;
    quillmarkclient::PrincipalAdminValue admin;
    if (const auto code = client.CreatePrincipalAdmin({}, *email, *password, {}, admin); !IsSuccess(code))
        return showFailure(client, "No administrator was made", code);
    std::cout << "Administrator made\n  Id           " << admin.id << "\n  Name         " << admin.name
              << "\n  E-mail       " << admin.email << "\n  Description  " << admin.description << '\n';
    return 0;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::cerr << "usage: quillmark-admin SERVICE_URL STORAGE_FOLDER\n";
        return kWrongUsage;
    }
    quillmarkclient::QuillmarkClientParams params;
    params.serviceUrl = argv[1];
    params.storagePath = argv[2];
    params.clientKind = kAdministrators;
    std::error_code cannot;
    std::filesystem::create_directories(params.storagePath, cannot);
    if (cannot) {
        std::cerr << "The storage folder can't be made\n";
        return kWrongUsage;
    }

    quillmarkclient::QuillmarkClient client;
    if (const auto code = client.Init(params); !IsSuccess(code))
        return showFailure(client, "The client can't start", code);
    const int result = signIn(client) ? createAdministrator(client) : kFailed;
    client.SignOut();
    return result;
}

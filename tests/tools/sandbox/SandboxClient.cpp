#include "tests/tools/sandbox/SandboxClient.h"

#include <gtest/gtest.h>
#include <httplib.h>
#include <openssl/evp.h>

#include <nlohmann/json.hpp>

namespace test_support {
namespace {

using nlohmann::json;

std::string plainText(const json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

httplib::Request makeRequest(const std::string& method, const std::string& target,
                             const sandbox::NamedValues& headers, const std::string& body) {
    httplib::Request request;
    request.method = method;
    request.path = target;
    for (const auto& [name, value] : headers)
        request.headers.emplace(name, value);
    if (!body.empty() && !request.has_header("Content-Type"))
        request.set_header("Content-Type", "application/json;charset=UTF-8");
    request.body = body;
    return request;
}

}  // namespace

std::string Reply::member(const std::string& path) const {
    json node = json::parse(body, nullptr, false);
    for (std::size_t begin = 0; begin <= path.size();) {
        const std::string name = path.substr(begin, path.find('.', begin) - begin);
        if (!node.is_object() || !node.contains(name))
            return {};
        node = json(node.at(name));
        begin += name.size() + 1;
    }
    return plainText(node);
}

sandbox::NamedValues clientHeaders(const std::string& accessToken) {
    sandbox::NamedValues headers = {{"x-vqm-custom", "vqm-client"}};
    if (!accessToken.empty())
        headers.emplace_back("Authorization", "Bearer " + accessToken);
    return headers;
}

Reply exchange(const std::string& baseUrl, const std::string& method, const std::string& target,
               const sandbox::NamedValues& headers, const std::string& body) {
    httplib::Client client(baseUrl);
    const auto result = client.send(makeRequest(method, target, headers, body));
    if (!result)
        return {};
    Reply reply{result->status, result->body, {}};
    for (const auto& [name, value] : result->headers)
        reply.headers.emplace_back(name, value);
    return reply;
}

std::string passwordBody(const sandbox::Account& account) {
    return json{{"login", account.login}, {"password", account.password}}.dump();
}

std::string signIn(const std::string& baseUrl, const sandbox::Account& account) {
    const Reply reply =
        exchange(baseUrl, "POST", "/api/customer/registry/v2/tokens", clientHeaders(), passwordBody(account));
    EXPECT_EQ(reply.status, 200) << reply.body;
    return reply.member("accessToken");
}

std::string claimsOf(const std::string& accessToken) {
    const std::size_t begin = accessToken.find('.') + 1;
    std::string payload = accessToken.substr(begin, accessToken.find('.', begin) - begin);
    payload.append((4 - payload.size() % 4) % 4, '=');
    std::string bytes(payload.size(), '\0');
    const int size = EVP_DecodeBlock(reinterpret_cast<unsigned char*>(bytes.data()),
                                     reinterpret_cast<const unsigned char*>(payload.data()),
                                     static_cast<int>(payload.size()));
    EXPECT_GT(size, 0) << "the payload is not in the plain alphabet";
    bytes.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    while (!bytes.empty() && bytes.back() == '\0')  // what the padding decodes to
        bytes.pop_back();
    return bytes;
}

}  // namespace test_support

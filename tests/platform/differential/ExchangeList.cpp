// Makes every exchange of the list through the platform table of this system and prints what came of each: a
// line of JSON a row, in the order of the list.
//
//     exchange_list [PART-OF-A-NAME]
//
//   row       its name
//   code      of HttpRequest
//   status    "untouched" if it was not stored
//   body      the caller's; "null" without a block
//   head      the caller's, a text a line; so is "null"
//   requests  what the servers were asked: method, target and version, a text each; the second server's are
//   marked headers   the header lines of each request, in the order of the wire
//   bodies    of each request
//
// Ports are written as PORT and OTHER. Bytes that are no printable ASCII are written as \xNN, long texts as
// their size and a checksum. test_exchanges.py holds two lists against each other.
#include <openssl/ssl.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

#include "core/src/system/PlatformTable.h"
#include "tests/platform/differential/ExchangeRow.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TrustedAuthority.h"
#include "tools/sandbox/TestCertificates.h"

namespace test {
namespace {

using nlohmann::ordered_json;
using quillmarkclient_core::HttpHeaderPair;

constexpr std::uint32_t kUntouched = 0xDEAD;
constexpr std::size_t kLongestText = 400;

std::string Number(const char* format, std::uint32_t number) {
    char text[32];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

std::string Checksum(std::string_view text) {
    std::uint32_t sum = 2166136261u;  // FNV-1a
    for (const char c : text)
        sum = (sum ^ static_cast<unsigned char>(c)) * 16777619u;
    return Number("%08x", sum);
}

std::string Printable(std::string_view text) {
    if (text.size() > kLongestText)
        return std::to_string(text.size()) + " bytes, checksum " + Checksum(text);
    std::string printable;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F && c != '\\')
            printable += c;
        else
            printable += Number("\\x%02x", byte);
    }
    return printable;
}

void Replace(std::string& text, std::string_view what, std::string_view by) {
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size()))
        text.replace(at, what.size(), by);
}

// The authorities of the whole run. The first is trusted from the start to the end, because a system may read
// its store only once.
struct Authorities {
    Authorities() { WriteWhole(folder.PathOf("authority.pem"), trusted.certificatePem()); }

    sandbox::TestAuthority trusted;
    sandbox::TestAuthority stranger;
    TemporaryFolder folder;
};

ServerOptions OptionsOf(Peer peer, const Authorities& authorities) {
    using Flaw = sandbox::CertificateFlaw;
    static const struct {
        Peer peer;
        Flaw flaw;
        int version;
    } rows[] = {
        {Peer::kCertified, Flaw::none, 0},          {Peer::kExpired, Flaw::expired, 0},
        {Peer::kNotYetValid, Flaw::notYetValid, 0}, {Peer::kSelfSigned, Flaw::selfSigned, 0},
        {Peer::kWrongHost, Flaw::wrongHost, 0},     {Peer::kStranger, Flaw::none, 0},
        {Peer::kTls10, Flaw::none, TLS1_VERSION},   {Peer::kTls11, Flaw::none, TLS1_1_VERSION},
        {Peer::kTls12, Flaw::none, TLS1_2_VERSION}, {Peer::kTls13, Flaw::none, TLS1_3_VERSION},
    };
    for (const auto& row : rows) {
        if (row.peer != peer)
            continue;
        const auto& authority = peer == Peer::kStranger ? authorities.stranger : authorities.trusted;
        const auto certificate = authority.issue(row.flaw);
        return {.certificatePem = certificate.certificatePem,
                .keyPem = certificate.keyPem,
                .minTlsVersion = row.version,
                .maxTlsVersion = row.version};
    }
    return {};
}

// One row on its way, with the servers that it needs.
class Exchange {
public:
    Exchange(const ExchangeRow& row, const Authorities& authorities)
        : row_(row), server_(OptionsOf(row.peer, authorities)), other_(OptionsOf(row.other, authorities)) {
        for (Answer answer : row.answers) {
            answer.bytes = Filled(answer.bytes);
            server_.Enqueue(std::move(answer));
        }
        for (ScriptedServer* server : {&server_, &other_})
            server->SetDefault([](const WireRequest&) { return Whole(200, {}, "there"); });
    }

    [[nodiscard]] ordered_json Run() const {
        const auto& table = quillmarkclient_core::DefaultPlatformTable();
        HeaderPairs filled;
        for (const auto& [name, value] : row_.headers)
            filled.emplace_back(name, Filled(value));
        std::vector<HttpHeaderPair> headers;
        for (const auto& [name, value] : filled)
            headers.push_back({name.c_str(), value.c_str()});
        std::uint32_t status = kUntouched;
        char* body = nullptr;
        char* head = nullptr;
        const std::uint32_t code =
            table.HttpRequest(row_.method.c_str(), Filled(row_.url).c_str(), headers.data(),
                              static_cast<std::uint32_t>(headers.size()), row_.body.c_str(), row_.flags,
                              &status, &body, &head, nullptr);
        ordered_json record;
        record["row"] = row_.name;
        record["code"] = Number("0x%08x", code);
        record["status"] = status == kUntouched ? "untouched" : std::to_string(status);
        record["body"] = body ? Shown(body) : "null";
        record["head"] = head ? Lines(head) : ordered_json("null");
        table.HttpFree(body, nullptr);
        table.HttpFree(head, nullptr);
        AddRequests(server_, "", record);
        AddRequests(other_, "other: ", record);
        return record;
    }

private:
    [[nodiscard]] std::string Filled(std::string text) const {
        Replace(text, "{at}", server_.Url());
        Replace(text, "{port}", std::to_string(server_.Port()));
        Replace(text, "{other}", other_.Url());
        return text;
    }

    [[nodiscard]] std::string Shown(std::string text) const {
        Replace(text, ":" + std::to_string(server_.Port()), ":PORT");
        Replace(text, ":" + std::to_string(other_.Port()), ":OTHER");
        return Printable(text);
    }

    [[nodiscard]] ordered_json Lines(std::string_view text) const {
        ordered_json lines = ordered_json::array();
        while (!text.empty()) {
            const auto end = std::min(text.find("\r\n"), text.size());
            lines.push_back(Shown(std::string(text.substr(0, end))));
            text.remove_prefix(std::min(end + 2, text.size()));
        }
        return lines;
    }

    void AddRequests(const ScriptedServer& server, const std::string& mark, ordered_json& record) const {
        for (const char* field : {"requests", "headers", "bodies"}) {
            if (!record.contains(field))
                record[field] = ordered_json::array();
        }
        for (const auto& request : server.Requests()) {
            record["requests"].push_back(
                mark + Shown(request.method + " " + request.target + " " + request.version));
            ordered_json lines = ordered_json::array();
            for (const auto& [name, value] : request.headers)
                lines.push_back(Shown(name + ": " + value));
            record["headers"].push_back(lines);
            record["bodies"].push_back(Shown(request.body));
        }
    }

    const ExchangeRow& row_;
    ScriptedServer server_;
    ScriptedServer other_;
};

int PrintAll(std::string_view wanted) {
    const Authorities authorities;
    const TrustedAuthority trusted(authorities.folder.PathOf("authority.pem"));
    for (const auto& group : {RequestRows(), AnswerRows(), RedirectRows(), TlsRows(), UrlRows()}) {
        for (const auto& row : group) {
            if (row.name.find(wanted) != std::string::npos)
                std::cout << Exchange(row, authorities).Run().dump() << "\n" << std::flush;
        }
    }
    return 0;
}

}  // namespace

Answer Whole(int status, const HeaderPairs& headers, std::string_view body) {
    Answer answer = Answer::Raw("HTTP/1.1 " + std::to_string(status) + " Scripted\r\n");
    for (const auto& [name, value] : headers)
        answer.bytes.append(name).append(": ").append(value).append("\r\n");
    answer.bytes += "Connection: close\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    answer.bytes.append(body);
    return answer;
}

Answer Moved(int status, const std::string& location) {
    return Whole(status, {{"Location", location}}, "moved");
}

}  // namespace test

int main(int argc, char** argv) {
    try {
        return test::PrintAll(argc > 1 ? argv[1] : "");
    } catch (const std::exception& error) {
        std::cerr << "exchange_list: " << error.what() << "\n";
        return 1;
    }
}

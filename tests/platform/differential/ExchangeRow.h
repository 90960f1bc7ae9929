// One exchange that every transport is given, and what its server says.
//
// A place in braces stands for what a run alone knows, in URLs, header values and answers:
//   {at}      scheme, host and port of the row's server, without a slash
//   {port}    its port
//   {other}   as {at}, of a second server, which answers all with 200
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/ScriptedServer.h"

namespace test {

// What stands at the other end.
enum class Peer {
    kPlain,        // no TLS
    kCertified,    // TLS under the authority that is trusted
    kExpired,      // its certificate has ended
    kNotYetValid,  // or has not begun
    kSelfSigned,
    kWrongHost,
    kStranger,  // an authority that nobody trusts
    kTls10,     // this version and no other
    kTls11,
    kTls12,
    kTls13,
};

struct ExchangeRow {
    std::string name;  // of all rows alone
    std::string method = "GET";
    std::string url = "{at}/";
    HeaderPairs headers = {};
    std::string body = {};
    std::uint32_t flags = 0;
    std::vector<Answer> answers = {};  // behind the last one each request has 200 "there"
    Peer peer = Peer::kPlain;
    Peer other = Peer::kPlain;
};

inline constexpr std::uint32_t kLeaveRedirects = 1;

// An answer that tells its length and its end; without a body of its own for HEAD, use Answer::Raw.
[[nodiscard]] Answer Whole(int status, const HeaderPairs& headers = {}, std::string_view body = {});
// A redirect.
[[nodiscard]] Answer Moved(int status, const std::string& location);

// Each group of rows stands in a file of its own.
[[nodiscard]] std::vector<ExchangeRow> RequestRows();
[[nodiscard]] std::vector<ExchangeRow> AnswerRows();
[[nodiscard]] std::vector<ExchangeRow> RedirectRows();
[[nodiscard]] std::vector<ExchangeRow> TlsRows();
[[nodiscard]] std::vector<ExchangeRow> UrlRows();

}  // namespace test

#include "bench/BareExchange.h"

#include <curl/curl.h>

namespace bench {
namespace {

std::size_t Append(char* data, std::size_t size, std::size_t count, void* text) {
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
}

}  // namespace

bool MakeBareExchange(const Exchange& exchange, const std::string& bundle, std::string& body) {
    body.clear();
    curl_slist* headers = nullptr;
    for (const auto& [name, value] : exchange.headers) {
        std::string line = name;
        line.append(": ").append(value);
        headers = curl_slist_append(headers, line.c_str());
    }
    CURL* easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_URL, exchange.url.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_CAINFO, bundle.c_str());
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    if (exchange.method == "POST") {
        curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE, static_cast<long>(exchange.body.size()));
        curl_easy_setopt(easy, CURLOPT_COPYPOSTFIELDS, exchange.body.c_str());
    }
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Append);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &body);
    const CURLcode result = curl_easy_perform(easy);
    curl_easy_cleanup(easy);
    curl_slist_free_all(headers);
    return result == CURLE_OK;
}

}  // namespace bench

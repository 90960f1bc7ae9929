#pragma once

#include "core/src/registry/HttpExchange.h"
#include "core/src/system/PlatformTable.h"

namespace registry {

namespace http_exchange_detail {

// A block of the platform's answer. It goes back when the scope ends, after a failed exchange too, and also
// when the copy of it throws.
template <class Api>
class AnswerBlock {
public:
    explicit AnswerBlock(void* context) : context_(context) {}
    ~AnswerBlock() {
        if (text_ != nullptr)
            Api::HttpFree(text_, context_);
    }
    AnswerBlock(const AnswerBlock&) = delete;
    AnswerBlock& operator=(const AnswerBlock&) = delete;

    [[nodiscard]] char** Out() { return &text_; }
    void CopyTo(portable_stl::string& target) const {
        if (text_ != nullptr)
            target = text_;
    }

private:
    char* text_ = nullptr;
    void* context_;
};

inline portable_stl::vector<quillmarkclient_core::HttpHeaderPair> HeaderPairs(
    const portable_stl::vector<NameValue>& headers) {
    portable_stl::vector<quillmarkclient_core::HttpHeaderPair> pairs;
    pairs.reserve(headers.size()).value();
    for (const NameValue& header : headers)
        pairs.push_back(quillmarkclient_core::HttpHeaderPair{header.name.c_str(), header.value.c_str()})
            .value();
    return pairs;
}

}  // namespace http_exchange_detail

template <class Api>
ResultCode HttpExchange(const portable_stl::string& method, const portable_stl::string& url,
                        const portable_stl::vector<NameValue>& headers, const portable_stl::string& body,
                        std::uint32_t flags, std::uint32_t& httpCode, portable_stl::string& responseBody,
                        portable_stl::string& responseHeaders, void* context) {
    const auto pairs = http_exchange_detail::HeaderPairs(headers);
    http_exchange_detail::AnswerBlock<Api> bodyBlock(context);
    http_exchange_detail::AnswerBlock<Api> headerBlock(context);
    const auto code =
        Api::HttpRequest(method.c_str(), url.c_str(), pairs.data(), static_cast<std::uint32_t>(pairs.size()),
                         body.c_str(), flags, &httpCode, bodyBlock.Out(), headerBlock.Out(), context);
    if (!IsSuccess(code))
        return code;
    bodyBlock.CopyTo(responseBody);
    headerBlock.CopyTo(responseHeaders);
    return code;
}

}  // namespace registry

#include "platform/common/HttpRequestParts.h"

#include <algorithm>
#include <array>

#include "platform/common/Ascii.h"
#include "platform/common/Memory.h"
#include "platform/common/Utf8.h"

namespace quillmarkclient_common {
namespace {

constexpr std::array<std::string_view, 3> kFraming = {"Content-Length", "Expect", "Transfer-Encoding"};

bool IsTokenByte(char c) {
    constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
    return IsLetter(c) || IsDigit(c) || kMarks.find(c) != std::string_view::npos;
}

bool FramesTheMessage(std::string_view name) {
    return std::any_of(kFraming.begin(), kFraming.end(),
                       [&](auto known) { return EqualsIgnoringCase(known, name); });
}

// A block that holds the text and a zero byte; null when memory is exhausted.
char* MakeBlock(std::string_view text, void* (*alloc)(std::size_t)) {
    auto* block = static_cast<char*>(alloc(text.size() + 1));
    if (block) {
        std::copy(text.begin(), text.end(), block);
        block[text.size()] = '\0';
    }
    return block;
}

}  // namespace

bool IsToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), IsTokenByte);
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
}

bool AreHeadersPresent(const HttpHeaderPair* headers, std::uint32_t count) {
    if (!headers)
        return count == 0;
    return std::all_of(headers, headers + count,
                       [](const HttpHeaderPair& pair) { return pair.name && pair.value; });
}

std::optional<std::vector<HttpHeader>> TakeHeaders(const HttpHeaderPair* pairs, std::uint32_t count) {
    std::for_each(pairs, pairs + count, [](const HttpHeaderPair& pair) {
        RequireUtf8(pair.name);
        RequireUtf8(pair.value);
    });
    std::vector<HttpHeader> headers;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::string_view name = pairs[i].name;
        const std::string_view value = pairs[i].value;
        if (!IsToken(name) || value.find_first_of("\r\n") != std::string_view::npos)
            return std::nullopt;
        if (!FramesTheMessage(name))
            headers.push_back({std::string(name), std::string(value)});
    }
    return headers;
}

void ClearBlocks(char** responseBody, char** responseHeaders) {
    if (responseBody)
        *responseBody = nullptr;
    if (responseHeaders)
        *responseHeaders = nullptr;
}

bool HandOut(std::string_view body, const std::string* head, void* (*alloc)(std::size_t), char** responseBody,
             char** responseHeaders) {
    char* const bodyBlock = MakeBlock(body, alloc);
    if (!bodyBlock)
        return false;
    if (head && responseHeaders) {
        *responseHeaders = MakeBlock(*head, alloc);
        if (!*responseHeaders) {
            Free(bodyBlock);
            return false;
        }
    }
    *responseBody = bodyBlock;
    return true;
}

std::uint32_t HttpFree(void* block, void*) noexcept {
    Free(block);
    return static_cast<std::uint32_t>(ResultCode::kSuccess);
}

}  // namespace quillmarkclient_common

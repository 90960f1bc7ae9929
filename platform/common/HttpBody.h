#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillmarkclient_common {

// What a Read of a body came to.
enum class HttpBodyRead : std::uint32_t {
    kData = 0,
    kEnd = 1,
    kError = 2,
};

// The source of a request's body: read once from its start to its end, by one thread, in pieces.
class HttpBody {
public:
    virtual ~HttpBody() = default;

    // Fills at most `capacity` bytes. `bytesRead` is set with kData only.
    [[nodiscard]] virtual HttpBodyRead Read(void* buffer, std::uint32_t capacity,
                                            std::uint32_t* bytesRead) = 0;

    // The size of the whole body in bytes.
    [[nodiscard]] virtual std::uint32_t GetSize() const = 0;

    // Goes back to the start, for a redirect that asks for the body again. False where the source can't.
    [[nodiscard]] virtual bool Rewind() { return false; }

protected:
    HttpBody() = default;
    HttpBody(const HttpBody&) = default;
    HttpBody& operator=(const HttpBody&) = default;
};

// A copy of a text.
class HttpMemoryBody final : public HttpBody {
public:
    explicit HttpMemoryBody(std::string_view text);

    [[nodiscard]] HttpBodyRead Read(void* buffer, std::uint32_t capacity, std::uint32_t* bytesRead) override;
    [[nodiscard]] std::uint32_t GetSize() const override;
    [[nodiscard]] bool Rewind() override;

private:
    std::vector<char> bytes_;
    std::uint32_t position_ = 0;
};

// A file, framed as the one part of a multipart/form-data body (RFC 7578):
//
//   preamble   CRLF "--" boundary CRLF, the part's three header lines, CRLF
//   file       its bytes, as the system's own class reads them
//   trailer    CRLF "--" boundary "--" CRLF
//
// The line break in front of the first boundary and the content type are fixed, whatever the file is. A Read
// serves one of the three regions, never two. Sizes are 32 bits wide: of a larger file the low 32 bits count.
// Until a size is set, because it can't be read, GetSize is 0 and each Read gives kError.
class HttpFramedBody : public HttpBody {
public:
    [[nodiscard]] HttpBodyRead Read(void* buffer, std::uint32_t capacity, std::uint32_t* bytesRead) final;
    [[nodiscard]] std::uint32_t GetSize() const final { return totalSize_; }

protected:
    HttpFramedBody() = default;
    void SetFrame(std::uint32_t fileSize, std::string_view boundary, std::string_view fileName);
    void Restart() { position_ = 0; }

    // The next bytes of the file, at most `wanted`, which isn't 0. A file that has no more of them became
    // shorter since its size was taken: an error, because the size has been told to the server.
    [[nodiscard]] virtual HttpBodyRead ReadFileBytes(void* buffer, std::uint32_t wanted,
                                                     std::uint32_t* bytesRead) = 0;

private:
    bool hasFrame_ = false;
    std::uint32_t fileSize_ = 0;
    std::uint32_t position_ = 0;
    std::uint32_t totalSize_ = 0;
    std::string preamble_;
    std::string trailer_;
};

}  // namespace quillmarkclient_common

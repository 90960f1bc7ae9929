#pragma once

#include <cstdint>
#include <string_view>

#include "platform/common/HttpBody.h"

namespace quillmarkclient_linux {

using quillmarkclient_common::HttpBody;
using quillmarkclient_common::HttpBodyRead;
using quillmarkclient_common::HttpMemoryBody;

// The bytes of a descriptor, from where it stands, in their frame.
class HttpFileBody final : public quillmarkclient_common::HttpFramedBody {
public:
    // `descriptor` stays the caller's and must outlive the body.
    HttpFileBody(int descriptor, std::string_view boundary, std::string_view fileName);

    [[nodiscard]] bool Rewind() override;

private:
    [[nodiscard]] HttpBodyRead ReadFileBytes(void* buffer, std::uint32_t wanted,
                                             std::uint32_t* bytesRead) override;

    int descriptor_;               // -1 when the size can't be read
    std::int64_t fileStart_ = -1;  // where the descriptor stood; -1 when it can't seek
};

}  // namespace quillmarkclient_linux

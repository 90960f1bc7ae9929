#pragma once

#include <windows.h>

#include <cstdint>
#include <string_view>

#include "platform/common/HttpBody.h"

namespace quillmarkclient_windows {

using quillmarkclient_common::HttpBody;
using quillmarkclient_common::HttpBodyRead;
using quillmarkclient_common::HttpMemoryBody;

// The bytes of a file handle, from its current position, in their frame.
class HttpFileBody final : public quillmarkclient_common::HttpFramedBody {
public:
    // `file` stays the caller's and must outlive the body.
    HttpFileBody(HANDLE file, std::string_view boundary, std::string_view fileName);

private:
    [[nodiscard]] HttpBodyRead ReadFileBytes(void* buffer, std::uint32_t wanted,
                                             std::uint32_t* bytesRead) override;

    HANDLE file_;  // invalid when the size can't be read
};

}  // namespace quillmarkclient_windows

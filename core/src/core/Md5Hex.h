#pragma once

#include "portable_stl/string.h"

namespace quillmarkclient_core {

/// The MD5 of the text's bytes by the platform, as lower-case hex digits; empty when the platform fails or
/// the text is 4 GiB or longer. Names things, protects nothing.
template <class Api>
[[nodiscard]] portable_stl::string Md5Hex(const portable_stl::string& text, void* context);

}  // namespace quillmarkclient_core

// What the webhook of backup metadata keeps. Not guarded: AccountService holds its mutex around every use.
#pragma once

#include <optional>
#include <string>

namespace sandbox {

enum class MetadataAnswer {
    ok,
    error,  // taken, and answered as if nobody could make sense of it
};

struct MetadataInbox {
    std::optional<std::string> document;  // the last one, byte for byte
    MetadataAnswer answer = MetadataAnswer::ok;
};

}  // namespace sandbox

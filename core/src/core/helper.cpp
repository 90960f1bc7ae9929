#include "core/src/core/helper.h"

#include "core/src/json/Json.h"

namespace quillmarkclient_core {

using portable_stl::string;

string ToDecimal(std::int32_t number) {
    if (number >= 0)
        return ToDecimal(static_cast<std::uint32_t>(number));
    string text = "-";
    text += ToDecimal(0u - static_cast<std::uint32_t>(number));  // unsigned: the smallest one has no negative
    return text;
}

string ToDecimal(std::uint32_t number) {
    return ToDecimal(std::uint64_t{number});
}

string ToDecimal(std::uint64_t number) {
    string text;
    json::UnsignedToDecimal(number, text);
    return text;
}

}  // namespace quillmarkclient_core

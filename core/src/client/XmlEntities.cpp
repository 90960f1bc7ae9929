#include "core/src/client/XmlEntities.h"

#include <cstring>

namespace xml {
namespace {

constexpr struct Entity {
    const char* text;
    std::size_t length;
    char character;
} kEntities[] = {
    {"&lt;", 4, '<'}, {"&gt;", 4, '>'}, {"&amp;", 5, '&'}, {"&apos;", 6, '\''}, {"&quot;", 6, '"'},
};

// The entity at the start of the text, or null.
const Entity* EntityAt(const char* text, std::size_t length) noexcept {
    for (const Entity& entity : kEntities) {
        if (entity.length <= length && std::memcmp(text, entity.text, entity.length) == 0)
            return &entity;
    }
    return nullptr;
}

const char* FindReference(const char* text, const char* end) noexcept {
    return text == end
               ? nullptr
               : static_cast<const char*>(std::memchr(text, '&', static_cast<std::size_t>(end - text)));
}

}  // namespace

bool HasValidEntities(const char* text, std::size_t length) noexcept {
    const char* const end = text + length;
    const char* found = FindReference(text, end);
    while (found != nullptr) {
        const Entity* const entity = EntityAt(found, static_cast<std::size_t>(end - found));
        if (entity == nullptr)
            return false;
        found = FindReference(found + entity->length, end);
    }
    return true;
}

portable_stl::string DecodeEntities(const char* text, std::size_t length) {
    portable_stl::string decoded(text, length);
    const char* const end = text + length;
    const char* read = text;
    char* write = decoded.data();
    while (const char* const found = FindReference(read, end)) {
        const auto skipped = static_cast<std::size_t>(found - read);
        std::memmove(write, read, skipped);
        write += skipped;
        const Entity* const entity = EntityAt(found, static_cast<std::size_t>(end - found));
        *write++ = entity->character;
        read = found + entity->length;
    }
    const auto rest = static_cast<std::size_t>(end - read);
    if (rest != 0)
        std::memmove(write, read, rest);
    decoded.resize(static_cast<std::size_t>(write - decoded.data()) + rest);
    return decoded;
}

}  // namespace xml

#include "platform/common/Memory.h"

#include <cstdlib>
#include <cstring>

namespace quillmarkclient_common {

void* Alloc(std::size_t size) {
    return size == 0 ? nullptr : std::malloc(size);
}

void Free(void* block) {
    std::free(block);
}

void MemSet(void* block, std::uint8_t byte, std::size_t size) {
    if (block)
        std::memset(block, byte, size);
}

void MemCopy(void* target, const void* source, std::size_t size) {
    if (target && source)
        std::memcpy(target, source, size);
}

void MemMove(void* target, const void* source, std::size_t size) {
    if (target && source)
        std::memmove(target, source, size);
}

int MemCompare(const void* left, const void* right, std::size_t size) {
    return left && right ? std::memcmp(left, right, size) : 0;
}

}  // namespace quillmarkclient_common

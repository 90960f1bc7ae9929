// The memory rows of the platform table, the same on every system.
//
// Blocks come from the C heap, so a block may go back through Free, HttpFree or FreeCryptoBuffer alike;
// callers keep to the partner that the table names, because another platform may tell them apart.
//
// Any thread. Nothing here throws.
#pragma once

#include <cstddef>
#include <cstdint>

namespace quillmarkclient_common {

// Null for size 0 and when memory is exhausted; the bytes are not cleared.
[[nodiscard]] void* Alloc(std::size_t size);
// Null is accepted.
void Free(void* block);

// Nothing happens when a pointer is null.
void MemSet(void* block, std::uint8_t byte, std::size_t size);
void MemCopy(void* target, const void* source, std::size_t size);
void MemMove(void* target, const void* source, std::size_t size);

// As memcmp; 0 when either pointer is null, so a missing block equals every other.
[[nodiscard]] int MemCompare(const void* left, const void* right, std::size_t size);

}  // namespace quillmarkclient_common

#include "tests/support/BlockSize.h"

#include <malloc.h>

namespace test {

std::size_t BlockSize(const void* block) noexcept {
    return _msize(const_cast<void*>(block));
}

}  // namespace test

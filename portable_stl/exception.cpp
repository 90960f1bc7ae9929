// The destructors stand here, so that each class has its table of virtual operations in one place.
#include "portable_stl/exception.h"

namespace portable_stl {

exception::~exception() = default;

bad_alloc::~bad_alloc() = default;

const char* bad_alloc::what() const noexcept {
    return "bad_alloc error from portable_stl.";
}

logic_error::~logic_error() = default;

const char* logic_error::what() const noexcept {
    return "logical error from portable_stl.";
}

length_error::~length_error() = default;

const char* length_error::what() const noexcept {
    return "length error from portable_stl.";
}

out_of_range::~out_of_range() = default;

const char* out_of_range::what() const noexcept {
    return "out of range error from portable_stl.";
}

bad_expected_access<void, true_type>::~bad_expected_access() = default;

const char* bad_expected_access<void, true_type>::what() const noexcept {
    return "bad access to portable_stl::expected without expected value";
}

template class bad_expected_access<portable_stl_error, false_type>;

}  // namespace portable_stl

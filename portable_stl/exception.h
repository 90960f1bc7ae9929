// What the containers throw, and the error that their growing operations return.
//
//   exception                                                  no text of its own
//   |-- bad_alloc                                              a string found no memory
//   |-- logic_error
//   |   |-- length_error                                       a length above the container's largest
//   |   `-- out_of_range                                       a start behind the end
//   `-- bad_expected_access<void, true_type>
//       `-- bad_expected_access<portable_stl_error, false_type>  value() of an expected that holds an error
//
// The root is not std::exception: a handler of std::exception does not see any of these. They carry no
// allocated text, so throwing one while memory is exhausted needs nothing but the exception object.
#pragma once

#include <cstdint>
#include <type_traits>

namespace portable_stl {

using std::false_type;
using std::true_type;

// Why a container did not grow. The container is then as it was before.
enum class portable_stl_error : std::uint32_t {
    size_too_large = 2,  // more than the container can hold
    out_of_memory = 3,   // the allocation failed
};

// Root of the tree. Virtual slots, in order: destructor, what.
class exception {
public:
    exception() noexcept = default;
    exception(const exception&) noexcept = default;
    exception& operator=(const exception&) noexcept = default;
    virtual ~exception();

    // A fixed text that outlives the exception.
    [[nodiscard]] virtual const char* what() const noexcept = 0;
};

class bad_alloc : public exception {
public:
    ~bad_alloc() override;
    [[nodiscard]] const char* what() const noexcept override;
};

class logic_error : public exception {
public:
    ~logic_error() override;
    [[nodiscard]] const char* what() const noexcept override;
};

class length_error : public logic_error {
public:
    ~length_error() override;
    [[nodiscard]] const char* what() const noexcept override;
};

class out_of_range : public logic_error {
public:
    ~out_of_range() override;
    [[nodiscard]] const char* what() const noexcept override;
};

// The second argument says whether the first is void: the form without an error value is the base of all
// forms with one.
template <class Error, class IsVoid = typename std::is_void<Error>::type>
class bad_expected_access;

template <>
class bad_expected_access<void, true_type> : public exception {
public:
    ~bad_expected_access() override;
    [[nodiscard]] const char* what() const noexcept override;
};

template <class Error>
class bad_expected_access<Error, false_type> : public bad_expected_access<void, true_type> {
public:
    explicit bad_expected_access(Error error) noexcept : error_(error) {}

    [[nodiscard]] const Error& error() const noexcept { return error_; }

private:
    Error error_;
};

// The one form that the containers throw; exception.cpp is its home.
extern template class bad_expected_access<portable_stl_error, false_type>;

}  // namespace portable_stl

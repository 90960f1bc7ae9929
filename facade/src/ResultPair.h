#pragma once

#include <Quillmark/ErrorCode.h>

namespace Quillmark {

// What a worker gives back. A default one is a success with an empty value.
template <typename T>
struct ResultPair {
    QUILLMARKCLIENT_ERROR error = QUILLMARKCLIENT_ERROR::kSuccess;
    T value{};
};

}  // namespace Quillmark

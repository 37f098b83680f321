// The C door: what every exported function shares. Outputs are zeroed before any work, null ones skipped;
// texts are taken from and put into fixed-length character arrays; nothing is thrown through it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "CoreServices/Texts.hpp"

namespace vorlandi {

// Sets a scalar output.
template <class T>
void give(T* output, T value) noexcept {
    if (output != nullptr) *output = value;
}

// Sets an array output of known size.
template <class T>
void give(T* output, const T* values, std::size_t size) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    // Of a constant size it takes no call, as std::copy does.
    if (output != nullptr) std::memcpy(output, values, size * sizeof(T));
}

// Zeros outputs: scalars, or arrays with their sizes.
template <class... T>
void zero(T*... outputs) noexcept {
    (give(outputs, T{}), ...);
}
template <class T>
void zeroArray(T* output, std::size_t size) noexcept {
    if (output != nullptr) std::fill_n(output, size, T{});
}

// A file name of the interface, left-adjusted and trimmed.
inline std::string_view fileNameOf(const char* fileName) noexcept {
    return trimmed(leftAdjusted(chararrtostr(fileName, 512)));
}

}  // namespace vorlandi

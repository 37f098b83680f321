// The C door, shared by all exported functions. Outputs are zeroed before any work, null ones skipped; texts are taken
// from and put into fixed-length character arrays; no exception leaves it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <type_traits>

#include "CoreServices/Status.hpp"
#include "CoreServices/Texts.hpp"
#include "TimeLibrary/SatelliteKeys.hpp"
#include "Vorlandi/StorageFailure.hpp"

namespace vorlandi {

// Handles the exception that is being caught: logs "function: Out of memory.", or ends the process if points, a record
// or the strings of a sort could not be stored.
[[gnu::cold]] void reportException(std::string_view function) noexcept;

// Runs the work of an exported function, whose name is `function`. After an exception the result is a failure: status
// 2, no key, or 0. Costs nothing while nothing is thrown.
template <class Work>
auto catchAll(const char* function, Work&& work) noexcept -> decltype(work()) {
    using Result = decltype(work());
    try {
        return work();
    } catch (...) {
        reportException(function);
    }
    if constexpr (std::is_same_v<Result, std::int32_t>) {
        return kFailure;
    } else if constexpr (std::is_same_v<Result, std::int64_t>) {
        return kNoKey;
    } else {
        static_assert(std::is_same_v<Result, double> || std::is_void_v<Result>);
        return Result();
    }
}

// Sets a scalar output.
template <class T>
void setOutput(T* output, T value) noexcept {
    if (output != nullptr) *output = value;
}

// Sets an array output of known size.
template <class T>
void setOutput(T* output, const T* values, std::size_t size) noexcept {
    static_assert(std::is_trivially_copyable_v<T>);
    // With a constant size it is not a call, unlike std::copy.
    if (output != nullptr) std::memcpy(output, values, size * sizeof(T));
}

// Zeros outputs: scalars, or arrays with their sizes.
template <class... T>
void zero(T*... outputs) noexcept {
    (setOutput(outputs, T{}), ...);
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

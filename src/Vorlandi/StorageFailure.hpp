// The failure of an allocation that ends the process by contract: of points, of a record, of the strings of a sort. It
// is thrown, so that every lock and the store's guard are free when it is reported, and code that can do better may
// catch it.
#pragma once

#include <cstddef>
#include <new>

namespace vorlandi {

class StorageFailure : public std::bad_alloc {
public:
    explicit StorageFailure(std::size_t bytes) noexcept : bytes_(bytes) {}
    std::size_t bytes() const noexcept { return bytes_; }

private:
    std::size_t bytes_;
};

}  // namespace vorlandi

// File descriptors: owned, and opened by name without allocating.
#pragma once

#include <string_view>
#include <utility>

namespace vorlandi {

// An open file; closed when its owner goes out of scope.
class Descriptor {
public:
    constexpr Descriptor() noexcept = default;
    explicit Descriptor(int number) noexcept : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, kNone)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor();

    int number() const noexcept { return number_; }
    explicit operator bool() const noexcept { return number_ != kNone; }

private:
    static constexpr int kNone = -1;
    int number_ = kNone;
};

// Opens a file, trailing blanks of its name ignored, with the flags of open(2). Returns 0 or the errno of the failure;
// ENOENT for a blank name.
int openDescriptor(std::string_view name, int flags, Descriptor& file) noexcept;

}  // namespace vorlandi

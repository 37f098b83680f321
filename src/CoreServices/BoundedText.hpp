// Texts that are put together in place: messages, and the fields of numbers in them. Nothing is allocated, so that a
// message can be logged when memory is short.
#pragma once

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vorlandi {

// A text of at most N characters; what is beyond them is cut.
template <std::size_t N>
class BoundedText {
public:
    // The room is not cleared: most texts are short, and most queries need no message.
    BoundedText() noexcept {}
    BoundedText(std::string_view text) noexcept { *this << text; }
    BoundedText(const BoundedText& other) noexcept : BoundedText(other.view()) {}
    template <std::size_t M>
    BoundedText(const BoundedText<M>& other) noexcept : BoundedText(other.view()) {}
    template <std::size_t M>
    BoundedText(const std::array<char, M>& text) noexcept : BoundedText(std::string_view(text.data(), M)) {}
    BoundedText& operator=(const BoundedText& other) noexcept { return *this = other.view(); }
    BoundedText& operator=(std::string_view text) noexcept {
        size_ = 0;
        return *this << text;
    }

    BoundedText& operator<<(std::string_view text) noexcept {
        size_ += text.copy(chars_.data() + size_, N - size_);
        return *this;
    }
    template <std::size_t M>
    BoundedText& operator<<(const std::array<char, M>& text) noexcept {
        return *this << std::string_view(text.data(), M);
    }
    BoundedText& operator<<(std::int64_t number) noexcept {
        std::array<char, 20> digits;
        const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
        return *this << std::string_view(digits.data(), static_cast<std::size_t>(end - digits.data()));
    }
    BoundedText& append(std::size_t count, char character) noexcept {
        count = std::min(count, N - size_);
        std::fill_n(chars_.data() + size_, count, character);
        size_ += count;
        return *this;
    }

    std::string_view view() const noexcept { return {chars_.data(), size_}; }
    operator std::string_view() const noexcept { return view(); }
    friend bool operator==(const BoundedText& a, std::string_view b) noexcept { return a.view() == b; }

private:
    std::array<char, N> chars_;
    std::size_t size_ = 0;
};

// A message of the trace log. The longest ones name a file, of up to 512 characters, and say something about it.
using MessageText = BoundedText<640>;

}  // namespace vorlandi

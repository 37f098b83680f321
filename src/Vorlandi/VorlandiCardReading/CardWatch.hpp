// A source of bytes that looks for cards in what it hands out, or further ahead on request.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "CoreServices/BoundedText.hpp"
#include "CoreServices/InputUnits.hpp"
#include "Vorlandi/VorlandiCardReading/FormatDetection.hpp"

namespace vorlandi {

class CardWatch final : public ByteSource {
public:
    // `inner`, a source that can go to any byte, is at its first one.
    explicit CardWatch(std::unique_ptr<ByteSource> inner) noexcept : inner_(std::move(inner)) {}

    // Ends after handing out a line that may be a card.
    std::int64_t read(char* bytes, std::size_t capacity) override;
    bool rewind() override { return goTo(0); }
    std::int64_t size() const override { return inner_->size(); }

    // To the beginning of a line.
    bool goTo(std::int64_t position) override;

    // Has a line been seen that may be a card?
    bool hasSeenCard() const noexcept { return hasSeenCard_; }

    // Is there none up to the end of the file? False also if it can't be read to its end. Looks at what has not been
    // handed out yet, and stops watching.
    bool isFreeOfCards();

    std::unique_ptr<ByteSource> takeInner() noexcept { return std::move(inner_); }

private:
    static constexpr std::size_t kByteOrderMark = 3;
    using Head = BoundedText<kByteOrderMark + kCardHead>;

    void look(std::string_view bytes) noexcept;

    std::unique_ptr<ByteSource> inner_;
    std::int64_t position_ = 0;
    Head head_;  // of the line that the bytes so far have not ended
    bool isWatching_ = true;
    bool hasSeenCard_ = false;
};

}  // namespace vorlandi

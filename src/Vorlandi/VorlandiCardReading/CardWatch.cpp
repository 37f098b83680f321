#include "Vorlandi/VorlandiCardReading/CardWatch.hpp"

#include <algorithm>

namespace vorlandi {

std::int64_t CardWatch::read(char* bytes, std::size_t capacity) {
    if (isWatching_ && hasSeenCard_) return 0;
    const std::int64_t count = inner_->read(bytes, capacity);
    if (count <= 0) return count;
    if (isWatching_) look({bytes, static_cast<std::size_t>(count)});
    position_ += count;
    return count;
}

bool CardWatch::goTo(std::int64_t position) {
    position_ = position;
    head_ = std::string_view();
    return inner_->goTo(position);
}

bool CardWatch::isFreeOfCards() {
    constexpr std::size_t kPiece = 65536;
    const std::int64_t position = position_;
    std::int64_t count = 0;
    if (position_ < size()) {
        const auto piece = std::make_unique_for_overwrite<char[]>(kPiece);
        while ((count = read(piece.get(), kPiece)) > 0) {
        }
        if (!inner_->goTo(position)) count = -1;
        position_ = position;
    }
    isWatching_ = hasSeenCard_ || count < 0;
    return !isWatching_;
}

namespace {

std::size_t findMark(std::string_view text, std::size_t from) noexcept {
    std::size_t first = std::string_view::npos;
    for (const char mark : kCardMarks)
        first = std::min(first, text.substr(0, first).find(mark, from));
    return first;
}

}  // namespace

// Most files have no mark. If there is one, its line is tested.
void CardWatch::look(std::string_view bytes) noexcept {
    for (std::size_t at = 0; (at = findMark(bytes, at)) < bytes.size();) {
        const auto feed = bytes.substr(0, at).rfind('\n');
        const bool isInFirst = feed == std::string_view::npos;
        const std::string_view line = bytes.substr(isInFirst ? 0 : feed + 1);
        Head head(isInFirst ? head_.view() : std::string_view());
        head << line.substr(0, line.find('\n'));
        std::string_view text = head;
        if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(kByteOrderMark);
        hasSeenCard_ = hasSeenCard_ || mayBeginCard(text);
        at = std::min(bytes.find('\n', at), bytes.size());
    }
    const auto feed = bytes.rfind('\n');
    if (feed != std::string_view::npos) {
        head_ = std::string_view();
        bytes.remove_prefix(feed + 1);
    }
    head_ << bytes;
}

}  // namespace vorlandi

#include "archives/Cards.hpp"

#include <algorithm>
#include <filesystem>

#include "vorlandi/vorlandi.h"

namespace vorlandi::archives {
namespace {

constexpr std::string_view kTagCard = "#VORLANDI";
constexpr std::int32_t kTagField = 15;

std::string normal(const std::filesystem::path& path) { return path.lexically_normal().generic_string(); }

bool isTagCard(std::string_view line) {
    return line.size() >= kTagCard.size() &&
           std::equal(kTagCard.begin(), kTagCard.end(), line.begin(),
                      [](char wanted, char c) { return wanted == (c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c); });
}

// What follows the equals sign, without blanks around it.
std::string valueOf(std::string_view card) {
    constexpr std::string_view kBlanks(" \t\r\0", 4);
    const auto equals = card.find('=');
    if (equals == std::string_view::npos) return "";
    const auto first = card.find_first_not_of(kBlanks, equals + 1);
    if (first == std::string_view::npos) return "";
    return std::string(card.substr(first, card.find_last_not_of(kBlanks) + 1 - first));
}

std::map<std::int64_t, std::string> tagsIn(std::string_view bytes) {
    std::map<std::int64_t, std::string> tags;
    for (std::int64_t number = 1; !bytes.empty(); ++number) {
        const std::string_view line = bytes.substr(0, bytes.find('\n'));
        bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
        if (isTagCard(line)) tags[number] = valueOf(line);
    }
    return tags;
}

void setTag(const std::vector<std::int64_t>& keys, const std::string& tag) {
    for (const std::int64_t key : keys)
        VorlanSetField(key, kTagField, tag.c_str());
}

}  // namespace

void Cards::addMember(const std::string& path) { keys_.try_emplace(normal(path)); }

void Cards::addLoaded(const std::string& path, std::string_view bytes, const LoadedMember& member) {
    auto& keys = keys_[normal(path)];
    keys.insert(keys.end(), member.keys.begin(), member.keys.end());
    if (!member.cards.empty()) files_.push_back({path, member.cards, tagsIn(bytes)});
}

const std::vector<std::int64_t>* Cards::keysOf(const std::string& path, const FileCard& card) const {
    const auto beside = keys_.find(normal(std::filesystem::path(path).parent_path() / card.name));
    if (beside != keys_.end()) return &beside->second;
    const auto fromTop = keys_.find(normal(card.name));
    return fromTop != keys_.end() ? &fromTop->second : nullptr;
}

// As on disk, a tag belongs to the next record that a card loads.
void Cards::resolve(const Missing& missing) const {
    for (const auto& [path, cards, tags] : files_) {
        auto nextTag = tags.begin();
        std::string tag;
        for (const FileCard& card : cards) {
            for (; nextTag != tags.end() && nextTag->first < card.line; ++nextTag)
                tag = nextTag->second;
            const auto* const keys = keysOf(path, card);
            if (keys == nullptr) {
                missing(path, card);
            } else if (!keys->empty() && !tag.empty()) {
                setTag(*keys, tag);
                tag.clear();
            }
        }
    }
}

}  // namespace vorlandi::archives

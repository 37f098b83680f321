// The keywords of CCSDS OEM, and what the metadata of a segment says.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "CoreServices/BoundedText.hpp"
#include "CoreServices/Texts.hpp"
#include "TimeLibrary/EpochTexts.hpp"

namespace vorlandi {

// Characters of a value that messages show.
constexpr std::size_t kShown = 40;

// A line "KEY = value", or one that begins with a word.
struct OemEntry {
    std::string_view key;
    std::optional<std::string_view> value;

    bool is(std::string_view word) const noexcept { return isWord(key, word); }
};

// The entry on a line without blanks around it.
OemEntry oemEntry(std::string_view text) noexcept;

// Is it a keyword of the header, before the first segment?
bool isOemHeaderKey(std::string_view key) noexcept;

// Is it an entry of metadata that describes the states after it?
bool saysWhatStatesAre(const OemEntry& entry) noexcept;

// Why a version is not read; empty if it is.
MessageText problemOfOemVersion(const OemEntry& version) noexcept;

// The coordinate system of a frame name; none if it is not read.
std::optional<std::int32_t> oemCoordSys(std::string_view frame) noexcept;

// The object of a segment, by its metadata.
class OemObject {
public:
    void setName(std::string_view name) noexcept { name_ = name; }
    void setId(std::string_view id) noexcept { id_ = id; }

    std::string_view name() const noexcept { return name_; }
    bool isKnown() const noexcept { return !text().empty(); }

    // The identifier, or the name if there is none.
    std::string_view text() const noexcept { return std::string_view(id_).empty() ? name_ : id_; }

    // The satellite number that the name or the identifier is, -1 if neither is one.
    std::int32_t satNum() const noexcept;

    // Compared by identifier if both have one, else by name if both have one; otherwise they differ.
    bool differsFrom(const OemObject& other) const noexcept;

private:
    InlineChars<512> name_;
    InlineChars<512> id_;
};

class OemMetadata {
public:
    // Takes an entry. False if its key is not one of metadata.
    bool take(const OemEntry& entry) noexcept;

    // Detects missing entries, once all have been taken.
    void complete() noexcept;

    // Why the segment can't be read, empty if it can.
    std::string_view problem() const noexcept { return problem_; }

    // These hold once the metadata is complete and has no problem.
    std::int32_t coordSys() const noexcept { return *coordSys_; }
    TimeScale timeScale() const noexcept { return *timeScale_; }

    const OemObject& object() const noexcept { return object_; }

private:
    OemObject object_;
    std::optional<std::int32_t> coordSys_;
    std::optional<TimeScale> timeScale_;
    bool hasCenter_ = false;
    bool hasFrameEpoch_ = false;
    MessageText problem_;
};

}  // namespace vorlandi
